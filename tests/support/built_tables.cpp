// Linked to the tests of image operators: before the first test, the tables that they read.
#include <gtest/gtest.h>

#include "genotype/genotype_reader.h"

namespace tessaron::testing {
namespace {

struct built_tables : ::testing::Environment {
  void SetUp() override { set_tables_and_globals(); }
};
const auto* const tables = ::testing::AddGlobalTestEnvironment(new built_tables);

}  // namespace
}  // namespace tessaron::testing
