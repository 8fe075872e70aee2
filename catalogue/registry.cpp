#include <cstdio>
#include <cstring>

#include "base/report.h"
#include "catalogue/defuns.h"
#include "catalogue/functions/groups.h"
#include "platform/platform.h"

namespace tessaron {

fun_registry catalogue;

// --- definition calls ------------------------------------------------------------------------------

void fun_registry::clear() { *this = fun_registry{}; }

void fun_registry::def_node_fun(const char* name, int arg_number, int fun_cost, float fun_weight, int fun_class) {
  if (fun_count >= MAX_FUN_NUMBER) {
    report(REPORT_ERROR, "MAX_FUN_NUMBER: %d \n", MAX_FUN_NUMBER);
    fatal("ERROR: def_node_funs exceeded MAX_FUN_NUMBER, increase in defuns.h.");
  }
  if (arg_number > MAX_ARG_NUMBER)
    fatal("def_node_fun %s, %d args is > MAX_ARG_NUMBER %d.", name, arg_number, MAX_ARG_NUMBER);
  if (std::strlen(name) + 1 > std::size_t(MAX_FUN_NAME_LEN)) fatal("def_node_fun %s, name is > MAX_FUN_NAME_LEN.", name);
  current_fun = &table[fun_count++];
  std::strcpy(current_fun->name, name);
  current_fun->arg_number = arg_number;
  current_fun->fun_cost = std::uint16_t(fun_cost);
  current_fun->fun_weight = fun_weight;
  current_fun->fun_class = std::uint16_t(fun_class);
  current_fun->fun_flags2 = FUN2_DEFINED;
  current_fun->arg_enable_runtime = -1;
  current_fun->arg_scale_runtime = -1;
  current_fun->arg_scale_passes = -1;
}

namespace {

void check_fun_arg_number(const fun_info* fun, int args) {
  if (!fun) fatal("check_fun_arg_number: no fun_info");
  if (fun->arg_number != args)
    fatal("called def_%darg_ but %s def_node_fun said %d args.", args, fun->name, fun->arg_number);
}

// An index outside the arguments is only printed: the tables stay usable.
void set_runtime_index(fun_info* fun, std::int8_t fun_info::*field, const char* field_name, int index) {
  if (!fun) fatal("check_fun_arg_number: no fun_info");
  if (index >= fun->arg_number)
    std::printf("*** %s %s %d > arg_number %d \n", fun->name, field_name, index, fun->arg_number);
  fun->*field = std::int8_t(index);
}

}  // namespace

void fun_registry::def_arg_names(std::initializer_list<const char*> names) {
  check_fun_arg_number(current_fun, int(names.size()));
  int i = 0;
  for (const char* name : names) current_fun->arg_names[i++] = name;
}

void fun_registry::def_arg(int arg_count, std::uint32_t combo, node_kernel kernel) {
  check_fun_arg_number(current_fun, arg_count);
  const int place = current_fun->arg_type_combo_number;
  if (place >= MAX_ARG_TYPE_COMBOS) fatal("arg_type_combo_number > MAX_ARG_TYPE_COMBOS");
  current_fun->arg_type_combos[place] = combo;
  current_fun->kernels[place] = kernel;
  current_fun->arg_type_combo_number = place + 1;
}

void fun_registry::or_flags(int flags) { current_fun->fun_flags |= std::uint8_t(flags); }
void fun_registry::or_flags2(int flags2) { current_fun->fun_flags2 |= std::uint8_t(flags2); }

void fun_registry::set_arg_enable_runtime(int index) {
  set_runtime_index(current_fun, &fun_info::arg_enable_runtime, "arg_enable_runtime", index);
}
void fun_registry::set_arg_scale_runtime(int index) {
  set_runtime_index(current_fun, &fun_info::arg_scale_runtime, "arg_scale_runtime", index);
}
void fun_registry::set_arg_scale_passes(int index) {
  set_runtime_index(current_fun, &fun_info::arg_scale_passes, "arg_scale_passes", index);
}

void define(fun_registry& registry, const fun_def& def) {
  registry.def_node_fun(def.name, int(def.args.size()), def.cost, def.weight, def.fun_class);
  registry.def_arg_names(def.args);
  fun_info& fun = *registry.current_fun;
  fun.doc = def.doc;
  fun.pass_hook = def.pass;
  fun.bounds_hook = def.bounds;
  fun.row_start_args = def.row_start_args;
  fun.position_dependent = def.position_dependent;
  if (def.image) {
    fun.is_image_fun = 1;
    fun.image_arg_index = std::int8_t(def.image->image_arg_index);
    fun.images_per_element = std::int8_t(def.image->images_per_element);
    fun.extra_images = std::int8_t(def.image->extra_images);
    fun.min_images = std::int8_t(def.image->min_images);
    fun.aux_count_a = std::int8_t(def.image->aux_count_a);
    fun.aux_count_b = std::int8_t(def.image->aux_count_b);
    registry.set_arg_enable_runtime(def.image->arg_enable_runtime);
    registry.set_arg_scale_runtime(def.image->arg_scale_runtime);
    registry.set_arg_scale_passes(def.image->arg_scale_passes);
  } else {
    fun.image_arg_index = -1;
  }
  registry.or_flags(def.flags);
  registry.or_flags2(def.flags2);
  for (const combo_group& group : def.combos)
    for (int i = 0; i < group.combos.count; ++i)
      registry.def_arg(group.combos.arg_counts[i], group.combos.words[i], group.kernel);
}

// --- levels ----------------------------------------------------------------------------------------

namespace {

struct level_entry {
  const char* name;
  bool (*usable)();
  void (*define_all)(fun_registry&);
};

bool always() { return true; }

#define TESSARON_DEFINE_ALL(LEVEL)                                                      \
  [](fun_registry& r) {                                                                 \
    using namespace LEVEL;                                                              \
    for (auto group : {define_unary, define_binary, define_ternary, define_vector,      \
                       define_geometry, define_noise, define_blur, define_glow,         \
                       define_gradient, define_warp, define_rest})                      \
      group(r);                                                                         \
  }

constexpr level_entry LEVELS[N_CPU_LEVELS] = {
    {"generic", always, TESSARON_DEFINE_ALL(level_generic)},
#if defined(TESSARON_HAS_SSE41)
    {"sse41", platform::cpu_has_sse41, TESSARON_DEFINE_ALL(level_sse41)},
#else
    {"sse41", nullptr, nullptr},
#endif
#if defined(TESSARON_HAS_AVX2)
    {"avx2", platform::cpu_has_avx2, TESSARON_DEFINE_ALL(level_avx2)},
#else
    {"avx2", nullptr, nullptr},
#endif
#if defined(TESSARON_HAS_AVX512)
    {"avx512", platform::cpu_has_avx512, TESSARON_DEFINE_ALL(level_avx512)},
#else
    {"avx512", nullptr, nullptr},
#endif
};

#undef TESSARON_DEFINE_ALL

}  // namespace

const char* cpu_level_name(cpu_level level) { return LEVELS[int(level)].name; }

bool cpu_level_usable(cpu_level level) { return LEVELS[int(level)].usable && LEVELS[int(level)].usable(); }

cpu_level chosen_cpu_level() {
  const std::string wanted = platform::environment("TESSARON_CPU_LEVEL");
  cpu_level best = cpu_level::generic;
  for (int i = 0; i < N_CPU_LEVELS; ++i) {
    const cpu_level level = cpu_level(i);
    if (!cpu_level_usable(level)) continue;
    if (wanted == LEVELS[i].name) return level;
    best = level;
  }
  if (!wanted.empty())
    report(REPORT_WARNING, "TESSARON_CPU_LEVEL: '%s' is no level that this build and processor offer; using %s.",
           wanted.c_str(), cpu_level_name(best));
  return best;
}

void build_catalogue(fun_registry& registry, cpu_level level) {
  registry.clear();
  LEVELS[int(level)].define_all(registry);
  registry.current_fun = nullptr;
}

void define_catalogue() {
  if (catalogue.fun_count == 0) build_catalogue(catalogue, chosen_cpu_level());
}

// --- look-ups --------------------------------------------------------------------------------------

const fun_info* fun_registry::find(const char* name) const {
  for (int i = 0; i < fun_count; ++i)
    if (std::strcmp(table[i].name, name) == 0) return &table[i];
  return nullptr;
}

const fun_info* find_fun(const char* name) { return catalogue.find(name); }

std::string combo_text(std::uint32_t combo, int arg_number) {
  std::string text;
  for (int k = 0; k < arg_number; ++k) {
    if (k) text += ',';
    text += char('1' + ((combo >> (2 + 2 * k)) & 3));
  }
  text += '>';
  text += char('1' + (combo & 3));
  return text;
}

}  // namespace tessaron
