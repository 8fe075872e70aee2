// A definition read, typed and folded for one frame, without rendering it.
#pragma once

#include "tests/support/render_definition.h"
#include "tests/support/report_capture.h"

namespace tessaron::testing {

/// Folds `expression` as `dest` of an effect with inputs A and B (three elements) and these variables:
/// a and b (one element of each input), v (A + 1, not a variable of the language), p = 0.5 (parameter).
class planned {
 public:
  explicit planned(const std::string& expression, int channels = 3)
      : r_("(define Planned (A B) () p = 0.5 a = (element_of A 0) b = (element_of B 0) v = (+ A 1) dest = " +
               expression + ")",
           {.source_channels = channels}) {
    r_.fill_records();
    resolved_ = resolve_element_counts(r_.effect());
    if (resolved_) fold_and_pass(r_.effect());
  }
  bool resolved() const { return resolved_; }
  definition_renderer& renderer() { return r_; }
  node& root() { return r_.root(); }
  bool constant() { return root().node_flags & NODE_CONSTANT; }

 private:
  report_capture reports_;  // of variables that the expression does not use
  definition_renderer r_;
  bool resolved_;
};

}  // namespace tessaron::testing
