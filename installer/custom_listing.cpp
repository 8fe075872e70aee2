// Lists the custom effects of a text file: names and inputs only, so that no definition is read.
#include "installer/custom_listing.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>

#include "base/report.h"
#include "base/text.h"
#include "genotype/text_reader.h"
#include "platform/platform.h"

namespace tessaron {
namespace {

constexpr const char* DEFAULT_CONFIG_DIR = "c:/Program Files/Holvane/TessaronAE";
constexpr const char* CONFIG_FILE = "t_config.text";
constexpr std::size_t MAX_CONFIG_DIR = 1023;

constexpr int NAME_SIZE = sizeof(custom_genotype_info::name);
constexpr int INPUT_NAME_SIZE = sizeof(custom_genotype_info::input_names[0]);
constexpr std::size_t LONGEST_INPUT_NAME = 31;
constexpr int MAX_INPUTS_LISTED = sizeof(custom_genotype_info::input_names) / INPUT_NAME_SIZE;

std::string config_dir;
bool config_dir_known = false;

// What the callers of the index functions share.
custom_genotype_info* infos = nullptr;
int count = -1;

/// Copies a token into a field of a record, cut to its size.
void copy_cut(char* field, std::size_t size, const char* token) {
  const std::size_t length = std::min(std::strlen(token), size - 1);
  std::memcpy(field, token, length);
  field[length] = '\0';
}

/// A name that is too long for its place goes on in the next ones, until another name takes these: the last name of a
/// definition stands in full, unless the record ends before.
void copy_input_name(custom_genotype_info& info, int n, const char* token) {
  const std::size_t before = std::size_t(n) * INPUT_NAME_SIZE, room = sizeof info.input_names - before;
  copy_cut(reinterpret_cast<char*>(info.input_names) + before, std::min(room, LONGEST_INPUT_NAME + 1), token);
}

/// Reads to the next "(define" or "(def_effect" and its name. False: none before the end of the file.
bool find_definition(char* name) {
  char token[TOKEN_SIZE];
  bool after_bracket = false;
  while (get_token(token) == 0) {
    if (after_bracket && (std::strcmp(token, "def_effect") == 0 || std::strcmp(token, "define") == 0))
      return get_token(name) == 0;
    after_bracket = token[0] == '(';
  }
  return false;
}

/// Reads the "(" in front of the input names; false after a report.
bool read_list_start(const char* name) {
  char token[TOKEN_SIZE];
  if (get_token(token) != 0)
    set_message("%s expected %s, but got eof", "", "(");
  else if (std::strcmp(token, "(") != 0)
    set_message("%s expected '%s', but got '%s'", "", "(", token);
  else
    return true;
  report_message(REPORT_ERROR);
  report(REPORT_ERROR, "Error while reading custom plug-in %s \n", name);
  return false;
}

/// Reads one definition's input names; false after a report.
bool read_inputs(custom_genotype_info& info) {
  if (!read_list_start(info.name)) return false;
  char token[TOKEN_SIZE];
  while (info.n_inputs < MAX_INPUTS_LISTED) {
    if (get_token(token) != 0) {
      report(REPORT_ERROR, "Eof while reading custom plug-in %s \n", info.name);
      return false;
    }
    if (std::strcmp(token, ")") == 0) break;
    copy_input_name(info, info.n_inputs++, token);
  }
  return true;
}

/// Reads all records of the current source; null with the number read when one is broken.
custom_genotype_info* read_records(int& n) {
  custom_genotype_info* list = nullptr;
  char name[TOKEN_SIZE];
  n = 0;
  while (find_definition(name)) {
    void* grown = std::realloc(list, std::size_t(n + 1) * sizeof(custom_genotype_info));
    if (!grown) {
      report(REPORT_ERROR, "Not enough memory.");
      std::free(list);
      return nullptr;
    }
    list = static_cast<custom_genotype_info*>(grown);
    list[n] = {};
    copy_cut(list[n].name, NAME_SIZE, name);
    if (!read_inputs(list[n])) {
      std::free(list);
      return nullptr;
    }
    ++n;
  }
  return list;
}

}  // namespace

std::string get_registry_key_name(const char* product, const char* version) {
  return format_text("Software\\Holvane\\Tessaron %s\\%s", product ? product : "AE", version ? version : "1.10");
}

void reset_custom_listing() {
  free_custom_genotype_infos();
  count = -1;
  config_dir_known = false;
}

}  // namespace tessaron

using namespace tessaron;

const char* get_config_dir() {
  if (!config_dir_known) {
    std::string key = get_registry_key_name("AE", "1.10");
    replace_substring(key.c_str(), key.data(), "~", "");
    key.resize(std::strlen(key.c_str()));
    const bool found =
        platform::read_registry_text(platform::registry_root::local_machine, key, "ConfigDir", config_dir);
    if (!found || config_dir.size() > MAX_CONFIG_DIR) config_dir = DEFAULT_CONFIG_DIR;
    config_dir_known = true;
  }
  return config_dir.c_str();
}

int maybe_get_custom_genotype_infos() {
  if (count < 0) {
    const std::string path = std::string(get_config_dir()) + "/" + CONFIG_FILE;
    count = get_custom_genotype_infos(path.c_str(), &infos);
  }
  return count;
}

int get_custom_genotype_infos(const char* path, custom_genotype_info** out_list) {
  *out_list = nullptr;
  std::FILE* stream = open_reading_file(path);
  if (!stream) return 0;
  int n = 0;
  *out_list = read_records(n);
  close_reading_file(stream);
  reading_from_file_ptr = nullptr;
  return n;
}

const custom_genotype_info* get_custom_genotype_info_n(int i) {
  const int n = maybe_get_custom_genotype_infos();
  return i >= 0 && i < n && infos ? infos + i : nullptr;
}

void free_custom_genotype_infos() {
  if (count > 0) std::free(infos);
  infos = nullptr;  // a record asked for from now on is null; the count stays
}
