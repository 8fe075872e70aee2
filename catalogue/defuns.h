// The node function registry: the table that gives the definition language its vocabulary.
//
// One `fun_info` record a function, in one fixed table that is filled once at start and read only
// afterwards. Functions are declared in catalogue/functions/, one block each, with `define()`.
#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>
#include <string>

namespace tessaron {

struct node;

inline constexpr int MAX_FUN_NUMBER = 182;
inline constexpr int MAX_ARG_NUMBER = 13;
inline constexpr int MAX_FUN_NAME_LEN = 32;  // terminator included
inline constexpr int MAX_ARG_TYPE_COMBOS = 22;

/// Row kernel or image body of one combo. Reads everything else from the node.
using node_kernel = void (*)(node&);
/// Region pass: merges the node's bounds into its arguments (null: the default rule).
using bounds_hook_fn = void (*)(node&);
/// Constant folding: index of the argument that the node equals, or -1.
using pass_hook_fn = int (*)(const node&);

enum fun_class_bit : std::uint16_t {
  CLASS_QUERY = 0,
  CLASS_PLAIN = 0x1,
  CLASS_BITWISE = 0x2,
  CLASS_MATH = 0x4,
  CLASS_FRAME_NOISE = 0x8,
  CLASS_BLUR = 0x10,
  CLASS_GRADIENT = 0x20,
  CLASS_WARP = 0x40,
  CLASS_PAINT = 0x100,
  CLASS_KALEIDO = 0x200,
  CLASS_PATTERN = 0x800,
  CLASS_COORD_NOISE = 0x1000,
  CLASS_CLIP = 0x2000,
  CLASS_OTHER = 0x4000,
};

enum fun_flag : std::uint8_t {
  FUN_NEVER_CONSTANT = 0x01,
  FUN_FRAME_DEPENDENT = 0x02,
  FUN_REAL_IMAGE = 0x08,   // computes its planes from a real image through image_arg_index
  FUN_READS_CLIP = 0x10,
  FUN_TIME_WARP = 0x20,
  FUN_PREV_OUTPUT = 0x40,  // planes of its own that survive between frames
  FUN_NO_CACHE = 0x80,
};

enum fun_flag2 : std::uint8_t {
  FUN2_DEFINED = 0x01,
  FUN2_SMOOTHS = 0x02,
  FUN2_COORDS = 0x04,
  FUN2_COORDS_FREE = 0x08,
  FUN2_TYPE_ONLY_LAST = 0x10,  // last argument only names a vector type
};

struct fun_info {
  char name[MAX_FUN_NAME_LEN];
  std::int32_t arg_number;
  std::uint16_t fun_class;
  std::uint16_t fun_cost;
  float fun_weight;
  std::int8_t is_image_fun;
  std::int8_t image_arg_index;
  std::int8_t images_per_element;
  std::int8_t extra_images;
  std::int8_t min_images;
  std::int32_t arg_type_combo_number;
  std::uint32_t arg_type_combos[MAX_ARG_TYPE_COMBOS];
  const char* arg_names[MAX_ARG_NUMBER];
  node_kernel kernels[MAX_ARG_TYPE_COMBOS];
  std::uint8_t fun_flags;
  std::uint8_t fun_flags2;
  std::int8_t arg_enable_runtime;
  std::int8_t arg_scale_runtime;
  std::int8_t arg_scale_passes;
  std::int8_t aux_count_a;
  std::int8_t aux_count_b;
  bounds_hook_fn bounds_hook;
  pass_hook_fn pass_hook;

  // Beyond the record proper: what the reference page says, and what the pixel loop may do.
  const char* doc;             // one line for authors
  std::uint16_t row_start_args;  // bit a: the kernel reads only the first sample of the row of argument a
  bool position_dependent;     // the value depends on where the pixel is, beyond the arguments (static)
};

// -------------------------------------------------------------------------------------------------
// Combos, written as the catalogue prints them: "3,1>3" is a 3-element and a 1-element argument
// with a 3-element result, ">1" a function of no arguments. The compiler packs and checks them.

/// Element counts packed as count - 1 in two bits: result in bits 0-1, argument k in bits 2k+2.
struct combo_list {
  std::array<std::uint32_t, MAX_ARG_TYPE_COMBOS> words{};
  std::array<std::int8_t, MAX_ARG_TYPE_COMBOS> arg_counts{};
  int count = 0;

  consteval combo_list(const char* text) {  // NOLINT: implicit so that declarations read well
    const char* p = text;
    while (*p == ' ') ++p;
    while (*p) {
      if (count == MAX_ARG_TYPE_COMBOS) throw "too many combos";
      std::uint32_t word = 0;
      int args = 0;
      while (*p != '>') {
        if (*p < '1' || *p > '4') throw "an element count is 1 to 4";
        if (args == MAX_ARG_NUMBER) throw "too many arguments";
        word |= std::uint32_t(*p++ - '1') << (2 + 2 * args++);
        if (*p == ',') ++p;
        else if (*p != '>') throw "expected , or >";
      }
      ++p;
      if (*p < '1' || *p > '4') throw "the result's element count is 1 to 4";
      word |= std::uint32_t(*p++ - '1');
      if (*p && *p != ' ') throw "combos are separated by blanks";
      words[count] = word;
      arg_counts[count++] = std::int8_t(args);
      while (*p == ' ') ++p;
    }
  }
};

/// A run of combos, in definition order, that share one kernel.
struct combo_group {
  combo_list combos;
  node_kernel kernel;
};

/// What an image operator needs beyond a per-pixel function.
struct image_needs {
  int image_arg_index = -1;
  int images_per_element = 0;
  int extra_images = 0;
  int min_images = 0;
  int arg_enable_runtime = -1;
  int arg_scale_runtime = -1;
  int arg_scale_passes = -1;
  int aux_count_a = 0;
  int aux_count_b = 0;
};

/// The declaration of one node function: all that is known of it in one block.
struct fun_def {
  const char* name;
  std::initializer_list<const char*> args;
  const char* doc;
  int cost = 1;
  float weight = 0.5f;
  std::uint16_t fun_class = CLASS_PLAIN;
  std::uint8_t flags = 0;
  std::uint8_t flags2 = 0;
  const image_needs* image = nullptr;  // null: a per-pixel function
  pass_hook_fn pass = nullptr;
  bounds_hook_fn bounds = nullptr;
  std::uint16_t row_start_args = 0;
  bool position_dependent = false;
  std::initializer_list<combo_group> combos;
};

// -------------------------------------------------------------------------------------------------

/// A table under construction, or the finished one. The checks are those of a start-up fault: each
/// leaves its words in the message buffer, reports them and takes the fatal exit.
struct fun_registry {
  fun_info table[MAX_FUN_NUMBER];
  int fun_count;
  fun_info* current_fun;

  void clear();
  void def_node_fun(const char* name, int arg_number, int fun_cost, float fun_weight, int fun_class);
  void def_arg_names(std::initializer_list<const char*> names);
  void def_arg(int arg_count, std::uint32_t combo, node_kernel kernel);
  void or_flags(int flags);
  void or_flags2(int flags2);
  void set_arg_enable_runtime(int index);
  void set_arg_scale_runtime(int index);
  void set_arg_scale_passes(int index);

  const fun_info* find(const char* name) const;
};

/// Runs the definition calls of one declaration.
void define(fun_registry& registry, const fun_def& def);

/// Instruction-set levels for which the row kernels are compiled, in rising order.
enum class cpu_level : int { generic, sse41, avx2, avx512 };
inline constexpr int N_CPU_LEVELS = 4;
const char* cpu_level_name(cpu_level level);
/// Whether this build holds kernels of a level and this processor runs them.
bool cpu_level_usable(cpu_level level);
/// The best usable level, or the one that the environment variable TESSARON_CPU_LEVEL names.
cpu_level chosen_cpu_level();

/// Fills `registry` with all 172 functions, kernels of the given level. Tests build their own.
void build_catalogue(fun_registry& registry, cpu_level level);

/// The engine's table, built once at start by define_catalogue() for the chosen level.
extern fun_registry catalogue;
void define_catalogue();
/// First exact match, or null.
const fun_info* find_fun(const char* name);

/// "3,1>3" of a packed combo with `arg_number` arguments.
std::string combo_text(std::uint32_t combo, int arg_number);

}  // namespace tessaron
