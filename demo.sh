#!/usr/bin/env bash
# Renders stock effects over a photograph. Usage: ./demo.sh [PHOTO]
#
# Installs what is missing, builds, and leaves one picture an effect and a contact sheet in demo-out/.
set -euo pipefail
cd "$(dirname "$0")"

scripts/build_packages.sh
scripts/packages.sh imagemagick fonts-dejavu-core

photo=${1:-}
if [ -z "$photo" ]; then
  scripts/packages.sh mate-backgrounds
  photo=/usr/share/backgrounds/mate/nature/LadyBird.jpg
fi
[ -r "$photo" ] || { echo "demo: cannot read $photo" >&2; exit 1; }

echo "Building"
cmake --preset release >/dev/null
cmake --build --preset release --target tessaron tessaron_engine install_custom_plugins custom_template effect_pages
cmake --install build/release --prefix "$PWD/build/stage" --component runtime >/dev/null
tessaron=build/stage/bin/tessaron

out=demo-out
rm -rf "$out"
mkdir -p "$out"
# A second picture for effects with two inputs, and a size that every screen shows.
convert "$photo" -auto-orient -resize 1280x1280 -strip "$out/source.png"
convert "$out/source.png" -modulate 70,30,160 -flop "$out/second.png"

render() {  # EFFECT FILE [options...]
  local effect=$1 file=$2
  shift 2
  echo "Rendering $effect"
  "$tessaron" render "$effect" -o "$out/$file.png" "$@"
}
size=$(identify -format '%wx%h' "$out/source.png")
source=(-i "$out/source.png")
both=(-i "$out/source.png" -i "$out/second.png")

render Color_Corrector 01-color-corrector "${source[@]}" -p Exposure=0.25 -p Contrast=115 -p Saturation=130 -p Balance=1.15,1,0.85
render Hue_Saturation 02-hue-saturation "${source[@]}" -p Hue=120 -p Saturation=120
render Duotone 03-duotone "${source[@]}" -p Contrast=140
render Gradient_Map 04-gradient-map "${source[@]}"
render Posterise 05-posterise "${source[@]}" -p Levels=4 -p Smooth=20
render Vignette 06-vignette "${source[@]}" -p Inner_Radius=30 -p Outer_Radius=110
render Channel_Mixer 07-channel-mixer "${source[@]}" -p Red_From=0.3,0.9,-0.2 -p Monochrome=1
render Linear_Wipe 08-linear-wipe "${both[@]}" -p Progress=45 -p Angle=30 -p Soft_Edge=8 -p Border_Width=2
render Spot_Light 09-spot-light "${source[@]}"
render Scan_Lines 10-scan-lines "${source[@]}"
render Interference_Rings 11-interference-rings "${source[@]}"
render Waves 12-waves --size "$size"
render Glow 13-glow "${source[@]}"
render Star_Glint 14-star-glint "${source[@]}"
render Lens_Defocus 15-lens-defocus "${source[@]}"
render Swirl 16-swirl "${source[@]}"
render Edge_Lines 17-edge-lines "${source[@]}"
render Lens_Flare 18-lens-flare "${source[@]}"
render Film_Look 19-film-look "${source[@]}"
render Lightning 20-lightning "${source[@]}"
render Oil_Painting 21-oil-painting "${source[@]}"
render Kaleidoscope_Triangles 22-kaleidoscope "${source[@]}"
render Rain_Drops 23-rain-drops "${source[@]}"
render Clouds 24-clouds --size "$size"

montage -label '%t' -font DejaVu-Sans -pointsize 16 -background '#202428' -fill '#e8e8e8' "$out"/[012]*.png \
  -tile 4x -geometry 400x300+8+8 "$out/contact-sheet.png"

echo
echo "Pictures:      $PWD/$out/*.png"
echo "Contact sheet: $PWD/$out/contact-sheet.png"
