// Row kernels against plain references: for one function and one combo, nodes with rows are built
// and the kernel of every instruction-set level that this processor runs must give the reference's
// samples, bit for bit.
//
// A reference is registered once, beside its hand-worked values:
//
//   const register_reference MOD("mod", [](const sample_input& in, fix out[4]) { ... });
//
// The test `row_kernels.agree_with_their_reference...` then walks the whole table; `evaluate()` and
// `refer()` give one sample for hand-worked values.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/fixed.h"
#include "catalogue/defuns.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/tables.h"
#include "genotype/genotype.h"

namespace tessaron::testing {

/// One sample as a reference sees it.
struct sample_input {
  const fun_info* fun;
  int elnum[MAX_ARG_NUMBER];  // element counts of the arguments
  int result_elnum;
  fix arg[MAX_ARG_NUMBER][4];  // arguments that are read once a row hold the row's first sample
  bool constant[MAX_ARG_NUMBER];
  std::int32_t pixel;  // the node's pixel_index at this sample
};
/// Fills out[0 .. result_elnum - 1] from the rule, without the engine's help.
using reference_fn = void (*)(const sample_input& in, fix out[4]);

struct reference_entry {
  reference_fn of = nullptr;
  bool one_pixel = false;     // the kernel writes const_vals and runs only where a row has one sample
  void (*setup)() = nullptr;  // fills the globals that kernel and reference read
};

inline std::map<std::string, reference_entry>& references() {
  static std::map<std::string, reference_entry> all;
  return all;
}

struct register_reference {
  register_reference(const char* name, reference_fn of, bool one_pixel = false, void (*setup)() = nullptr) {
    if (!references().emplace(name, reference_entry{of, one_pixel, setup}).second)
      throw std::logic_error(std::string("two references for ") + name);
  }
};

// -------------------------------------------------------------------------------------------------

/// The catalogue compiled for one level; built once, tables included.
inline const fun_registry& level_catalogue(cpu_level level) {
  static std::map<cpu_level, std::unique_ptr<fun_registry>> built;
  std::unique_ptr<fun_registry>& registry = built[level];
  if (!registry) {
    build_tables();
    registry = std::make_unique<fun_registry>();
    build_catalogue(*registry, level);
  }
  return *registry;
}

inline std::vector<cpu_level> usable_levels() {
  std::vector<cpu_level> levels;
  for (int i = 0; i < N_CPU_LEVELS; ++i)
    if (cpu_level_usable(cpu_level(i))) levels.push_back(cpu_level(i));
  return levels;
}

inline int combo_arg_elnum(std::uint32_t combo, int a) { return 1 + ((combo >> (2 + 2 * a)) & 3); }
inline int combo_result_elnum(std::uint32_t combo) { return 1 + (combo & 3); }

/// How the rows of an argument come: all samples, one sample for the row, or a constant.
enum class arg_form { row, uniform, constant };

/// A node of one function and combo with its argument nodes, rows and guard words.
class kernel_bench {
 public:
  static constexpr fix GUARD = 0x5ca1ab1e;
  static constexpr int GUARD_WORDS = 8;

  kernel_bench(const fun_info& fun, int combo, int width, const std::vector<arg_form>& forms)
      : fun_(fun), combo_(fun.arg_type_combos[combo]), width_(width), forms_(forms), args_(fun.arg_number) {
    vars_.row_width = width;
    node_.name = fun.name;
    node_.kind = KIND_FUNCTION;
    node_.elnum = std::int8_t(combo_result_elnum(combo_));
    node_.arg_number = std::int8_t(fun.arg_number);
    node_.eval_arg_number = std::int8_t(fun.arg_number - ((fun.fun_flags2 & FUN2_TYPE_ONLY_LAST) ? 1 : 0));
    node_.fun = &fun;
    node_.vars = &vars_;
    node_.pass_arg = -1;
    for (int e = 0; e < 4; ++e) node_.rows[e] = width == 1 ? &node_.const_vals[e] : new_row(out_[e], width);
    for (int a = 0; a < fun.arg_number; ++a) {
      node& arg = args_[a];
      arg.kind = forms[a] == arg_form::constant ? KIND_CONSTANT : KIND_FUNCTION;
      arg.elnum = std::int8_t(combo_arg_elnum(combo_, a));
      arg.node_flags = forms[a] == arg_form::constant ? NODE_CONSTANT : 0;
      for (int e = 0; e < arg.elnum; ++e)
        arg.rows[e] = forms[a] == arg_form::constant ? &arg.const_vals[e] : new_row(in_[a][e], samples_of(a));
      node_.args[a] = &arg;
      node_.arg_rows[a] = arg.rows;
      node_.arg_consts[a] = arg.const_vals;
      if (forms[a] != arg_form::row) node_.uniform_args |= std::uint16_t(1u << a);
    }
    if (fun.fun_class == CLASS_COORD_NOISE) {
      clear_noise_cache(noise_cache_);
      node_.misc_ptr = noise_cache_;
    }
  }

  /// For tests of what happens without one.
  void take_noise_cache_away() { node_.misc_ptr = nullptr; }

  kernel_bench(const kernel_bench&) = delete;
  kernel_bench& operator=(const kernel_bench&) = delete;

  int elnum(int a) const { return args_[a].elnum; }
  /// Samples that argument a holds: the row's width, or 1.
  int samples_of(int a) const { return forms_[a] == arg_form::row ? width_ : 1; }

  void set(int a, int i, int e, fix v) { args_[a].rows[e][i] = v; }
  fix get(int a, int i, int e) const { return args_[a].rows[e][forms_[a] == arg_form::row ? i : 0]; }

  /// Constants as folding leaves them: rgb has alpha 1.0, a shorter value repeats its last element.
  void complete_constants() {
    for (node& arg : args_)
      if (arg.node_flags & NODE_CONSTANT)
        for (int e = arg.elnum; e < 4; ++e)
          arg.const_vals[e] = arg.elnum == 3 ? FIX_ONE : arg.const_vals[arg.elnum - 1];
  }

  sample_input input(int i) const {
    sample_input in{};
    in.fun = &fun_;
    in.result_elnum = node_.elnum;
    in.pixel = pixel_index + i;
    for (int a = 0; a < fun_.arg_number; ++a) {
      in.elnum[a] = args_[a].elnum;
      in.constant[a] = forms_[a] == arg_form::constant;
      const bool row_start = (fun_.row_start_args >> a) & 1;
      for (int e = 0; e < 4; ++e) in.arg[a][e] = e < in.elnum[a] ? get(a, row_start ? 0 : i, e) : GUARD;
    }
    return in;
  }

  void run(node_kernel kernel) {
    for (int e = 0; e < 4; ++e)
      for (int i = 0; i < width_; ++i) node_.rows[e][i] = GUARD;
    node_.pixel_index = pixel_index;
    kernel(node_);
  }
  fix result(int i, int e) const { return node_.rows[e][i]; }

  /// Rows that the kernel may not touch, and words around all rows. Empty if all stand.
  std::string damage() const {
    for (int e = 0; e < 4 && width_ > 1; ++e) {
      if (!guarded(out_[e], width_)) return "guard words of result row " + std::to_string(e);
      if (e >= node_.elnum)
        for (int i = 0; i < width_; ++i)
          if (node_.rows[e][i] != GUARD) return "row " + std::to_string(e) + " beyond the result";
    }
    for (int a = 0; a < fun_.arg_number; ++a)
      for (int e = 0; e < args_[a].elnum && forms_[a] != arg_form::constant; ++e)
        if (!guarded(in_[a][e], samples_of(a))) return "guard words of argument " + std::to_string(a);
    return {};
  }

  std::int32_t pixel_index = 0;

 private:
  using buffer = std::vector<fix>;
  fix* new_row(buffer& row, int samples) {
    row.assign(samples + 2 * GUARD_WORDS, GUARD);
    return row.data() + GUARD_WORDS;
  }
  static bool guarded(const buffer& row, int samples) {
    for (int i = 0; i < GUARD_WORDS; ++i)
      if (row[i] != GUARD || row[GUARD_WORDS + samples + i] != GUARD) return false;
    return true;
  }

  const fun_info& fun_;
  const std::uint32_t combo_;
  const int width_;
  const std::vector<arg_form> forms_;
  std::vector<node> args_;
  node node_{};
  expression_rows vars_{};
  buffer out_[4];
  buffer in_[MAX_ARG_NUMBER][4];
  alignas(64) std::byte noise_cache_[NOISE_CACHE_BYTES];  // coordinate noises only
};

// -------------------------------------------------------------------------------------------------

/// Values that find the edges of the rules: around 0, 0.5, 1.0, the ends of int32, and anything.
inline fix telling_value(std::mt19937& random) {
  static constexpr fix EDGES[] = {
      0,       1,       -1,       2,       -2,      3,          0x7ff,     0x800,         0x801,     0xffe,
      0xfff,   0x1000,  0x1001,   -0xfff,  -0x1000, -0x1001,    0x2000,    -0x2000,       0x7fff,    -0x7fff,
      0x80000, 0x7ffff, -0x80000, 1 << 24, 1 << 30, -(1 << 30), INT32_MAX, INT32_MAX - 1, INT32_MIN, INT32_MIN + 1};
  const std::uint32_t bits = std::uint32_t(random());
  switch (random() % 8) {
    case 0:
    case 1:
      return EDGES[bits % std::size(EDGES)];
    case 2:
    case 3:
      return fix(bits % 0x1001);  // 0..1
    case 4:
    case 5:
      return fix(bits % 0x10001) - 0x8000;  // -8..8
    case 6:
      return fix(bits) >> (random() % 20);  // any size
    default:
      return fix(bits);
  }
}

inline void fill_with_telling_values(kernel_bench& bench, const fun_info& fun, std::mt19937& random) {
  for (int a = 0; a < fun.arg_number; ++a)
    for (int i = 0; i < bench.samples_of(a); ++i) {
      const bool repeat = a > 0 && random() % 4 == 0;  // equal arguments are an edge too
      for (int e = 0; e < bench.elnum(a); ++e)
        bench.set(a, i, e, repeat && e < bench.elnum(a - 1) ? bench.get(a - 1, i, e) : telling_value(random));
    }
  bench.complete_constants();
}

inline std::string describe(const sample_input& in) {
  std::ostringstream text;
  for (int a = 0; a < in.fun->arg_number; ++a) {
    text << ' ' << in.fun->arg_names[a] << (in.constant[a] ? " = constant [" : " = [");
    for (int e = 0; e < in.elnum[a]; ++e) text << (e ? " " : "") << in.arg[a][e];
    text << ']';
  }
  return text.str();
}

/// Every level's kernel of one combo against the reference, over all widths from 1 to 70 and all
/// forms of arguments, each form at least twice. The first difference, or empty.
[[nodiscard]] inline std::string compare_combo(const fun_info& fun, int combo, const reference_entry& reference,
                                               std::uint32_t seed) {
  static constexpr int WIDTHS = 70;
  if (reference.setup) reference.setup();
  std::mt19937 random(seed);
  int n_forms = 1;
  for (int a = 0; a < fun.arg_number; ++a) n_forms *= 3;
  for (int round = 0; round < std::max(2 * WIDTHS, 2 * n_forms); ++round) {
    const int width = reference.one_pixel ? 1 : 1 + round % WIDTHS;
    std::vector<arg_form> forms;
    for (int a = 0, f = round % n_forms; a < fun.arg_number; ++a, f /= 3) forms.push_back(arg_form(f % 3));
    kernel_bench bench(fun, combo, width, forms);
    bench.pixel_index = std::int32_t(random() >> 12);
    fill_with_telling_values(bench, fun, random);
    for (cpu_level level : usable_levels()) {
      bench.run(level_catalogue(level).find(fun.name)->kernels[combo]);
      std::ostringstream text;
      text << fun.name << ' ' << combo_text(fun.arg_type_combos[combo], fun.arg_number) << " at level "
           << cpu_level_name(level) << ", width " << width << ", seed " << seed << ": ";
      for (int i = 0; i < width; ++i) {
        const sample_input in = bench.input(i);
        fix expected[4];
        reference.of(in, expected);
        for (int e = 0; e < in.result_elnum; ++e)
          if (bench.result(i, e) != expected[e]) {
            text << "sample " << i << " element " << e << " is " << bench.result(i, e) << ", expected " << expected[e]
                 << ":" << describe(in);
            return text.str();
          }
      }
      if (const std::string damage = bench.damage(); !damage.empty()) {
        text << "wrote over " << damage;
        return text.str();
      }
    }
  }
  return {};
}

// -------------------------------------------------------------------------------------------------
// One sample, for hand-worked values: arguments as vectors, combo by their sizes.

using values = std::vector<fix>;

/// Index of the first combo for arguments of these sizes, or -1.
inline int find_combo(const fun_info& fun, const std::vector<values>& args) {
  for (int c = 0; c < fun.arg_type_combo_number && int(args.size()) == fun.arg_number; ++c) {
    bool fits = true;
    for (int a = 0; a < fun.arg_number; ++a)
      fits = fits && combo_arg_elnum(fun.arg_type_combos[c], a) == int(args[a].size());
    if (fits) return c;
  }
  return -1;
}

namespace detail {
/// A bench of one sample, and the kernel of its combo.
struct single {
  std::unique_ptr<kernel_bench> bench;
  node_kernel kernel;
};
inline single single_sample(const char* name, const std::vector<values>& args, arg_form form, cpu_level level) {
  const fun_info* fun = level_catalogue(level).find(name);
  const int combo = fun ? find_combo(*fun, args) : -1;
  if (combo < 0) throw std::logic_error(std::string("no such function or combo: ") + name);
  if (const auto found = references().find(name); found != references().end() && found->second.setup)
    found->second.setup();
  const std::vector<arg_form> forms(args.size(), form);
  single one{std::make_unique<kernel_bench>(*fun, combo, 1, forms), fun->kernels[combo]};
  for (int a = 0; a < fun->arg_number; ++a)
    for (int e = 0; e < one.bench->elnum(a); ++e) one.bench->set(a, 0, e, args[a][e]);
  one.bench->complete_constants();
  return one;
}
}  // namespace detail

/// What the kernel of a level gives for one sample of arguments of the given form.
inline values evaluate(const char* name, const std::vector<values>& args, arg_form form = arg_form::row,
                       cpu_level level = cpu_level::generic) {
  const detail::single one = detail::single_sample(name, args, form, level);
  one.bench->run(one.kernel);
  values result;
  for (int e = 0; e < one.bench->input(0).result_elnum; ++e) result.push_back(one.bench->result(0, e));
  return result;
}

/// What the registered reference gives.
inline values refer(const char* name, const std::vector<values>& args, arg_form form = arg_form::row) {
  const sample_input in = detail::single_sample(name, args, form, cpu_level::generic).bench->input(0);
  fix out[4];
  references().at(name).of(in, out);
  return values(out, out + in.result_elnum);
}

/// One value worked out by hand, asked of the reference and of every level's kernel.
inline void expect_values(const char* name, const std::vector<values>& args, const values& expected,
                          arg_form form = arg_form::row) {
  EXPECT_EQ(refer(name, args, form), expected) << "reference of " << name;
  for (cpu_level level : usable_levels())
    EXPECT_EQ(evaluate(name, args, form, level), expected) << name << " at level " << cpu_level_name(level);
}

}  // namespace tessaron::testing
