// Popups whose entries come from a data file.
#include "host/named_lists.h"

#include "host/inspect.h"
#include "parameter_fixture.h"

namespace tessaron {
namespace {

int loads;
std::vector<std::string> names_to_load;
std::vector<std::string> load_names() {
  ++loads;
  return names_to_load;
}

struct list_case {
  named_list list;
  const char *keyword, *title;
};
constexpr list_case LISTS[NAMED_LIST_COUNT] = {
    {named_list::lens_flares, "lens_flare_names", "lens flares"},
    {named_list::glares, "glare_names", "glares"},
    {named_list::negative_film, "neg_film_names", "negative film"},
    {named_list::print_film, "print_film_names", "print film"},
};

/// All lists served by load_names(), or by nobody.
class named_lists : public testing::parameter_test {
 protected:
  void SetUp() override {
    parameter_test::SetUp();
    loads = 0;
    names_to_load = {"Lens: Sun", "Lens: Street lamp", "Lens: Torch"};
    serve(load_names);
  }
  void TearDown() override {
    for (const list_case& l : LISTS) set_named_list_loader(l.list, before_[int(l.list)]);
    parameter_test::TearDown();
  }
  void serve(list_loader loader) {
    for (const list_case& l : LISTS) {
      const list_loader before = set_named_list_loader(l.list, loader);
      if (!kept_) before_[int(l.list)] = before;
    }
    kept_ = true;
  }
  static std::string one(const list_case& l, const char* number) {
    return std::string("kind = ") + number + " (" + l.keyword + " ignore)";
  }

 private:
  list_loader before_[NAMED_LIST_COUNT] = {};
  bool kept_ = false;
};

TEST_F(named_lists, fill_a_popup_in_the_order_of_the_file) {
  for (const list_case& l : LISTS) {
    loads = 0;
    ASSERT_EQ(declare(one(l, "2")), 0) << l.keyword;
    EXPECT_EQ(loads, 1) << "read when a parameter asks for it";
    ASSERT_EQ(host.params.size(), 2u);
    EXPECT_EQ(shown().param_type, PF_Param_POPUP);
    EXPECT_STREQ(shown().name, "Kind");
    EXPECT_EQ(host.popup_texts.back(), "Lens: Sun|Lens: Street lamp|Lens: Torch");
    EXPECT_EQ(shown().u.popup.n_choices, 3);
    EXPECT_EQ(shown().u.popup.default_value, 2) << "the number counts from 1, as the host does";
    EXPECT_EQ(next_index, 2);
    EXPECT_EQ(next_id, 2);
  }
}

TEST_F(named_lists, default_is_rounded) {
  declare(one(LISTS[0], "2.5"));
  EXPECT_EQ(shown().u.popup.default_value, 3);
  declare(one(LISTS[0], "2.49"));
  EXPECT_EQ(shown().u.popup.default_value, 2);
}

TEST_F(named_lists, the_engine_counts_from_0) {
  declare(one(LISTS[1], "1"));
  const struct {
    int host;
    float engine;
  } ROWS[] = {{1, 0}, {3, 2}, {0, 0}};
  for (const auto& row : ROWS) {
    shown().u.popup.value = row.host;
    fetch_param(engine());
    EXPECT_EQ(engine().value[0], row.engine) << row.host;
  }
  const float second = 1.2f;
  EXPECT_EQ(set_param_value(engine(), 0, 1, &second), 1);
  EXPECT_EQ(shown().u.popup.value, 2);
}

TEST_F(named_lists, are_popups_whatever_the_kind_says) {
  for (const int ptype : {PTYPE_FLOAT, PTYPE_COLOR, PTYPE_TOGGLE}) {
    declare(one(LISTS[2], "1"));
    engine().ptype = ptype;
    host.params.clear();
    host.popup_texts.clear();
    int index = 1, id = 1;
    ASSERT_EQ(declare_params(host.in_data, index, id), 0);
    EXPECT_EQ(shown().param_type, PF_Param_POPUP) << ptype;
    EXPECT_EQ(index, 2);
  }
}

TEST_F(named_lists, of_an_empty_file_have_no_entries) {
  names_to_load.clear();
  ASSERT_EQ(declare(one(LISTS[3], "1")), 0);
  EXPECT_EQ(shown().u.popup.n_choices, 0);
  EXPECT_EQ(host.popup_texts.back(), "");
}

TEST_F(named_lists, can_be_looked_at) {
  declare(one(LISTS[0], "1") + " plain = 1 (popup A B ignore)");
  EXPECT_EQ(inspect_list_names(engine(0)), names_to_load);
  EXPECT_TRUE(inspect_list_names(engine(1)).empty()) << "its entries stand in the definition";
  serve(nullptr);
  EXPECT_TRUE(inspect_list_names(engine(0)).empty());
}

TEST_F(named_lists, without_a_reader_fail_by_name) {
  for (const list_case& l : LISTS) {
    serve(load_names);
    declare(one(l, "1"));
    serve(nullptr);
    host.params.clear();
    int index = 1, id = 1;
    testing::report_capture reports;
    EXPECT_EQ(declare_params(host.in_data, index, id), PF_Err_INTERNAL);
    EXPECT_EQ(
        reports.severity_of(std::string("Effect: the list of ") + l.title + " for parameter kind is not built yet.\n"),
        REPORT_ERROR)
        << reports.all();
  }
}

}  // namespace
}  // namespace tessaron
