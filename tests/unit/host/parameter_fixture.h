// A current record with one effect whose parameters a scripted host has been shown.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "evaluator/frame.h"
#include "genotype/genotype_reader.h"
#include "host/configuration.h"
#include "host/host_state.h"
#include "host/parameters.h"
#include "support/fake_host.h"
#include "support/report_capture.h"

namespace tessaron::testing {

class parameter_test : public ::testing::Test {
 protected:
  void SetUp() override {
    set_tables_and_globals();
    host_state = {};
    host_state.host_app = HOST_UNKNOWN;
    display_dims = {};
    init_globals(record);
    record.plugin_name = "Plug";
    record.in_data = &host.in_data;
    Globals = &record;
  }
  void TearDown() override {
    free_genotype(record.genotypes[0]);
    Globals = before_;
    host_state = {};
    display_dims = {};
    config = {};
    angle_dial_offset = 0;
  }

  /// Reads one effect with these declarations and shows its parameters to the host.
  int declare(const std::string& declarations) {
    report_capture reading;  // parameters that no node reads are warned of
    free_genotype(record.genotypes[0]);
    record.genotypes[0] = load_effect_from_string(("(define Effect () " + declarations + " dest = x)").c_str());
    if (!record.genotypes[0]) throw std::runtime_error(reading.all());
    record.effect_genotype = record.genotypes[0];
    host.params.clear();
    next_index = next_id = 1;
    const int error = declare_params(host.in_data, next_index, next_id);
    // The host starts every parameter at its default.
    for (pf_param_def& p : host.params)
      if (p.param_type == PF_Param_POPUP) p.u.popup.value = p.u.popup.default_value;
    point_at_params();
    return error;
  }
  void point_at_params() {
    pointers.clear();
    for (pf_param_def& p : host.params) pointers.push_back(&p);
    record.params = pointers.data();
    host.in_data.num_params = int(pointers.size());
  }
  param& engine(int k = 0) { return *record.genotypes[0]->params[k]; }
  pf_param_def& shown(int index = 1) { return host.params.at(std::size_t(index)); }

  fake_host host;
  globals_record record = {};
  std::vector<pf_param_def*> pointers;
  int next_index = 1, next_id = 1;

 private:
  globals_record* before_ = Globals;
};

inline std::int32_t fixed16(double v) { return std::int32_t(v * 65536); }

}  // namespace tessaron::testing
