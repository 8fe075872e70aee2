// What the tests of stylising operators share, beyond the kit of the gradients.
#pragma once

#include <gtest/gtest.h>

#include "tests/support/abort_questions.h"
#include "tests/support/report_capture.h"
#include "unit/operators/gradient_kit.h"

namespace tessaron::testing {

using picture = definition_renderer::pixel_function;

inline picture flat_picture(fix value) {
  return [=](int, int, int e) { return e == 3 ? FIX_ONE : value; };
}

/// Aborts a render at each question to the host in turn, until one is finished without: it must end, each time.
inline void abort_at_every_question(definition_renderer& r) {
  int ended = 0;
  for (int at = 0; at < 4000 && !render_until_question(r, at); at += 1 + at / 4) ++ended;
  EXPECT_GT(ended, 1);
  EXPECT_TRUE(r.render());
}

}  // namespace tessaron::testing
