// Parameter declarations: what each keyword stores, and what each fault says.
#include <string>
#include <vector>

#include "base/report.h"
#include "definition.h"

namespace tessaron::testing {
namespace {

/// The first parameter of a definition that reads without a report.
class declared {
 public:
  explicit declared(const std::string& declarations) : g_(read_declarations(declarations)) {
    EXPECT_NE(g_, nullptr) << declarations << "\n" << reports_.all();
    reports_.drop_part("is not referenced");  // nothing uses the parameters of these definitions
  }
  const param* operator->() const { return g_->params[0]; }
  const param& operator*() const { return *g_->params[0]; }
  const genotype& effect() const { return *g_; }
  const report_capture& reports() const { return reports_; }

 private:
  report_capture reports_;
  owned_genotype g_;
};

// --- defaults and limits ---------------------------------------------------------------------------

TEST(params, a_number_without_a_list_takes_the_defaults) {
  const declared p("x1 = 5 (ignore)");
  const declared q("x1 = 5 q = 1 (ignore)");  // no list behind x1
  for (const param* d : {&*p, &*q}) {
    EXPECT_EQ(d->ptype, PTYPE_FLOAT);
    EXPECT_EQ(d->min_bound, 0.0f);
    EXPECT_EQ(d->max_bound, 1000000.0f);
    EXPECT_EQ(d->scale, 0.001f);
    EXPECT_EQ(d->normalize_scale, 1.0f);
    EXPECT_EQ(d->slider_min, 0.0f);
    EXPECT_EQ(d->slider_max, 1000000.0f);
    EXPECT_EQ(d->fcp_min, -1000000.0f);
    EXPECT_EQ(d->fcp_max, 1000000.0f);
    EXPECT_EQ(d->group, -1);
    EXPECT_EQ(d->page, 0);
    EXPECT_EQ(d->units(), UNITS_NONE);
    EXPECT_EQ(d->nchannels, 1);
  }
  EXPECT_EQ(p.effect().n_pages, 1);
}

TEST(params, slider_range_widens_the_bounds_that_it_passes) {
  const declared p("a = 5 (slider_range -1 2)");
  EXPECT_EQ(p->min_bound, -1.0f);
  EXPECT_EQ(p->max_bound, 1000000.0f);
  EXPECT_EQ(p->slider_min, -1.0f);
  EXPECT_EQ(p->slider_max, 2.0f);
  EXPECT_EQ(declared("a = 5 (max 1 slider_range 0 2)")->max_bound, 2.0f);
}

TEST(params, the_end_of_the_list_brings_the_slider_inside_the_bounds) {
  EXPECT_EQ(declared("a = 5 (min 1 slider_min 0)")->slider_min, 1.0f);
  EXPECT_EQ(declared("a = 5 (slider_max 9 max 3)")->slider_max, 3.0f);
}

TEST(params, a_star_unsets_the_minimum) { EXPECT_EQ(declared("a = 5 (min *)")->min_bound, -1000000.0f); }

TEST(params, slider_max_doubles_into_an_unset_big_slider) {
  EXPECT_EQ(declared("a = 5 (slider_max 300)")->fcp_max, 600.0f);
  EXPECT_EQ(declared("a = 5 (big_slider_max 7 slider_max 300)")->fcp_max, 7.0f);
  EXPECT_EQ(declared("a = [1 2] (screen slider_max 180)")->fcp_max, 360.0f);
  EXPECT_EQ(declared("a = [1 2] (screen slider_max 181)")->fcp_max, 1000000.0f);
}

TEST(params, big_slider_sets_its_own_limits) {
  const declared p("a = 5 (big_slider_range -3 4)");
  EXPECT_EQ(p->fcp_min, -3.0f);
  EXPECT_EQ(p->fcp_max, 4.0f);
  EXPECT_EQ(declared("a = 5 (big_slider_min -8)")->fcp_min, -8.0f);
  EXPECT_EQ(declared("a = 5 (step 0.25)")->scale, 0.25f);
}

// --- kinds -----------------------------------------------------------------------------------------

TEST(params, an_angle_has_half_turns_and_a_dial) {
  const declared p("a = 5 (angle)");
  EXPECT_EQ(p->flags[4], PARAM4_ANGLE | PARAM4_DIAL);
  EXPECT_EQ(p->angle_offset, 0);
  EXPECT_EQ(p->min_bound, -1000000.0f);
  EXPECT_EQ(p->max_bound, 1000000.0f);
  EXPECT_EQ(p->slider_min, -180.0f);
  EXPECT_EQ(p->slider_max, 180.0f);
  EXPECT_EQ(p->fcp_min, -360.0f);
  EXPECT_EQ(p->fcp_max, 360.0f);
  EXPECT_EQ(p->scale, 0.1f);
  EXPECT_EQ(declared("a = 5 (angle_no_dial)")->flags[4], PARAM4_ANGLE);
}

TEST(params, an_angle_starts_where_the_host_says) {
  angle_dial_offset = 90;
  EXPECT_EQ(declared("a = 5 (angle)")->angle_offset, 90);
  angle_dial_offset = 0;
}

TEST(params, another_angle_word_is_reported_and_counts_as_angle) {
  const declared p("a = 5 (angle_odd)");
  EXPECT_EQ(p->flags[4], PARAM4_ANGLE | PARAM4_DIAL);
  EXPECT_EQ(p.reports().severity_of("bad angle keyword: angle_odd\n"), REPORT_ERROR);
}

TEST(params, words_that_only_set_the_kind) {
  EXPECT_EQ(declared("a = 1 (boolean)")->ptype, PTYPE_TOGGLE);
  EXPECT_EQ(declared("a = 1 (int)")->ptype, PTYPE_INT);
  const declared color("a = [1 0 0] (color)");
  EXPECT_EQ(color->ptype, PTYPE_COLOR);
  EXPECT_EQ(color->n_shown, 1);
  EXPECT_EQ(color->nchannels, 3);
}

TEST(params, color_on_a_scalar_is_reported_and_still_a_colour) {
  const declared p("a = 1 (color)");
  EXPECT_EQ(p->ptype, PTYPE_COLOR);
  EXPECT_TRUE(p.reports().has("For a 'color' should only be used with 3-vectors."));
}

TEST(params, a_button_drops_the_next_word) {
  const declared p("a = 1 (button anything hr)");
  EXPECT_EQ(p->flags[3], PARAM3_HR);
  EXPECT_EQ(p->ptype, PTYPE_FLOAT);
}

TEST(params, flags_stand_in_their_bits) {
  const struct {
    const char* word;
    int byte, bits;
  } flags[] = {
      {"pointer_set", 1, PARAM1_POINTER_SET},
      {"shared", 0, PARAM0_SHARED},
      {"shared not_shared", 0, 0},
      {"hold_level", 2, PARAM2_HOLD_LEVEL},
      {"ignore", 2, PARAM2_IGNORE},
      {"hr", 3, PARAM3_HR},
      {"new_column", 3, PARAM3_NEW_COLUMN},
      {"percent", 3, PARAM3_PERCENT},
      {"only_if_rgba only_if_full_frames", 3, 0},
  };
  for (const auto& f : flags)
    EXPECT_EQ(declared(std::string("a = 1 (") + f.word + ")")->flags[f.byte], f.bits) << f.word;
}

TEST(params, set_hold_level_is_a_button_with_three_bits) {
  const declared p("a = 1 (set_hold_level)");
  EXPECT_EQ(p->ptype, PTYPE_BUTTON);
  EXPECT_EQ(p->flags[0], PARAM0_SET_HOLD_LEVEL);
  EXPECT_EQ(p->flags[2], PARAM2_SET_HOLD_LEVEL | PARAM2_IGNORE);
}

TEST(params, percent_and_autotrans_bring_their_limits) {
  const declared percent("a = 1 (percent)");
  EXPECT_EQ(percent->min_bound, 0.0f);
  EXPECT_EQ(percent->max_bound, 100.0f);
  EXPECT_EQ(percent->slider_max, 100.0f);
  EXPECT_EQ(percent->scale, 0.1f);
  const declared linear("a = 1 (autotrans)");
  EXPECT_EQ(linear->flags[2] & PARAM2_AUTOTRANS, 0x10);
  EXPECT_EQ(linear->min_bound, -0.5f);
  EXPECT_EQ(linear->max_bound, 1.5f);
  EXPECT_EQ(linear->slider_min, 0.0f);
  EXPECT_EQ(linear->slider_max, 1.5f);  // 100, brought inside the bounds
  const declared smooth("a = 1 (autotrans_hermite)");
  EXPECT_EQ(smooth->flags[2] & PARAM2_AUTOTRANS, 0x20);
  EXPECT_EQ(smooth->slider_min, -0.5f);
}

TEST(params, share_all_starts_every_parameter_shared) {
  const report_capture reports;
  const auto g = read_text("(define A () (share_all) a = 1 b = 2 (not_shared) dest = 0)");
  EXPECT_EQ(g->params[0]->flags[0], PARAM0_SHARED);
  EXPECT_EQ(g->params[1]->flags[0], 0);
}

TEST(params, named_lists_are_popups) {
  const struct {
    const char* word;
    int bit;
  } lists[] = {{"lens_flare_names", PARAM1_LENS_FLARES},
               {"glare_names", PARAM1_GLARES},
               {"neg_film_names", PARAM1_NEG_FILM},
               {"print_film_names", PARAM1_PRINT_FILM}};
  for (const auto& list : lists) {
    const declared p(std::string("a = 1 (") + list.word + ")");
    EXPECT_EQ(p->ptype, PTYPE_POPUP);
    EXPECT_EQ(p->flags[1], list.bit | PARAM1_NAMED_LIST);
    const declared vector(std::string("a = [1 2] (") + list.word + ")");
    EXPECT_EQ(vector->ptype, PTYPE_FLOAT);
    EXPECT_EQ(vector->flags[1], 0);
    EXPECT_EQ(vector.reports().count(), 1u);
  }
  EXPECT_TRUE(declared("a = [1 2] (glare_names)").reports().has("'glare_names' should only be used with scalars."));
  EXPECT_TRUE(
      declared("a = [1 2] (neg_film_names)").reports().has("'film_type_names' should only be used with scalars."));
}

TEST(params, default_1_words_are_reported_and_passed_over) {
  const declared p("a = 1 (default_1_anything hr)");
  EXPECT_EQ(p->flags[3], PARAM3_HR);
  EXPECT_EQ(p.reports().severity_of("This platform does not support default_1_* keywords."), REPORT_ERROR);
}

// --- screen units ----------------------------------------------------------------------------------

TEST(params, screen_words_set_the_units_and_the_step_in_pixels) {
  const struct {
    const char* word;
    int units;
    float scale;
  } modes[] = {{"screen", 1, 0.1f},      {"screen_center", 2, 0.1f},  {"screen_center0", 3, 0.001f},
               {"normalize", 4, 0.001f}, {"screen_to_norm", 6, 0.1f}, {"screen_center_to_norm", 7, 0.1f}};
  for (const auto& mode : modes) {
    const declared p(std::string("a = [1 2] (") + mode.word + ")");
    EXPECT_EQ(p->units(), mode.units) << mode.word;
    EXPECT_EQ(p->scale, mode.scale) << mode.word;
    EXPECT_EQ(p->min_bound, -1000000.0f) << mode.word;
  }
}

TEST(params, bounds_behind_a_screen_word_stand_and_those_in_front_of_it_do_not) {
  EXPECT_EQ(declared("a = [1 2] (screen min 0)")->min_bound, 0.0f);
  EXPECT_EQ(declared("a = [1 2] (min 0 screen)")->min_bound, -1000000.0f);
}

TEST(params, normalize_scale_keeps_its_bounds_and_warns_of_a_minimum) {
  const declared p("a = [1 2] (normalize_scale 2.5)");
  EXPECT_EQ(p->units(), UNITS_NORMALIZE_SCALE);
  EXPECT_EQ(p->normalize_scale, 2.5f);
  EXPECT_EQ(p->min_bound, 0.0f);
  EXPECT_EQ(p.reports().severity_of("A.a is normalize_scale but has min 0 >=0"), REPORT_WARNING);
  EXPECT_TRUE(declared("a = 1 (normalize_scale 2)").reports().empty());
}

TEST(params, screen_words_are_for_2_vectors) {
  const declared p("a = 1 (screen)");
  EXPECT_EQ(p->units(), UNITS_SCREEN);
  EXPECT_TRUE(p.reports().has("For a: screen modes should only be used with 2-vectors."));
}

// --- popups ----------------------------------------------------------------------------------------

std::vector<std::string> entries(const param& p, int count) {
  std::vector<std::string> texts;
  for (int i = 0; i < count; ++i) texts.push_back(p.popup_entry[i] ? p.popup_entry[i] : "-");
  return texts;
}
using texts = std::vector<std::string>;

TEST(params, popup_entries_are_the_words_that_follow) {
  const declared p("a = 1 (popup One Two_words \"Three or more\")");
  EXPECT_EQ(p->ptype, PTYPE_POPUP);
  EXPECT_EQ(p->max_bound, 2.0f);
  EXPECT_EQ(p->scale, 0.01f);
  EXPECT_EQ(p->n_popup_entries, 3);
  EXPECT_EQ(entries(*p, 5), (texts{"One", "Two words", "Three or more", "-", "-"}));
}

TEST(params, a_popup_of_two_elements_holds_one_list_behind_the_other) {
  EXPECT_EQ(entries(*declared("a = [0 0] (popup A B)"), 7), (texts{"A X", "B X", "-", "A Y", "B Y", "-", "-"}));
}

TEST(params, a_popup_of_three_elements_has_colour_names) {
  EXPECT_EQ(entries(*declared("a = [0 0 0] (popup A)"), 7), (texts{"A Red", "-", "A Green", "-", "A Blue", "-", "-"}));
}

TEST(params, every_word_of_a_popup_but_widget_is_an_entry) {
  const declared p("a = 1 (popup min max widget ring hr)");
  EXPECT_EQ(entries(*p, 3), (texts{"min", "max", "-"}));
  EXPECT_EQ(p->flags[3], PARAM3_HR);
  ASSERT_NE(p->widgets, nullptr);
}

TEST(params, the_twentieth_popup_entry_is_refused) {
  std::string words;
  for (int i = 0; i < 19; ++i) words += numbered(" e", i);
  const declared full("a = 1 (popup" + words + ")");
  EXPECT_EQ(full->n_popup_entries, 19);
  EXPECT_TRUE(full.reports().empty());
  const declared over("a = 1 (popup" + words + " e19 e20)");
  EXPECT_EQ(over->n_popup_entries, 19);
  EXPECT_TRUE(over.reports().has("A a state_name overflow: e19."));
  EXPECT_TRUE(over.reports().has("A a state_name overflow: e20."));
}

TEST(params, six_entries_of_three_elements_are_one_null_too_many) {
  report_capture reports;
  EXPECT_EQ(read_declarations("a = [0 0 0] (popup a b c d e f)"), nullptr);
  EXPECT_EQ(reports.severity_of("a: Too many state names (21, should be <20)"), REPORT_FATAL) << reports.all();
}

TEST(params, a_popup_of_four_elements_has_no_names_for_them) {
  const declared p("a = [0 0 0 0] (popup A)");
  EXPECT_EQ(p.reports().severity_of("set_elnum_name: bad vars e 3  elnum 4 \n"), REPORT_WARNING);
  EXPECT_EQ(p.reports().count(), 4u);
}

TEST(params, element_names_are_checked) {
  report_capture reports;
  char name[16];
  set_elnum_name(name, 0, 1);
  EXPECT_STREQ(name, "");
  set_elnum_name(name, 1, 2);
  EXPECT_STREQ(name, " Y");
  set_elnum_name(name, 2, 3);
  EXPECT_STREQ(name, " Blue");
  EXPECT_TRUE(reports.empty());
  set_elnum_name(name, 2, 2);
  set_elnum_name(name, -1, 1);
  set_elnum_name(name, 0, 0);
  EXPECT_EQ(reports.count(), 3u);
}

// --- pages, columns, groups ------------------------------------------------------------------------

TEST(params, a_column_number_skips_pages) {
  const declared p("a = 5 (page One column_n 3)");
  EXPECT_EQ(p.effect().n_pages, 4);
  EXPECT_STREQ(p.effect().page_names[1], "One");
  EXPECT_STREQ(p.effect().page_names[4], "");
  EXPECT_EQ(p->page, 3);
  EXPECT_TRUE(p.reports().empty()) << p.reports().all();
}

TEST(params, parameters_stand_on_the_last_page) {
  const report_capture reports;
  const auto g = read_declarations("a = 1 (page_open \"The first\") b = 2 c = 3 (column_top) d = 4 (column)");
  EXPECT_EQ(g->n_pages, 3);
  EXPECT_STREQ(g->page_names[1], "The first");
  EXPECT_STREQ(g->page_names[2], " ");
  EXPECT_STREQ(g->page_names[3], "");
  EXPECT_EQ(g->params[0]->flags[3], PARAM3_PAGE_OPEN);
  EXPECT_EQ(g->params[1]->page, 0);
  EXPECT_EQ(g->params[2]->page, 1);
  EXPECT_EQ(g->params[3]->page, 2);
}

TEST(params, a_column_number_may_name_the_page_at_hand_but_not_an_earlier_one) {
  const report_capture reports;
  ::testing::internal::CaptureStdout();
  const auto here = read_declarations("a = 1 (page One) b = 2 (column column_n 1)");
  EXPECT_EQ(here->n_pages, 2);
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
  ::testing::internal::CaptureStdout();
  const auto back = read_declarations("a = 1 (page One) b = 2 (column column_n 0)");
  EXPECT_EQ(back->n_pages, 2);
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "Warning: A column_n of b goes backwards\n");
}

TEST(params, six_pages_fit_and_a_seventh_is_refused) {
  const declared p("a = 1 (page A page B page C page D page E page F)");
  EXPECT_EQ(p.effect().n_pages, 6);
  EXPECT_STREQ(p.effect().page_names[6], "F");
  report_capture reports;
  EXPECT_EQ(read_declarations("a = 1 (page A column_n 6)"), nullptr);
  EXPECT_EQ(reports.severity_of("too many pages (6 is max) in A: fix in genotype.h"), REPORT_ERROR);
}

TEST(params, a_bad_column_number_ends_the_definition) {
  report_capture reports;
  EXPECT_EQ(read_declarations("a = 1 (column_n two)"), nullptr);
  EXPECT_EQ(reports.severity_of("For a bad column_n 'two'"), REPORT_WARNING);
}

TEST(params, a_group_takes_the_parameters_up_to_its_end) {
  const report_capture reports;
  const auto g = read_declarations(
      "a = 1 b = 2 (group_start \"My group\") c = 3 d = 4 (group_end \"My group\") e = 5 (group_start_open Two)");
  EXPECT_EQ(g->n_groups, 2);
  EXPECT_STREQ(g->groups[0].name, "My group");
  EXPECT_EQ(g->groups[1].index, 1);
  EXPECT_EQ(g->groups[1].parent, nullptr);
  const int expected[] = {-1, 0, 0, 0, 1};
  for (int i = 0; i < 5; ++i) EXPECT_EQ(g->params[i]->group, expected[i]) << i;
  EXPECT_EQ(g->params[1]->flags[3], PARAM3_GROUP_START);
  EXPECT_EQ(g->params[3]->flags[3], PARAM3_GROUP_END);
  EXPECT_EQ(g->params[4]->flags[3], PARAM3_GROUP_START | PARAM3_GROUP_OPEN);
}

TEST(params, groups_do_not_outlive_their_definition) {
  const report_capture reports;
  read_declarations("a = 1 (group_start G)");
  EXPECT_EQ(declared("b = 1 (hr)")->group, -1);
}

TEST(params, nested_groups_are_reported_and_kept) {
  const declared p("a = 1 (group_start Outer group_start Inner)");
  EXPECT_EQ(p.reports().severity_of("Nested groups in A"), REPORT_WARNING);
  EXPECT_EQ(p.effect().groups[1].parent, &p.effect().groups[0]);
}

TEST(params, a_fifth_group_is_reported_and_not_stored) {
  std::string text;
  for (int i = 0; i < 5; ++i) {
    const std::string n = std::to_string(i);
    text += "p" + n + " = 1 (group_start G" + n + ") q" + n + " = 1 (group_end G" + n + ") ";
  }
  const declared p(text);
  EXPECT_EQ(p.effect().n_groups, 4);
  EXPECT_EQ(p.reports().severity_of("Too many groups in A, up MAX_PARAM_GROUP_NUMBER"), REPORT_WARNING);
  EXPECT_EQ(p.reports().severity_of("A q4 group_end without group_start"), REPORT_ERROR);
}

TEST(params, a_group_end_is_checked) {
  const declared lone("a = 1 (group_end G hr)");
  EXPECT_EQ(lone.reports().severity_of("A a group_end without group_start"), REPORT_ERROR);
  EXPECT_EQ(lone->flags[3], PARAM3_HR);
  const declared other("a = 1 (group_start G group_end H)");
  EXPECT_EQ(other.reports().severity_of("A a group_end H, expected G"), REPORT_WARNING);
  EXPECT_EQ(other->flags[3], PARAM3_GROUP_START | PARAM3_GROUP_END);
}

TEST(params, new_column_next_swallows_the_next_word_that_gets_as_far) {
  EXPECT_EQ(declared("a = 1 (new_column_next hr)")->flags[3], PARAM3_NEW_COLUMN);
  EXPECT_EQ(declared("a = 1 (new_column_next hr hr)")->flags[3], PARAM3_NEW_COLUMN | PARAM3_HR);
  const declared early("a = 1 (new_column_next max 7 nonsense)");
  EXPECT_EQ(early->max_bound, 7.0f);
  EXPECT_EQ(early->flags[3], PARAM3_NEW_COLUMN);
  const report_capture reports;
  const auto g = read_declarations("a = 1 (new_column_next) b = 2 (hr)");
  EXPECT_EQ(g->params[1]->flags[3], PARAM3_HR);
}

TEST(params, an_id_may_be_relative) {
  EXPECT_EQ(declared("a = 1 (id 12)")->host_id, 12);
  EXPECT_EQ(declared("a = 1 (id 12)")->group_mode, 0);
  const declared p("a = 1 (id_insert +3)");
  EXPECT_EQ(p->host_id, 3);
  EXPECT_EQ(p->group_mode, 3);
}

TEST(params, an_id_beyond_its_range_is_reported_and_limited) {
  EXPECT_EQ(declared("a = 1 (id 32767)")->host_id, 32767);
  EXPECT_TRUE(declared("a = 1 (id 32767)").reports().empty());
  const declared p("a = 1 (id 99999)");
  EXPECT_EQ(p->host_id, 32767);
  EXPECT_EQ(p.reports().severity_of("A.a: id 99999 is out of range; ids are up to 32767.\n"), REPORT_WARNING);
  EXPECT_EQ(declared("a = 1 (id -99999)")->host_id, -32768);
}

// --- widgets ---------------------------------------------------------------------------------------

TEST(params, a_widget_stands_for_its_own_parameter_unless_it_names_one) {
  const declared own("a = 1 (widget ring)");
  EXPECT_STREQ(own->widgets->widget_type, "ring");
  EXPECT_STREQ(own->widgets->param_name, "a");
  EXPECT_STREQ(own->widgets->owner_name, "a");
  EXPECT_EQ(own->widgets->display_name, nullptr);
  EXPECT_EQ(own->widgets->order, -1);
  EXPECT_EQ(own->widgets->enable_number, -1);
  EXPECT_EQ(own->widgets->default_state, 3);
  EXPECT_EQ(own->widgets->enable_here, 0);
  const declared named("a = 1 (widget cross_circle.Size.x)");
  EXPECT_STREQ(named->widgets->widget_type, "cross_circle");
  EXPECT_STREQ(named->widgets->param_name, "Size.x");
}

TEST(params, a_widget_takes_its_optional_words_in_order) {
  const declared p("a = 1 (widget ring.R name Centre wenable here default_on 4 hr)");
  EXPECT_STREQ(p->widgets->display_name, "Centre");
  EXPECT_EQ(p->widgets->enable_here, 1);
  EXPECT_EQ(p->widgets->default_state, 1);
  EXPECT_EQ(p->widgets->order, 4);
  EXPECT_EQ(p->flags[3], PARAM3_HR);
  const declared q("a = 1 (widget ring wenable 7 default_off widget dot use_wenable other)");
  EXPECT_STREQ(q->widgets->widget_type, "dot");  // the last one first
  EXPECT_STREQ(q->widgets->enable_param, "other");
  EXPECT_EQ(q->widgets->next->enable_number, 7);
  EXPECT_EQ(q->widgets->next->default_state, 0);
}

TEST(params, a_bad_widget_number_ends_the_definition) {
  report_capture reports;
  EXPECT_EQ(read_declarations("a = 1 (widget ring wenable maybe)"), nullptr);
  EXPECT_EQ(reports.severity_of("Syntax error reading widget ring enable in A.a: bad number\n"), REPORT_ERROR);
}

TEST(params, widget_numbers_beyond_their_range_are_reported) {
  for (const char* number : {"128", "300", "-2"}) {
    const declared p(std::string("a = 1 (widget ring ") + number + ")");
    ASSERT_NE(p->widgets, nullptr);
    EXPECT_EQ(p->widgets->order, *number == '-' ? -1 : 127);
    EXPECT_EQ(
        p.reports().severity_of(std::string("A.a: widget ring has number ") + number + "; numbers are 0 to 127.\n"),
        REPORT_WARNING)
        << p.reports().all();
  }
}

TEST(params, enable_numbers_of_widgets_beyond_their_range_are_reported) {
  for (const char* number : {"705", "-3"}) {
    const declared p(std::string("a = 1 (widget ring wenable ") + number + ")");
    ASSERT_NE(p->widgets, nullptr);
    EXPECT_EQ(p->widgets->enable_number, *number == '-' ? -1 : 127);
    EXPECT_EQ(
        p.reports().severity_of(std::string("A.a: widget ring has wenable ") + number + "; numbers are 0 to 127.\n"),
        REPORT_WARNING)
        << p.reports().all();
  }
}

TEST(params, a_widget_number_that_is_none_is_reported_and_unset) {
  const declared p("a = 1 (widget ring wenable 0e999 0e999)");  // nothing times infinity
  ASSERT_NE(p->widgets, nullptr);
  EXPECT_EQ(p->widgets->enable_number, -1);
  EXPECT_EQ(p->widgets->order, -1);
  EXPECT_EQ(p.reports().count_part("numbers are 0 to 127"), 2);
}

TEST(params, a_pointer_without_a_widget_gets_a_cross) {
  const declared p("a = [1 2] (pointer_set)");
  ASSERT_NE(p->widgets, nullptr);
  EXPECT_STREQ(p->widgets->widget_type, "cross_circle");
  EXPECT_STREQ(p->widgets->param_name, "center");
  EXPECT_EQ(declared("a = [1 2] (pointer_set widget ring)")->widgets->next, nullptr);
}

// --- faults ----------------------------------------------------------------------------------------

struct fault {
  const char* text;
  const char* message;
  int severity = REPORT_ERROR;
};

TEST(params, a_bad_argument_ends_the_definition_with_its_own_words) {
  const fault faults[] = {
      {"a = 1 (min low)", "For a bad min bound: 'low'."},
      {"a = 1 (max high)", "For a non-number max bound: 'high'."},
      {"a = 1 (slider_min q)", "For a non-number slider_min: 'q'."},
      {"a = 1 (slider_max q)", "For a non-number slider_max: 'q'."},
      {"a = 1 (slider_range q 1)", "For a non-number slider_range min: 'q'."},
      {"a = 1 (slider_range 1 q)", "For a non-number slider_range max: 'q'."},
      {"a = 1 (big_slider_min q)", "For a non-number big_slider_min: 'q'."},
      {"a = 1 (big_slider_max q)", "For a non-number big_slider_max: 'q'."},
      {"a = 1 (big_slider_range q 1)", "For a non-number big_slider_range min: 'q'."},
      {"a = 1 (big_slider_range 1 q)", "For a non-number big_slider_range max: 'q'."},
      {"a = 1 (step q)", "For a bad step value: 'q'."},
      {"a = 1 (normalize_scale q)", "For a bad normalize_scale value: 'q'.", REPORT_WARNING},
      {"a = 1 (id q)", "For a bad id value: 'q'."},
      {"a = 1 (nonsense)", "For A a got 'nonsense', expected min, max, step, popup, color..."},
  };
  for (const fault& f : faults) {
    report_capture reports;
    EXPECT_EQ(read_declarations(f.text), nullptr) << f.text;
    EXPECT_EQ(reports.severity_of(f.message), f.severity) << f.text << "\n" << reports.all();
    EXPECT_EQ(reports.count(), 1u) << f.text << "\n" << reports.all();
  }
}

TEST(params, an_unfinished_title_is_reported_by_the_reader_alone) {
  report_capture reports;
  EXPECT_EQ(read_text("(define A a = 1 (page \"unfinished"), nullptr);
  EXPECT_EQ(reports.count(), 1u) << reports.all();
  EXPECT_TRUE(reports.has("read_string_1: got eof before end of string."));
}

}  // namespace
}  // namespace tessaron::testing
