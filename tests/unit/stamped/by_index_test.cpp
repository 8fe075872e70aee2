// Unstamped copies of the template, which take the customs in their order, and copies that can't work.
#include "stamped_folder.h"

namespace tessaron::stamped {
namespace {

/// Copies of the template under names of their own.
class Unstamped : public ::testing::Test {
 protected:
  void SetUp() override { stamped_folder::get(); }
  std::string copy(const std::string& name) const {
    std::filesystem::copy(BUILT_TEMPLATE, folder.file(name));
    return folder.file(name);
  }
  /// A copy with `name` in place of both texts, without the installer's checks.
  std::string copy_named(const std::string& file, const std::string& name) const {
    const std::string path = copy(file), placeholder = "TessaronCustomPlugin___________";
    std::string bytes = folder.read(file);
    for (std::size_t at; (at = bytes.find(placeholder)) != std::string::npos;)
      bytes.replace(at, placeholder.size(), name + std::string(placeholder.size() - name.size(), '\0'));
    return folder.write(file, bytes);
  }
  static std::string refusal(const std::string& path) {
    try {
      const loaded_plugin plugin(path);
      return "";
    } catch (const hostkit::host_error& fault) {
      return fault.what();
    }
  }
  testing::scratch_folder folder;
};

bool has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

TEST_F(Unstamped, copies_take_the_customs_in_order) {
  const image picture = test_picture(9, 7, pixel_format::rgba8, 5);
  std::vector<std::unique_ptr<loaded_plugin>> copies;
  for (const custom& c : customs()) {
    copies.push_back(std::make_unique<loaded_plugin>(copy(std::to_string(copies.size()) + ".aex")));
    instance& effect = copies.back()->effect;
    EXPECT_STREQ(copies.back()->library.descriptor().plugin_name, "TessaronCustomPlugin___________");
    const hostkit::plugin_texts texts(c.name, {c.text});
    instance from_text(copies.back()->library.entry(), texts.record());
    EXPECT_EQ(render(effect, {&picture, &picture}).output.data, render(from_text, {&picture, &picture}).output.data)
        << c.name;
  }
}

TEST_F(Unstamped, a_copy_too_many_says_so_and_stands_in) {
  std::vector<std::unique_ptr<loaded_plugin>> copies;
  for (std::size_t i = 0; i <= customs().size(); ++i)
    copies.push_back(std::make_unique<loaded_plugin>(copy(std::to_string(i) + ".aex")));
  std::string messages;
  for (const std::string& message : copies.back()->effect.take_messages()) messages += message;
  EXPECT_TRUE(has(messages, "You have tried to load the 6th custom effect from\n" +
                                stamped_folder::get().config_file() +
                                ",\nbut there are not that many custom effects defined in that file."))
      << messages;
}

TEST_F(Unstamped, copies_by_index_and_by_name_do_not_mix) {
  const std::string mixed = "Can't mix reading custom plugins by index (";
  {
    const loaded_plugin by_name(stamped_folder::get().plugin("A"));
    const std::string refused = refusal(copy("index.aex"));
    EXPECT_TRUE(has(refused, "error 516")) << refused;
    EXPECT_TRUE(has(refused, mixed + "0) and by name (TessaronCustomPlugin___________).\nMake sure all your customs "
                                     "have been properly configured."))
        << refused;
  }
  const loaded_plugin by_index(folder.file("index.aex"));
  const std::string refused = refusal(stamped_folder::get().plugin("A"));
  EXPECT_TRUE(has(refused, "error 516")) << refused;
  EXPECT_TRUE(has(refused, mixed + "1) and by name (A).")) << refused;
}

TEST_F(Unstamped, a_name_that_is_not_defined_is_an_error_with_the_name) {
  const std::string refused = refusal(copy_named("gone.aex", "Gone"));
  EXPECT_TRUE(has(refused, "The effect named 'Gone' was not found in file " + stamped_folder::get().config_file()))
      << refused;
}

TEST_F(Unstamped, an_empty_name_is_read_by_name) {
  EXPECT_TRUE(has(refusal(copy_named("empty.aex", "")), "The effect named '' was not found"));
}

TEST_F(Unstamped, a_copy_cut_short_is_no_plugin) {
  const std::string bytes = folder.read(std::filesystem::path(copy("whole.aex")).filename());
  for (const std::size_t size : {0, 31, 64}) {
    const std::string path = folder.write("cut.aex", bytes.substr(0, size));
    EXPECT_TRUE(has(refusal(path), path + " can't be loaded")) << size;
  }
}

}  // namespace
}  // namespace tessaron::stamped
