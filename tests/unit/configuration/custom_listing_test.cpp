// The configuration directory and the list of custom effects.
#include <cstdlib>
#include <cstring>
#include <memory>

#include "files.h"

namespace tessaron::testing {
namespace {

struct free_list {
  void operator()(custom_genotype_info* list) const { std::free(list); }
};
using list_ptr = std::unique_ptr<custom_genotype_info, free_list>;

class CustomListing : public ConfigFolder {
 protected:
  int list(const std::string& text) {
    reports.clear();
    custom_genotype_info* out = reinterpret_cast<custom_genotype_info*>(1);
    const int n = get_custom_genotype_infos(write("list.text", text).c_str(), &out);
    infos.reset(out);
    return n;
  }
  const custom_genotype_info& at(int i) const { return infos.get()[i]; }
  list_ptr infos;
};

TEST(RegistryKey, defaults_stand_in_for_null) {
  EXPECT_EQ(get_registry_key_name("AE", "1.10"), "Software\\Holvane\\Tessaron AE\\1.10");
  EXPECT_EQ(get_registry_key_name(nullptr, nullptr), "Software\\Holvane\\Tessaron AE\\1.10");
  EXPECT_EQ(get_registry_key_name("Fusion", "2"), "Software\\Holvane\\Tessaron Fusion\\2");
}

class ConfigDir : public ConfigFolder {
 protected:
  void SetUp() override {
    ConfigFolder::SetUp();
    unsetenv("TESSARON_CONFIG_DIR");
    setenv("XDG_CONFIG_HOME", folder.c_str(), 1);
    setenv("XDG_CONFIG_DIRS", folder.c_str(), 1);
    std::filesystem::create_directory(folder / "tessaron");
    forget();
  }
};

TEST_F(ConfigDir, without_a_key_or_its_value_is_the_default) {
  EXPECT_STREQ(get_config_dir(), "c:/Program Files/Holvane/TessaronAE");
  write("tessaron/registry", "Software\\Holvane\\Tessaron AE\\1.10\\Other=/x\n");
  forget();
  EXPECT_STREQ(get_config_dir(), "c:/Program Files/Holvane/TessaronAE");
}

TEST_F(ConfigDir, is_what_the_value_says_and_looked_up_once) {
  write("tessaron/registry", "Software\\Holvane\\Tessaron AE\\1.10\\ConfigDir=/one/\n");
  forget();
  const char* first = get_config_dir();
  EXPECT_STREQ(first, "/one/") << "no separator added or removed";
  write("tessaron/registry", "Software\\Holvane\\Tessaron AE\\1.10\\ConfigDir=/two\n");
  EXPECT_EQ(get_config_dir(), first);
  EXPECT_STREQ(first, "/one/");
}

TEST_F(ConfigDir, a_value_longer_than_its_buffer_cannot_be_read) {
  const std::string longest(1023, 'd');
  setenv("TESSARON_CONFIG_DIR", longest.c_str(), 1);
  EXPECT_EQ(get_config_dir(), longest);
  forget();
  setenv("TESSARON_CONFIG_DIR", (longest + "d").c_str(), 1);
  EXPECT_STREQ(get_config_dir(), "c:/Program Files/Holvane/TessaronAE");
}

TEST_F(CustomListing, names_and_inputs_in_file_order) {
  ASSERT_EQ(list("key: value (other word) (define My_Glow (Source Back) (blur Source 1))\n"
                 "(def_effect B(Img)x) (define C () 0)"),
            3);
  EXPECT_TRUE(reports.empty()) << reports.all();
  EXPECT_STREQ(at(0).name, "My_Glow");
  EXPECT_EQ(at(0).n_inputs, 2);
  EXPECT_STREQ(at(0).input_names[0], "Source");
  EXPECT_STREQ(at(0).input_names[1], "Back");
  EXPECT_STREQ(at(1).name, "B");
  EXPECT_EQ(at(1).n_inputs, 1);
  EXPECT_STREQ(at(1).input_names[0], "Img");
  EXPECT_STREQ(at(2).name, "C");
  EXPECT_EQ(at(2).n_inputs, 0);
}

TEST_F(CustomListing, the_fourth_input_ends_the_list) {
  ASSERT_EQ(list("(define A (x y z w v) 1) (define B ()"), 2);
  EXPECT_EQ(at(0).n_inputs, 4);
  EXPECT_STREQ(at(0).input_names[3], "w");
  EXPECT_EQ(at(1).n_inputs, 0);
  EXPECT_EQ(list("(define A (x y z w (define B (v) 1)"), 2) << "what follows is searched for definitions";
  EXPECT_STREQ(at(1).input_names[0], "v");
}

TEST_F(CustomListing, bodies_are_not_read) {
  EXPECT_EQ(list("(define A (x) ((( \" unbalanced = ] (define B (y)"), 2);
  EXPECT_EQ(list("( (define A (x) 1)"), 1) << "a bracket in front of the bracket";
  EXPECT_EQ(list("define A (x)"), 0) << "no bracket";
  EXPECT_EQ(list("( defined A (x))"), 0);
}

TEST_F(CustomListing, a_file_without_definitions_has_no_list) {
  for (const char* text : {"", "multi_process_enable: 1", "// (define A (x) 1)", "(define", "( define "}) {
    EXPECT_EQ(list(text), 0) << text;
    EXPECT_EQ(infos, nullptr);
    EXPECT_TRUE(reports.empty()) << reports.all();
  }
}

TEST_F(CustomListing, a_missing_file_is_told) {
  custom_genotype_info* out = reinterpret_cast<custom_genotype_info*>(1);
  EXPECT_EQ(get_custom_genotype_infos((folder / "none").c_str(), &out), 0);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(reports.severity_of("Open of " + (folder / "none").string() + " failed: No such file or directory\n"), 8)
      << reports.all();
}

TEST_F(CustomListing, a_directory_in_place_of_the_file_is_told) {
  custom_genotype_info* out = nullptr;
  EXPECT_EQ(get_custom_genotype_infos(folder.c_str(), &out), 0);
  EXPECT_TRUE(reports.has("Open of " + folder.string() + " failed: Is a directory\n")) << reports.all();
}

TEST_F(CustomListing, a_definition_without_a_list_breaks_the_listing) {
  EXPECT_EQ(list("(define A (x) 1) (define B x 1) (define C (x) 1)"), 1);
  EXPECT_EQ(infos, nullptr) << "a count and no list";
  ASSERT_EQ(reports.count(), 2u) << reports.all();
  EXPECT_EQ(reports.entries()[0].text, " expected '(', but got 'x'");
  EXPECT_EQ(reports.entries()[0].severity, 8);
  EXPECT_EQ(reports.entries()[1].text, "Error while reading custom plug-in B \n");
  EXPECT_EQ(reports.entries()[1].severity, 8);
}

TEST_F(CustomListing, the_end_in_place_of_a_list_breaks_the_listing) {
  EXPECT_EQ(list("(define A (x) 1) (define B"), 1);
  EXPECT_EQ(infos, nullptr);
  ASSERT_EQ(reports.count(), 2u) << reports.all();
  EXPECT_EQ(reports.entries()[0].text, " expected (, but got eof");
  EXPECT_EQ(reports.entries()[1].text, "Error while reading custom plug-in B \n");
}

TEST_F(CustomListing, the_end_inside_a_list_breaks_the_listing) {
  EXPECT_EQ(list("(define A (x) 1) (define B (x y"), 1);
  EXPECT_EQ(infos, nullptr);
  ASSERT_EQ(reports.count(), 1u) << reports.all();
  EXPECT_EQ(reports.severity_of("Eof while reading custom plug-in B \n"), 8);
}

TEST_F(CustomListing, a_long_effect_name_is_cut_to_its_field) {
  ASSERT_EQ(list("(define " + std::string(40, 'n') + " (a) 1)"), 1);
  EXPECT_EQ(at(0).name, std::string(31, 'n'));
  EXPECT_EQ(at(0).n_inputs, 1);
  EXPECT_STREQ(at(0).input_names[0], "a");
}

TEST_F(CustomListing, a_long_input_name_runs_into_the_next_places) {
  // Places are 12 bytes long, in a row.
  const auto names = [this] { return std::string(at(0).input_names[0], sizeof at(0).input_names); };
  const auto bytes = [](std::string text) { return text.append(48 - text.size(), '\0'); };
  ASSERT_EQ(list("(define A (abcdefghijkl) 1)"), 1);
  EXPECT_EQ(names(), bytes("abcdefghijkl"));
  ASSERT_EQ(list("(define A (" + std::string(40, 'a') + ") 1)"), 1);
  EXPECT_EQ(names(), bytes(std::string(31, 'a')));
  // What comes next writes over it.
  ASSERT_EQ(list("(define A (" + std::string(31, 'a') + " b) 1)"), 1);
  EXPECT_EQ(names(), bytes(std::string(12, 'a') + "b" + '\0' + std::string(17, 'a')));
  EXPECT_EQ(at(0).n_inputs, 2);
}

TEST_F(CustomListing, a_long_input_name_ends_with_the_record) {
  ASSERT_EQ(list("(define A (a b c " + std::string(31, 'd') + ") 1) (define B (x) 1)"), 2);
  EXPECT_EQ(at(0).input_names[3], std::string(11, 'd'));
  EXPECT_STREQ(at(1).name, "B");
  ASSERT_EQ(list("(define A (a b " + std::string(31, 'c') + ") 1)"), 1);
  EXPECT_EQ(std::string(at(0).input_names[2], 24), std::string(23, 'c') + '\0');
}

TEST_F(CustomListing, binary_files_do_no_harm) {
  std::string garbage;
  for (int i = 0; i < 70000; ++i) garbage += char((i * 2654435761u) >> 11);
  list(garbage + "(define A (x) 1)");
  for (const auto& e : reports.entries()) EXPECT_EQ(e.severity, 8);
}

TEST_F(CustomListing, every_call_lists_anew) {
  const std::string path = write("list.text", "(define A (x) 1)");
  custom_genotype_info *first = nullptr, *second = nullptr;
  EXPECT_EQ(get_custom_genotype_infos(path.c_str(), &first), 1);
  EXPECT_EQ(get_custom_genotype_infos(path.c_str(), &second), 1);
  EXPECT_NE(first, second);
  std::free(first);
  std::free(second);
}

TEST_F(CustomListing, the_shared_list_is_read_once) {
  write("t_config.text", "(define A (x) 1) (define B (y) 1)");
  EXPECT_EQ(maybe_get_custom_genotype_infos(), 2);
  write("t_config.text", "");
  EXPECT_EQ(maybe_get_custom_genotype_infos(), 2);
  ASSERT_NE(get_custom_genotype_info_n(1), nullptr);
  EXPECT_STREQ(get_custom_genotype_info_n(1)->name, "B");
  EXPECT_EQ(get_custom_genotype_info_n(1), get_custom_genotype_info_n(0) + 1);
  EXPECT_EQ(get_custom_genotype_info_n(-1), nullptr);
  EXPECT_EQ(get_custom_genotype_info_n(2), nullptr);
}

TEST_F(CustomListing, a_failed_open_is_not_tried_again) {
  EXPECT_EQ(maybe_get_custom_genotype_infos(), 0);
  EXPECT_EQ(reports.count(), 1u);
  write("t_config.text", "(define A (x) 1)");
  EXPECT_EQ(maybe_get_custom_genotype_infos(), 0);
  EXPECT_EQ(get_custom_genotype_info_n(0), nullptr);
  EXPECT_EQ(reports.count(), 1u) << reports.all();
}

TEST_F(CustomListing, a_broken_shared_list_has_a_count_and_null_records) {
  write("t_config.text", "(define A (x) 1) (define B (y) 1) (define C y)");
  EXPECT_EQ(maybe_get_custom_genotype_infos(), 2);
  EXPECT_EQ(get_custom_genotype_info_n(0), nullptr);
  EXPECT_EQ(get_custom_genotype_info_n(1), nullptr);
  free_custom_genotype_infos();
}

TEST_F(CustomListing, freeing_keeps_the_count_and_may_be_repeated) {
  free_custom_genotype_infos();
  write("t_config.text", "(define A (x) 1)");
  EXPECT_EQ(maybe_get_custom_genotype_infos(), 1);
  free_custom_genotype_infos();
  free_custom_genotype_infos();
  EXPECT_EQ(maybe_get_custom_genotype_infos(), 1);
  EXPECT_EQ(get_custom_genotype_info_n(0), nullptr);
}

}  // namespace
}  // namespace tessaron::testing
