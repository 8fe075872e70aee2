// Whatever the text, reading ends cleanly: with a bound tree, or with a report.
#include <random>
#include <string>
#include <vector>

#include "base/report.h"
#include "definition.h"

namespace tessaron::testing {
namespace {

const std::vector<std::string> LONG_DEFINITION = {"(",
                                                  "define",
                                                  "Long_One",
                                                  "(",
                                                  "Source",
                                                  "Background",
                                                  ")",
                                                  "(",
                                                  "rgba_ok",
                                                  "copy_alpha_z",
                                                  "1",
                                                  "z",
                                                  "min",
                                                  "effect_popup_name",
                                                  "Name",
                                                  ")",
                                                  "Amount",
                                                  "=",
                                                  "10",
                                                  "(",
                                                  "min",
                                                  "0",
                                                  "slider_range",
                                                  "0",
                                                  "50",
                                                  "step",
                                                  "0.1",
                                                  "page",
                                                  "\"",
                                                  "Main\"",
                                                  "group_start",
                                                  "G",
                                                  ")",
                                                  "Mode",
                                                  "=",
                                                  "1",
                                                  "(",
                                                  "popup",
                                                  "Fast",
                                                  "\"",
                                                  "Best one\"",
                                                  "widget",
                                                  "ring.Size",
                                                  "name",
                                                  "Ring",
                                                  "wenable",
                                                  "here",
                                                  "default_on",
                                                  "3",
                                                  ")",
                                                  "Size",
                                                  "=",
                                                  "[",
                                                  "1",
                                                  "2",
                                                  "]",
                                                  "(",
                                                  "screen",
                                                  "pointer_set",
                                                  "group_end",
                                                  "G",
                                                  "id_insert",
                                                  "+4",
                                                  ")",
                                                  "Angle",
                                                  "=",
                                                  "90",
                                                  "(",
                                                  "angle",
                                                  ")",
                                                  "#ref",
                                                  "Common",
                                                  "soft",
                                                  "=",
                                                  "(",
                                                  "blur",
                                                  "Source",
                                                  "Amount",
                                                  "0",
                                                  "1",
                                                  "0",
                                                  ")",
                                                  "alias",
                                                  "=",
                                                  "soft",
                                                  "pick",
                                                  "=",
                                                  "(",
                                                  "if+",
                                                  "Mode",
                                                  "alias",
                                                  "(",
                                                  "*",
                                                  "Source",
                                                  "gain",
                                                  ")",
                                                  ")",
                                                  "dest",
                                                  "=",
                                                  "(",
                                                  "+",
                                                  "pick",
                                                  "(",
                                                  "*",
                                                  "Background",
                                                  "(",
                                                  "max_element",
                                                  "Size",
                                                  ")",
                                                  ")",
                                                  ")",
                                                  ")"};

std::string joined(std::size_t count) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) text += LONG_DEFINITION[i] + (LONG_DEFINITION[i] == "\"" ? "" : " ");
  return text;
}

TEST(broken_input, a_definition_cut_after_any_token_fails_with_a_report) {
  const std::string common = "\n(define Common gain = 3)";
  report_capture reports;
  const auto whole = read_text(joined(LONG_DEFINITION.size()) + common);
  ASSERT_NE(whole, nullptr) << reports.all();
  reports.drop_part("is not referenced");
  EXPECT_TRUE(reports.empty()) << reports.all();
  for (std::size_t count = 0; count < LONG_DEFINITION.size(); ++count) {
    reports.clear();
    EXPECT_EQ(read_text(joined(count)), nullptr) << joined(count);
    EXPECT_FALSE(reports.empty()) << joined(count);
  }
}

TEST(broken_input, a_definition_cut_after_any_token_fails_in_front_of_another_too) {
  report_capture reports;
  for (std::size_t count = 3; count < LONG_DEFINITION.size(); ++count) {
    reports.clear();
    const auto g = read_text(joined(count) + "\n(define Common gain = 3)");
    EXPECT_EQ(g, nullptr) << joined(count);
    EXPECT_FALSE(reports.empty()) << joined(count);
  }
}

TEST(broken_input, a_definition_without_any_one_token_ends_cleanly) {
  for (std::size_t left_out = 0; left_out < LONG_DEFINITION.size(); ++left_out) {
    std::string text;
    for (std::size_t i = 0; i < LONG_DEFINITION.size(); ++i)
      if (i != left_out) text += LONG_DEFINITION[i] + (LONG_DEFINITION[i] == "\"" ? "" : " ");
    report_capture reports;
    const auto g = read_text(text + "\n(define Common gain = 3)");
    EXPECT_TRUE(g || !reports.empty()) << text;
  }
}

void check_bound(const genotype& g, const std::string& text) {
  for (int i = 0; i < g.n_nodes; ++i)
    for (int k = 0; k < g.nodes[i].arg_number; ++k) {
      ASSERT_GT(g.nodes[i].arg_indices[k], i) << text;
      ASSERT_LT(g.nodes[i].arg_indices[k], g.n_nodes) << text;
    }
  const owned_genotype copy(copy_genotype(g));
  EXPECT_EQ(copy->n_params, g.n_params);
}

using tokens = std::vector<std::string>;

/// A definition by the grammar, as tokens: valid but for references that may miss or run in circles.
class definition_maker {
 public:
  explicit definition_maker(std::mt19937& random) : random_(random) {}

  tokens make() {
    out_ = {"(", "define", "A", "(", "S", ")"};
    if (pick(2)) add({"(", "rgba_ok", ")"});
    for (int i = pick(5); i >= 0; --i) {
      add({numbered("v", i), "="});
      expression(3);
      if (pick(3) == 0) declaration();
    }
    add({"dest", "="});
    expression(4);
    add({")"});
    return out_;
  }

 private:
  int pick(int n) { return int(random_() % unsigned(n)); }
  void add(const tokens& more) { out_.insert(out_.end(), more.begin(), more.end()); }

  void expression(int depth) {
    static const struct {
      const char* name;
      int args;
    } FUNCTIONS[] = {{"+", 2}, {"*", 2}, {"abs", 1}, {"if+", 3}, {"interp", 3}, {"blur", 5}, {"get_time", 0}};
    const int kind = pick(depth > 0 ? 8 : 4);
    if (kind == 0) return add({std::to_string(pick(9))});
    if (kind == 1) return add({pick(2) ? "S" : "x"});
    if (kind == 2) return add({"v" + std::to_string(pick(4))});
    if (kind == 3) return add({"[", "1", "2", "3", "]"});
    const auto& f = FUNCTIONS[pick(int(std::size(FUNCTIONS)))];
    add({"(", f.name});
    for (int i = 0; i < f.args; ++i) expression(depth - 1);
    add({")"});
  }

  void declaration() {
    static const tokens LISTS[] = {{"min", "0"}, {"popup", "A", "B"}, {"widget", "ring"}, {"page", "P"}, {"ignore"}};
    add({"("});
    add(LISTS[pick(int(std::size(LISTS)))]);
    add({")"});
  }

  std::mt19937& random_;
  tokens out_;
};

TEST(broken_input, spoilt_definitions_end_cleanly) {
  const tokens strays = {"(",        ")",           "[",         "]",
                         "=",        "\"",          "define",    "A",
                         "dest",     "v0",          "S",         "1",
                         "#ref",     "+",           "blur",      "min",
                         "column_n", "group_start", "group_end", "color",
                         "//",       "\n",          "\xff",      "new_column_next",
                         "angle",    "id",          "z",         std::string(2000, 'q')};
  std::mt19937 random(20240229);
  int bound = 0, refused = 0;
  for (int round = 0; round < 4000; ++round) {
    tokens definition = definition_maker(random).make();
    for (unsigned spoilt = random() % 4; spoilt > 0; --spoilt) {
      const std::size_t at = random() % definition.size();
      const std::string& stray = strays[random() % strays.size()];
      if (random() % 2)
        definition[at] = stray;
      else
        definition.insert(definition.begin() + long(at), stray);
    }
    std::string text;
    for (const std::string& t : definition) text += t + " ";
    report_capture reports;
    owned_genotype g;
    try {
      g = read_text(text);
    } catch (const TessaronAbortException&) {}
    if (g)
      check_bound(*g, text);
    else
      EXPECT_FALSE(reports.empty()) << text;
    ++(g ? bound : refused);
  }
  // Both ways are really taken.
  EXPECT_GT(bound, 200);
  EXPECT_GT(refused, 200);
}

TEST(broken_input, random_trees_bind_in_order) {
  std::mt19937 random(7);
  const std::vector<std::string> functions = {"(+ @ @)",     "(* @ @)",          "(abs @)",    "(blur @ 1 0 1 0)",
                                              "(if+ 1 @ @)", "(interp @ @ 0.5)", "(if+ x @ @)"};
  for (int round = 0; round < 500; ++round) {
    const int count = 2 + int(random() % 30);
    std::vector<std::string> statements;
    for (int i = 0; i < count; ++i) {
      std::string expression = functions[random() % functions.size()];
      for (std::size_t at; (at = expression.find('@')) != std::string::npos;)
        expression.replace(at, 1, i == 0 || random() % 5 == 0 ? "S" : "v" + std::to_string(random() % i));
      statements.push_back(numbered("v", i) + " = " + expression + "\n");
    }
    statements.push_back(numbered("dest = v", count - 1) + "\n");
    std::shuffle(statements.begin(), statements.end(), random);
    std::string text = "(define A (S)\n";
    for (const std::string& s : statements) text += s;
    report_capture reports;
    try {
      const auto g = read_text(text + ")");
      ASSERT_NE(g, nullptr) << text << reports.all();
      check_bound(*g, text);
      for (int i = 0; i < g->n_nodes; ++i) {
        const node& n = g->nodes[i];
        if (n.image_count == 0) continue;
        EXPECT_LE(n.image_base + n.image_count, n.shared_image ? g->n_cache_images : g->n_temp_images) << text;
      }
    } catch (const TessaronAbortException&) {
      EXPECT_TRUE(reports.has("In A: more than 127 image planes.")) << text << reports.all();
    }
  }
}

TEST(broken_input, binary_bytes_end_cleanly_in_strings_and_files) {
  std::mt19937 random(99);
  for (int round = 0; round < 300; ++round) {
    std::string bytes = "(define A ";
    for (int i = 0; i < 300; ++i) bytes += char(random() & 0xff);
    const temporary_file file(bytes);
    globals_scope globals;
    report_capture reports;
    EXPECT_THROW(load_effect_by_name("A", file.path()), TessaronAbortException);
    EXPECT_FALSE(reports.empty());
    reports.clear();
    EXPECT_EQ(read_text(bytes), nullptr);
    EXPECT_FALSE(reports.empty());
  }
}

}  // namespace
}  // namespace tessaron::testing
