// The loaders: texts of a plug-in, definitions of a file by name and by place.
#include <cstring>
#include <string>

#include "base/report.h"
#include "definition.h"

namespace tessaron::testing {
namespace {

constexpr const char* TWO_EFFECTS =
    "input_lut: none\n"
    "(define First (Src) dest = Src)\n"
    "\n"
    "// The second one.\n"
    "(def_effect Second_one (A B) dest = (+ A B))\n";

TEST(loaders, an_effect_is_found_by_name) {
  const temporary_file file(TWO_EFFECTS);
  globals_scope globals;
  load_effect_by_name("Second_one", file.path());
  EXPECT_STREQ(globals->genotypes[0]->name, "Second one");
  EXPECT_STREQ(globals->genotypes[0]->description, "The second one.");
  EXPECT_EQ(globals->n_effects, 1);
  EXPECT_EQ(globals->current_effect_i, 0);
}

TEST(loaders, a_second_load_frees_the_first_effect) {
  const temporary_file file(TWO_EFFECTS);
  globals_scope globals;
  load_effect_by_name("First", file.path());
  load_effect_by_name("Second_one", file.path());
  EXPECT_STREQ(globals->genotypes[0]->name, "Second one");
}

TEST(loaders, a_missing_name_is_fatal) {
  const temporary_file file(TWO_EFFECTS);
  globals_scope globals;
  report_capture reports;
  EXPECT_THROW(load_effect_by_name("Second", file.path()), TessaronAbortException);
  const std::string path = file.path();
  EXPECT_EQ(reports.severity_of("The effect named 'Second' was not found in file " + path + "."), REPORT_ERROR);
  EXPECT_EQ(reports.severity_of("Failed loading from " + path + "."), REPORT_ERROR);
  EXPECT_EQ(reading_from_file_ptr, nullptr);
}

TEST(loaders, a_missing_file_is_fatal_by_name) {
  globals_scope globals;
  report_capture reports;
  EXPECT_THROW(load_effect_by_name("A", "/no/such/file"), TessaronAbortException);
  EXPECT_TRUE(reports.has_part("Open of /no/such/file failed: "));
  EXPECT_TRUE(reports.has("Failed loading from /no/such/file."));
}

TEST(loaders, an_effect_is_found_by_place) {
  const temporary_file file(TWO_EFFECTS);
  globals_scope globals;
  load_effect_by_index(1, file.path());
  EXPECT_STREQ(globals->genotypes[0]->name, "Second one");
  EXPECT_EQ(globals->n_inputs, 2);
}

TEST(loaders, a_place_past_the_end_gives_a_black_effect) {
  const temporary_file file(TWO_EFFECTS);
  globals_scope globals;
  const struct {
    int index;
    const char* place;
  } places[] = {{2, "3rd"}, {3, "4th"}, {10, "11th"}, {11, "12th"}, {20, "21st"}, {121, "122nd"}, {110, "111th"}};
  for (const auto& p : places) {
    report_capture reports;
    load_effect_by_index(p.index, file.path());
    EXPECT_EQ(reports.severity_of(std::string("\nYou have tried to load the ") + p.place + " custom effect from\n" +
                                  file.path() +
                                  ",\nbut there are not that many custom effects defined in that file.\nPerhaps "
                                  "there's a syntax error in the custom effect?\n"),
              REPORT_WARNING)
        << reports.all();
    EXPECT_STREQ(globals->genotypes[0]->name, "NoCustom");
    EXPECT_EQ(globals->n_inputs, 0);
  }
}

TEST(loaders, a_broken_definition_or_file_gives_a_black_effect_by_place) {
  const temporary_file file("(define Broken dest = )");
  globals_scope globals;
  report_capture reports;
  load_effect_by_index(0, file.path());
  EXPECT_STREQ(globals->genotypes[0]->name, "NoCustom");
  EXPECT_TRUE(reports.has_part("You have tried to load the 1st custom effect"));
  load_effect_by_index(0, "/no/such/file");
  EXPECT_TRUE(reports.has_part("Open of /no/such/file failed: "));
  EXPECT_STREQ(globals->genotypes[0]->name, "NoCustom");
}

TEST(loaders, reports_from_a_file_know_their_line) {
  const temporary_file file("(define Good dest = 0)\n(define Bad\n  dest = (nosuch 1))\n");
  globals_scope globals;
  report_capture reports;
  EXPECT_THROW(load_effect_by_name("Bad", file.path()), TessaronAbortException);
  ASSERT_GE(reports.count(), 1u);
  EXPECT_EQ(reports.entries()[0].text, "In Bad node 0: unknown function 'nosuch'");
  EXPECT_EQ(reports.entries()[0].location, std::string(file.path()) + ":3");
}

TEST(loaders, reports_from_behind_a_reference_know_its_line) {
  const temporary_file file("(define Low\n a = nosuch b = (nosuch))\n\n(define Main #ref Low\n dest = 0)\n");
  globals_scope globals;
  report_capture reports;
  EXPECT_THROW(load_effect_by_name("Main", file.path()), TessaronAbortException);
  EXPECT_EQ(reports.entries()[0].location, std::string(file.path()) + ":2") << reports.all();
}

TEST(loaders, all_texts_of_a_plugin_are_loaded) {
  globals_scope globals;
  globals->effect_names[0] = "(define One (S) (mask_color combines_2_constant_inputs) dest = S)";
  globals->effect_names[1] = "(define Two (S) (generates_color) dest = S)";
  globals->effect_names[2] = "(define Three (S) (combines_2_inputs) dest = S)";
  globals->n_effects = 3;
  load_effects_from_strings();
  EXPECT_STREQ(globals->genotypes[2]->name, "Three");
  // What belongs to the plug-in comes from its first effect.
  EXPECT_EQ(globals->genotypes[1]->flags[1], GENO1_MASK_COLOR | GENO1_COMBINES_2 | GENO1_GENERATES_COLOR);
  EXPECT_EQ(globals->genotypes[1]->flags[2] & GENO2_COMBINES_2_CONSTANT, GENO2_COMBINES_2_CONSTANT);
  EXPECT_EQ(reading_from_string, nullptr);
}

TEST(loaders, the_first_effect_also_takes_shared_modifiers_away) {
  globals_scope globals;
  globals->effect_names[0] = "(define One (S) dest = S)";
  globals->effect_names[1] = "(define Two (S) (mask_color combines_2_constant_inputs) dest = S)";
  globals->n_effects = 2;
  load_effects_from_strings();
  EXPECT_EQ(globals->genotypes[1]->flags[1], 0);
  EXPECT_EQ(globals->genotypes[1]->flags[2] & GENO2_COMBINES_2_CONSTANT, 0);
}

TEST(loaders, a_text_that_fails_is_fatal) {
  globals_scope globals;
  report_capture reports;
  globals->effect_names[0] = "(define One dest = 0)";
  globals->effect_names[1] = "nothing";
  globals->n_effects = 2;
  EXPECT_THROW(load_effects_from_strings(), TessaronAbortException);
  EXPECT_TRUE(reports.has("Eof reading genotype define from string."));
  EXPECT_EQ(reports.severity_of("Failed loading effect from string."), REPORT_ERROR);
}

TEST(loaders, a_plugin_needs_effects) {
  globals_scope globals;
  report_capture reports;
  load_effects_from_strings();
  EXPECT_TRUE(reports.has("load_effects_from_strings: Globals->n_effects <= 0."));
  globals->n_effects = MAX_EFFECTS_PER_PLUGIN + 1;
  EXPECT_THROW(load_effects_from_strings(), TessaronAbortException);
}

TEST(loaders, capacity_hints_serve_one_load) {
  globals_scope globals;
  globals->effect_names[0] = "(define One dest = 0)";
  globals->effect_names[1] = "(define Two dest = 0)";
  globals->n_effects = 2;
  const std::int32_t hints[2] = {77, 0};
  effect_capacity_hints = hints;
  load_effects_from_strings();
  EXPECT_EQ(globals->genotypes[0]->node_capacity, 77);
  EXPECT_EQ(globals->genotypes[1]->node_capacity, 12);
  EXPECT_EQ(effect_capacity_hints, nullptr);
}

TEST(loaders, the_configuration_is_read_by_the_hosts_hook) {
  static int reads;
  reads = 0;
  read_configuration = [] { ++reads; };
  read_text("(define A dest = 0)");
  read_configuration = nullptr;
  EXPECT_EQ(reads, 1);
}

TEST(loaders, a_fresh_record_has_its_starting_values) {
  globals_scope globals;
  const std::uint8_t channels[7] = {1, 1, 2, 3, 3, 3, 3};
  const std::uint8_t dependency[7] = {0, 0, 0, 1, 1, 1, 1};
  EXPECT_EQ(std::memcmp(globals->image_channels, channels, 7), 0);
  EXPECT_EQ(std::memcmp(globals->default_image_channels, dependency, 7), 0);
  EXPECT_EQ(globals->n_image_channels, 4);
  EXPECT_EQ(globals->n_inputs, -1);
  EXPECT_EQ(globals->descriptor_a, -1);
  EXPECT_EQ(globals->effect_arg_a, -1);
  EXPECT_EQ(globals->last_effect_i, -1);
  EXPECT_EQ(globals->temp_sets[1].last_time, -1000000);
  EXPECT_EQ(globals->temp_set, &globals->temp_sets[0]);
}

}  // namespace
}  // namespace tessaron::testing
