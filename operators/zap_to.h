// zap_to: what doesn't depend on the instruction-set level.
#pragma once

#include <cstdint>

namespace tessaron {

struct node;
struct lightning_loops;

/// Takes one bright region: its light (fix samples, summed) and its middle in pixels.
using region_taker = void (*)(void* regions, double light, double x, double y);
/// Hands all bright regions of a plane on, from top to bottom, and clears it.
using region_scan = void (*)(std::int16_t* plane, int width, int height, region_taker take, void* regions);

/// The whole of zap_to, given the loop that finds regions and those that draw.
void draw_zap_to(node& n, region_scan scan, const lightning_loops& loops);

}  // namespace tessaron
