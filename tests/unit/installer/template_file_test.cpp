// The template that is built with the project: where its identity stands, and what stamping does to it.
#include <cstring>

#include "installer/template_patcher.h"
#include "installer_run.h"

namespace tessaron::installer {
namespace {

const std::string TEMPLATE_FOLDER = TESSARON_BINARY_DIR;

std::string template_bytes() {
  std::ostringstream content;
  content << std::ifstream(TEMPLATE_FOLDER + "/CustomAE.tmpl", std::ios::binary).rdbuf();
  return content.str();
}

std::vector<std::size_t> places_of(const std::string& part, const std::string& whole) {
  std::vector<std::size_t> places;
  for (std::size_t at = 0; (at = whole.find(part, at)) != std::string::npos; ++at) places.push_back(at);
  return places;
}

TEST(TemplateFile, identity_stands_in_it_once_plain_and_once_counted) {
  const std::string bytes = template_bytes();
  const auto places = places_of(PLACEHOLDER, bytes);
  ASSERT_EQ(places.size(), 2u);
  int n_counted = 0;
  for (const std::size_t at : places) {
    n_counted += bytes[at - 1] == 31;
    EXPECT_EQ(bytes[at + 31], '\0') << "ended by a NUL";
  }
  EXPECT_EQ(n_counted, 1);
}

TEST(TemplateFile, stamping_changes_the_two_texts_alone) {
  for (const std::string& name : {std::string("A"), std::string("Edge_Tint"), std::string(30, 'n')}) {
    const std::string before = template_bytes();
    std::string after = before;
    patch_template_name(after.data(), std::ptrdiff_t(after.size()), PLACEHOLDER, name);
    for (const std::size_t at : places_of(PLACEHOLDER, before)) {
      EXPECT_STREQ(after.c_str() + at, name.c_str());
      if (before[at - 1] == 31) {
        EXPECT_EQ(after[at - 1], char(name.size()));
        after[at - 1] = 31;
      }
      after.replace(at, 31, PLACEHOLDER);
    }
    EXPECT_TRUE(after == before) << name;
  }
}

TEST_F(InstallerRun, the_built_template_matches_twice) {
  write_config("CustomAE.tmpl", template_bytes());
  const std::string out = run({"-v"}).out;
  EXPECT_EQ(places_of("Found regular match at ", out).size(), 2u);  // of two customs
  EXPECT_EQ(places_of("Found len-byte match at ", out).size(), 2u);
}

}  // namespace
}  // namespace tessaron::installer
