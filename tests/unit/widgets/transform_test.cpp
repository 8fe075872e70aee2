// The transform stack of the widgets.
#include "host/widgets/transform.h"

#include <gtest/gtest.h>

#include <cmath>

#include "support/report_capture.h"

namespace tessaron::testing {
namespace {

class TransformStack : public ::testing::Test {
 protected:
  void SetUp() override { gfx_set_matrix({}); }
  void TearDown() override {
    while (gfx_xform_stack_depth() > 0) gfx_xform_stack_pop();
    gfx_set_matrix({});
  }
};

void expect_point(gfx_point p, double x, double y) {
  EXPECT_NEAR(p.x, x, 1e-4);
  EXPECT_NEAR(p.y, y, 1e-4);
}

TEST_F(TransformStack, EighthPushReportsOnceAndDepthStaysSeven) {
  report_capture reports;
  for (int i = 0; i < 8; ++i) gfx_xform_stack_push();
  EXPECT_EQ(gfx_xform_stack_depth(), 7);
  ASSERT_EQ(reports.entries().size(), 1u);
  EXPECT_EQ(reports.entries()[0].severity, 8);
  EXPECT_EQ(reports.entries()[0].text, "gfx_xform_stack_push: stack is full (7 entries).");
}

TEST_F(TransformStack, PopOfAnEmptyStackReportsAndDepthStaysZero) {
  report_capture reports;
  gfx_xform_stack_pop();
  EXPECT_EQ(gfx_xform_stack_depth(), 0);
  ASSERT_EQ(reports.entries().size(), 1u);
  EXPECT_EQ(reports.entries()[0].severity, 8);
  EXPECT_EQ(reports.entries()[0].text, "gfx_xform_stack_pop: stack is empty.");
}

TEST_F(TransformStack, PushCopiesTheTopAndPopBringsItBack) {
  gfx_translate(10, 20);
  gfx_xform_stack_push();
  expect_point(gfx_transform_point({1, 1}), 11, 21);
  gfx_scale(2, 3);
  expect_point(gfx_transform_point({1, 1}), 12, 23);
  gfx_xform_stack_pop();
  expect_point(gfx_transform_point({1, 1}), 11, 21);
}

TEST_F(TransformStack, LastTransformIsAppliedFirst) {
  gfx_translate(100, 0);
  gfx_rotate(90);  // x becomes y
  gfx_scale(2, 1);
  expect_point(gfx_transform_point({3, 0}), 100, 6);
  expect_point(gfx_transform_point({0, 5}), 95, 0);
  EXPECT_NEAR(gfx_matrix_scale(), std::sqrt(2.0), 1e-5);
}

TEST_F(TransformStack, InverseComesBack) {
  gfx_translate(30, -20);
  gfx_rotate(33);
  gfx_scale(0.25f, 4);
  expect_point(gfx_inverse_transform_point(gfx_transform_point({123, -77})), 123, -77);
}

TEST_F(TransformStack, DeterminantBelowAMillionthPutsTheInverseAtZero) {
  gfx_set_matrix({{{1e-07f, 0, 5}, {0, 1, 6}}});
  expect_point(gfx_inverse_transform_point({400, 300}), 0, 0);
  gfx_set_matrix({{{-1e-07f, 0, 5}, {0, 1, 6}}});
  expect_point(gfx_inverse_transform_point({400, 300}), 0, 0);
  gfx_set_matrix({{{2e-06f, 0, 5}, {0, 1, 6}}});
  EXPECT_NEAR(gfx_inverse_transform_point({5.002f, 300}).x, 1000, 1);
  EXPECT_NEAR(gfx_inverse_transform_point({5, 300}).y, 294, 1e-3);
}

TEST_F(TransformStack, MatrixOfNoNumbersPutsTheInverseAtZero) {
  const float nan = std::nanf("");
  gfx_set_matrix({{{nan, nan, nan}, {nan, nan, nan}}});
  expect_point(gfx_inverse_transform_point({400, 300}), 0, 0);
}

}  // namespace
}  // namespace tessaron::testing
