// Each per-pixel node function on rows of 1920 samples, as a share of what memcpy moves of the same
// bytes in the same run. Bytes are those read plus those written. Slowest first at the end.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "catalogue/defuns.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/tables.h"
#include "genotype/genotype.h"
#include "genotype/genotype_reader.h"

using namespace tessaron;

namespace {

constexpr int WIDTH = 1920;

/// A node of one combo with rows of its own, as the pixel loop would set it up.
struct row_node {
  expression_rows vars{};
  node self{};
  std::vector<node> args;
  std::vector<std::vector<fix>> rows;
  std::int64_t bytes = 0;  // that one call reads and writes
  std::unique_ptr<std::byte[]> noise_cache;

  row_node(const fun_info& fun, int combo_index, std::uint16_t uniform) {
    const std::uint32_t combo = fun.arg_type_combos[combo_index];
    vars.row_width = WIDTH;
    self.kind = KIND_FUNCTION;
    self.fun = &fun;
    self.arg_number = std::int8_t(fun.arg_number);
    self.eval_arg_number = std::int8_t(fun.arg_number - ((fun.fun_flags2 & FUN2_TYPE_ONLY_LAST) ? 1 : 0));
    self.elnum = std::int8_t((combo & 3) + 1);
    self.vars = &vars;
    self.uniform_args = uniform;
    args.resize(std::size_t(fun.arg_number));
    std::mt19937 random(7);
    for (int a = 0; a < fun.arg_number; ++a) {
      node& arg = args[std::size_t(a)];
      const bool constant = (uniform >> a) & 1;
      arg.kind = constant ? KIND_CONSTANT : KIND_FUNCTION;
      arg.elnum = std::int8_t(((combo >> (2 + 2 * a)) & 3) + 1);
      if (constant) arg.node_flags |= NODE_CONSTANT;
      for (int e = 0; e < 4; ++e) {
        arg.const_vals[e] = fix(random() % 4096);
        arg.rows[e] = arg.const_vals + e;
        if (!constant && e < arg.elnum) arg.rows[e] = fill_row(random, a < self.eval_arg_number);
      }
      self.args[a] = &arg;
      self.arg_rows[a] = arg.rows;
      self.arg_consts[a] = arg.const_vals;
    }
    for (int e = 0; e < self.elnum; ++e) self.rows[e] = fill_row(random, true);
    if (fun.fun_class == CLASS_COORD_NOISE) {
      noise_cache = std::make_unique<std::byte[]>(NOISE_CACHE_BYTES);
      clear_noise_cache(noise_cache.get());
      self.misc_ptr = noise_cache.get();
    }
  }

 private:
  fix* fill_row(std::mt19937& random, bool counted) {
    rows.emplace_back(WIDTH + 16);
    for (fix& sample : rows.back()) sample = fix(random() % 8192) - 2048;
    if (counted) bytes += WIDTH * std::int64_t(sizeof(fix));
    // Rows start on cache lines, as in the pixel loop.
    const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(rows.back().data());
    return rows.back().data() + ((64 - address % 64) % 64) / sizeof(fix);
  }
};

/// Bytes a second that memcpy reads and writes when `bytes` in all are touched.
void memcpy_rows(benchmark::State& state, std::int64_t bytes) {
  std::vector<char> from(std::size_t(bytes / 2), 1), to(std::size_t(bytes / 2));
  for (auto _ : state) {
    std::memcpy(to.data(), from.data(), to.size());
    benchmark::DoNotOptimize(to.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * bytes);
}

void run_kernel(benchmark::State& state, const fun_info& fun, int combo_index, std::uint16_t uniform) {
  const auto bench = std::make_unique<row_node>(fun, combo_index, uniform);
  const node_kernel kernel = fun.kernels[combo_index];
  for (auto _ : state) {
    kernel(bench->self);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * bench->bytes);
}

/// Sets each kernel against the memcpy of as many bytes and prints the list, slowest first.
class ratio_reporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      const auto rate = run.counters.find("bytes_per_second");
      if (rate != run.counters.end()) rates_.emplace_back(run.benchmark_name(), rate->second.value);
    }
  }
  void Finalize() override {
    std::vector<std::pair<double, std::string>> ratios;
    for (const auto& [name, rate] : rates_) {
      const std::size_t at = name.find(" bytes ");
      if (at == std::string::npos) continue;
      for (const auto& [other, other_rate] : rates_)
        if (other == "memcpy " + name.substr(at + 7)) ratios.emplace_back(rate / other_rate, name.substr(0, at));
    }
    std::sort(ratios.begin(), ratios.end());
    std::printf("\nshare of memcpy, slowest first\n");
    for (const auto& [ratio, name] : ratios) std::printf("%7.3f  %s\n", ratio, name.c_str());
  }

 private:
  std::vector<std::pair<std::string, double>> rates_;
};

/// The combo with the most elements that has no 4-with-3 pairing.
int widest_combo(const fun_info& fun) {
  int best = 0, best_sum = -1;
  for (int c = 0; c < fun.arg_type_combo_number; ++c) {
    int sum = 0;
    for (std::uint32_t word = fun.arg_type_combos[c], k = 0; k <= std::uint32_t(fun.arg_number); ++k, word >>= 2)
      sum += int(word & 3) + 1;
    if (sum > best_sum) best_sum = sum, best = c;
  }
  return best;
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  build_tables();
  define_catalogue();
  std::printf("kernels of level %s\n", cpu_level_name(chosen_cpu_level()));

  std::vector<std::int64_t> sizes;
  const auto add = [&](const fun_info& fun, std::uint16_t uniform, const char* form) {
    const int combo = widest_combo(fun);
    const std::int64_t bytes = row_node(fun, combo, uniform).bytes;
    if (std::find(sizes.begin(), sizes.end(), bytes) == sizes.end()) {
      sizes.push_back(bytes);
      benchmark::RegisterBenchmark(("memcpy " + std::to_string(bytes)).c_str(), memcpy_rows, bytes);
    }
    const std::string name = std::string(fun.name) + " " + combo_text(fun.arg_type_combos[combo], fun.arg_number) +
                             " " + form + " bytes " + std::to_string(bytes);
    benchmark::RegisterBenchmark(
        name.c_str(), [&fun, combo, uniform](benchmark::State& state) { run_kernel(state, fun, combo, uniform); });
  };
  for (int i = 0; i < catalogue.fun_count; ++i) {
    const fun_info& fun = catalogue.table[i];
    if (fun.is_image_fun || fun.fun_class == CLASS_QUERY) continue;
    // Arguments of which only the first sample counts stand as constants.
    add(fun, fun.row_start_args, "row/row");
    if (fun.arg_number > 1 && fun.row_start_args == 0)
      add(fun, std::uint16_t(1u << (fun.arg_number - 1)), "row/constant");
  }
  ratio_reporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  return 0;
}
