// Helpers of the definition tests: a definition read from a text, and its nodes by name.
#pragma once

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "base/text.h"
#include "genotype/genotype_reader.h"
#include "genotype/globals.h"
#include "genotype/text_reader.h"
#include "support/report_capture.h"
#include "support/scratch_folder.h"

namespace tessaron::testing {

struct genotype_deleter {
  void operator()(genotype* g) const { free_genotype(g); }
};
using owned_genotype = std::unique_ptr<genotype, genotype_deleter>;

/// A name with a number behind it.
inline std::string numbered(const char* name, int number) { return format_text("%s%d", name, number); }

/// Reads and binds the first definition of a text.
inline owned_genotype read_text(const std::string& text) {
  return owned_genotype(load_effect_from_string(text.c_str()));
}

/// The parameters of `(define A DECLARATIONS dest = 0)`, whose first is the one under test.
inline owned_genotype read_declarations(const std::string& declarations) {
  return read_text("(define A " + declarations + " dest = 0)");
}

inline const node* node_named(const genotype& g, const std::string& name) {
  for (int i = 0; i < g.n_nodes; ++i)
    if (g.nodes[i].name && name == g.nodes[i].name) return &g.nodes[i];
  return nullptr;
}

/// A file in a folder of its own, removed at the end.
class temporary_file {
 public:
  explicit temporary_file(const std::string& content) : path_(folder_.write("definitions.text", content)) {}
  const char* path() const { return path_.c_str(); }

 private:
  scratch_folder folder_;
  std::string path_;
};

/// A fresh Globals for a test that fills it.
class globals_scope {
 public:
  globals_scope() : record_{}, before_(Globals) {
    init_globals(record_);
    Globals = &record_;
  }
  ~globals_scope() {
    for (genotype* g : record_.genotypes) free_genotype(g);
    Globals = before_;
  }
  globals_record& operator*() { return record_; }
  globals_record* operator->() { return &record_; }

 private:
  globals_record record_;
  globals_record* before_;
};

}  // namespace tessaron::testing
