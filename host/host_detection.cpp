// Which host has loaded the plug-in: by the four characters it gives, else by the suites it offers.
#include <algorithm>
#include <cctype>
#include <string>

#include "genotype/genotype_reader.h"
#include "host/host_state.h"
#include "host/host_suites.h"
#include "platform/platform.h"

namespace tessaron {

namespace {

constexpr std::uint32_t appl(const char (&text)[5]) {
  std::uint32_t word = 0;
  for (int i = 0; i < 4; ++i) word = word << 8 | static_cast<unsigned char>(text[i]);
  return word;
}

struct appl_row {
  std::uint32_t appl_id;
  int host_app;
  bool render_node;
};

constexpr std::uint32_t COMBUSTION_NODE = appl("CbNL");
constexpr std::uint32_t AFTER_EFFECTS_ID = appl("FXTC");

constexpr appl_row APPL_IDS[] = {
    {appl("MOTN"), HOST_MOTION, false},       {appl("PIFX"), HOST_PIE_FX, false},
    {appl("KeyG"), HOST_FINAL_CUT, false},    {appl("PrMr"), HOST_PREMIERE, false},
    {appl("844x"), HOST_MEDIA_100, false},    {appl("VDSQ"), HOST_QUANTEL, false},
    {appl("CTXF"), HOST_FUSION, false},       {appl("DFSN"), HOST_FUSION, false},
    {appl("NSFD"), HOST_FUSION, false},       {appl("DFX+"), HOST_FUSION, false},
    {appl("+XFD"), HOST_FUSION, false},       {appl("DFRN"), HOST_FUSION, true},
    {appl("NRFD"), HOST_FUSION, true},        {appl("Cbst"), HOST_COMBUSTION, false},
    {COMBUSTION_NODE, HOST_COMBUSTION, true},
};

/// The last one exists nowhere: it shows how the host answers a wrong name.
constexpr const char* PROBE_SUITES[] = {"PF Handle Suite",    "PF Param Utils Suite", "PF AE App Suite",
                                        "PF Path Data Suite", "PF ANSI Suite",        "PF Batch Sampling Suite",
                                        "ANonexistentSuite"};
constexpr unsigned FIRST_SIX = 0x3f;
constexpr unsigned SECOND_ALONE = 0x02;

bool contains_ignoring_case(const std::string& text, const std::string& part) {
  const auto same = [](unsigned char a, unsigned char b) { return std::tolower(a) == std::tolower(b); };
  return std::search(text.begin(), text.end(), part.begin(), part.end(), same) != text.end();
}

bool runs_in_background() {
  const std::string line = platform::command_line();
  for (const char* part : {"NetRenderer", "ShellRenderer", "render queue"})
    if (contains_ignoring_case(line, part)) return true;
  return false;
}

int host_by_suites(const pf_in_data& in_data) {
  if (!in_data.pica_basic) return HOST_UNKNOWN;
  if (held_suite<void>(in_data, COMBUSTION_SUITE)) return HOST_COMBUSTION;
  unsigned found = 0;
  for (unsigned i = 0; i < std::size(PROBE_SUITES); ++i)
    if (held_suite<void>(in_data, PROBE_SUITES[i])) found |= 1u << i;
  if (in_data.appl_id == AFTER_EFFECTS_ID && (found & FIRST_SIX) == FIRST_SIX) {
    const bool first_generation =
        in_data.version_major < 12 || (in_data.version_major == 12 && in_data.version_minor < 11);
    host_state.interface_generation = first_generation ? 1 : 2;
    return HOST_AFTER_EFFECTS;
  }
  return found == SECOND_ALONE ? HOST_COMBUSTION : HOST_UNKNOWN;
}

}  // namespace

void detect_host(const pf_in_data& in_data) {
  const auto* row = std::find_if(std::begin(APPL_IDS), std::end(APPL_IDS),
                                 [&](const appl_row& r) { return r.appl_id == in_data.appl_id; });
  if (row != std::end(APPL_IDS)) {
    host_state.host_app = row->host_app;
    if (row->render_node) host_state.batch_mode = 1;
    if (row->appl_id == COMBUSTION_NODE && runs_in_background()) host_state.background_render = 1;
  } else {
    host_state.host_app = host_by_suites(in_data);
  }
  angle_dial_offset = host_state.host_app == HOST_FUSION ? 90 : 0;
}

}  // namespace tessaron
