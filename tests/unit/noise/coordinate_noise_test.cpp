// Noises at coordinates: every function and combo against its plain form, at all levels and over all sorts of rows.
#include <gtest/gtest.h>

#include "genotype/genotype_reader.h"
#include "support/render_definition.h"
#include "support/report_capture.h"
#include "unit/noise/plain_noise.h"
#include "unit/operators/plane_kit.h"

namespace tessaron::testing {
namespace {

const register_reference WARP_NOISE("warp_noise", plain_warp_noise), WARP_NOISE2("warp_noise2", plain_warp_noise),
    WARP_NOISE3("warp_noise3", plain_warp_noise), SPOTS("spots", plain_spots), VORONOI("voronoi", plain_voronoi),
    HEX_TILES("hex_tiles", plain_hex_tiles);

const char* const FUNCTIONS[] = {"warp_noise", "warp_noise2", "warp_noise3", "spots", "voronoi", "hex_tiles"};

class coordinate_noise : public ::testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(all, coordinate_noise, ::testing::ValuesIn(FUNCTIONS),
                         [](const auto& info) { return std::string(info.param); });

TEST_P(coordinate_noise, agrees_with_its_plain_form_for_any_values) {
  const fun_info& fun = *level_catalogue(cpu_level::generic).find(GetParam());
  for (int combo = 0; combo < fun.arg_type_combo_number; ++combo)
    EXPECT_EQ(compare_combo(fun, combo, references().at(fun.name), 1234 + combo), "");
}

/// Coordinates that move by a step from sample to sample, through places all over the plane.
struct walk {
  fix x, y, dx, dy;
  fix frequency_x, frequency_y;
  fix third, seed, fifth;
};

std::string compare_walk(const fun_info& fun, int combo, const walk& w, int width, bool rows) {
  std::vector<arg_form> forms(fun.arg_number, rows ? arg_form::row : arg_form::constant);
  forms[0] = arg_form::row;
  kernel_bench bench(fun, combo, width, forms);
  const fix rest[] = {0, 0, w.third, w.seed, w.fifth};
  for (int i = 0; i < width; ++i) {
    bench.set(0, i, 0, low32(w.x + wide(i) * w.dx));
    bench.set(0, i, 1, low32(w.y + wide(i) * w.dy));
  }
  for (int i = 0; i < bench.samples_of(1); ++i) {
    bench.set(1, i, 0, w.frequency_x);
    if (bench.elnum(1) > 1) bench.set(1, i, 1, w.frequency_y);
  }
  for (int a = 2; a < fun.arg_number; ++a)
    // In rows, octaves, angles and seeds change in the middle of blocks.
    for (int i = 0; i < bench.samples_of(a); ++i) bench.set(a, i, 0, rest[a] + (rows ? i / 11 % 3 : 0));
  bench.complete_constants();
  for (cpu_level level : usable_levels()) {
    bench.run(level_catalogue(level).find(fun.name)->kernels[combo]);
    for (int i = 0; i < width; ++i) {
      const sample_input in = bench.input(i);
      fix expected[4];
      references().at(fun.name).of(in, expected);
      for (int e = 0; e < in.result_elnum; ++e)
        if (bench.result(i, e) != expected[e])
          return std::string(fun.name) + " at level " + cpu_level_name(level) + ", sample " + std::to_string(i) +
                 ", element " + std::to_string(e) + ": " + std::to_string(bench.result(i, e)) + ", expected " +
                 std::to_string(expected[e]) + ":" + describe(in);
    }
    if (const std::string damage = bench.damage(); !damage.empty()) return fun.name + (" wrote over " + damage);
  }
  return {};
}

TEST_P(coordinate_noise, agrees_with_its_plain_form_along_lines) {
  const fun_info& fun = *level_catalogue(cpu_level::generic).find(GetParam());
  std::mt19937 random(77);
  const auto any = [&](fix low, fix high) { return low + fix(random() % unsigned(high - low + 1)); };
  for (int round = 0; round < 60; ++round) {
    walk w = {};
    w.x = any(-40000, 40000);
    w.y = any(-40000, 40000);
    // From resting to several cells a sample.
    const fix step = 1 << (round % 12);
    w.dx = any(-step, step);
    w.dy = round % 3 ? any(-step, step) : 0;
    w.frequency_x = any(-5 * 4096, 40 * 4096);
    w.frequency_y = any(-5 * 4096, 40 * 4096);
    w.third = any(0, 7 * 4096);
    w.seed = any(-100000, 100000);
    w.fifth = any(-3 * 4096, 3 * 4096);
    EXPECT_EQ(compare_walk(fun, round % fun.arg_type_combo_number, w, 1 + int(random() % 300), round % 4 == 0), "");
  }
}

// --- values worked out by hand -----------------------------------------------------------------------------

TEST(lattice, begins_with_these_values) {
  // hash_table[0] is 150889 >> 2 and what its two followers add.
  const std::uint64_t s1 = 150889, s2 = (s1 * 4096 + 150889) % 714025, s3 = (s2 * 4096 + 150889) % 714025;
  EXPECT_EQ(hash_table[0], std::uint32_t(s3 * 262144 + s2 * 256 + s1 / 4));
  const std::uint32_t v = hash4(hash4(0));
  EXPECT_EQ(plain_lattice(0, 0, 0, 0), fix(v & 0x1fff) - 4096);
  EXPECT_EQ(plain_lattice(0, 0, 0, 1), fix(v >> 16 & 0x1fff) - 4096);
  EXPECT_EQ(plain_lattice(0, 0, 0, 2), fix((v + hash_table[v & 255]) >> 8 & 0x1fff) - 4096);
}

TEST(warp_noise, is_half_everywhere_without_octaves) {
  for (fix x : {-8192, 0, 3, 40960}) expect_values("warp_noise", {{x, -x}, {4096}, {0}, {7}}, {2048});
  expect_values("warp_noise", {{5, 6}, {4096}, {-4096}, {7}}, {2048});
  expect_values("warp_noise3", {{5, 6}, {4096}, {0}, {7}}, {2048, 2048, 2048});
  expect_values("warp_noise2", {{5, 6}, {4096}, {0}, {7}, {4096}}, {0, 0});
}

TEST(warp_noise, counts_the_last_octave_by_its_fraction) {
  // 1.5 octaves: the first at full amplitude, the second at a quarter.
  const fix x = 12345, y = -4321;
  const fix first = plain_octave(x, y, 9, 0, 4096), second = plain_octave(2 * x, 2 * y, 9 ^ 1, 0, 1024);
  expect_values("warp_noise", {{x, y}, {2048}, {6144}, {9}}, {floor_shift(first + second, 1) + 2048});
  // Any part of a first octave is the whole one.
  for (fix octaves : {1, 2048, 4096})
    expect_values("warp_noise", {{x, y}, {2048}, {octaves}, {9}}, {floor_shift(first, 1) + 2048});
}

TEST(warp_noise, is_constant_where_the_frequency_is_0) {
  const values there = evaluate("warp_noise", {{0, 0}, {4096}, {3 * 4096}, {5}});
  for (fix x : {-9999, 17, 123456}) EXPECT_EQ(evaluate("warp_noise", {{x, x / 3}, {0}, {3 * 4096}, {5}}), there);
}

TEST(warp_noise, has_no_end_to_its_octaves) {
  // Beyond the 13th there is no amplitude left, so that all these agree.
  const values thirteen = evaluate("warp_noise", {{777, 31}, {40960}, {13 * 4096}, {5}});
  for (fix octaves : {14 * 4096, 40 * 4096, 1000 * 4096, 500000 * 4096})
    EXPECT_EQ(evaluate("warp_noise", {{777, 31}, {40960}, {octaves}, {5}}), thirteen);
}

TEST(warp_noise, doubles_the_frequency_for_twice_the_coordinates) {
  for (fix x : {100, 5000, -777})
    EXPECT_EQ(evaluate("warp_noise", {{2 * x, -x}, {3 * 4096}, {4 * 4096}, {1}}),
              evaluate("warp_noise", {{x, -x}, {6 * 4096, 3 * 4096}, {4 * 4096}, {1}}));
}

TEST(warp_noise, two_elements_go_around_0_and_by_their_scale) {
  const values full = evaluate("warp_noise2", {{999, 888}, {20480}, {3 * 4096}, {4}, {2 * 4096}});
  // At a scale of 2.0 there are the sums themselves, of which warp_noise has half and 0.5.
  EXPECT_EQ(evaluate("warp_noise", {{999, 888}, {20480}, {3 * 4096}, {4}}), values{(full[0] >> 1) + 2048});
  EXPECT_EQ(evaluate("warp_noise2", {{999, 888}, {20480}, {3 * 4096}, {4}, {0}}), (values{0, 0}));
  EXPECT_EQ(evaluate("warp_noise2", {{999, 888}, {20480}, {3 * 4096}, {4}, {-2 * 4096}}), (values{-full[0], -full[1]}));
}

TEST(warp_noise, moves_by_little_where_coordinates_do) {
  // The bells' slopes are at most 2.5 a cell; with three octaves 8 lattice steps change a value by well below 0.05.
  for (fix y : {0, 1234, -70000})
    for (fix x = -20000; x < 20000; x += 8) {
      const fix a = evaluate("warp_noise", {{x, y}, {2048}, {3 * 4096}, {3}})[0];
      const fix b = evaluate("warp_noise", {{x + 8, y}, {2048}, {3 * 4096}, {3}})[0];
      ASSERT_LT(std::abs(a - b), 200) << x << ' ' << y;
    }
}

TEST(warp_noise, moves_by_little_where_octaves_do) {
  // Within an octave its amplitude grows with the fraction; at a whole number the next one begins with nothing.
  for (fix octaves = 4096; octaves < 6 * 4096; octaves += 16) {
    const fix a = evaluate("warp_noise", {{4567, 999}, {20480}, {octaves}, {3}})[0];
    const fix b = evaluate("warp_noise", {{4567, 999}, {20480}, {octaves + 16}, {3}})[0];
    ASSERT_LE(std::abs(a - b), 12) << octaves;
  }
}

TEST(spots, are_nowhere_without_a_radius) {
  for (fix radius : {0, 3, -3, 255, -256})
    for (fix x : {0, 4096, 777}) expect_values("spots", {{x, x}, {8192}, {radius}, {1}}, {0});
}

TEST(spots, have_a_largest_radius) {
  for (fix x = -30000; x < 30000; x += 777) {
    const values largest = evaluate("spots", {{x, x / 3}, {8192}, {6144}, {1}});
    for (fix radius : {6147, 8192, 4096 * 100, -6144, INT32_MAX})
      EXPECT_EQ(evaluate("spots", {{x, x / 3}, {8192}, {radius}, {1}}), largest);
  }
}

TEST(spots, are_white_in_their_middles_and_stay_inside_their_cells) {
  const fix radius = 4096, r = radius / 4;
  for (int cell = -3; cell <= 3; ++cell) {
    const auto middle = [&](int element) {
      const fix halved = floor_shift(plain_lattice(cell, 2 * cell, 5, element), 1);
      return floor_shift(wide(halved) * (4096 - 2 * r), 12);
    };
    // At frequency 2.0 coordinates are cells.
    const fix x = cell * 4096 + middle(0), y = 2 * cell * 4096 + middle(1);
    EXPECT_LE(std::abs(middle(0)) + r, 2048);
    expect_values("spots", {{x, y}, {8192}, {radius}, {5}}, {4096});
  }
}

TEST(voronoi, is_white_on_edges_and_black_in_centres) {
  // The centre of cell (2, -1), which no other centre comes near to.
  const fix x = 2 * 4096 + product(plain_lattice(2, -1, 7, 0), 1638);
  const fix y = -4096 + product(plain_lattice(2, -1, 7, 1), 1638);
  expect_values("voronoi", {{x, y}, {8192}, {0}, {7}}, {0});
  fix largest = 0;
  for (fix at = 0; at < 40960; at += 16)
    largest = std::max(largest, evaluate("voronoi", {{at, 0}, {8192}, {0}, {7}})[0]);
  EXPECT_GT(largest, 4050);
  EXPECT_LE(largest, 4096);
}

TEST(voronoi, turns_its_centres_a_whole_turn_back_to_almost_where_they_were) {
  // A turn of 1.0 multiplies by 1.0, and loses nothing; one of 0 isn't made at all.
  for (fix at = -9000; at < 9000; at += 333)
    EXPECT_EQ(evaluate("voronoi", {{at, 2 * at}, {8192}, {4096}, {7}}),
              evaluate("voronoi", {{at, 2 * at}, {8192}, {0}, {7}}));
}

TEST(hex_tiles, repeat_after_a_tile) {
  // With frequency 1.0 the second coordinate repeats after 2.0.
  for (fix revs : {0, 300, 1024, 3000})
    for (fix y = -5000; y < 5000; y += 99)
      EXPECT_EQ(evaluate("hex_tiles", {{1234, y}, {4096}, {revs}}),
                evaluate("hex_tiles", {{1234, y + 8192}, {4096}, {revs}}));
}

TEST(hex_tiles, go_from_black_to_white_at_every_angle) {
  for (fix revs = 0; revs < 4096; revs += 128) {
    fix low = INT32_MAX, high = INT32_MIN;
    for (fix y = 0; y < 8192; y += 64)
      for (fix x = 0; x < 16384; x += 64) {
        const fix v = evaluate("hex_tiles", {{x, y}, {4096}, {revs}})[0];
        low = std::min(low, v);
        high = std::max(high, v);
      }
    EXPECT_GE(low, -2);
    EXPECT_LE(low, 60) << revs;
    EXPECT_LE(high, 4098);
    EXPECT_GE(high, 4036) << revs;
  }
}

TEST(hex_tiles, take_the_light_of_a_row_from_its_first_sample) {
  kernel_bench bench(*level_catalogue(cpu_level::generic).find("hex_tiles"), 0, 40,
                     {arg_form::row, arg_form::constant, arg_form::row});
  bench.set(1, 0, 0, 20480);
  for (int i = 0; i < 40; ++i) {
    bench.set(0, i, 0, 500 * i);
    bench.set(0, i, 1, 70 * i);
    bench.set(2, i, 0, 100 * i + 55);
  }
  bench.complete_constants();
  bench.run(level_catalogue(cpu_level::generic).find("hex_tiles")->kernels[0]);
  for (int i = 0; i < 40; ++i)
    EXPECT_EQ(bench.result(i, 0), evaluate("hex_tiles", {{500 * i, 70 * i}, {20480}, {55}})[0]);
}

// --- frequency, caches, workers --------------------------------------------------------------------------

TEST_P(coordinate_noise, uses_one_frequency_for_both_directions) {
  const std::string name = GetParam();
  const std::vector<values> rest = name == "hex_tiles"     ? std::vector<values>{{300}}
                                   : name == "warp_noise2" ? std::vector<values>{{12288}, {5}, {4096}}
                                                           : std::vector<values>{{4096}, {5}};
  for (fix x = -9000; x < 9000; x += 1111) {
    std::vector<values> one = {{x, 2 * x + 5}, {20480}}, two = {{x, 2 * x + 5}, {20480, 20480}};
    one.insert(one.end(), rest.begin(), rest.end());
    two.insert(two.end(), rest.begin(), rest.end());
    EXPECT_EQ(evaluate(name.c_str(), one), evaluate(name.c_str(), two));
  }
}

TEST(noise_caches, that_are_missing_stop_the_render) {
  const std::pair<const char*, const char*> MESSAGES[] = {
      {"warp_noise", "fix_solid_noise: noise_cache is NULL."},
      {"warp_noise2", "fix_solid_noise: noise_cache is NULL."},
      {"warp_noise3", "fix_solid_noise: noise_cache is NULL."},
      {"spots", "fix_spots: noise_cache is NULL."},
      {"voronoi", "fix_voronoi: noise_cache is NULL."},
  };
  for (const auto& [name, message] : MESSAGES)
    for (cpu_level level : usable_levels()) {
      const fun_info& fun = *level_catalogue(level).find(name);
      kernel_bench bench(fun, 0, 9, std::vector<arg_form>(fun.arg_number, arg_form::row));
      bench.take_noise_cache_away();
      report_capture reports;
      EXPECT_THROW(bench.run(fun.kernels[0]), TessaronAbortException);
      EXPECT_TRUE(reports.has_part(message)) << name;
      for (int i = 0; i < 9; ++i) EXPECT_EQ(bench.result(i, 0), 0);
    }
}

// Workers may not throw: the others ask for an end, and the calling thread's fault ends the round.
TEST(noise_caches, that_are_missing_on_workers_stop_the_render) {
  const plane_frame three_workers(3);
  static const fun_info* fun;
  static kernel_bench* benches[3];
  fun = level_catalogue(cpu_level::generic).find("warp_noise");
  std::vector<std::unique_ptr<kernel_bench>> owned;
  for (kernel_bench*& bench : benches) {
    owned.push_back(std::make_unique<kernel_bench>(*fun, 0, 9, std::vector<arg_form>(4, arg_form::row)));
    bench = owned.back().get();
    bench->take_noise_cache_away();
  }
  report_capture reports;
  EXPECT_THROW(fork_processes([] { benches[get_proc_number()]->run(fun->kernels[0]); }), TessaronAbortException);
  EXPECT_EQ(reports.count_part("noise_cache is NULL"), 1);
  EXPECT_TRUE(abort_pending());
  abort_requested = 0;
}

/// A definition's result with so many workers, in stretches of so many samples.
std::vector<std::vector<fix>> rendered(const std::string& dest, int workers, int stretch, const test_frame& frame) {
  stop_fork_workers();
  set_processor_override(workers);
  set_stretch_override(stretch);
  definition_renderer r("(define N (Source) () dest = " + dest + ")", frame);
  EXPECT_TRUE(r.render());
  std::vector<std::vector<fix>> result = r.result();
  result.resize(r.elnum());
  set_stretch_override(0);
  stop_fork_workers();
  set_processor_override(0);
  return result;
}

TEST(coordinate_noises, are_the_same_with_any_workers_and_stretches) {
  const char* const CALLS[] = {"(warp_noise (rotate xy 0.1 [0 0]) [9 3] 5.5 77)",
                               "(warp_noise3 xy 30 (+ 2 x) (* 100 y))",
                               "(coerce_to_v3 (element_of (warp_noise2 xy 5 3 7 (* 3 x)) 1))",
                               "(spots (rotate xy 0.1 [0 0]) [20 30] (+ 1 x) 3)",
                               "(voronoi (rotate xy 0.1 [0 0]) 20 (* x 0.1) (get_time))",
                               "(hex_tiles (rotate xy 0.1 [0 0]) 20 x)"};
  for (const std::string call : CALLS) {
    const auto plain = rendered(call, 1, 0, {.width = 203, .height = 41});
    for (int workers : {2, 3, 7})
      for (int stretch : {0, 64})
        EXPECT_EQ(rendered(call, workers, stretch, {.width = 203, .height = 41}), plain) << call;
  }
}

TEST(coordinate_noises, of_constants_are_constants) {
  definition_renderer r("(define N (Source) () n = (warp_noise [0.3 0.7] 5 3 7) dest = (+ Source n))",
                        {.width = 3, .height = 2});
  r.set_source(0, [](int, int, int) { return 0; });
  ASSERT_TRUE(r.render());
  const fix third = fix_from_double(0.3), rest = fix_from_double(0.7);
  const fix expected = evaluate("warp_noise", {{third, rest}, {5 * 4096}, {3 * 4096}, {7 * 4096}})[0];
  EXPECT_EQ(r.at(0, 1, 1), expected);
}

}  // namespace
}  // namespace tessaron::testing
