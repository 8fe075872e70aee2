// `install_custom_plugins`: makes a plug-in file of each custom effect of t_config.text, in each directory of the
// installer history.
#include <exception>
#include <iostream>
#include <string>

#include "installer/custom_listing.h"
#include "installer/history.h"
#include "installer/option_scanner.h"
#include "installer/state.h"
#include "installer/template_patcher.h"

namespace tessaron::installer {
namespace {

/// False after the usage text. `-o` is not for users and doesn't stand in it.
bool scan_options(int argc, char** argv) {
  option_scanner scanner(argc, argv, "vo:");
  for (int option; (option = scanner.next()) != option_scanner::END;) {
    if (option == 'v') {
      ++verbose_count;
    } else if (option == 'o') {
      ++old_names_option_count;
      old_names_path = scanner.argument();
    } else {
      std::cerr << "Usage: " << argv[0] << " [-v(erbose)]";
      return false;
    }
  }
  return true;
}

void print_old_names() {
  std::cout << "Read old names from " << old_names_path << ":\n";
  for (const std::string& name : old_names) std::cout << name << ", ";
  std::cout << '\n';
}

/// Whether a custom may be installed.
bool passes_filter(const std::string& name) {
  if (!old_names_option_count || old_names.contains(name)) return true;
  if (verbose_count) std::cout << "Ignoring " << name << ", not in oldnames list.\n";
  return false;
}

void install_everywhere(const std::string& name) {
  const std::string template_path = std::string(get_config_dir()) + "/CustomAE.tmpl";
  for (const std::string& directory : install_dirs) {
    copy_template(template_path, directory + "/" + name + ".aex", name);
    std::cout << "Installed custom plugin " << name << '\n';
  }
}

}  // namespace

/// The whole run; the result is the exit status.
int install_custom_plugins(int argc, char** argv) {
  if (!scan_options(argc, argv)) return 1;
  const int n = maybe_get_custom_genotype_infos();
  const std::string config_dir = get_config_dir();
  read_installer_history(config_dir + "/install_dirs.txt");
  if (old_names_option_count) {
    read_old_names(old_names_path);
    if (verbose_count) print_old_names();
  }
  if (verbose_count) std::cout << "Reading " << config_dir << "/t_config.text: " << n << " customs...\n";
  for (int i = 0; i < n; ++i) {
    const custom_genotype_info* info = get_custom_genotype_info_n(i);
    if (!info) continue;  // a broken definition leaves a count without a list
    if (verbose_count) std::cout << "Custom " << i << ": " << info->name << " (" << info->n_inputs << " inputs)\n";
    if (passes_filter(info->name)) install_everywhere(info->name);
  }
  free_custom_genotype_infos();
  return 0;
}

}  // namespace tessaron::installer

int main(int argc, char** argv) {
  try {
    const int status = tessaron::installer::install_custom_plugins(argc, argv);
    if (std::cout.flush()) return status;
    std::cerr << "Can't write to the standard output\n";
  } catch (const std::exception&) {  // no memory, or a file larger than any memory
    std::cerr << "Not enough memory.\n";
  }
  return 1;
}
