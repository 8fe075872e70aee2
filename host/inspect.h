// Looking into the engine without rendering: what the console's list, info, plan, check and
// functions verbs print. Exported from the engine library; records are the engine's own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "genotype/genotype.h"
#include "tessaron/host_interface.h"

namespace tessaron {

/// One definition found in a file, not yet parsed.
struct definition_text {
  std::string name;  // the name token
  std::string file;
  int line = 0;              // of its opening bracket, from 1
  std::string text;          // a source that a plug-in descriptor can carry: this definition first; with a #ref in
                             // it the whole file stands behind it, so that the references find their targets
  std::size_t whole_at = 0;  // where in `text` the whole file begins, 0: it does not follow
  std::string comment;       // the comment lines right in front of the definition, without their slashes
};

/// A report made while something was read. `location` is "file:line", or empty.
struct inspected_report {
  int severity;
  std::string text;
  std::string location;
};

/// "Error: text", with the label of the severity in front and no line end.
TESSARON_EXPORT std::string labelled_text(const inspected_report& report);

/// All definitions of a file, in order. False with `error` set when the file cannot be read.
TESSARON_EXPORT bool scan_definitions(const std::string& path, std::vector<definition_text>& out, std::string& error);
/// The same of a text in memory; `file` names it in reports.
TESSARON_EXPORT void scan_definition_text(const std::string& source, const std::string& file,
                                          std::vector<definition_text>& out);

/// Tells the reader that source `text` (by its address) stands for `definition`'s file and lines, so
/// that reports name them. The text must outlive its use.
TESSARON_EXPORT void note_definition_origin(const char* text, const definition_text& definition);
TESSARON_EXPORT void forget_definition_origin(const char* text);

/// Has the engine's notes written to standard error: a program whose results go to standard output asks for it.
TESSARON_EXPORT void send_notes_to_standard_error();

/// Builds tables and catalogue once. Every function here calls it.
TESSARON_EXPORT void start_engine();

/// Reads and binds one definition; null after reports. Free with free_inspected.
TESSARON_EXPORT genotype* inspect_definition(const definition_text& definition, std::vector<inspected_report>& reports);
TESSARON_EXPORT void free_inspected(genotype* g);

/// Sets a parameter in the definition's own numbers, as its default would be; false: no such parameter.
TESSARON_EXPORT bool inspect_set_param(genotype& g, const std::string& name, const std::vector<float>& values);

/// The host parameters that the engine declares for the genotype's present defaults, in host order;
/// extra inputs are not among them.
TESSARON_EXPORT std::vector<pf_param_def> inspect_host_params(genotype& g);

/// Names that a parameter with a list of a data file shows, in order: none while nothing reads such files. The
/// definition's number counts them from 1, the engine's value from 0.
TESSARON_EXPORT std::vector<std::string> inspect_list_names(const param& p);

/// Folds and plans for frame 0 of a layer of `width` by `height` pixels: fills pass_arg and the two lists as node
/// indices. Parameters go through their host controls as in a render.
struct inspected_plan {
  std::vector<int> eval_image_nodes, eval_nodes;
};
TESSARON_EXPORT bool inspect_plan(genotype& g, int width, int height, inspected_plan& plan,
                                  std::vector<inspected_report>& reports);

TESSARON_EXPORT const fun_registry& inspect_catalogue();
/// "3,1>3" of a packed combo with `arg_number` arguments.
TESSARON_EXPORT std::string inspect_combo_text(std::uint32_t combo, int arg_number);
/// A number as a definition reads it, in single precision. False when no digit was found.
TESSARON_EXPORT bool inspect_number(const std::string& text, float& value);

TESSARON_EXPORT std::string inspect_config_dir();
/// Makes `dir` stand in for the stored configuration directory; before the engine reads its settings.
TESSARON_EXPORT void inspect_use_config_dir(const std::string& dir);
/// Restricts the process to `count` processors; before the first render. False when the system refuses.
TESSARON_EXPORT bool inspect_limit_processors(int count);
/// Name of the instruction-set level in use.
TESSARON_EXPORT std::string inspect_cpu_level();
/// Largest resident size of this process so far, in bytes.
TESSARON_EXPORT std::int64_t inspect_peak_bytes();
TESSARON_EXPORT const char* inspect_version();

}  // namespace tessaron
