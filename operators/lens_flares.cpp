// The reader of the flare files, and the two lists that it fills.
#include "operators/lens_flares.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <utility>

#include "base/lasting.h"
#include "base/report.h"
#include "base/text.h"
#include "genotype/text_reader.h"
#include "installer/custom_listing.h"

namespace tessaron {
namespace {

/// Reads one entry after another from the text reader's source.
class flare_file_reader {
 public:
  flare_file_reader(const char* file, bool has_center) : file_(file), has_center_(has_center) {}

  /// Goes on to the next `begin`; false at the end of the file.
  bool find_entry() {
    while (get_token(token_) == 0)
      if (is("begin")) return true;
    return false;
  }

  /// The entry behind a `begin`, or null for a broken one, which has been reported.
  std::unique_ptr<lens_flare_def> read_entry() {
    auto flare = std::make_unique<lens_flare_def>();
    if (read_name(*flare) && read_elements(*flare)) return flare;
    report(REPORT_ERROR, "In %s failed reading %s.", file_, flare->name.c_str());
    return nullptr;
  }

 private:
  bool is(const char* word) const { return std::strcmp(token_, word) == 0; }

  /// What every fault ends with. A `begin` where something else was wanted belongs to the next entry.
  bool fail() {
    if (!at_end_ && is("begin")) unread_token(token_);
    return false;
  }
  bool next_token() {
    at_end_ = get_token(token_) != 0;
    return !at_end_;
  }

  bool read_name(lens_flare_def& flare) {
    flare.name = "an entry without a name";
    do {  // the word may stand in the text in front of an entry
      if (next_token()) continue;
      report(REPORT_ERROR, "%s expected %s, but got eof", "begin", "a name");
      return fail();
    } while (is("begin"));
    flare.name = token_;
    return true;
  }

  bool read_elements(lens_flare_def& flare) {
    while (next_token()) {
      if (is("end")) return true;
      bool read = false;
      if (is("spot") || is("blob") || is("ring") || is("hexagon")) {
        read = read_spot(flare);
      } else if (is("rays")) {
        read = read_rays(flare);
      } else {
        report(REPORT_ERROR, "Lens flare %s: got '%s' expected: spot, ring, rays, hexagon, blob, or end",
               flare.name.c_str(), token_);
        return fail();
      }
      if (!read) return fail();
    }
    return true;  // the file's end ends its last entry
  }

  bool keyword(const lens_flare_def& flare, const char* word) {
    if (!next_token()) {
      report(REPORT_ERROR, "%s expected %s, but got eof", flare.name.c_str(), word);
      return false;
    }
    if (is(word)) return true;
    report(REPORT_ERROR, "%s expected '%s', but got '%s'", flare.name.c_str(), word, token_);
    return false;
  }

  bool number(const char* where, float& value) {
    if (!next_token()) {
      report(REPORT_ERROR, "%s expected a number, but got eof", where);
      return false;
    }
    if (parse_number(token_, value)) return true;
    report(REPORT_ERROR, "%s expected a number, but got '%s'", where, token_);
    return false;
  }
  bool integer(const char* where, std::int32_t& value) {
    constexpr float LARGEST = 2147483520.0f;  // the largest float that 32 bits hold
    float v = 0;
    if (!number(where, v)) return false;
    value = std::isnan(v) ? 0 : std::int32_t(std::clamp(v, -LARGEST, LARGEST));
    return true;
  }

  bool read_center(const lens_flare_def& flare, float& center) {
    center = 1.0f;
    return !has_center_ || (keyword(flare, "center") && number("after 'center'", center));
  }

  bool read_spot(lens_flare_def& flare) {
    if (flare.spot_count >= LENS_FLARE_MAX_SPOTS - 1) {
      report(REPORT_ERROR, "For %s, spot number exceeded LENS_FLARE_MAX_SPOTS.", flare.name.c_str());
      return false;
    }
    auto spot = std::make_unique<lens_spot>();
    spot->is_hexagon = is("hexagon");
    if (!read_center(flare, spot->center) || !keyword(flare, "radii") || !read_radii(flare, *spot)) return false;
    for (int i = 0; i < spot->color_count; ++i)
      for (float& component : spot->colors[i])
        if (!number("reading colors", component)) return false;
    flare.spots[flare.spot_count++] = std::move(spot);
    return true;
  }

  /// Numbers up to a word. The end of the file counts as one, and is met again where a colour is wanted.
  bool read_radii(const lens_flare_def& flare, lens_spot& spot) {
    float radius = 0;
    while (next_token() && parse_number(token_, radius)) {
      if (spot.color_count >= SPOT_MAX_COLORS - 1) {
        report(REPORT_ERROR, "For %s, number of radii or colors exceeded SPOT_MAX_COLORS.", flare.name.c_str());
        return false;
      }
      spot.radii[spot.color_count++] = radius;
    }
    if (at_end_ || !is("begin")) return true;
    report(REPORT_ERROR, "%s expected a number, but got '%s'", "reading colors", token_);
    return false;
  }

  bool read_rays(lens_flare_def& flare) {
    if (flare.rays_count >= LENS_FLARE_MAX_RAYS - 1) {
      report(REPORT_ERROR, "For %s, rays number exceeded LENS_FLARE_MAX_RAYS.", flare.name.c_str());
      return false;
    }
    auto rays = std::make_unique<lens_rays>();
    lens_rays& r = *rays;
    if (!read_center(flare, r.center)) return false;
    if (!keyword(flare, "color")) return false;
    for (float& component : r.color)
      if (!number("after 'color'", component)) return false;
    const bool read = keyword(flare, "ray_number") && integer("after 'ray_number'", r.ray_number) &&
                      keyword(flare, "jitter_angles") && number("after 'jitter_angles'", r.jitter_angles) &&
                      keyword(flare, "start_angle") && number("after 'start_angle'", r.start_angle) &&
                      keyword(flare, "radius_range") && number("after 'radius_range'", r.radius_range[0]) &&
                      number("after 'radius_range'", r.radius_range[1]) && keyword(flare, "ray_width") &&
                      number("after 'ray_width'", r.ray_width) && keyword(flare, "rand_seed") &&
                      integer("after 'rand_seed'", r.rand_seed);
    if (read) flare.rays[flare.rays_count++] = std::move(rays);
    return read;
  }

  const char* const file_;
  const bool has_center_;
  char token_[TOKEN_SIZE] = "";
  bool at_end_ = false;
};

/// Faults of the tokens themselves are told with a list's name, as long as this lives.
class subject_scope {
 public:
  explicit subject_scope(const char* name) : before_(reading_subject) { reading_subject = name; }
  ~subject_scope() { reading_subject = before_; }
  subject_scope(const subject_scope&) = delete;
  subject_scope& operator=(const subject_scope&) = delete;

 private:
  const char* const before_;
};

/// Entries as they are read into a table. They are freed again unless all of the file has been read.
class entries_being_read {
 public:
  explicit entries_being_read(lens_flare_def** table) : table_(table) {}
  ~entries_being_read() {
    while (count_ > 0) delete table_[--count_];
  }
  entries_being_read(const entries_being_read&) = delete;
  entries_being_read& operator=(const entries_being_read&) = delete;

  int count() const { return count_; }
  void add(std::unique_ptr<lens_flare_def> flare) { table_[count_++] = flare.release(); }
  /// Hands them to the table's owner.
  int release() { return std::exchange(count_, 0); }

 private:
  lens_flare_def** const table_;
  int count_ = 0;
};

/// One of the two lists, and what it was read from.
class loaded_list {
 public:
  loaded_list(const char* file, const char* prefix, bool has_center)
      : file_(file), prefix_(prefix), has_center_(has_center) {}

  const flare_list& get() {
    const std::string path = std::string(get_config_dir()) + "/" + file_;
    if (loaded_ && !reload_due_ && path == path_) return list_;
    free();
    path_ = path;
    list_.count = load_lens_flares_from_file(path.c_str(), list_.entries, LENS_FLARE_MAX_NUMBER, prefix_, has_center_);
    loaded_ = true;  // unless memory ran out: then the next frame reads it again
    return list_;
  }
  void reload() { reload_due_ = true; }
  void free() {
    for (int i = 0; i < list_.count; ++i) free_lens_flare(list_.entries[i]);
    list_ = {};
    std::string().swap(path_);  // its memory too
    loaded_ = reload_due_ = false;
  }

 private:
  const char* const file_;
  const char* const prefix_;
  const bool has_center_;
  flare_list list_;
  std::string path_;
  bool loaded_ = false, reload_due_ = false;
};

loaded_list& lens_flares() {
  static lasting<loaded_list> list("t_lensflares.text", "Lens:", true);
  return list.value;
}
loaded_list& glares() {
  static lasting<loaded_list> list("t_glares.text", "Type:", false);
  return list.value;
}

}  // namespace

int load_lens_flares_from_file(const char* name, lens_flare_def** table, int max_number, const char* name_prefix,
                               bool has_center) {
  if (const int fault = open_fault(name)) {
    report(REPORT_ERROR, "load_lens_flares_from_file: Can't open file %s\n", name);
    report(REPORT_ERROR, "Error opening lens flare file: %s", std::strerror(fault));
    return 0;
  }
  const file_source source(name);
  if (!source.stream) return 0;
  const subject_scope subject(name_prefix);
  flare_file_reader reader(name, has_center);
  entries_being_read entries(table);
  while (reader.find_entry()) {
    if (entries.count() >= max_number) {
      report(REPORT_ERROR, "While loading %s, exceeded max_number %d.\n", name, max_number);
      break;
    }
    if (std::unique_ptr<lens_flare_def> flare = reader.read_entry()) entries.add(std::move(flare));
  }
  return entries.release();
}

void free_lens_flare(lens_flare_def* flare) {
  if (!flare) report(REPORT_ERROR, "free_lens_flare: given NULL.");
  delete flare;
}

const flare_list& get_lens_flares() { return lens_flares().get(); }
const flare_list& get_glares() { return glares().get(); }

void reload_flare_lists() {
  lens_flares().reload();
  glares().reload();
}
void free_flare_lists() {
  lens_flares().free();
  glares().free();
}

}  // namespace tessaron
