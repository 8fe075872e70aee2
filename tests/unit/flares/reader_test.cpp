// The reader of flare files: what it takes, what it refuses and in which words, and that nothing bad in a file costs
// more than its own entry.
#include <random>

#include "flare_kit.h"
#include "genotype/text_reader.h"

namespace tessaron::testing {
namespace {

/// A file read into a table of its own.
class read_file {
 public:
  explicit read_file(const std::string& text, bool has_center = true, int max_number = LENS_FLARE_MAX_NUMBER)
      : path(folder_.write("flares.text", text)) {
    reports.clear();
    count = load_lens_flares_from_file(path.c_str(), table, max_number, "Lens:", has_center);
  }
  ~read_file() {
    for (int i = 0; i < count; ++i) free_lens_flare(table[i]);
  }
  std::string names() const {
    std::string all;
    for (int i = 0; i < count; ++i) all += (i ? " " : "") + table[i]->name;
    return all;
  }
  /// Whether a message came, and that the entry was left out.
  bool refused(const std::string& message, const std::string& name) const {
    return reports.severity_of(message) == REPORT_ERROR && reports.has("In " + path + " failed reading " + name + ".");
  }

 private:
  scratch_folder folder_;

 public:
  const std::string path;
  report_capture reports;
  lens_flare_def* table[LENS_FLARE_MAX_NUMBER + 1] = {};
  int count = 0;
};

const std::string SPOT = "spot center 0.5 radii 0 0.25 colors 1 0.5 0.25 0 0 0\n";
const std::string RAYS =
    "rays center 1 color 1 0.5 0.25 ray_number 7 jitter_angles 0.5 start_angle 30 radius_range 0.1 0.2 ray_width 0.02 "
    "rand_seed 12.9\n";
/// An entry that nothing is wrong with.
std::string good(const std::string& name) { return entry(SPOT, name); }

TEST(flare_reader, takes_every_kind_of_element) {
  const read_file f(entry(SPOT + "blob center -1.5e-1 radii +.2 end_of_radii 1 1 1\n" +
                              "ring center 1 radii 0.1 0.2 0.3 colors 0 0 0 1 1 1 0 0 0\n" +
                              "hexagon center 2 radii 0 1 colors 1 1 1 0.5 0.5 0.5\n" + RAYS,
                          "All"));
  EXPECT_TRUE(f.reports.empty()) << f.reports.all();
  ASSERT_EQ(f.count, 1);
  const lens_flare_def& d = *f.table[0];
  EXPECT_EQ(d.name, "All");
  ASSERT_EQ(d.spot_count, 4);
  ASSERT_EQ(d.rays_count, 1);
  EXPECT_EQ(d.spots[0]->center, 0.5f);
  EXPECT_EQ(d.spots[0]->color_count, 2);
  EXPECT_EQ(d.spots[0]->is_hexagon, 0);
  EXPECT_EQ(d.spots[0]->radii[1], 0.25f);
  EXPECT_EQ(d.spots[0]->colors[0][2], 0.25f);
  EXPECT_NEAR(d.spots[1]->center, -0.15, 1e-6);
  EXPECT_EQ(d.spots[1]->color_count, 1);
  EXPECT_EQ(d.spots[2]->color_count, 3);
  EXPECT_EQ(d.spots[2]->colors[1][0], 1);
  EXPECT_EQ(d.spots[3]->is_hexagon, 1);
  const lens_rays& r = *d.rays[0];
  EXPECT_EQ(r.color[1], 0.5f);
  EXPECT_EQ(r.ray_number, 7);
  EXPECT_EQ(r.jitter_angles, 0.5f);
  EXPECT_EQ(r.start_angle, 30.0f);
  EXPECT_NEAR(r.radius_range[1], 0.2, 1e-6);
  EXPECT_NEAR(r.ray_width, 0.02, 1e-6);
  EXPECT_EQ(r.rand_seed, 12) << "truncated";
}

TEST(flare_reader, wants_no_center_of_glares) {
  const read_file f(entry("spot radii 0 1 colors 1 1 1 0 0 0 rays color 1 1 1 ray_number 4 jitter_angles 0 start_angle "
                          "0 radius_range 1 1 ray_width 1 rand_seed 1"),
                    false);
  EXPECT_TRUE(f.reports.empty()) << f.reports.all();
  ASSERT_EQ(f.count, 1);
  EXPECT_EQ(f.table[0]->spots[0]->center, 1.0f);
  EXPECT_EQ(f.table[0]->rays[0]->center, 1.0f);
  const read_file with(entry("spot center 1 radii 0 1 colors 1 1 1 0 0 0"), false);
  EXPECT_TRUE(with.refused("Test expected 'radii', but got 'center'", "Test")) << with.reports.all();
}

TEST(flare_reader, skips_what_stands_between_entries) {
  const read_file f("Some words, end of them. 1 2 3 ( ) \"\n" + good("A") +
                    "spot center 5 end end\n// begin Comment\n" + good("B") + "trailing words");
  EXPECT_TRUE(f.reports.empty()) << f.reports.all();
  EXPECT_EQ(f.names(), "A B");
}

TEST(flare_reader, lets_the_end_of_the_file_end_the_last_entry) {
  const read_file f(good("A") + "begin B " + SPOT);
  EXPECT_TRUE(f.reports.empty()) << f.reports.all();
  EXPECT_EQ(f.names(), "A B");
  EXPECT_EQ(f.table[1]->spot_count, 1);
  EXPECT_EQ(read_file("begin Empty").names(), "Empty");
  EXPECT_EQ(read_file("").count, 0);
}

TEST(flare_reader, names_the_fault_of_an_entry_and_goes_on_with_the_next) {
  const struct {
    const char *elements, *message;
  } ROWS[] = {
      {"star center 1", "Lens flare Bad: got 'star' expected: spot, ring, rays, hexagon, blob, or end"},
      {"spot radii 1 2", "Bad expected 'center', but got 'radii'"},
      {"spot center 1 colors", "Bad expected 'radii', but got 'colors'"},
      {"spot center x radii", "after 'center' expected a number, but got 'x'"},
      {"spot center 1 radii 1 2 colors 1 1 1 1 1 red", "reading colors expected a number, but got 'red'"},
      {"rays center 1 ray_number 4", "Bad expected 'color', but got 'ray_number'"},
      {"rays center 1 color 1 1 x", "after 'color' expected a number, but got 'x'"},
      {"rays center 1 color 1 1 1 jitter_angles", "Bad expected 'ray_number', but got 'jitter_angles'"},
      {"rays center 1 color 1 1 1 ray_number many", "after 'ray_number' expected a number, but got 'many'"},
      {"rays center 1 color 1 1 1 ray_number 4 x", "Bad expected 'jitter_angles', but got 'x'"},
      {"rays center 1 color 1 1 1 ray_number 4 jitter_angles x",
       "after 'jitter_angles' expected a number, but got 'x'"},
      {"rays center 1 color 1 1 1 ray_number 4 jitter_angles 1 x", "Bad expected 'start_angle', but got 'x'"},
      {"rays center 1 color 1 1 1 ray_number 4 jitter_angles 1 start_angle x",
       "after 'start_angle' expected a number, but got 'x'"},
      {"rays center 1 color 1 1 1 ray_number 4 jitter_angles 1 start_angle 0 x",
       "Bad expected 'radius_range', but got 'x'"},
      {"rays center 1 color 1 1 1 ray_number 4 jitter_angles 1 start_angle 0 radius_range 1 x",
       "after 'radius_range' expected a number, but got 'x'"},
      {"rays center 1 color 1 1 1 ray_number 4 jitter_angles 1 start_angle 0 radius_range 1 2 x",
       "Bad expected 'ray_width', but got 'x'"},
      {"rays center 1 color 1 1 1 ray_number 4 jitter_angles 1 start_angle 0 radius_range 1 2 ray_width x",
       "after 'ray_width' expected a number, but got 'x'"},
      {"rays center 1 color 1 1 1 ray_number 4 jitter_angles 1 start_angle 0 radius_range 1 2 ray_width 1 x",
       "Bad expected 'rand_seed', but got 'x'"},
      {"rays center 1 color 1 1 1 ray_number 4 jitter_angles 1 start_angle 0 radius_range 1 2 ray_width 1 rand_seed x",
       "after 'rand_seed' expected a number, but got 'x'"},
  };
  for (const auto& row : ROWS) {
    const read_file f(good("A") + entry(SPOT + row.elements, "Bad") + good("C"));
    EXPECT_TRUE(f.refused(row.message, "Bad")) << row.elements << "\n" << f.reports.all();
    EXPECT_EQ(f.reports.count(), 2u) << f.reports.all();
    EXPECT_EQ(f.names(), "A C") << row.elements;
  }
}

TEST(flare_reader, tells_the_end_of_the_file_from_a_wrong_word) {
  const struct {
    const char *elements, *message;
  } ROWS[] = {
      {"spot", "Bad expected center, but got eof"},
      {"spot center", "after 'center' expected a number, but got eof"},
      {"spot center 1", "Bad expected radii, but got eof"},
      {"spot center 1 radii 1 2", "reading colors expected a number, but got eof"},
      {"spot center 1 radii 1 2 colors 1 1", "reading colors expected a number, but got eof"},
      {"rays center 1", "Bad expected color, but got eof"},
      {"rays center 1 color 1 1", "after 'color' expected a number, but got eof"},
      {"rays center 1 color 1 1 1 ray_number", "after 'ray_number' expected a number, but got eof"},
      {"rays center 1 color 1 1 1 ray_number 4 jitter_angles", "after 'jitter_angles' expected a number, but got eof"},
      {"rays center 1 color 1 1 1 ray_number 4 jitter_angles 1 start_angle",
       "after 'start_angle' expected a number, but got eof"},
      {"rays center 1 color 1 1 1 ray_number 4 jitter_angles 1 start_angle 0 radius_range 1",
       "after 'radius_range' expected a number, but got eof"},
      {"rays center 1 color 1 1 1 ray_number 4 jitter_angles 1 start_angle 0 radius_range 1 2 ray_width",
       "after 'ray_width' expected a number, but got eof"},
      {"rays center 1 color 1 1 1 ray_number 4 jitter_angles 1 start_angle 0 radius_range 1 2 ray_width 1 rand_seed",
       "after 'rand_seed' expected a number, but got eof"},
  };
  for (const auto& row : ROWS) {
    const read_file f(good("A") + "begin Bad " + row.elements);
    EXPECT_TRUE(f.refused(row.message, "Bad")) << row.elements << "\n" << f.reports.all();
    EXPECT_EQ(f.names(), "A");
  }
  const read_file f(good("A") + "begin");
  EXPECT_TRUE(f.refused("begin expected a name, but got eof", "an entry without a name")) << f.reports.all();
}

TEST(flare_reader, takes_a_begin_out_of_place_for_the_next_entry) {
  // Whatever is missing in front of it, the entry that it opens is read.
  for (const char* broken : {"begin", "begin Bad spot", "begin Bad spot center", "begin Bad spot center 1",
                             "begin Bad spot center 1 radii 1", "begin Bad spot center 1 radii 1 colors 1",
                             "begin Bad rays center 1 color 1", "begin Bad 12"}) {
    const read_file f(good("A") + broken + "\n" + good("B"));
    EXPECT_EQ(f.names(), "A B") << broken;
  }
  const read_file no_end("begin A " + SPOT + good("B"));
  EXPECT_TRUE(no_end.refused("Lens flare A: got 'begin' expected: spot, ring, rays, hexagon, blob, or end", "A"));
  EXPECT_EQ(no_end.names(), "B");
}

std::string repeated(int n, const std::string& text) {
  std::string all;
  while (n-- > 0) all += text;
  return all;
}
std::string spot_with(int radii) {
  return "spot center 1 radii " + repeated(radii, "1 ") + "colors " + repeated(radii, "1 1 1 ");
}

TEST(flare_reader, holds_the_limits) {
  EXPECT_EQ(read_file(entry(repeated(29, SPOT))).table[0]->spot_count, 29);
  const read_file spots(good("A") + entry(repeated(30, SPOT), "Many") + good("C"));
  EXPECT_TRUE(spots.refused("For Many, spot number exceeded LENS_FLARE_MAX_SPOTS.", "Many")) << spots.reports.all();
  EXPECT_EQ(spots.names(), "A C");

  EXPECT_EQ(read_file(entry(spot_with(9))).table[0]->spots[0]->color_count, 9);
  const read_file radii(good("A") + entry(spot_with(10), "Many") + good("C"));
  EXPECT_TRUE(radii.refused("For Many, number of radii or colors exceeded SPOT_MAX_COLORS.", "Many"))
      << radii.reports.all();
  EXPECT_EQ(radii.names(), "A C");

  EXPECT_EQ(read_file(entry(repeated(9, RAYS))).table[0]->rays_count, 9);
  const read_file rays(good("A") + entry(repeated(10, RAYS), "Many") + good("C"));
  EXPECT_TRUE(rays.refused("For Many, rays number exceeded LENS_FLARE_MAX_RAYS.", "Many")) << rays.reports.all();
  EXPECT_EQ(rays.names(), "A C");

  EXPECT_EQ(read_file(repeated(200, good("A"))).count, 200);
  const read_file entries(repeated(203, good("A")));
  EXPECT_EQ(entries.count, 200);
  EXPECT_EQ(entries.reports.count(), 1u) << entries.reports.all();
  EXPECT_EQ(entries.reports.severity_of("While loading " + entries.path + ", exceeded max_number 200.\n"),
            REPORT_ERROR);
  EXPECT_EQ(entries.table[200], nullptr);
}

TEST(flare_reader, holds_any_number) {
  const read_file f(
      entry("spot center 1e99 radii -1e99 1e38 colors 1e39 -1 0e99 0 0 0\n"
            "rays center 1 color 1 1 1 ray_number 1e30 jitter_angles 0 start_angle 0 radius_range 0 0 "
            "ray_width 0 rand_seed -1e30"));
  ASSERT_EQ(f.count, 1) << f.reports.all();
  EXPECT_EQ(f.table[0]->rays[0]->ray_number, 2147483520);
  EXPECT_EQ(f.table[0]->rays[0]->rand_seed, -2147483520);
}

TEST(flare_reader, tells_of_a_file_that_is_not_there) {
  lens_flare_def* table[1] = {};
  report_capture reports;
  EXPECT_EQ(load_lens_flares_from_file("/nowhere/t_lensflares.text", table, 1, "Lens:", true), 0);
  EXPECT_TRUE(reports.has("load_lens_flares_from_file: Can't open file /nowhere/t_lensflares.text\n"));
  EXPECT_TRUE(reports.has("Error opening lens flare file: No such file or directory")) << reports.all();
  EXPECT_EQ(reports.count(), 2u) << reports.all();
}

TEST(flare_reader, cannot_free_nothing) {
  report_capture reports;
  free_lens_flare(nullptr);
  EXPECT_EQ(reports.severity_of("free_lens_flare: given NULL."), REPORT_ERROR);
}

TEST(flare_reader, survives_a_file_cut_at_any_byte) {
  const std::string whole = good("A") + entry(SPOT + RAYS + "hexagon center 1 radii 1 2 colors 1 1 1 0 0 0", "B");
  for (std::size_t n = 0; n <= whole.size(); ++n) {
    const read_file f(whole.substr(0, n));
    // What stands whole in front of the cut is there.
    const bool first_whole = n >= good("A").size();
    EXPECT_EQ(first_whole && f.names().substr(0, 1) != "A", false) << n;
    EXPECT_EQ(open_file_count, 0);
  }
}

TEST(flare_reader, survives_any_bytes) {
  const std::string whole =
      entry(SPOT + RAYS, "B") + "between\n" + entry("hexagon center 1 radii 1 2 c 1 1 1 0 0 0", "C");
  std::mt19937 random(11);
  for (int round = 0; round < 1500; ++round) {
    const std::string text = spoilt(whole, random);
    // Broken as it may be, an entry of its own lines behind it is read.
    const read_file f(text + "\nend\n" + good("Last"));
    ASSERT_GE(f.count, 1) << text;
    ASSERT_EQ(f.table[f.count - 1]->name, "Last") << text;
  }
}

// --- the two lists -------------------------------------------------------------------------------------------

TEST(flare_lists, are_read_when_they_are_asked_for_and_when_a_reload_is_due) {
  const flare_files files(good("A") + good("B"), entry("blob radii 1 colors 1 1 1", "G"));
  EXPECT_EQ(get_lens_flares().count, 2);
  EXPECT_EQ(get_glares().count, 1);
  files.folder().write("t_lensflares.text", good("C"));
  EXPECT_EQ(get_lens_flares().count, 2) << "read once";
  reload_flare_lists();
  ASSERT_EQ(get_lens_flares().count, 1);
  EXPECT_EQ(get_lens_flares().entries[0]->name, "C");
  EXPECT_EQ(get_glares().entries[0]->name, "G");
}

TEST(flare_lists, follow_the_configuration_directory) {
  const flare_files first(good("A"));
  EXPECT_EQ(get_lens_flares().entries[0]->name, "A");
  const flare_files second(good("B"));
  EXPECT_EQ(get_lens_flares().entries[0]->name, "B");
}

TEST(flare_lists, without_a_file_are_empty) {
  const flare_files files(good("A"));
  std::filesystem::remove(files.folder().file("t_lensflares.text"));
  report_capture reports;
  EXPECT_EQ(get_lens_flares().count, 0);
  EXPECT_TRUE(reports.has_part("Error opening lens flare file:"));
  reports.clear();
  EXPECT_EQ(get_lens_flares().count, 0);
  EXPECT_TRUE(reports.empty()) << "told once";
}

/// The files that are installed.
TEST(flare_lists, that_are_shipped_have_no_faults) {
  const std::string folder = std::string(TESSARON_SOURCE_DIR) + "/config/";
  const struct {
    const char* file;
    bool has_center;
    int fewest;
  } ROWS[] = {{"t_lensflares.text", true, 40}, {"t_glares.text", false, 25}};
  for (const auto& row : ROWS) {
    lens_flare_def* table[LENS_FLARE_MAX_NUMBER] = {};
    report_capture reports;
    const int count =
        load_lens_flares_from_file((folder + row.file).c_str(), table, LENS_FLARE_MAX_NUMBER, "", row.has_center);
    EXPECT_TRUE(reports.empty()) << reports.all();
    EXPECT_GE(count, row.fewest);
    for (int i = 0; i < count; ++i) {
      const lens_flare_def& d = *table[i];
      EXPECT_GT(d.spot_count + d.rays_count, 0) << d.name;
      for (int k = 0; k < i; ++k) EXPECT_NE(d.name, table[k]->name);
      for (int s = 0; s < d.spot_count; ++s)
        for (int r = 1; r < d.spots[s]->color_count; ++r)
          EXPECT_LE(d.spots[s]->radii[r - 1], d.spots[s]->radii[r]) << d.name << " element " << s;
    }
    for (int i = 0; i < count; ++i) free_lens_flare(table[i]);
  }
}

}  // namespace
}  // namespace tessaron::testing
