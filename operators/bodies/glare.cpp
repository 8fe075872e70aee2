// glare keeps what is above a threshold and puts a flare on it. By regions, each connected one gets a flare in its
// middle, as bright as the light in it; by convolution, each bright pixel gets one, so that what is long or large has a
// glare of its shape.
#include "operators/bodies/glare.h"

#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/workers.h"
#include "genotype/genotype.h"
#include "operators/bodies/centroid.h"
#include "operators/bodies/flare_draw.h"
#include "operators/bodies/glow.h"
#include "operators/bodies/planes.h"
#include "operators/bodies/reduction.h"
#include "operators/operators.h"
#include "operators/planes.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int IMAGE = 0, THRESHOLD = 1, PRE_BLUR = 2, SIZE = 3, BRIGHTNESS = 4, SATURATION = 5, TYPE = 6, CONVOLVE = 7,
              ROTATE = 8, RES_FACTOR = 9;
constexpr int CHANNELS = 3;
constexpr int PASSES = 3;
constexpr int MAX_REDUCTIONS = 4;
constexpr int ABORT_ROWS = 16;
// A region this bright, as a part of the frame, has a flare of full brightness.
constexpr double LIGHT_OF_FRAME = 10000.0;
constexpr float FAINTEST = 0.005f;  // region that gets a flare

/// An argument's value; after settle_args(). A value that varies is taken at the view's full resolution, and before the
/// node's planes are written to.
fix setting(const node& n, int arg, int e = 0) { return n.args[arg]->const_vals[e]; }

/// Fetches the image as colours without alpha; the number of planes that it has filled.
int fetch_light(node& n) {
  struct colours_only {
    ~colours_only() { max_elnum = before; }
    const std::int32_t before = max_elnum;
  } const limit;
  max_elnum = CHANNELS;
  return fetch_image_arg(n, IMAGE, n.images);
}

/// Two sets of three planes that take turns.
struct plane_sets {
  std::int16_t** now;
  std::int16_t** other;
  void swap() {
    std::int16_t** before = now;
    now = other;
    other = before;
  }
};

/// A bracket around work at a lower resolution; 0 reductions: none.
class reduced_work {
 public:
  explicit reduced_work(int reductions) : reductions_(reductions) {
    if (reductions_) enter_reduced_resolution(reductions_);
  }
  ~reduced_work() {
    if (reductions_) leave_reduced_resolution();
  }
  reduced_work(const reduced_work&) = delete;
  reduced_work& operator=(const reduced_work&) = delete;

 private:
  const int reductions_;
};

int reduced(int size, int n) { return (size + (1 << n) - 1) >> n; }

/// Flares for the bright regions, which are cleared.
void find_lights(std::int16_t* const* bright, const double (&gain)[3], light_list& lights) {
  const int width = temp_raster_info.width, height = temp_raster_info.height;
  for (int y = 0; y < height; ++y) {
    if (y % ABORT_ROWS == 0 && check_abort()) return;
    for (int x = next_lit_pixel(bright, width, 0, y); x < width; x = next_lit_pixel(bright, width, x + 1, y)) {
      const centroid_sums region = add_to_centroid(bright, width, height, x, y);
      flare_light light = {.x = region.center_x(), .y = region.center_y()};
      light.pivot_x = light.x;
      light.pivot_y = light.y;
      bool faint = true;
      for (int c = 0; c < CHANNELS; ++c) {
        const double energy = double(region.light[c]) / 4096.0 * gain[c];
        light.hotspot_color[c] = light.other_color[c] = float(energy < 1.0 ? energy : 1.0);
        light.rays_color[c] = 1.0f;
        faint &= light.hotspot_color[c] < FAINTEST;
      }
      if (!faint) lights.add(light);
    }
  }
}

/// The glare of the planes `bright` in the planes `result`, both of the view's size.
void draw_glare(node& n, std::int16_t* const* result, std::int16_t* const* bright, const flare_look& look) {
  const lens_flare_def* flare = flare_of_type(get_glares(), setting(n, TYPE) >> FIX_BITS);
  if (!flare) return;
  flare_shape& shape = get_flare_shape();
  shape.build(*flare, look);
  const double frame_width = display_dims.display_width;
  double gain[CHANNELS];
  for (int c = 0; c < CHANNELS; ++c)
    gain[c] = LIGHT_OF_FRAME / (frame_width * frame_width) * (setting(n, BRIGHTNESS, c) / 4096.0);
  const fix convolve = setting(n, CONVOLVE);
  if (convolve >= FIX_ONE) return convolve_glare(result, bright, shape, gain, convolve > FIX_ONE);
  light_list& lights = get_flare_lights();
  lights.clear();
  find_lights(bright, gain, lights);
  if (abort_pending()) return;
  const flare_canvas canvas = {{result[0], result[1], result[2]}, temp_raster_info.width, temp_raster_info.height};
  add_flares(canvas, shape, lights.data(), lights.count());
  if (!abort_pending()) limit_light(canvas);
}

}  // namespace

void glare(node& n) {
  check_image_planes(n, 2 * CHANNELS);
  settle_args(n, {THRESHOLD, PRE_BLUR, SIZE, BRIGHTNESS, SATURATION, TYPE, CONVOLVE, ROTATE, RES_FACTOR});
  const int fetched = fetch_light(n);
  if (check_abort()) return;
  const auto spread_grey = [fetched](std::int16_t* const* planes) {
    for (int c = fetched; c < CHANNELS; ++c) copy_plane(planes[c], planes[c - 1]);
  };
  const bool dark = setting(n, BRIGHTNESS, 0) == 0 && setting(n, BRIGHTNESS, 1) == 0 && setting(n, BRIGHTNESS, 2) == 0;
  if (dark || setting(n, SIZE, 0) == 0 || setting(n, SIZE, 1) == 0) return spread_grey(n.images);

  const int width = temp_raster_info.width, height = temp_raster_info.height;
  const fix pre_blur = amount_to_fix_pixels(setting(n, PRE_BLUR));
  for (int c = 0; c < fetched && pre_blur > 0 && !abort_pending(); ++c)
    blur_plane_to_plane(n.images[c], n.images[c], FIX_ONE, pre_blur, pre_blur, blur_edge_mode, PASSES, false, false,
                        width, height);
  // As many steps down as up, and one to each side of the threshold: the result ends in the node's first planes.
  plane_sets planes = {n.images, n.images + CHANNELS};
  const int reductions = fix_clamp(setting(n, RES_FACTOR) >> FIX_BITS, 0, MAX_REDUCTIONS);
  for (int i = 0; i < reductions && !abort_pending(); ++i) {
    for (int c = 0; c < fetched; ++c)
      reduce_plane(planes.other[c], planes.now[c], reduced(width, i), reduced(height, i));
    planes.swap();
  }
  if (abort_pending()) return;
  flare_look look = {.saturation = setting(n, SATURATION)};
  look.scale_x = setting(n, SIZE, 0) >> reductions;
  look.scale_y = setting(n, SIZE, 1) >> reductions;
  look.rotate = setting(n, ROTATE);
  {
    const reduced_work bracket(reductions);
    // Of the reduced frame, like the sizes: each step makes a glare half as large.
    look.pixels_per_unit = display_dims.display_width / 2.0;
    spread_grey(planes.now);
    const fix threshold[CHANNELS] = {setting(n, THRESHOLD, 0), setting(n, THRESHOLD, 1), setting(n, THRESHOLD, 2)};
    threshold_planes(planes.other, planes.now, threshold);
    for (int c = 0; c < CHANNELS; ++c) clear_plane(planes.now[c]);
    draw_glare(n, planes.now, planes.other, look);
  }
  for (int i = reductions - 1; i >= 0 && !abort_pending(); --i) {
    for (int c = 0; c < CHANNELS; ++c)
      expand_plane(planes.other[c], planes.now[c], reduced(width, i), reduced(height, i));
    planes.swap();
  }
}

}  // namespace tessaron::TESSARON_LEVEL
