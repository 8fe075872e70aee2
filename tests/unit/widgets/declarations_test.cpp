// Widget entries of a definition's parameters, put together into widgets.
#include "host/widgets/declarations.h"

#include <gtest/gtest.h>

#include "genotype/genotype_reader.h"
#include "host/inspect.h"
#include "host/widgets/types.h"
#include "host/widgets/widget.h"
#include "support/report_capture.h"
#include "unit/widgets/widget_kit.h"

namespace tessaron::testing {
namespace {

/// A definition read and its widgets gathered.
class gathered {
 public:
  explicit gathered(const std::string& params, widget_numbering first = widget_numbering::unknown) {
    set_tables_and_globals();
    {
      report_capture reading;  // parameters that no node reads are warned of
      g = load_effect_from_string(("(define Effect () " + params + " dest = x)").c_str());
      if (!g) throw std::runtime_error(reading.all());
    }
    numbering = first;
    gather_widgets(*g, numbering);
  }
  ~gathered() { free_genotype(g); }
  gathered(const gathered&) = delete;
  gathered& operator=(const gathered&) = delete;
  const widget_declaration& operator[](int i) const { return g->widgets[i]; }

  report_capture reports;
  genotype* g = nullptr;
  widget_numbering numbering;
};

void expect_report(const report_capture& reports, int severity, const std::string& text) {
  EXPECT_EQ(reports.severity_of(text), severity) << text << "\namong:\n" << reports.all();
}

TEST(WidgetDeclarations, PartsOfATypeMakeOneWidgetUntilAPartComesAgain) {
  gathered w(
      "A = [1 2] (widget center_radius.center) R = 3 (widget center_radius.radius)"
      " B = [1 2] (widget center_radius.center) S = 3 (widget center_radius.radius)");
  ASSERT_EQ(w.g->n_widgets, 2);
  EXPECT_STREQ(w[0].type_name, "center_radius");
  EXPECT_STREQ(w[0].base_type, "center_radius");
  EXPECT_EQ(w[0].n_parts, 2);
  EXPECT_STREQ(param_of_part(*w.g, *part_in_slot(w[0], CENTER_RADIUS_RADIUS))->name, "R");
  EXPECT_STREQ(param_of_part(*w.g, *part_in_slot(w[1], CENTER_RADIUS_CENTER))->name, "B");
  EXPECT_STREQ(param_of_part(*w.g, *part_in_slot(w[1], CENTER_RADIUS_RADIUS))->name, "S");
  EXPECT_TRUE(w.reports.empty()) << w.reports.all();
}

TEST(WidgetDeclarations, NumbersTellWidgetsApart) {
  gathered w(
      "A = [1 2] (widget center_radius.center 1) B = [1 2] (widget center_radius.center 0)"
      " R = 3 (widget center_radius.radius 0) S = 3 (widget center_radius.radius 1)");
  ASSERT_EQ(w.g->n_widgets, 2);
  EXPECT_EQ(w[0].instance, 1);
  EXPECT_STREQ(param_of_part(*w.g, *part_in_slot(w[0], CENTER_RADIUS_RADIUS))->name, "S");
  EXPECT_EQ(w[1].instance, 0);
  EXPECT_STREQ(param_of_part(*w.g, *part_in_slot(w[1], CENTER_RADIUS_RADIUS))->name, "R");
  EXPECT_EQ(w.numbering, widget_numbering::numbered);
  EXPECT_TRUE(w.reports.empty()) << w.reports.all();
}

TEST(WidgetDeclarations, PointerSetIsACrossCircle) {
  gathered w("Spot = [1 2] (screen pointer_set)");
  ASSERT_EQ(w.g->n_widgets, 1);
  EXPECT_STREQ(w[0].type_name, "cross_circle");
  EXPECT_STREQ(w[0].enable_name, "center");
}

TEST(WidgetDeclarations, UnknownTypeIsReported) {
  gathered w("A = [1 2] (widget spiral.center)");
  EXPECT_EQ(w.g->n_widgets, 0);
  expect_report(w.reports, 7, "No such widget type name as spiral");
}

TEST(WidgetDeclarations, PartThatTheBaseTypeLacksIsReported) {
  gathered w("Size = [1 2] (widget cross_circle.Size name Centre)");
  EXPECT_EQ(w.g->n_widgets, 0);
  expect_report(w.reports, 7, "Bad part name Size for center widget cross_circle");
}

TEST(WidgetDeclarations, PartThatComesTwiceUnderANumberIsReported) {
  gathered w("A = [1 2] (widget cross.center 3) B = [1 2] (widget cross.center 3)");
  ASSERT_EQ(w.g->n_widgets, 1);
  EXPECT_STREQ(param_of_part(*w.g, w[0].parts[0])->name, "A");
  expect_report(w.reports, 7, "widget 3 (cross) already has a part center; param B isn't used for it.\n");
}

TEST(WidgetDeclarations, NumberOfAnotherTypeNameIsReportedAndTheFirstStays) {
  gathered w("A = [1 2] (widget cross.center 2) B = [0 0] (widget star8.offset 2)");
  ASSERT_EQ(w.g->n_widgets, 1);
  EXPECT_STREQ(w[0].type_name, "cross");
  EXPECT_EQ(w[0].n_parts, 2);
  expect_report(w.reports, 7, "Already saw widget 2 name cross, B wants to call it star8.\n");
}

TEST(WidgetDeclarations, NumberOfAnotherBaseTypeIsReportedAndItsPartLeftOut) {
  gathered w("A = [1 2] (widget cross.center 2) B = 3 (widget radius.radius 2)");
  ASSERT_EQ(w.g->n_widgets, 1);
  EXPECT_EQ(w[0].n_parts, 1);
  expect_report(w.reports, 7,
                "Mismatched widget type names for cross vs radius, seen while looking at part radius in param B; may "
                "be instance numbering problem?");
}

TEST(WidgetDeclarations, MixingNumberedAndNotIsReportedBothWays) {
  gathered first("A = [1 2] (widget cross.center) B = 3 (widget radius.radius name Size 2)");
  expect_report(first.reports, 7,
                "Mixing instance-number and non-numbered widgets in same plugin, part radius of radius says instance 2 "
                "(param B)");
  gathered second("A = [1 2] (widget cross.center 0) B = 3 (widget radius.radius name Size)");
  expect_report(second.reports, 7,
                "Mixing instance-number and non-numbered widgets in same plugin, part radius of radius has no instance "
                "(param B)");
}

TEST(WidgetDeclarations, NumberingHoldsForTheWholePlugin) {
  gathered w("A = [1 2] (widget cross.center)", widget_numbering::numbered);
  expect_report(w.reports, 7,
                "Mixing instance-number and non-numbered widgets in same plugin, part center of cross has no instance "
                "(param A)");
}

TEST(WidgetDeclarations, SecondNameIsReported) {
  gathered w(
      "A = [1 2] (widget center_radius.center name Spot) R = 3 (widget center_radius.radius name Disc)"
      " dummy = 1");
  EXPECT_STREQ(w[0].enable_name, "Spot");
  expect_report(w.reports, 7, "widget 0 (center_radius) already has other enable name Spot; param R says Disc.\n");
}

TEST(WidgetDeclarations, SecondPlaceOfTheCheckboxIsReported) {
  gathered w("A = [1 2] (widget center_radius.center wenable here) R = 3 (widget center_radius.radius wenable here)");
  EXPECT_EQ(w[0].wenable_here, 0);
  expect_report(w.reports, 7, "widget 0 (center_radius) already has a wenable_here on A; can't add it to R");
}

TEST(WidgetDeclarations, ConflictingDefaultsAreReported) {
  gathered w(
      "A = [1 2] (widget center_radius.center name Spot default_off) R = 3 (widget center_radius.radius default_on)");
  EXPECT_FALSE(w[0].default_on_p);
  expect_report(w.reports, 7, "Conflicting default_on_p settings for Spot (center_radius)");
}

TEST(WidgetDeclarations, WidgetIsNamedAfterItsFirstPartsParameter) {
  gathered w("R = 3 (widget center_radius.radius) Spot = [1 2] (widget center_radius.center)");
  EXPECT_STREQ(w[0].enable_name, "Spot");
  EXPECT_STREQ(w[0].enable_param->name, "Show Spot");
  EXPECT_FLOAT_EQ(w[0].enable_param->value[0], 1);
}

TEST(WidgetDeclarations, OnlyTheFirstCenterOfAnEffectIsCalledCenter) {
  gathered w("Spot = [1 2] (widget cross.center) Other = [1 2] (widget star8.center)");
  EXPECT_STREQ(w[0].enable_name, "center");
  EXPECT_STREQ(w[1].enable_name, "Other");
}

TEST(WidgetDeclarations, RadiusOfAnyNameGivesTheName) {
  gathered w("Reach = 3 (widget radius)");
  EXPECT_STREQ(w[0].enable_name, "Reach");
  EXPECT_TRUE(w.reports.empty()) << w.reports.all();
}

TEST(WidgetDeclarations, WidgetWithoutItsFirstPartIsReportedWithTheOnesItHas) {
  gathered w("Turn = 3 (angle widget ellipse.rotate) Wide = 2 (widget ellipse.rel_x)");
  EXPECT_EQ(w[0].enable_name, nullptr);
  EXPECT_STREQ(w[0].enable_param->name, "Show unnamed");
  expect_report(w.reports, 8,
                "Effect: missing part width, so can't get widget name for type 'ellipse' (base type ellipse).\n  Found "
                "the following parts:");
  expect_report(w.reports, 0, "  'rotate' on param Turn (mask 0)\n");
  expect_report(w.reports, 0, "  'rel_x' on param Wide (mask 0)\n");
}

TEST(WidgetDeclarations, AnEffectThatIsLookedAtIsTheFirstEntryOfItsPopup) {
  // As at params setup, so that a host that looks first doesn't report the same fault in two ways.
  definition_text text;
  text.name = "Effect";
  text.text = "(define Effect () Turn = 3 (angle ignore widget ellipse.rotate) dest = x)";
  std::vector<inspected_report> reports;
  genotype* g = inspect_definition(text, reports);
  ASSERT_NE(g, nullptr);
  free_inspected(g);
  const auto says = [](const inspected_report& r) { return r.text == "  'rotate' on param Turn (mask 1)\n"; };
  EXPECT_TRUE(std::any_of(reports.begin(), reports.end(), says));
}

TEST(WidgetDeclarations, WidgetMayUseAToggleOfTheEffect) {
  gathered w("Guides = 1 (boolean) Spot = [1 2] (widget cross.center use_wenable Guides)");
  EXPECT_EQ(w[0].enable_param, nullptr);
  EXPECT_EQ(enable_of_widget(*w.g, w[0]), w.g->params[0]);
}

TEST(WidgetDeclarations, WidgetMayUseTheCheckboxOfAnother) {
  gathered by_param(
      "Spot = [1 2] (widget cross.center) Other = [1 2] (widget star8.center use_wenable Spot) dummy = 1");
  EXPECT_EQ(by_param[1].enable_param, nullptr);
  EXPECT_EQ(enable_of_widget(*by_param.g, by_param[1]), by_param[0].enable_param);
  gathered by_number("Spot = [1 2] (widget cross.center 4) Other = [1 2] (widget star8.center wenable 4 5)");
  EXPECT_EQ(enable_of_widget(*by_number.g, by_number[1]), by_number[0].enable_param);
}

TEST(WidgetDeclarations, WidgetsThatUseEachOthersCheckboxHaveOne) {
  gathered w("Spot = [1 2] (widget cross.center wenable 1 0) Other = [1 2] (widget star8.center wenable 0 1)");
  ASSERT_EQ(w.g->n_widgets, 2);
  EXPECT_NE(enable_of_widget(*w.g, w[0]), nullptr);
  EXPECT_EQ(enable_of_widget(*w.g, w[0]), enable_of_widget(*w.g, w[1]));
}

TEST(WidgetDeclarations, CheckboxThatIsNotThereIsReportedAndTheWidgetGetsItsOwn) {
  gathered by_param("Spot = [1 2] (widget cross.center use_wenable Nothing)");
  expect_report(by_param.reports, 7, "widget 0 (cross) uses the enable of param Nothing, which has none.\n");
  EXPECT_NE(by_param[0].enable_param, nullptr);
  gathered by_number("Spot = [1 2] (widget cross.center wenable 9 2)");
  expect_report(by_number.reports, 7, "widget 2 (cross) uses the enable of widget 9, which isn't there.\n");
  EXPECT_NE(by_number[0].enable_param, nullptr);
}

TEST(WidgetDeclarations, EffectWithoutWidgetsHasNoList) {
  gathered w("Amount = 3");
  EXPECT_EQ(w.g->n_widgets, 0);
  EXPECT_EQ(w.g->widgets, nullptr);
  EXPECT_EQ(w.numbering, widget_numbering::unknown);
}

TEST(WidgetDeclarations, EachTypeHasABaseTypeWithPartsAndNoNameTwice) {
  std::set<std::string> names;
  for (const widget_type& type : widget_types()) {
    EXPECT_TRUE(names.insert(type.type_name).second) << type.type_name;
    EXPECT_FALSE(slots_of_base_type(type.base_type).empty()) << type.type_name;
    EXPECT_EQ(get_widget_type(type.type_name), &type);
  }
  EXPECT_EQ(names.size(), 55u);
}

TEST(WidgetDeclarations, BaseTypeWithoutAClassIsReported) {
  gathered w("Spot = [1 2] (widget cross.center)");
  widget_declaration odd = w[0];
  odd.base_type = "sphere";
  EXPECT_EQ(make_widget(*w.g, odd), nullptr);
  expect_report(w.reports, 7, "Can't get widget type for base type name sphere");
}

TEST(WidgetDeclarations, CenterOfATypeThatIsNoneIsReported) {
  gathered w("Spot = [1 2] (widget cross.center)");
  widget_declaration odd = w[0];
  odd.type_name = "asterisk";
  EXPECT_NE(make_widget(*w.g, odd), nullptr);
  expect_report(w.reports, 7, "Unknown center widget type asterisk");
}

// --- the checkboxes that a host is shown ---------------------------------------------------------

std::vector<std::string> shown_names(const fake_host& host) {
  std::vector<std::string> names;
  for (std::size_t i = 1; i < host.params.size(); ++i) names.push_back(host.params[i].name);
  return names;
}

TEST(WidgetCheckboxes, StandBehindTheFirstParameterOfTheirWidget) {
  widget_host host(
      "(define E () Spot = [1 2] (screen widget center_radius.center) R = 3 (widget center_radius.radius)"
      " Last = 4 dest = (+ (element_of Spot 0) (+ R Last)))");
  EXPECT_EQ(shown_names(host), (std::vector<std::string>{"Spot XY", "Show Spot", "R", "Last"}));
  const pf_param_def& box = host.control("Show Spot");
  EXPECT_EQ(box.param_type, PF_Param_CHECKBOX);
  EXPECT_EQ(box.flags, 0x42u);
  EXPECT_EQ(box.u.checkbox.value, 1);
}

TEST(WidgetCheckboxes, StandWhereTheDefinitionWantsThem) {
  widget_host host(
      "(define E () Spot = [1 2] (screen widget center_radius.center default_off)"
      " R = 3 (widget center_radius.radius wenable here) Last = 4 dest = (+ (element_of Spot 0) (+ R Last)))");
  EXPECT_EQ(shown_names(host), (std::vector<std::string>{"Spot XY", "R", "Show Spot", "Last"}));
  EXPECT_EQ(host.control("Show Spot").u.checkbox.value, 0);
}

TEST(WidgetCheckboxes, ParametersBehindThemStillReadTheirOwnControls) {
  widget_host host(
      "(define E () Spot = [360 243] (screen widget cross.center) Amount = 4 (widget radius2.radius)"
      " dest = (+ (element_of Spot 0) Amount))");
  std::set<int> ids;
  for (std::size_t i = 1; i < host.params.size(); ++i) EXPECT_TRUE(ids.insert(host.params[i].id).second);
  EXPECT_EQ(shown_names(host), (std::vector<std::string>{"Spot XY", "Show Center", "Amount", "Show Amount"}));
}

TEST(WidgetCheckboxes, EffectsOfAPluginShareThoseOfTheirSharedParameters) {
  fake_plugin two(
      {"(define First (Source) () Spot = [1 2] (shared screen widget cross.center) dest = (* Source (element_of Spot "
       "0)))",
       "(define Second (Source) () Spot = [1 2] (shared screen widget cross.center) dest = (+ Source (element_of Spot "
       "0)))"});
  widget_host host(two);
  EXPECT_EQ(shown_names(host), (std::vector<std::string>{"Effect", "Spot XY", "Show Center"}));
  ASSERT_EQ(host.draw().size(), 1u);
  host.control("Effect").u.popup.value = 2;
  ASSERT_EQ(host.draw().size(), 1u);
  EXPECT_EQ(host.handles[0].enable_index, 3);
  host.control("Show Center").u.checkbox.value = 0;
  ASSERT_EQ(host.draw().size(), 1u);
  EXPECT_FALSE(host.handles[0].enabled);
  EXPECT_EQ(host.handles[0].n_handles, 0);
}

TEST(WidgetCheckboxes, SharedPartsMayBeDeclaredInAnyOrder) {
  const std::string spot = " Spot = [1 2] (shared screen widget center_radius.center)",
                    reach = " Reach = 3 (shared widget center_radius.radius)",
                    rest = " dest = (* Source (+ Reach (element_of Spot 0))))";
  fake_plugin two(
      {"(define First (Source) ()" + spot + reach + rest, "(define Second (Source) ()" + reach + spot + rest});
  widget_host host(two);
  host.control("Effect").u.popup.value = 2;
  ASSERT_FALSE(host.draw().empty());
  EXPECT_GT(host.handles[0].enable_index, 0);
  host.control("Show Spot").u.checkbox.value = 0;
  host.draw();
  EXPECT_FALSE(host.handles[0].enabled);
}

TEST(WidgetCheckboxes, ColoursHaveNoHandle) {
  widget_host host("(define E () Tint = [1 0 0] (color ignore widget cross.center) dest = x)");
  ASSERT_EQ(host.draw().size(), 1u);
  EXPECT_EQ(host.handles[0].n_handles, 0);
}

TEST(WidgetCheckboxes, WidgetOfOneEffectIsNotShownForAnother) {
  fake_plugin two(
      {"(define First (Source) () Spot = [1 2] (shared screen widget cross.center) dest = (* Source (element_of Spot "
       "0)))",
       "(define Second (Source) () Spot = [1 2] (shared screen widget star8.center) dest = (+ Source (element_of Spot "
       "0)))"});
  widget_host host(two);
  ASSERT_EQ(host.draw().size(), 1u);
  EXPECT_EQ(host.handles[0].type_name, "cross");
  host.control("Effect").u.popup.value = 2;
  ASSERT_EQ(host.draw().size(), 1u);
  EXPECT_EQ(host.handles[0].type_name, "star8");
}

}  // namespace
}  // namespace tessaron::testing
