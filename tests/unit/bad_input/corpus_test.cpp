// Bad input of every kind, through the program as a user meets it: a clear error, exit status 1 or 2,
// and no output file, whole or partial.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>

#include "support/definition_files.h"
#include "support/run_console.h"

namespace tessaron::testing {
namespace {

struct broken_text {
  std::string name, text;
};

std::vector<broken_text> kept_definitions() {
  const std::string all =
      test::read_text_file(std::filesystem::path(TESSARON_SOURCE_DIR) / "tests/data/broken_definitions.txt");
  std::vector<broken_text> cases;
  std::istringstream lines(all);
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind("=== ", 0) == 0)
      cases.push_back({line.substr(4), ""});
    else
      cases.back().text += line + "\n";
  }
  return cases;
}

const std::string LONG_DEFINITION =
    "(define A (Source Matte) (rgba_ok_for_input 1 wont_make_colors_illegal)\n"
    "  Amount = 10 (page Main min 0 max 100 slider_range 0 50 step 0.1)\n"
    "  Mode = 1 (popup Fast Best \"Very best\")\n"
    "  Tint = [1 0.7 0.4] (color group_start Look)\n"
    "  Turn = 45 (angle group_end Look)\n"
    "  wave = (nsin (+ (* x Amount) (/ Turn 360)))\n"
    "  dest = (if> Mode 0.5 (* Tint wave) (+ [0 0 0] (monochrome Source))) )";

/// The text cut behind each of its tokens but the last.
std::vector<broken_text> truncations() {
  std::vector<broken_text> cases;
  const auto is_word = [](char c) {
    return !std::isspace(static_cast<unsigned char>(c)) && !std::strchr("\"()=[]", c);
  };
  for (std::size_t i = 0; i + 1 < LONG_DEFINITION.size(); ++i) {
    if (std::isspace(static_cast<unsigned char>(LONG_DEFINITION[i]))) continue;
    if (is_word(LONG_DEFINITION[i]) && is_word(LONG_DEFINITION[i + 1])) continue;
    cases.push_back({"cut behind character " + std::to_string(i), LONG_DEFINITION.substr(0, i + 1)});
  }
  return cases;
}

std::string repeated(const std::string& text, int times) {
  std::string all;
  for (int i = 0; i < times; ++i) all += text;
  return all;
}

std::vector<broken_text> generated_definitions() {
  std::vector<broken_text> cases;
  const std::string word(10000, 'w');
  cases.push_back({"a name of 10,000 characters", "(define " + word + " dest = 0)"});
  cases.push_back({"a variable of 10,000 characters", "(define A dest = " + word + ")"});
  cases.push_back({"a function of 10,000 characters", "(define A dest = (" + word + " 1))"});
  cases.push_back({"a modifier of 10,000 characters", "(define A (Source) (" + word + ") dest = nothing)"});
  cases.push_back({"a declaration of 10,000 characters", "(define A b = 1 (" + word + ") dest = b)"});
  std::string many = "(define A ";
  for (int i = 0; i < 41; ++i) many.append("p").append(std::to_string(i)).append(" = 1 ");
  cases.push_back({"41 parameters", many + "dest = (+ p0 p40))"});
  cases.push_back(
      {"nesting of 5,000", "(define A dest = " + repeated("(abs ", 5000) + "1" + repeated(")", 5000) + ")"});
  cases.push_back({"nesting of 5,000 without an end", "(define A dest = " + repeated("(abs ", 5000)});
  cases.push_back({"5,000 opening brackets", "(define A dest = " + repeated("(", 5000)});
  std::string chain = "(define A dest = v0 ";
  for (int i = 0; i < 5000; ++i)
    chain.append("v").append(std::to_string(i)).append(" = (+ v").append(std::to_string(i + 1)).append(" 1) ");
  cases.push_back({"a chain of 5,000 variables without an end", chain + ")"});
  std::mt19937 random(20061);
  for (int seed = 0; seed < 12; ++seed) {
    std::string garbage = "(define A ";
    for (int i = 0; i < 400; ++i) garbage += char(random() % 256);
    cases.push_back({"binary garbage " + std::to_string(seed), garbage});
  }
  cases.push_back({"a zero byte", std::string("(define A dest = \0 1)", 21)});
  return cases;
}

class bad_input : public ::testing::Test {
 protected:
  scratch_folder folder;

  void expect_refused(const std::string& arguments, const std::string& what) {
    const command_result result = run_console(arguments);
    EXPECT_TRUE(result.status == 1 || result.status == 2) << what << ": status " << result.status << "\n" << result.err;
    EXPECT_FALSE(result.err.empty()) << what;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
      EXPECT_EQ(entry.path().filename().string().rfind("out", 0), std::string::npos)
          << what << " left " << entry.path();
  }

  void expect_definitions_refused(const std::vector<broken_text>& cases) {
    for (const broken_text& broken : cases) {
      const std::string file = folder.write("broken.text", broken.text);
      expect_refused("render A --defs " + shell_quoted(file) + " --size 8x8 -o " + shell_quoted(folder.file("out.png")),
                     broken.name);
    }
  }
};

TEST_F(bad_input, kept_definitions_are_refused) {
  const auto cases = kept_definitions();
  EXPECT_GE(cases.size(), 70u);
  expect_definitions_refused(cases);
}

TEST_F(bad_input, a_definition_cut_behind_any_token_is_refused) {
  const auto cases = truncations();
  EXPECT_GE(cases.size(), 60u);
  expect_definitions_refused(cases);
}

TEST_F(bad_input, oversized_and_random_definitions_are_refused) { expect_definitions_refused(generated_definitions()); }

TEST_F(bad_input, definition_files_that_are_no_files_are_refused) {
  const std::string out = " --size 8x8 -o " + shell_quoted(folder.file("out.png"));
  expect_refused("render A --defs " + shell_quoted(folder.path()) + out, "a directory");
  expect_refused("render A --defs " + shell_quoted(folder.file("missing.text")) + out, "a missing file");
  expect_refused("render A --defs /dev/null" + out, "an empty device");
  expect_refused("check " + shell_quoted(folder.file("missing.text")), "check of a missing file");
  expect_refused("check " + shell_quoted(folder.path()), "check of a directory");
}

TEST_F(bad_input, a_byte_that_would_end_the_text_unseen_is_refused_with_its_line) {
  const std::string file = folder.write("a.text", "(define A () dest = 1)\n// \xff\n(define B () dest = nosuch)\n");
  const command_result result = run_console("check " + shell_quoted(file));
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.err.find(file + ":2: holds the byte 0xFF"), std::string::npos) << result.err;
}

TEST_F(bad_input, a_warning_of_a_definition_stays_out_of_the_results) {
  const std::string file = folder.write("a.text", "(define A () a = 1 (page One) b = 2 (column_n -5) dest = (+ a b))");
  const command_result result = run_console("info A --json --defs " + shell_quoted(file));
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out.substr(0, 1), "{") << result.out;
  EXPECT_NE(result.err.find("Warning: A column_n of b goes backwards"), std::string::npos) << result.err;
}

TEST_F(bad_input, broken_images_are_refused) {
  const std::string defs = folder.write("a.text", "(define A (Source) dest = Source)");
  const auto refuse = [&](const std::string& name, const std::string& content) {
    const std::string file = folder.write(name, content);
    expect_refused("render A --defs " + shell_quoted(defs) + " -i " + shell_quoted(file) + " -o " +
                       shell_quoted(folder.file("out.png")),
                   name);
  };
  std::mt19937 random(3);
  std::string noise;
  for (int i = 0; i < 2000; ++i) noise += char(random() % 256);
  const std::string png_head("\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\0\x08\0\0\0\x08\x08\x02\0\0\0", 29);
  refuse("empty.png", "");
  refuse("text.png", "this is no picture");
  refuse("noise.png", noise);
  refuse("noise.jpg", noise);
  refuse("noise.exr", noise);
  refuse("noise.tif", noise);
  refuse("head.png", png_head);
  refuse("cut.png", png_head + noise.substr(0, 40));
  refuse("cut.jpg", std::string("\xff\xd8\xff\xe0\0\x10JFIF\0", 11));
  refuse("unknown.xyz", noise);
  const std::string out = " -o " + shell_quoted(folder.file("out.png"));
  const std::string render = "render A --defs " + shell_quoted(defs);
  expect_refused(render + " -i " + shell_quoted(folder.path()) + out, "a directory as an image");
  expect_refused(render + " -i " + shell_quoted(folder.file("missing.png")) + out, "a missing image");
  expect_refused(render + " -i " + shell_quoted(folder.file("shot.####.png")) + " --frames 1-3 -o " +
                     shell_quoted(folder.file("out.####.png")),
                 "a sequence without frames");
}

TEST_F(bad_input, outputs_that_cannot_be_written_are_refused) {
  const std::string defs = folder.write("a.text", "(define A () dest = x)");
  const std::string render = "render A --defs " + shell_quoted(defs) + " --size 8x8 -o ";
  expect_refused(render + shell_quoted(folder.file("no/such/folder/out.png")), "a missing folder");
  expect_refused(render + "/proc/out.png", "a folder that takes no files");
  expect_refused(render + shell_quoted(folder.path()), "a directory");
  expect_refused(render + shell_quoted(folder.file("out.nosuchformat")), "an unknown format");
  expect_refused(render + "''", "an empty name");
  expect_refused(render + shell_quoted(folder.file("out.png")) + " --fix " + shell_quoted(folder.file("no/out.npy")),
                 "values into a missing folder");
}

TEST_F(bad_input, a_full_disk_leaves_no_partial_output) {
  const std::string disk = folder.file("disk");
  std::filesystem::create_directory(disk);
  if (geteuid() != 0 ||
      std::system(("mount -t tmpfs -o size=64k tmpfs " + shell_quoted(disk) + " 2>/dev/null").c_str()) != 0)
    GTEST_SKIP() << "needs the right to mount a small file system";
  const std::string defs = folder.write("a.text", "(define A () dest = (static3))");
  const command_result result = run_console("render A --defs " + shell_quoted(defs) + " --size 512x512 -o " +
                                            shell_quoted(disk + "/picture.png"));
  const auto left = std::distance(std::filesystem::directory_iterator(disk), std::filesystem::directory_iterator());
  EXPECT_EQ(std::system(("umount " + shell_quoted(disk)).c_str()), 0);
  EXPECT_EQ(result.status, 1) << result.err;
  EXPECT_FALSE(result.err.empty());
  EXPECT_EQ(left, 0);
}

TEST_F(bad_input, wrong_command_lines_are_refused_with_status_2) {
  const std::string defs = folder.write("a.text", "(define A () Level = 1 (popup Low High) dest = (* x Level))");
  const std::string out = " -o " + shell_quoted(folder.file("out.png"));
  const std::string render = "render A --size 8x8 --defs " + shell_quoted(defs);
  for (const std::string& arguments : {std::string(""),
                                       std::string("frobnicate"),
                                       std::string("render"),
                                       std::string("--no-such-option"),
                                       render,
                                       render + out + " --frames 1-",
                                       render + out + " --frames one",
                                       render + out + " --frames 3-1x0",
                                       render + out + " --frames 1-3",
                                       render + out + " --size 0x8",
                                       render + out + " --size 8",
                                       render + out + " --size -8x8",
                                       render + out + " --size 99999999x99999999",
                                       render + out + " --pixel-format rgba9",
                                       render + out + " --downsample 0",
                                       render + out + " --pixel-aspect 0",
                                       render + out + " --pixel-aspect -1",
                                       render + out + " --field 3",
                                       render + out + " --threads 0",
                                       render + out + " --threads many",
                                       render + out + " --fps 0",
                                       render + out + " --total-frames -1",
                                       render + out + " -p Level",
                                       render + out + " -p Level=",
                                       render + out + " -p Level=0@",
                                       render + out + " --missing sometimes"}) {
    const command_result result = run_console(arguments);
    EXPECT_EQ(result.status, 2) << arguments << "\n" << result.err;
    EXPECT_FALSE(result.err.empty()) << arguments;
    EXPECT_FALSE(std::filesystem::exists(folder.file("out.png"))) << arguments;
  }
}

TEST_F(bad_input, broken_settings_and_tables_are_reported_and_do_not_stop_a_render) {
  // A fault in the settings leaves the default in place; the render goes on.
  const std::string defs = folder.write("a.text", "(define A () dest = x)");
  std::filesystem::create_directory(folder.file("settings"));
  std::mt19937 random(5);
  std::string noise;
  for (int i = 0; i < 500; ++i) noise += char(1 + random() % 255);
  const std::vector<std::string> settings = {
      "multi_process_enable: yes\nforce_pixel_aspect_ratio: 0\n",
      "multi_process_enable: 1\nforce_pixel_aspect_ratio: -1\n",
      "multi_process_enable: 1\nforce_pixel_aspect_ratio: wide\n",
      "multi_process_enable: 1 multi_process_enable: 1 force_pixel_aspect_ratio: 0\n",
      "multi_process_enable:",
      "multi_process_enable: 1 force_pixel_aspect_ratio: 0 input_lut: /nonexistent/table\n",
      "multi_process_enable: 1 force_pixel_aspect_ratio: 0 output_lut: /\n",
      "multi_process_enable: " + std::string(10000, '7') + " force_pixel_aspect_ratio: 0\n",
      noise,
  };
  for (const std::string& text : settings) {
    folder.write("settings/t_config.text", text);
    const command_result result =
        run_console("render A --config-dir " + shell_quoted(folder.file("settings")) + " --defs " + shell_quoted(defs) +
                    " --size 8x8 -o " + shell_quoted(folder.file("picture.png")));
    EXPECT_EQ(result.status, 0) << text << "\n" << result.err;
    EXPECT_FALSE(result.err.empty()) << text;
    EXPECT_TRUE(std::filesystem::exists(folder.file("picture.png"))) << text;
    std::filesystem::remove(folder.file("picture.png"));
  }
  const std::vector<std::string> tables = {
      "",         "lut: twelve 3 0 1 2", "lut: 8 three 0 1 2",  "lut: 8 3 0 one 2", "lut: 8 3 0 1",
      "lut: 8 0", "lut: 8 -5 1 2",       "lut: 8 2000000000 1", "# lut: 8 2 0 255", noise};
  for (const std::string& text : tables) {
    const std::string table = folder.write("table.lut", text);
    folder.write("settings/t_config.text",
                 "multi_process_enable: 1 force_pixel_aspect_ratio: 0 input_lut: " + table + "\n");
    const command_result result =
        run_console("render A --config-dir " + shell_quoted(folder.file("settings")) + " --defs " + shell_quoted(defs) +
                    " --size 8x8 -o " + shell_quoted(folder.file("picture.png")));
    EXPECT_EQ(result.status, 0) << text << "\n" << result.err;
    EXPECT_TRUE(std::filesystem::exists(folder.file("picture.png"))) << text;
  }
}

}  // namespace
}  // namespace tessaron::testing
