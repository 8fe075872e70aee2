// What is settled with a host through optional suites at params setup: the pixel layout, the about lines.
#include "host/commands.h"
#include "host/configuration.h"
#include "host/host_state.h"
#include "host/host_suites.h"

namespace tessaron {

namespace {

constexpr std::int32_t FULL_SCALE_16 = 65535, FULL_SCALE_15 = 32768;
constexpr int MAX_OFFERS = 64;  // a host that never ends its list is not asked on

/// A layout that the converters read and write. Premultiplied pixels are never taken: no definition
/// asks for them.
bool usable(const pf_image_format& format) {
  if (format.premultiplied) return false;
  return (format.order == PF_PixelOrder_BGRA && format.full_scale == FULL_SCALE_16) ||
         (format.order == PF_PixelOrder_ARGB && format.full_scale == FULL_SCALE_15);
}

}  // namespace

void negotiate_native_format(globals_record& record) {
  const pf_in_data& in_data = *record.in_data;
  record.host_flags &= ~(HOST_NATIVE_FORMATS_OK | HOST_PREMULTIPLIED_NATIVE);
  if (!config.allow_native_image_formats || host_state.host_app == HOST_FINAL_CUT) return;
  const held_suite<pf_image_format_suite> suite(in_data, FORMAT_SUITE);
  if (!suite || !suite->get_offered || !suite->accept) return;
  for (int i = 0; i < MAX_OFFERS; ++i) {
    pf_image_format format{};
    if (suite->get_offered(in_data.effect_ref, i, &format) != 0) return;
    if (!usable(format)) continue;
    if (suite->accept(in_data.effect_ref, &format) == 0 && format.order == PF_PixelOrder_BGRA)
      record.host_flags |= HOST_NATIVE_FORMATS_OK;
    return;
  }
}

void offer_about_lines(const pf_in_data& in_data) {
  const held_suite<pf_vds_app_suite> suite(in_data, MESSAGE_SUITE);
  if (suite && suite->about_lines) suite->about_lines(about_line().c_str(), config_notes().c_str());
}

}  // namespace tessaron
