// Look-up table files and the tables made of them.
#include <cmath>

#include "files.h"
#include "host/lut.h"

namespace tessaron::testing {
namespace {

class LutFile : public ConfigFolder {
 protected:
  int read(const std::string& text) {
    reports.clear();
    return read_lut_file(write("a.lut", text).c_str(), lut);
  }
  std::string message(const std::string& start, const std::string& end) const {
    return start + " " + (folder / "a.lut").string() + " " + end;
  }
  lut_file lut;
};

TEST_F(LutFile, keyword_depth_count_and_entries) {
  EXPECT_EQ(read("some words LUT: 8 3\n0 100\t50"), 0);
  EXPECT_EQ(lut.entries, (std::vector<int>{0, 100, 50}));
  EXPECT_EQ(lut.max_value, 100);
  EXPECT_TRUE(reports.empty()) << reports.all();
}

TEST_F(LutFile, comments_end_their_line) {
  EXPECT_EQ(read("# lut: 1 1 1\nlut: #8 9\n8 2 # x\n 7 #8 9\n 10 rest is not read"), 0);
  EXPECT_EQ(lut.entries, (std::vector<int>{7, 10}));
}

TEST_F(LutFile, a_mark_inside_a_token_is_no_comment) {
  EXPECT_EQ(read("lut: 8 2 5#6 7"), 0);
  EXPECT_EQ(lut.entries, (std::vector<int>{5, 7}));
}

TEST_F(LutFile, line_ends_of_other_systems) {
  EXPECT_EQ(read("lut:\r\n8\r\n1\r\n5\r\n"), 0);
  EXPECT_EQ(lut.entries, std::vector<int>{5});
}

TEST_F(LutFile, what_follows_the_last_entry_is_not_looked_at) {
  EXPECT_EQ(read("lut: 8 1 5 x " + std::string(20, '9')), 0);
}

TEST_F(LutFile, a_missing_file_and_a_directory) {
  const std::string path = (folder / "none.lut").string();
  EXPECT_EQ(read_lut_file(path.c_str(), lut), -1);
  EXPECT_EQ(reports.severity_of("Can't open LUT file " + path + " for reading: No such file or directory (2)\n"), 7)
      << reports.all();
  EXPECT_EQ(read_lut_file(folder.c_str(), lut), -1);
  EXPECT_TRUE(reports.has("Can't open LUT file " + folder.string() + " for reading: Is a directory (21)\n"))
      << reports.all();
}

TEST_F(LutFile, words_after_the_keyword) {
  for (const char* text : {"lut: x 2 0 1", "lut: 8 x 0 1"}) {
    EXPECT_EQ(read(text), -1);
    EXPECT_EQ(reports.severity_of(message("LUT file", "syntax err: non-integer x after 'lut:' keyword\n")), 7)
        << reports.all();
  }
}

TEST_F(LutFile, words_among_the_entries) {
  EXPECT_EQ(read("lut: 8 3 0 1 x"), -1);
  EXPECT_EQ(reports.severity_of(message("LUT file", "syntax err: non-integer or EOF in lut\n")), 7) << reports.all();
}

TEST_F(LutFile, an_early_end_anywhere) {
  for (const char* text : {"", "word", "lut:", "lut: 8", "lut: 8 2", "lut: 8 2 1", "lut: 8 2000000000 1", "# x"}) {
    EXPECT_EQ(read(text), -1) << text;
    ASSERT_EQ(reports.count(), 1u) << text;
    EXPECT_EQ(reports.severity_of(message("LUT file", "syntax err: EOF found while reading lut\n")), 7)
        << reports.all();
  }
}

TEST_F(LutFile, counts_of_nothing) {
  for (const char* text : {"lut: 8 0 1", "lut: 8 -3 1"}) {
    EXPECT_EQ(read(text), -1);
    EXPECT_EQ(reports.count(), 1u) << reports.all();
    EXPECT_TRUE(reports.has_part("is no number of entries\n"));
  }
}

TEST_F(LutFile, lines_of_128_characters_and_longer_ones) {
  const std::string line = "lut: 8 1 ";
  EXPECT_EQ(read(line + std::string(128 - line.size(), '0') + "\n"), 0);
  EXPECT_EQ(read("\n" + line + std::string(129 - line.size(), '0') + "\n"), -1);
  EXPECT_TRUE(reports.has(message("LUT file", "syntax err: line 2 is longer than 128 characters\n"))) << reports.all();
}

TEST_F(LutFile, numbers_that_do_not_fit_are_limited) {
  EXPECT_EQ(read("lut: 8 2 99999999999999999999 -99999999999"), 0);
  EXPECT_EQ(lut.entries, (std::vector<int>{INT32_MAX, INT32_MIN}));
}

TEST_F(LutFile, binary_files) {
  std::string garbage = "lut: ";
  for (int i = 0; i < 5000; ++i) garbage += char(i * 7919 >> 3);
  EXPECT_EQ(read(garbage), -1);
  EXPECT_EQ(reports.count(), 1u) << reports.all();
}

TEST(LutScale, is_the_next_all_ones_number) {
  struct {
    int max;
    std::int64_t scale;
  } static constexpr CASES[] = {{-5, 0}, {0, 0},     {1, 1},     {2, 3},       {3, 3},
                                {4, 7},  {255, 255}, {256, 511}, {1000, 1023}, {INT32_MAX, INT32_MAX}};
  for (const auto& c : CASES) EXPECT_EQ(lut_full_scale(c.max), c.scale) << c.max;
}

lut_file lut_of(std::vector<int> entries) {
  lut_file lut;
  for (const int v : entries) lut.max_value = std::max(lut.max_value, v);
  lut.entries = std::move(entries);
  return lut;
}

TEST(LutTables, two_entries_are_a_straight_ramp) {
  const lut_file ramp = lut_of({0, 255});
  // i / 255 of the way, times 4095, to the nearest: 4095 / 255 is 16.0588...
  EXPECT_EQ(lut_entry(ramp, 0, 256, 4095), 0);
  EXPECT_EQ(lut_entry(ramp, 1, 256, 4095), 16);
  EXPECT_EQ(lut_entry(ramp, 10, 256, 4095), 161);
  EXPECT_EQ(lut_entry(ramp, 255, 256, 4095), 4095);
  for (int i = 0; i < 4096; ++i) ASSERT_EQ(lut_entry(ramp, i, 4096, 4095), i);
  EXPECT_EQ(lut_entry(ramp, 2047, 4096, 255), 127);
  EXPECT_EQ(lut_entry(ramp, 2048, 4096, 255), 128);
}

TEST(LutTables, top_entries_below_full_scale_stay_below) {
  const lut_file lut = lut_of({0, 1000});
  EXPECT_EQ(lut_entry(lut, 4095, 4096, 4095), 4003);  // 1000 * 4095 / 1023 is 4002.93
}

TEST(LutTables, a_table_as_long_or_longer_is_looked_up) {
  std::vector<int> squares;
  for (int i = 0; i < 512; ++i) squares.push_back(i * i);
  const lut_file lut = lut_of(squares);  // top 261121, scale 262143
  for (int i = 0; i < 256; ++i) {
    const long k = i * 511 / 255;
    ASSERT_EQ(lut_entry(lut, i, 256, 4095), k * k * 4095 / 262143) << i;
  }
  const lut_file same = lut_of(std::vector<int>(256, 7));
  EXPECT_EQ(lut_entry(same, 100, 256, 255), 255);
}

TEST(LutTables, single_entries_and_empty_scales) {
  EXPECT_EQ(lut_entry(lut_of({3}), 0, 256, 4095), 4095);
  EXPECT_EQ(lut_entry(lut_of({3}), 200, 256, 4095), 4095);
  EXPECT_EQ(lut_entry(lut_of({0, 0}), 200, 256, 4095), 0);
  EXPECT_EQ(lut_entry(lut_of({-9}), 200, 256, 4095), 0);
}

TEST(LutTables, entries_below_zero_are_zero) {
  const lut_file lut = lut_of({INT32_MIN, 255});
  EXPECT_EQ(lut_entry(lut, 0, 256, 4095), 0);
  EXPECT_EQ(lut_entry(lut, 255, 256, 4095), 4095);
  EXPECT_EQ(lut_entry(lut_of({INT32_MIN, INT32_MAX}), 0, 2, 255), 0);
  EXPECT_EQ(lut_entry(lut_of({INT32_MIN, INT32_MAX}), 1, 2, 255), 255);
}

TEST(LutTables, interpolation_lies_between_its_neighbours) {
  const lut_file lut = lut_of({0, 40, 20, 255, 0});
  for (int i = 0; i < 4096; ++i) {
    const double p = i * 4.0 / 4095;
    const int k = std::min(int(p), 3);
    const double exact = (lut.entries[k] + (p - k) * (lut.entries[k + 1] - lut.entries[k])) * 4095.0 / 255;
    ASSERT_NEAR(lut_entry(lut, i, 4096, 4095), exact, 0.5001) << i;
  }
}

class LutLoading : public ConfigFolder {
 protected:
  void load(const std::string& input, const std::string& output) {
    config.input_lut = write("in.lut", input);
    config.output_lut = write("out.lut", output);
    config.input_lut_on = config.output_lut_on = 1;
    load_luts();
  }
};

TEST_F(LutLoading, both_files_fill_four_tables) {
  load("lut: 8 2 0 1", "lut: 8 2 255 0");
  EXPECT_EQ(config.input_lut_on, 1);
  EXPECT_EQ(config.output_lut_on, 1);
  EXPECT_EQ(input_lut8[255], 4095);
  EXPECT_EQ(input_lut12[1234], 1234);
  EXPECT_EQ(output_lut8[0], 255);
  EXPECT_EQ(output_lut8[4095], 0);
  EXPECT_EQ(output_lut12[1], 4094);
}

TEST_F(LutLoading, a_broken_file_turns_its_own_table_off) {
  load("lut: 8 2 0 1", "lut: 8 2 x");
  EXPECT_EQ(config.input_lut_on, 1);
  EXPECT_EQ(config.output_lut_on, 0);
  EXPECT_EQ(reports.count(), 1u) << reports.all();
}

TEST_F(LutLoading, files_are_read_once) {
  load("lut: 8 2 0 1", "lut: 8 2 0 1");
  load("lut: 8 2 1 0", "broken");
  EXPECT_EQ(input_lut12[0], 0);
  EXPECT_TRUE(reports.empty()) << reports.all();
}

TEST_F(LutLoading, tables_that_are_off_are_not_read) {
  config.input_lut = "/no/such/file";
  load_luts();
  EXPECT_TRUE(reports.empty()) << reports.all();
}

}  // namespace
}  // namespace tessaron::testing
