// What every image operator looks at before it works: that the planes that it declared are there.
#pragma once

#include <gtest/gtest.h>

#include "tests/support/render_definition.h"
#include "tests/support/report_capture.h"

namespace tessaron::testing {

/// The call of `function` in a tree must refuse a plane too few, and then a missing one, in words with its name.
inline void expect_planes_are_checked(definition_renderer& r, const char* function, int planes) {
  ASSERT_TRUE(r.render());
  node n = *r.calls_of(function)[0];
  ASSERT_EQ(n.image_count, planes);
  const std::string name = n.name ? n.name : function, last = std::to_string(planes - 1);
  report_capture reports;
  n.image_count = std::int8_t(planes - 1);
  EXPECT_THROW(n.image_fun(n), TessaronAbortException);
  EXPECT_TRUE(reports.has("node " + name + " has image_count " + last + ", expected " + std::to_string(planes) + "."))
      << reports.all();
  n.image_count = std::int8_t(planes);
  n.images[planes - 1] = nullptr;
  EXPECT_THROW(n.image_fun(n), TessaronAbortException);
  EXPECT_TRUE(reports.has("node " + name + " has NULL image " + last + ".")) << reports.all();
}

}  // namespace tessaron::testing
