#include "host/render_records.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "base/report.h"
#include "host/display_globals.h"
#include "host/host_state.h"

namespace tessaron {
namespace {

constexpr int ORIGIN_LIMIT = 50000;  // a host's output origin beyond this is no origin
constexpr int WORLD_SIDE_LIMIT = 32767;
constexpr int DEEP_PIXEL_SIZE = 8, PIXEL_SIZE = 4;

bool deep(const pf_world& world) { return world.world_flags & PF_WorldFlag_DEEP; }
int pixel_size(const pf_world& world) { return deep(world) ? DEEP_PIXEL_SIZE : PIXEL_SIZE; }

bool matte_name(const char* name) { return !std::strcmp(name, "Matte") || !std::strcmp(name, "Mask"); }

int slot_of_input(const effect_table& table, const char* name) {
  for (int slot = 0; slot < MAX_INPUTS; ++slot)
    if (table.input_names[slot] && !std::strcmp(table.input_names[slot], name)) return slot;
  return -1;
}

}  // namespace

// --- inputs --------------------------------------------------------------------------------------

checked_out_inputs::~checked_out_inputs() {
  for (int slot = 1; slot < n_slots_; ++slot) in_data_.inter.checkin_param(in_data_.effect_ref, &extra_[slot]);
}

std::int32_t checked_out_inputs::check_out(int n_slots) {
  n_slots_ = std::min(n_slots, 1);
  for (int slot = 1; slot < std::min(n_slots, MAX_INPUTS); ++slot) {
    const std::int32_t error =
        in_data_.inter.checkout_param(in_data_.effect_ref, Globals->input_param_index - 1 + slot, in_data_.current_time,
                                      in_data_.time_step, in_data_.time_scale, &extra_[slot]);
    if (error) return error;
    n_slots_ = slot + 1;
  }
  return PF_Err_NONE;
}

const pf_world* checked_out_inputs::layer(int slot) const {
  if (slot < 0 || slot >= n_slots_) return nullptr;
  const pf_world& world = slot == 0 ? params_[0]->u.layer : extra_[slot].u.layer;
  return world.data ? &world : nullptr;
}

std::uint32_t checked_out_inputs::present_mask() const {
  std::uint32_t mask = 0;
  for (int slot = 0; slot < n_slots_; ++slot)
    if (layer(slot)) mask |= 1u << slot;
  return mask;
}

std::array<const void*, MAX_INPUTS> checked_out_inputs::pixels() const {
  std::array<const void*, MAX_INPUTS> pixels = {};
  for (int slot = 0; slot < n_slots_; ++slot)
    if (const pf_world* world = layer(slot)) pixels[slot] = world->data;
  return pixels;
}

effect_inputs feed_inputs(const genotype& g, const effect_table& table, const checked_out_inputs& inputs) {
  effect_inputs fed;
  fed.count = std::clamp<int>(g.n_inputs, 0, MAX_INPUTS);
  for (int i = 0; i < fed.count; ++i) {
    fed.slot[i] = slot_of_input(table, g.input_names[i]);
    fed.layer[i] = inputs.layer(fed.slot[i]);
    fed.matte[i] = matte_name(g.input_names[i]);
    if (fed.layer[i] || !(g.default_self_inputs >> i & 1)) continue;
    fed.slot[i] = 0;
    fed.layer[i] = inputs.layer(0);
  }
  return fed;
}

// --- raster records ------------------------------------------------------------------------------

bool world_usable(const pf_world& world, const char* what) {
  const auto refuse = [&](const char* why) {
    report(REPORT_ERROR, "%s of %d by %d pixels, %d bytes a row: %s.", what, world.width, world.height, world.rowbytes,
           why);
    return false;
  };
  if (world.width < 0 || world.height < 0) return refuse("a negative size");
  if (world.width > WORLD_SIDE_LIMIT || world.height > WORLD_SIDE_LIMIT)
    return refuse("a side is at most 32767 pixels");
  if (world.width == 0 || world.height == 0) return true;
  if (!world.data) return refuse("no pixels");
  if (world.rowbytes < std::int64_t(world.width) * pixel_size(world)) return refuse("a row doesn't hold its pixels");
  if (deep(world) && (world.rowbytes % 2 || reinterpret_cast<std::uintptr_t>(world.data) % 2))
    return refuse("16-bit samples at odd addresses");
  return true;
}

void raster_info_from_world(raster_info& raster, const pf_world& world, bool bgra, int x0, int y0) {
  raster = {};
  raster.width = world.width;
  raster.height = world.height;
  raster.x0 = x0;
  raster.y0 = y0;
  raster.x1 = x0 + world.width - 1;
  raster.y1 = y0 + world.height - 1;
  if (deep(world)) {
    raster.format = bgra ? NATIVE_BGRA16 : NATIVE_RGBA16;
    raster.bits = 16;
  } else {
    raster.format = bgra ? NATIVE_BGRA8 : NATIVE_RGBA8;
    raster.bits = 8;
  }
  raster.kind = 2;
  raster.bytes_per_pixel = pixel_size(world);
  const int padding = std::max(0, world.rowbytes - world.width * pixel_size(world));
  raster.row_pad = deep(world) ? padding / 2 : padding;
  raster.data = static_cast<std::uint8_t*>(world.data);
}

void source_raster_info_from_layer(raster_info& raster, const pf_world& layer, bool bgra, const raster_info* first) {
  int x0 = 0, y0 = 0;
  if (first) {
    x0 = centre_shift(first->x0, first->x1, 0, layer.width - 1);
    y0 = centre_shift(first->y0, first->y1, 0, layer.height - 1);
  }
  raster_info_from_world(raster, layer, bgra, x0, y0);
}

void dest_raster_info_from_layer(raster_info& raster, const pf_world& output, bool bgra, const pf_in_data& in_data) {
  int x = in_data.output_origin_x, y = in_data.output_origin_y;
  const auto beyond = [](int v) { return v > ORIGIN_LIMIT || v < -ORIGIN_LIMIT; };
  if (host_state.host_app == HOST_FINAL_CUT || beyond(x) || beyond(y)) x = y = 0;
  raster_info_from_world(raster, output, bgra, -x, -y);
}

void fill_source_rasters(const effect_inputs& inputs, bool bgra) {
  for (raster_info& raster : source_raster_info) raster = {};
  const raster_info* first = nullptr;
  for (int i = 0; i < inputs.count; ++i) {
    if (!inputs.layer[i]) continue;
    source_raster_info_from_layer(source_raster_info[i], *inputs.layer[i], bgra, first);
    if (!first) first = &source_raster_info[i];
  }
}

// --- rectangles ----------------------------------------------------------------------------------

rectangle raster_rectangle(const raster_info& raster) {
  return make_rectangle(raster.x0, raster.y0, raster.x1, raster.y1);
}

void set_frame_bounds(const pf_in_data& in_data) {
  render_info = {};
  render_info.frame_x1 = std::max(in_data.width, 1) - 1;
  render_info.frame_y1 = std::max(in_data.height, 1) - 1;
  render_info.downsample_x = render_info.scale_x = downsample_fraction(in_data.downsample_x);
  render_info.downsample_y = downsample_fraction(in_data.downsample_y);
  render_info.valid = 1;
}

rectangle output_rectangle() {
  constexpr int OUTPUT_REACH = 30000;  // columns and rows beyond the top left corner
  const raster_info& dest = dest_raster_info;
  return make_rectangle(dest.x0, dest.y0, std::min(dest.x1, dest.x0 + OUTPUT_REACH),
                        std::min(dest.y1, dest.y0 + OUTPUT_REACH));
}

namespace {

/// A border that is unbounded holds the sides of everything.
rectangle grown_by(const rectangle& input, const input_border& border) {
  if (border.left == -UNBOUNDED_SIDE) return everything();
  return grow(input, border.left, border.top, border.right, border.bottom);
}

/// Part of the output that an effect fills around its images, mattes aside.
rectangle covered_rectangle(const genotype& g, const effect_inputs& inputs, const input_border* borders) {
  const rectangle output = output_rectangle();
  rectangle covered;
  for (int i = 0; i < inputs.count; ++i) {
    if (!inputs.layer[i] || inputs.matte[i]) continue;
    rectangle input = raster_rectangle(source_raster_info[i]);
    if (g.flags[0] & GENO0_MAY_GROW) input = grown_by(input, borders[i]);
    covered = unite(covered, input);
  }
  // Nothing bounds an effect that no image feeds, or that says that it renders everywhere.
  if (covered.empty || (g.flags[0] & GENO0_RENDERS_EVERYWHERE)) covered = output;
  return clip(covered, output);
}

/// What all mattes that are there have in common.
rectangle matte_rectangle(const effect_inputs& inputs) {
  rectangle matte = everything();
  for (int i = 0; i < inputs.count; ++i)
    if (inputs.layer[i] && inputs.matte[i]) matte = clip(matte, raster_rectangle(source_raster_info[i]));
  return matte;
}

bool any_function(const genotype& g, bool (*holds)(const fun_info&)) {
  return std::any_of(g.nodes, g.nodes + g.n_nodes,
                     [&](const node& n) { return n.kind == KIND_FUNCTION && n.fun && holds(*n.fun); });
}

/// Image operators look around a pixel, however far.
bool looks_around(const fun_info& fun) { return fun.is_image_fun; }

/// static numbers its samples through the view, and one query is the view's size.
bool depends_on_view(const fun_info& fun) {
  return fun.position_dependent || !std::strcmp(fun.name, "get_max_fnoise_freq");
}

void set_temp_raster(const rectangle& view) {
  temp_raster_info = {};
  temp_raster_info.width = view.width();
  temp_raster_info.height = view.height();
  temp_raster_info.x0 = view.left;
  temp_raster_info.y0 = view.top;
  temp_raster_info.x1 = view.right;
  temp_raster_info.y1 = view.bottom;
  temp_raster_info.bits = 32;
  temp_raster_info.kind = 2;
  temp_raster_info.bytes_per_pixel = 16;
}

}  // namespace

void set_render_rectangles(const genotype& g, const effect_inputs& inputs, const pf_in_data& in_data,
                           const input_border* borders) {
  const rectangle output = output_rectangle();
  render_info.out_x0 = output.left;
  render_info.out_y0 = output.top;
  render_info.out_x1 = output.right;
  render_info.out_y1 = output.bottom;

  // The host's hint counts from the output's corner; its right and bottom lie outside.
  const pf_rect& hint = in_data.extent_hint;
  const std::int64_t x = dest_raster_info.x0, y = dest_raster_info.y0;
  const rectangle wanted = make_rectangle(x + hint.left, y + hint.top, x + hint.right - 1, y + hint.bottom - 1);

  const rectangle covered = covered_rectangle(g, inputs, borders), effect = clip(covered, matte_rectangle(inputs));
  const rectangle render = clip(effect, wanted);
  render_info.render_x0 = render.left;
  render_info.render_y0 = render.top;
  render_info.render_x1 = render.right;
  render_info.render_y1 = render.bottom;

  // What is kept in planes must not hang on the part that the host asks for this time.
  set_temp_raster(render.empty                       ? render
                  : any_function(g, looks_around)    ? covered
                  : any_function(g, depends_on_view) ? effect
                                                     : render);
}

}  // namespace tessaron
