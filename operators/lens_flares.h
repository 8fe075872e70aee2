// Lens flares and glares as their data files describe them: lists of elements along the line from a light to a pivot.
//
//   begin Name
//     spot   center 1.0 radii 0 0.1 0.3 colors  1 1 1  0.5 0.4 0.2  0 0 0
//     rays   center 1.0 color 1 0.9 0.7 ray_number 24 jitter_angles 0.8 start_angle 0
//            radius_range 0.1 0.3 ray_width 0.01 rand_seed 7
//   end
//
// `spot`, `blob` and `ring` are one and the same; `hexagon` has six corners. Glares have no `center`: all of a glare
// lies at its light. Text between an `end` and the next `begin` is skipped.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace tessaron {

// Sizes of the records. The reader refuses an element that would take the last place, so each holds one less.
inline constexpr int LENS_FLARE_MAX_SPOTS = 30;
inline constexpr int LENS_FLARE_MAX_RAYS = 10;
inline constexpr int SPOT_MAX_COLORS = 10;
inline constexpr int LENS_FLARE_MAX_NUMBER = 200;  // entries of a file; all of them can be taken

/// A disc, ring or hexagon. Radii and widths are parts of half the frame's width.
struct lens_spot {
  float center;  // place on the line from the pivot (0) to the light (1)
  std::int32_t color_count;
  std::int32_t is_hexagon;
  float radii[SPOT_MAX_COLORS];
  float colors[SPOT_MAX_COLORS][3];  // at the radii; between them colours blend
};

/// A burst of rays.
struct lens_rays {
  float center;
  float color[3];
  std::int32_t ray_number;
  float jitter_angles;    // 0: evenly spread, 1: anywhere between the neighbours
  float start_angle;      // degrees
  float radius_range[2];  // shortest and longest ray
  float ray_width;
  std::int32_t rand_seed;
};

struct lens_flare_def {
  std::string name;
  std::int32_t spot_count = 0, rays_count = 0;
  std::unique_ptr<lens_spot> spots[LENS_FLARE_MAX_SPOTS];
  std::unique_ptr<lens_rays> rays[LENS_FLARE_MAX_RAYS];
};

/// Reads a file's entries into `table`, which has room for `max_number`; the number of entries. A broken entry is
/// reported and left out. `name_prefix` is what messages call the list; `has_center`: elements say where they stand.
int load_lens_flares_from_file(const char* name, lens_flare_def** table, int max_number, const char* name_prefix,
                               bool has_center);
/// Reports a null.
void free_lens_flare(lens_flare_def* flare);

/// The entries of a file in its order.
struct flare_list {
  int count = 0;
  lens_flare_def* entries[LENS_FLARE_MAX_NUMBER] = {};
};

/// Those of t_lensflares.text and t_glares.text in the configuration directory. The files are read at the first
/// call, when a reload is due, and when the directory is another one. Main thread only.
const flare_list& get_lens_flares();
const flare_list& get_glares();
/// Has the files read again at the next call.
void reload_flare_lists();
/// Frees both lists; a later call reads the files anew.
void free_flare_lists();

}  // namespace tessaron
