// The plug-in that the hosts of these tests play: two entries in its popup, an input that may be left out,
// parameters of all kinds, an image operator that needs planes, and a parameter read at another time.
#pragma once

#include <string>

#include "genotype/globals.h"
#include "host/host_state.h"
#include "support/scripted_host.h"

namespace tessaron::testing {

inline const std::string SAMPLE_PARAMS =
    " Amount = 50 (percent)\n"
    " Count = 2 (int max 5 slider_range 1 5 big_slider_range 0 9 group_start Numbers)\n"
    " Turn = 30 (angle ignore group_end Numbers)\n"
    " Place = [360 243] (screen ignore)\n"
    " Tint = [1 0.5 0] (color ignore)\n"
    " Size = [1 2] (ignore)\n"
    " Mode = 1 (ignore popup Fast Best)\n"
    " On = 1 (boolean ignore)\n"
    " Hold = 0 (set_hold_level ignore)\n"
    " expand_borders = 0 (boolean ignore)\n"
    " Last = 4 (ignore)\n"
    " later = (get_curve_val Count 1)\n"
    " planes = (gamma mixed 2)\n"
    " dest = (- (+ (+ planes mixed) later) (+ planes later)))";

/// Amount of the way from the first layer to the second, or back.
inline fake_plugin sample_plugin() {
  return fake_plugin(
      {"(define Mix (Source Other) (rgba_ok default_input_self 1 share_all)\n"
       " mixed = (interp Source Other Amount)\n" +
           SAMPLE_PARAMS,
       "(define Mix_Back (Source Other) (rgba_ok default_input_self 1 share_all)\n"
       " mixed = (interp Other Source Amount)\n" +
           SAMPLE_PARAMS});
}
/// Half of 64 and half of 128: (1028 + 2056) / 2 is 1542 in fix, which is 96 in 8 bits.
inline constexpr int SAMPLE_FIELD = 96;

inline globals_record& record_of(pf_handle handle) { return *static_cast<globals_record*>(*handle); }

/// Whether every field of a picture has one value.
inline bool filled_with(const host_picture& picture, int value) {
  for (const std::uint8_t field : picture.fields)
    if (field != value) return false;
  return !picture.fields.empty();
}

}  // namespace tessaron::testing
