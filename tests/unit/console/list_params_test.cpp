// Popups that a data file fills, on the command line and in what is printed of an effect.
#include "console/describe.h"
#include "host/inspect.h"
#include "param_kit.h"
#include "tests/support/scratch_folder.h"

namespace tessaron::console {
namespace {

/// A popup that a data file fills, which the definition counts from 1.
class ListParams : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_.write("t_lensflares.text", "begin Low_Sun end begin Lamp end begin Far_Away,_at_Sea end");
    inspect_use_config_dir(folder_.path());
    effect_ = bound(
        "(define Sample () Kind = 2 (lens_flare_names)\n"
        "  dest = (lens_flare Kind [0 0] [0 0] 1 1 1 0 [1 1 1] [1 1 1] [1 1 1]))\n");
    ASSERT_TRUE(effect_);
  }
  param_setting parse(const std::string& text) const { return parse_param(text, *effect_); }
  std::string fault(const std::string& text) const { return fault_of(text, *effect_); }
  /// What the host's popup is at after a -p.
  int entry(const std::string& text) {
    apply_params({parse(text)}, 0, *effect_);
    return inspect_host_params(*effect_).at(0).u.popup.default_value;
  }
  tessaron::testing::scratch_folder folder_;
  genotype_ptr effect_;
};

using values = std::vector<float>;

TEST_F(ListParams, takes_an_entrys_text_or_its_index_from_0) {
  EXPECT_EQ(entry("Kind=0"), 1);
  EXPECT_EQ(entry("Kind=2"), 3);
  EXPECT_EQ(entry("Kind=Low Sun"), 1);
  EXPECT_EQ(entry("Kind=low_sun"), 1);
  EXPECT_EQ(entry("Kind=Lamp"), 2);
  EXPECT_EQ(entry("Kind=Far Away, At Sea"), 3);
  EXPECT_NE(fault("Kind=3").find("the entries are Low Sun, Lamp, Far Away, At Sea"), std::string::npos)
      << fault("Kind=3");
  EXPECT_NE(fault("Kind=-1").find("no entry"), std::string::npos);
  EXPECT_NE(fault("Kind=1.5").find("no entry"), std::string::npos);
  EXPECT_NE(fault("Kind=Lump").find("Did you mean Lamp?"), std::string::npos) << fault("Kind=Lump");
}

TEST_F(ListParams, may_be_keyed) {
  const param_setting setting = parse("Kind=Low Sun@0 2@4");
  EXPECT_EQ(setting.at(0), (values{1}));
  EXPECT_EQ(setting.at(4), (values{3}));
}

TEST_F(ListParams, are_described_with_their_entries) {
  found_effect found;
  found.definition.name = "Sample";
  EXPECT_NE(list_text(found, effect_.get()).find("popup      1               Low Sun | Lamp | Far Away, At Sea"),
            std::string::npos)
      << list_text(found, effect_.get());
  EXPECT_NE(info_text(found, *effect_).find("Low Sun | Lamp | Far Away, At Sea"), std::string::npos);
}

}  // namespace
}  // namespace tessaron::console
