// Which host an appl_id and a set of suites stand for.
#include <gtest/gtest.h>

#include "genotype/genotype_reader.h"
#include "host/host_state.h"
#include "support/fake_host.h"

namespace tessaron {
namespace {

using testing::appl_id;
using testing::fake_host;

struct clean_host_state : ::testing::Test {
  void SetUp() override { host_state = {}; }
  void TearDown() override {
    host_state = {};
    angle_dial_offset = 0;
  }
};
using host_detection = clean_host_state;

void offer_first_six(fake_host& host) {
  for (const char* name : {"PF Handle Suite", "PF Param Utils Suite", "PF AE App Suite", "PF Path Data Suite",
                           "PF ANSI Suite", "PF Batch Sampling Suite"})
    host.offered.insert(name);
}

TEST_F(host_detection, every_appl_id_of_the_table) {
  const struct {
    const char* id;
    int host_app, batch_mode;
  } ROWS[] = {
      {"MOTN", 9, 0}, {"PIFX", 10, 0}, {"KeyG", 3, 0}, {"PrMr", 4, 0}, {"844x", 5, 0},
      {"VDSQ", 8, 0}, {"CTXF", 6, 0},  {"DFSN", 6, 0}, {"NSFD", 6, 0}, {"DFX+", 6, 0},
      {"+XFD", 6, 0}, {"DFRN", 6, 1},  {"NRFD", 6, 1}, {"Cbst", 2, 0}, {"CbNL", 2, 1},
  };
  for (const auto& row : ROWS) {
    host_state = {};
    fake_host host(appl_id(row.id));
    detect_host(host.in_data);
    EXPECT_EQ(host_state.host_app, row.host_app) << row.id;
    EXPECT_EQ(host_state.batch_mode, row.batch_mode) << row.id;
    EXPECT_EQ(host_state.background_render, 0) << row.id;
    EXPECT_TRUE(host.asked.empty()) << row.id << " needs no suite";
  }
}

TEST_F(host_detection, an_unknown_id_without_suites_is_an_unknown_host) {
  fake_host host;
  host.in_data.pica_basic = nullptr;
  detect_host(host.in_data);
  EXPECT_EQ(host_state.host_app, HOST_UNKNOWN);
}

TEST_F(host_detection, the_combustion_suite_makes_combustion_and_is_released_at_once) {
  fake_host host;
  host.offered.insert("Combustion Basic Suite");
  detect_host(host.in_data);
  EXPECT_EQ(host_state.host_app, HOST_COMBUSTION);
  EXPECT_EQ(host.held["Combustion Basic Suite"], 0);
  EXPECT_EQ(host.asked, std::vector<std::string>{"Combustion Basic Suite"});
}

TEST_F(host_detection, after_effects_has_its_id_and_the_first_six_suites) {
  fake_host host(appl_id("FXTC"));
  offer_first_six(host);
  host.in_data.version_major = 12;
  host.in_data.version_minor = 10;
  detect_host(host.in_data);
  EXPECT_EQ(host_state.host_app, HOST_AFTER_EFFECTS);
  EXPECT_EQ(host_state.interface_generation, 1);
  EXPECT_EQ(host.asked.back(), "ANonexistentSuite");
  for (const auto& [name, count] : host.held) EXPECT_EQ(count, 0) << name;
  host.in_data.version_minor = 11;
  detect_host(host.in_data);
  EXPECT_EQ(host_state.interface_generation, 2);
}

TEST_F(host_detection, the_six_suites_under_another_id_are_an_unknown_host) {
  fake_host host(appl_id("TEST"));
  offer_first_six(host);
  detect_host(host.in_data);
  EXPECT_EQ(host_state.host_app, HOST_UNKNOWN);
}

TEST_F(host_detection, five_of_the_six_suites_are_not_enough) {
  fake_host host(appl_id("FXTC"));
  offer_first_six(host);
  host.offered.erase("PF ANSI Suite");
  detect_host(host.in_data);
  EXPECT_EQ(host_state.host_app, HOST_UNKNOWN);
}

TEST_F(host_detection, the_second_suite_alone_is_combustion) {
  fake_host host(appl_id("FXTC"));
  host.offered.insert("PF Param Utils Suite");
  detect_host(host.in_data);
  EXPECT_EQ(host_state.host_app, HOST_COMBUSTION);
  host.offered.insert("ANonexistentSuite");
  detect_host(host.in_data);
  EXPECT_EQ(host_state.host_app, HOST_UNKNOWN);
}

TEST_F(host_detection, dials_start_at_90_degrees_in_digital_fusion) {
  fake_host fusion(appl_id("DFX+"));
  detect_host(fusion.in_data);
  EXPECT_EQ(angle_dial_offset, 90);
  fake_host other;
  detect_host(other.in_data);
  EXPECT_EQ(angle_dial_offset, 0);
}

TEST_F(host_detection, a_host_query_detects_a_host_that_is_not_known_yet) {
  fake_host host(appl_id("MOTN"));
  globals_record record = {};
  record.in_data = &host.in_data;
  globals_record* const before = Globals;
  Globals = &record;
  EXPECT_EQ(detected_host(), HOST_MOTION);
  Globals = before;
}

TEST_F(host_detection, names_of_hosts) {
  EXPECT_STREQ(host_app_name(1), "After Effects");
  EXPECT_STREQ(host_app_name(2), "Combustion");
  EXPECT_STREQ(host_app_name(3), "Final Cut Pro");
  EXPECT_STREQ(host_app_name(4), "Premiere");
  EXPECT_STREQ(host_app_name(5), "Media 100");
  EXPECT_STREQ(host_app_name(6), "Digital Fusion");
  EXPECT_STREQ(host_app_name(7), "Liberty");
  EXPECT_STREQ(host_app_name(8), "Quantel");
  EXPECT_STREQ(host_app_name(9), "Motion");
  EXPECT_STREQ(host_app_name(10), "Pie FX");
  for (const int other : {0, 11, -3, 100}) EXPECT_STREQ(host_app_name(other), "After Effects");
}

}  // namespace
}  // namespace tessaron
