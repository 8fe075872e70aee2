// The diagnostics log: what stands in it, when it is written, and that nothing stops for it.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/utsname.h>

#include <regex>
#include <sstream>

#include "host/host_state.h"
#include "host/log.h"
#include "support/render_kit.h"
#include "unit/log_help/desktop.h"

namespace tessaron {
namespace {

using testing::has;
using testing::image;
using testing::pixel_format;

constexpr const char* PLAIN = "(define Plain_Copy (Source) (rgba_ok) dest = Source)";
constexpr const char* SETTINGS = "multi_process_enable: 1\nforce_pixel_aspect_ratio: 0\n";

class diagnostics_log : public testing::fake_desktop {
 protected:
  diagnostics_log() {
    folder.write("config/t_config.text", SETTINGS);
    host_state.log_pending = true;
  }
  ~diagnostics_log() override { host_state.log_pending = true; }

  /// One frame of 8 by 6 pixels in a host of this make.
  int render(const char* appl = "TESS", const std::function<void(testing::frame_request&)>& change = {}) {
    hostkit::host_identity identity;
    identity.appl_id = 0;
    for (int i = 0; i < 4; ++i) identity.appl_id = identity.appl_id << 8 | static_cast<unsigned char>(appl[i]);
    testing::rendered_effect effect(std::string(PLAIN), pixel_format::rgba8, identity);
    testing::frame_request request = effect.request({&picture});
    if (change) change(request);
    const testing::frame_result result = effect.render(request);
    said = testing::text_of(result.messages) + testing::text_of(effect.instance().take_messages());
    return result.error;
  }
  bool is_there() const { return std::filesystem::exists(folder.file("config/t_log.text")); }
  std::string text() const { return folder.read("config/t_log.text"); }
  std::vector<std::string> lines() const {
    std::vector<std::string> all;
    std::istringstream stream(text());
    for (std::string line; std::getline(stream, line);) all.push_back(line);
    return all;
  }

  image picture = testing::noise_image(8, 6, pixel_format::rgba8);
  std::string said;
};

TEST_F(diagnostics_log, has_its_entries_in_order) {
  ASSERT_EQ(render(), 0);
  const std::vector<std::string> log = lines();
  ASSERT_EQ(log.size(), 15u) << text();
  EXPECT_TRUE(std::regex_match(
      log[0], std::regex("Tessaron AE Log: [A-Z][a-z]{2} [A-Z][a-z]{2} [ 0-9]\\d \\d\\d:\\d\\d:\\d\\d \\d{4}")))
      << log[0];
  EXPECT_EQ(log[1], "") << "the time ends in a line end of its own";
  utsname system{};
  uname(&system);
#ifdef NDEBUG
  EXPECT_EQ(log[2], std::string("Tessaron version 1.10 (1.1) for ") + system.sysname);
#endif
  EXPECT_EQ(log[3], "host info: TESS, ser# 0x0 (0)");
  EXPECT_EQ(log[4], " config dir: " + config());
  int major = 0, minor = 0, patch = 0;
  ASSERT_GE(std::sscanf(system.release, "%d.%d.%d", &major, &minor, &patch), 2);
  EXPECT_EQ(log[5], "OS ver: " + std::to_string(major) + "." + std::to_string(minor) +
                        " (=" + std::to_string(major * 65536 + minor * 256 + std::min(patch, 255)) + ")");
  EXPECT_EQ(log[6], "Windows 64?: 0");
  EXPECT_TRUE(log[7].starts_with("cmd: '") && log[7].ends_with("'") && has(log[7], "test_log_help")) << log[7];
  EXPECT_EQ(log[8], "host: After Effects(11)()") << "an unknown host reads like this one";
  EXPECT_EQ(log[9], "dest size 8 x 6, res 1, pixscale 1, asp 1");
  EXPECT_EQ(log[10], "=== Contents of " + config() + "/t_config.text:");
  EXPECT_EQ(log[11] + "\n" + log[12] + "\n", SETTINGS);
  EXPECT_EQ(log[13], "=== End of " + config() + "/t_config.text.");
  EXPECT_EQ(log[14], "### end of log file ###");
  EXPECT_TRUE(text().ends_with("\n"));
  EXPECT_EQ(said, "");
}

TEST_F(diagnostics_log, two_renders_in_a_row_write_it_once) {
  ASSERT_EQ(render(), 0);
  ASSERT_TRUE(is_there());
  std::filesystem::remove(folder.file("config/t_log.text"));
  ASSERT_EQ(render(), 0) << "in a new session of the same process";
  EXPECT_FALSE(is_there());
}

TEST_F(diagnostics_log, comes_with_the_first_render_that_ends_well) {
  EXPECT_EQ(render("TESS", [](testing::frame_request& request) { request.abort = [] { return 5; }; }), 5);
  EXPECT_FALSE(is_there());
  EXPECT_EQ(render(), 0);
  EXPECT_TRUE(is_there());
}

TEST_F(diagnostics_log, is_not_written_by_setup_alone) {
  { testing::rendered_effect effect{std::string(PLAIN)}; }
  EXPECT_FALSE(is_there());
}

TEST_F(diagnostics_log, the_serial_number_is_hexadecimal_and_decimal) {
  ASSERT_EQ(render("MOTN",
                   [](testing::frame_request& request) {
                     request.before_render = [](pf_in_data& in_data, pf_param_def**, pf_world&) {
                       in_data.serial_num = 48879;
                     };
                   }),
            0);
  EXPECT_TRUE(has(text(), "\nhost info: MOTN, ser# 0xbeef (48879)\n")) << text();
  EXPECT_TRUE(has(text(), "\nhost: Motion(9)()\n")) << text();
}

TEST_F(diagnostics_log, a_host_that_gives_no_letters_leaves_the_log_a_text) {
  ASSERT_EQ(render("A\n\x80Z"), 0);
  EXPECT_TRUE(has(text(), "\nhost info: A??Z, ser# 0x0 (0)\n")) << text();
}

TEST_F(diagnostics_log, the_first_render_is_told_with_its_scale_and_aspect) {
  ASSERT_EQ(render("TESS",
                   [](testing::frame_request& request) {
                     request.downsample_x = 4;
                     request.downsample_y = 2;
                     request.pixel_aspect = 2;
                   }),
            0);
  // The ratio is (scale x / scale y) * (den / num) of the host's: (1/4) / (1/2) * (1/2).
  EXPECT_TRUE(has(text(), "\ndest size 8 x 6, res 4, pixscale 0.25, asp 0.25\n")) << text();
}

TEST_F(diagnostics_log, a_render_node_is_marked) {
  ASSERT_EQ(render("DFRN"), 0);
  EXPECT_TRUE(has(text(), "\nhost: Digital Fusion(6)-batch()\n")) << text();
}

TEST_F(diagnostics_log, a_render_in_the_background_is_marked) {
  ASSERT_EQ(render("CbNL",
                   [](testing::frame_request& request) {
                     // As the word "NetRenderer" on the command line would do.
                     request.before_render = [](pf_in_data&, pf_param_def**, pf_world&) {
                       host_state.background_render = 1;
                     };
                   }),
            0);
  EXPECT_TRUE(has(text(), "\nhost: Combustion(2)-batch(-bg)\n")) << text();
}

TEST_F(diagnostics_log, a_settings_file_that_is_missing_is_said_in_the_log) {
  std::filesystem::remove(folder.file("config/t_config.text"));
  ASSERT_EQ(render(), 0);
  const std::string path = config() + "/t_config.text";
  EXPECT_TRUE(has(text(), "=== Contents of " + path + ":\nOpen of " + path +
                              " failed: No such file or directory\n=== End of " + path + ".\n"))
      << text();
}

TEST_F(diagnostics_log, copies_the_settings_byte_by_byte) {
  std::string settings = SETTINGS;
  settings += "// 100% sure\r\n";
  for (int i = 0; i < 3000; ++i) settings += "// a comment line of a long file\n";
  settings += "and no line end";
  folder.write("config/t_config.text", settings);
  ASSERT_EQ(render(), 0);
  EXPECT_TRUE(has(text(), ":\n" + settings + "=== End of "));
}

TEST_F(diagnostics_log, a_directory_that_is_not_there_is_silent) {
  std::filesystem::remove_all(config());
  reset_config();
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(render(), 0);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
  EXPECT_FALSE(has(said, "t_log")) << said;
  EXPECT_FALSE(host_state.log_pending);
}

TEST_F(diagnostics_log, a_folder_or_a_pipe_in_its_place_is_silent_and_stops_nothing) {
  std::filesystem::create_directory(folder.file("config/t_log.text"));
  EXPECT_EQ(render(), 0);
  EXPECT_EQ(said, "");
  std::filesystem::remove(folder.file("config/t_log.text"));
  ASSERT_EQ(mkfifo(folder.file("config/t_log.text").c_str(), 0600), 0);
  host_state.log_pending = true;
  EXPECT_EQ(render(), 0) << "a pipe that nobody reads would hold the render for ever";
  EXPECT_EQ(said, "");
}

TEST_F(diagnostics_log, who_listens_to_the_debug_output_hears_of_a_failed_open) {
  const std::string path = config() + "/t_log.text";
  std::filesystem::create_directory(path);
  environment.set("TESSARON_DEBUG", "1");
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(render(), 0);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Write of " + path + " failed at open: Is a directory\n");
}

TEST(log_buffer, doubles_its_room_as_needed) {
  log_buffer buffer;
  buffer.print("%s", "x");
  const std::size_t first = buffer.capacity();
  std::string expected = "x";
  for (int i = 0; i < 2000; ++i) {
    buffer.print("%d,%s;", i, "entry");
    expected += std::to_string(i) + ",entry;";
    std::size_t room = first;
    while (room < expected.size()) room *= 2;
    ASSERT_EQ(buffer.text(), expected);
    ASSERT_TRUE(buffer.capacity() == room || buffer.capacity() == 2 * room) << buffer.capacity();
  }
}

TEST(log_buffer, takes_an_entry_of_any_length) {
  for (const std::size_t length : {1023u, 1024u, 1025u, 2047u, 2048u, 100000u}) {
    log_buffer buffer;
    buffer.print("%s", std::string(length, 'a').c_str());
    buffer.append(std::string_view("b\0c", 3));
    EXPECT_EQ(buffer.text(), std::string(length, 'a') + std::string("b\0c", 3)) << length;
  }
}

}  // namespace
}  // namespace tessaron
