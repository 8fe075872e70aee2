// The configuration directory and the list of custom effects in t_config.text.
#pragma once

#include <cstdint>
#include <string>

#include "tessaron/host_interface.h"

extern "C" {

/// One custom effect. A longer name of it is cut; a longer input name runs on into the next ones' places.
struct custom_genotype_info {
  char name[32];
  std::int32_t n_inputs;
  char input_names[4][12];
};

/// The configuration directory, without a separator behind it. Looked up once.
TESSARON_EXPORT const char* get_config_dir();
/// Number of custom effects in the directory's t_config.text, which is read once.
TESSARON_EXPORT int maybe_get_custom_genotype_infos();
/// Lists the custom effects of a file. The list comes from malloc; it is null when the file has no
/// definition, and when one is broken: then the count is that of the definitions before it.
TESSARON_EXPORT int get_custom_genotype_infos(const char* path, custom_genotype_info** out_list);
/// Record i of the shared list; null outside it and when there is no list.
TESSARON_EXPORT const custom_genotype_info* get_custom_genotype_info_n(int i);
/// Frees the shared list. The count stays, so that the file is not read again.
TESSARON_EXPORT void free_custom_genotype_infos();
}

namespace tessaron {
/// Registry key of the product for a host ("AE" when null) and a version ("1.10" when null).
std::string get_registry_key_name(const char* product, const char* version);
/// Forgets the cached directory and list. For tests and for the console's --config-dir.
void reset_custom_listing();
}  // namespace tessaron
