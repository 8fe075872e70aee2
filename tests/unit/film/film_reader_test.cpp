// The film file: every production, every message, and files broken at any place.
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "film_kit.h"
#include "genotype/text_reader.h"
#include "host/named_lists.h"

namespace tessaron::testing {
namespace {

struct read_file {
  explicit read_file(const std::string& text) : path(folder.write("films", text)) {
    report_capture reports;
    films = read_film_types(path.c_str());
    all = reports.entries();
  }
  bool has(const std::string& text) const {
    for (const auto& e : all)
      if (e.text == text) return true;
    return false;
  }
  std::string reports() const {
    std::string text;
    for (const auto& e : all) text += e.text + "\n";
    return text;
  }
  scratch_folder folder;
  std::string path;
  film_table films;
  std::vector<report_capture::entry> all;
};

constexpr const char* GOOD = "begin Good color_curves log log rgb 0 1 1 2 end_color_curves grain 0.5 end Good ";
constexpr const char* GOOD_PRINT = "begin Fine print_film color_curves log log rgb 0 1 1 2 end_color_curves end Fine ";

/// A file with one faulty entry between two good ones, which must both be there.
void expect_message(const std::string& faulty, const std::string& message, std::size_t n_negatives = 3) {
  const read_file r(std::string(GOOD) + faulty + " " + GOOD_PRINT);
  EXPECT_TRUE(r.has(message)) << message << " is not in:\n" << r.reports();
  EXPECT_EQ(r.films.negatives.size(), n_negatives) << faulty;
  ASSERT_EQ(r.films.prints.size(), 2u) << faulty;
  EXPECT_EQ(r.films.prints[1].name, "Print: Fine");
  EXPECT_EQ(r.films.prints[1].point_count[2], 2);
  EXPECT_EQ(r.films.negatives[1].name, "Neg: Good");
}

TEST(film_file, gives_all_that_it_says) {
  const read_file r(FILMS);
  EXPECT_EQ(r.reports(), "");
  ASSERT_EQ(r.films.negatives.size(), 6u);
  ASSERT_EQ(r.films.prints.size(), 3u);
  EXPECT_EQ(r.films.negatives[0].name, "Neg Film: None");
  EXPECT_FALSE(r.films.negatives[0].has_curves());
  EXPECT_EQ(r.films.prints[0].name, "Print Film: None");
  EXPECT_FALSE(r.films.prints[0].has_curves());

  const film_type& log = r.films.negatives[LOG];
  EXPECT_EQ(log.name, "Neg: Log");
  EXPECT_EQ(log.is_print, 0);
  EXPECT_EQ(log.x_type, UNIT_LOG10);
  EXPECT_EQ(log.y_type, UNIT_LOG10);
  for (int c = 0; c < 3; ++c) EXPECT_EQ(log.point_count[c], 6);
  EXPECT_FLOAT_EQ(log.x[0][0], -1.5f);
  EXPECT_FLOAT_EQ(log.y[1][5], 1.3f);
  EXPECT_FLOAT_EQ(log.y[2][2], 0.7f);
  EXPECT_FLOAT_EQ(log.normal_gray_exposure, -0.1f);
  EXPECT_FLOAT_EQ(log.grain[0], 0.1f);
  EXPECT_FLOAT_EQ(log.grain[2], 0.3f);
  EXPECT_EQ(log.exposure_compensation[1], 1.0f);

  const film_type& stops = r.films.negatives[STOPS];
  EXPECT_EQ(stops.x_type, UNIT_STOPS);
  EXPECT_EQ(stops.y_type, UNIT_LINEAR);
  for (int c = 0; c < 3; ++c) {
    EXPECT_EQ(stops.point_count[c], 5);
    EXPECT_FLOAT_EQ(stops.y[c][3], 1.4f);
    EXPECT_FLOAT_EQ(stops.grain[c], 0.15f);
  }
  EXPECT_EQ(r.films.negatives[LINEAR].x_type, UNIT_LINEAR);
  EXPECT_EQ(r.films.negatives[LINEAR].y_type, UNIT_STOPS);
  EXPECT_FALSE(r.films.negatives[PLAIN].has_curves());

  const film_type& paper = r.films.prints[PAPER];
  EXPECT_EQ(paper.name, "Print: Paper");
  EXPECT_EQ(paper.is_print, 1);
  EXPECT_EQ(paper.is_reversal, 0);
  EXPECT_NEAR(paper.exposure_compensation[0], 1.0471285, 1e-6);
  EXPECT_FLOAT_EQ(paper.exposure_compensation[1], 1.0f);
  EXPECT_NEAR(paper.exposure_compensation[2], 0.9332543, 1e-6);
  EXPECT_EQ(r.films.prints[SLIDE].is_print, 1);
  EXPECT_EQ(r.films.prints[SLIDE].is_reversal, 1);
}

TEST(film_file, takes_twenty_points_and_no_more) {
  std::string points;
  for (int i = 0; i < 20; ++i) points += std::to_string(i) + " 1 ";
  const std::string head = "begin Long color_curves log log rgb ", tail = "end_color_curves grain 2 end Long";
  const read_file full(head + points + tail + " " + GOOD_PRINT);
  EXPECT_EQ(full.reports(), "");
  EXPECT_EQ(full.films.negatives[1].point_count[0], 20);
  expect_message(head + points + "20 1 21 1 " + tail, "exceeded MAX_CURVE_POINTS");
  const read_file over(head + points + "20 1 21 1 " + tail + " " + GOOD_PRINT);
  EXPECT_EQ(over.films.negatives[1].point_count[2], 20);
  EXPECT_EQ(over.films.negatives[1].grain[0], 2.0f) << "what stands behind the curve is read";
  // In one of three curves, the others are read.
  const read_file three("begin T color_curves log log red " + points +
                        "20 1 green 1 1 blue 2 2 end_color_curves end T");
  EXPECT_EQ(three.films.negatives[1].point_count[0], 20);
  EXPECT_EQ(three.films.negatives[1].point_count[1], 1);
  EXPECT_EQ(three.films.negatives[1].point_count[2], 1);
}

TEST(film_file, says_what_is_wrong_with_an_entry) {
  expect_message("begin B color_curves kelvin log rgb 0 1 end_color_curves end B", "Unknown curve type kelvin in B \n");
  expect_message("begin B color_curves log end B", "Unknown curve type end in B \n");
  expect_message("begin B color_curves log log green 1 2 end_color_curves end B",
                 "in B, first curve green should be 'rgb' or 'red'");
  expect_message("begin B color_curves log log red 1 2 x 3 green 1 1 blue 1 1 end_color_curves end B",
                 "expected a number or green but got x");
  expect_message("begin B color_curves log log red 1 2 green 1 1 end_color_curves end B",
                 "expected a number or blue but got end_color_curves");
  expect_message("begin B color_curves log log rgb 1 2 end B", "expected a number or end_color_curves but got end");
  expect_message("begin B color_curves log log rgb 1 2 3 end_color_curves end B",
                 "expected a number but got end_color_curves");
  expect_message("begin B gamma 2 end B", "film type B: got 'gamma' expected: gamma, grain_amp, or grain_blur");
  expect_message("begin B normal_gray_exposure bright end B",
                 "reading normal_gray_exposure expected a number, but got 'bright'");
  expect_message("begin B normal_gray_exposure end B", "reading normal_gray_exposure expected a number, but got 'end'");
  expect_message("begin B exposure_compensation 1 2 end B",
                 "reading exposure_compensation expected a number, but got 'end'");
  expect_message("begin B grain [ 1 2 ] end B", "reading grain expected a number, but got ']'");
  expect_message("begin B grain [ 1 2 3 4 end B", "Missing ] after grain");
  expect_message("begin B grain [ 1 2 3 end B", "Missing ] after grain");
  expect_message("begin B grain fine end B", "Expected number after grain, got fine");
  expect_message("begin B grain end B", "Expected number after grain, got end");
  expect_message("begin B grain 1 end A", "end A does not match begin B \n");
  expect_message("begin B grain 1 end", "end begin does not match begin B \n");
  expect_message("begin B grain 1", "film type B: got 'begin' expected: gamma, grain_amp, or grain_blur");
  expect_message("begin", "film type : got 'begin' expected: gamma, grain_amp, or grain_blur", 2);
}

TEST(film_file, says_where_it_ends_too_early) {
  const std::pair<const char*, const char*> cases[] = {
      {"begin", "eof before end was found \n"},
      {"begin B", "eof before end was found \n"},
      {"begin B end", "end  does not match begin B \n"},
      {"begin B color_curves", "EOF while reading curve type in B"},
      {"begin B color_curves log", "EOF while reading curve type in B"},
      {"begin B color_curves log log", "eof before end_color_curves was found \n"},
      {"begin B color_curves log log red 1 2", "eof before green was found \n"},
      {"begin B color_curves log log red 1", "eof before green was found \n"},
      {"begin B color_curves log log red green blue 1", "eof before end_color_curves was found \n"},
      {"begin B color_curves log log rgb x 1", "eof before end_color_curves was found \n"},
      {"begin B normal_gray_exposure", "reading normal_gray_exposure expected a number, but got eof"},
      {"begin B exposure_compensation 1", "reading exposure_compensation expected a number, but got eof"},
      {"begin B grain", "reading grain expected a number, but got eof"},
      {"begin B grain [ 1", "reading grain expected a number, but got eof"},
      {"begin B grain [ 1 2 3", "Missing ] after grain"},
  };
  for (const auto& [text, message] : cases) {
    const read_file r(std::string(GOOD) + text);
    EXPECT_TRUE(r.has(message)) << text << " reports:\n" << r.reports();
    EXPECT_EQ(r.films.negatives.size(), std::strcmp(text, "begin") ? 3u : 2u) << "a broken entry is an entry: " << text;
  }
}

TEST(film_file, without_a_kind_of_film_says_so) {
  const read_file negatives(GOOD), prints(GOOD_PRINT), empty("");
  EXPECT_EQ(negatives.reports(), "No print film types found in " + negatives.path + ".\n\n");
  EXPECT_EQ(prints.reports(), "No negative film types found in " + prints.path + ".\n\n");
  EXPECT_EQ(empty.all.size(), 2u);
}

TEST(film_file, that_does_not_open_leaves_the_fixed_entries) {
  const scratch_folder folder;
  for (const std::string& path : {folder.file("missing"), folder.path()}) {
    report_capture reports;
    const film_table films = read_film_types(path.c_str());
    EXPECT_EQ(reports.severity_of("Can't open file " + path + "\n"), REPORT_ERROR) << reports.all();
    const int reason = path == folder.path() ? EISDIR : ENOENT;
    EXPECT_TRUE(reports.has(std::string("Error opening filmtypes file: ") + std::strerror(reason))) << reports.all();
    EXPECT_EQ(reports.count(), 2u) << reports.all();
    EXPECT_EQ(films.negatives.size(), 1u);
    EXPECT_EQ(films.prints.size(), 1u);
  }
}

TEST(film_file, is_read_once) {
  const film_directory directory;
  EXPECT_EQ(negative_film_names(), (std::vector<std::string>{"Neg Film: None", "Neg: Log", "Neg: Stops", "Neg: Linear",
                                                             "Neg: Point", "Neg: Plain"}));
  directory.folder().write("t_filmtypes.text", GOOD);
  EXPECT_EQ(print_film_names(), (std::vector<std::string>{"Print Film: None", "Print: Paper", "Print: Slide"}));
}

TEST(film_file, that_is_missing_is_asked_for_once) {
  const film_directory directory;
  std::filesystem::remove(directory.folder().file("t_filmtypes.text"));
  report_capture reports;
  get_film_types();
  EXPECT_EQ(reports.count(), 2u) << reports.all();
  get_film_types();
  EXPECT_EQ(reports.count(), 2u);
}

TEST(film_file, fills_the_popups) {
  const film_directory directory;
  EXPECT_EQ(named_list_loader(named_list::negative_film)(), negative_film_names());
  EXPECT_EQ(named_list_loader(named_list::print_film)(), print_film_names());
}

TEST(film_file, as_shipped_has_no_fault) {
  report_capture reports;
  const film_table films = read_film_types(TESSARON_SOURCE_DIR "/config/t_filmtypes.text");
  EXPECT_TRUE(reports.empty()) << reports.all();
  EXPECT_GE(films.negatives.size(), 9u);
  EXPECT_GE(films.prints.size(), 7u);
  int reversals = 0;
  for (const auto* table : {&films.negatives, &films.prints})
    for (std::size_t i = 1; i < table->size(); ++i) {
      const film_type& film = (*table)[i];
      reversals += film.is_reversal;
      for (int c = 0; c < FILM_CHANNELS; ++c) {
        ASSERT_GE(film.point_count[c], 2) << film.name;
        EXPECT_GT(film.grain[c], 0) << film.name;
        // Density rises with exposure, on reversal stock it falls.
        for (int k = 1; k < film.point_count[c]; ++k) {
          EXPECT_GT(film.x[c][k], film.x[c][k - 1]) << film.name;
          const float rise = film.y[c][k] - film.y[c][k - 1];
          EXPECT_GE(film.is_reversal ? -rise : rise, 0) << film.name;
        }
      }
    }
  EXPECT_GE(reversals, 1);
}

TEST(film_file, cut_anywhere_is_read_as_far_as_it_goes) {
  const std::string whole = std::string(FILMS) + GOOD_PRINT;
  const scratch_folder folder;
  for (std::size_t length = 0; length <= whole.size(); ++length) {
    report_capture reports;
    const film_table films = read_film_types(folder.write("films", whole.substr(0, length)).c_str());
    // Entries that end before the cut are whole.
    std::size_t complete = 0, at = 0;
    for (const char* name : {"end Log", "end Stops", "end Linear", "end Point", "end Plain"})
      if ((at = whole.find(name, at)) != std::string::npos && at + std::strlen(name) <= length) ++complete;
    EXPECT_GE(films.negatives.size(), 1 + complete) << length;
    EXPECT_LE(films.negatives.size(), 7u);
  }
}

TEST(film_file, with_random_bytes_is_read_to_its_end) {
  std::mt19937 random(7);
  const scratch_folder folder;
  for (int round = 0; round < 700; ++round) {
    report_capture reports;
    const film_table films = read_film_types(folder.write("films", spoilt(FILMS, random)).c_str());
    for (const auto* table : {&films.negatives, &films.prints})
      for (const film_type& film : *table)
        for (int c = 0; c < FILM_CHANNELS; ++c) {
          ASSERT_GE(film.point_count[c], 0);
          ASSERT_LE(film.point_count[c], MAX_CURVE_POINTS);
          const film_spline spline = make_spline(film.x[c], film.y[c], film.point_count[c]);
          spline_place place;
          curve_value(spline, 0.3f, place);
        }
  }
  EXPECT_EQ(open_file_count, 0);
}

}  // namespace
}  // namespace tessaron::testing
