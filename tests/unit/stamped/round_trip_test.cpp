// From a definition in t_config.text to a picture: installed, loaded, rendered, and compared with the same
// definition rendered from its text.
#include <dlfcn.h>

#include <set>

#include "stamped_folder.h"

namespace tessaron::stamped {
namespace {

constexpr pixel_format ALL_FORMATS[] = {pixel_format::rgba8, pixel_format::bgra8, pixel_format::rgba16,
                                        pixel_format::bgra16};

/// What the definition's text renders, through the same engine.
frame_result rendered_from_text(const custom& c, tessaron_main_fn entry, const std::vector<const image*>& inputs) {
  const hostkit::plugin_texts texts(c.name, {c.text});
  instance effect(entry, texts.record(), loaded_plugin::identity_for(inputs.at(0)->format));
  return render(effect, inputs);
}

class RoundTrip : public ::testing::TestWithParam<custom> {};

TEST_P(RoundTrip, stamped_plugin_renders_what_its_text_renders) {
  for (const pixel_format format : ALL_FORMATS) {
    loaded_plugin plugin(stamped_folder::get().plugin(GetParam().name), format);
    EXPECT_EQ(plugin.effect.name(), GetParam().name);
    const image first = test_picture(33, 17, format, 1), second = test_picture(33, 17, format, 101);
    const frame_result stamped = render(plugin.effect, {&first, &second});
    const frame_result text = rendered_from_text(GetParam(), plugin.library.entry(), {&first, &second});
    ASSERT_EQ(stamped.error, 0);
    ASSERT_EQ(text.error, 0);
    EXPECT_TRUE(stamped.output.data == text.output.data);
    EXPECT_FALSE(stamped.output.data == first.data) << "the effect does something";
  }
}

TEST_P(RoundTrip, stamped_plugin_declares_the_parameters_of_its_text) {
  loaded_plugin plugin(stamped_folder::get().plugin(GetParam().name));
  const hostkit::plugin_texts texts(GetParam().name, {GetParam().text});
  instance from_text(plugin.library.entry(), texts.record());
  const auto &stamped = plugin.effect.declared(), &text = from_text.declared();
  ASSERT_EQ(stamped.size(), text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    EXPECT_STREQ(stamped[i].name, text[i].name);
    EXPECT_EQ(stamped[i].param_type, text[i].param_type);
    EXPECT_EQ(stamped[i].ui_flags, text[i].ui_flags);
  }
}

INSTANTIATE_TEST_SUITE_P(Customs, RoundTrip, ::testing::ValuesIn(customs()),
                         [](const auto& info) { return info.param.name; });

TEST(StampedPlugin, renders_the_numbers_of_its_definition) {
  loaded_plugin inverse(stamped_folder::get().plugin("A"));
  image picture = image::make(1, 1, pixel_format::rgba8);
  picture.data = {255, 0, 100, 255};  // alpha first
  EXPECT_EQ(render(inverse.effect, {&picture}).output.data, (std::vector<std::uint8_t>{255, 255, 155, 0}));
}

TEST(StampedPlugin, takes_parameter_values) {
  loaded_plugin tint(stamped_folder::get().plugin("Edge_Tint"));
  for (pf_param_def& p : tint.effect.values())
    if (std::string(p.name) == "Amount") p.u.slider.value = 0;
  const image picture = test_picture(5, 4, pixel_format::rgba8, 3);
  EXPECT_EQ(render(tint.effect, {&picture}).output.data, picture.data);
}

TEST(StampedPlugin, is_saved_and_reloaded) {
  loaded_plugin tint(stamped_folder::get().plugin("Edge_Tint"));
  const image picture = test_picture(5, 4, pixel_format::rgba8, 3);
  const auto before = render(tint.effect, {&picture}).output.data;
  tint.effect.reload(tint.effect.save());
  EXPECT_EQ(render(tint.effect, {&picture}).output.data, before);
}

TEST(StampedPlugin, entry_takes_no_descriptor_for_its_own) {
  const plugin_library library(stamped_folder::get().plugin("A"));
  const tessaron_main_fn own = library.entry();
  static tessaron_main_fn entry;
  entry = own;
  const auto without = [](const tessaron_plugin*, int32_t command, pf_in_data* in, pf_out_data* out,
                          pf_param_def** params, pf_world* output,
                          void* extra) { return entry(nullptr, command, in, out, params, output, extra); };
  instance effect(without, library.descriptor());
  EXPECT_EQ(effect.name(), "A");
}

/// Files of this process that are an engine.
std::set<std::string> engines_in_process() {
  std::set<std::string> files;
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);)
    if (line.find("/libtessaron.so") != std::string::npos) files.insert(line.substr(line.find('/')));
  return files;
}

TEST(StampedPlugin, all_copies_in_a_process_share_one_engine) {
  const stamped_folder& folder = stamped_folder::get();
  std::vector<std::unique_ptr<loaded_plugin>> all;
  for (const int copy : {0, 1})
    for (const custom& c : customs()) all.push_back(std::make_unique<loaded_plugin>(folder.plugin(c.name, copy)));
  EXPECT_EQ(engines_in_process().size(), 1u);
  const image picture = test_picture(9, 7, pixel_format::rgba8, 5);
  const std::size_t n = customs().size();
  for (std::size_t i = 0; i < n; ++i) {
    EXPECT_STREQ(all[i]->library.descriptor().plugin_name, customs()[i].name.c_str());
    EXPECT_STREQ(all[i]->library.descriptor().doc_name, customs()[i].name.c_str());
    const auto first = render(all[i]->effect, {&picture, &picture}).output.data;
    EXPECT_EQ(render(all[i + n]->effect, {&picture, &picture}).output.data, first);
  }
}

TEST(StampedPlugin, can_be_loaded_again_after_the_last_one_is_gone) {
  const image picture = test_picture(9, 7, pixel_format::rgba8, 5);
  std::vector<std::uint8_t> first;
  for (int round = 0; round < 3; ++round) {
    loaded_plugin plugin(stamped_folder::get().plugin("Edge_Tint"));
    const auto bytes = render(plugin.effect, {&picture}).output.data;
    if (round == 0) first = bytes;
    EXPECT_EQ(bytes, first);
  }
  EXPECT_EQ(hostkit::live_handles(), 0);
}

}  // namespace
}  // namespace tessaron::stamped
