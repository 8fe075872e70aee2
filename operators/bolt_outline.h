// Bolts as outlines for the scan fill.
#pragma once

#include <cstdint>
#include <span>

#include "operators/bolts.h"
#include "operators/edge_fill.h"

namespace tessaron {

/// Where bolts lie in the image: x + middle_x, and y times y_scale (rows of a pixel width, down) + middle_y.
struct image_space {
  float middle_x, middle_y;  // half of the image's width and height
  float y_scale;             // below 0

  image_point of(float x, float y) const { return {x + middle_x, y * y_scale + middle_y}; }
};
image_space image_space_of_view();

/// The closed ring around the shown points of a bolt: the left vertices from its start on, then the right ones back,
/// two for each point. In the bolt's own space.
void bolt_ring(const bolt& b, image_point* ring);

/// Most edges that a bolt with so many shown points has.
constexpr std::size_t most_edges(int shown) { return std::size_t(shown) * 4; }

/// The edges of one bolt without its branches, the last group filled up; their number. Where the outline folds over
/// itself, in bends tighter than the bolt is wide, edges across the bolt join in, so that everything it passes over is
/// covered.
std::size_t bolt_edges(const bolt& b, const image_space& space, edge_group* groups);

/// Shown points of a bolt and all its branches.
std::size_t shown_points(const bolt& b);

/// Draws all bolts below a root: clears the plane and fills it. Does nothing on an abort.
void draw_bolts(const bolt& root, std::int16_t* plane, const lightning_loops& loops);

}  // namespace tessaron
