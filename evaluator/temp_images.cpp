// The pool of image planes. A plane lies in a handle of the host, a stagger of 128 bytes times its slot
// number behind the handle's block, so that planes of equal size do not fall on the same cache lines.
#include "evaluator/temp_images.h"

#include <algorithm>
#include <cinttypes>
#include <cstdlib>
#include <vector>

#include "base/lasting.h"
#include "base/report.h"
#include "evaluator/frame.h"
#include "genotype/globals.h"

namespace tessaron {

std::int64_t short_image_size;
std::int32_t long_image_width, long_image_height;

namespace {

// --- the engine's own handles ------------------------------------------------------------------------

constexpr std::size_t BLOCK_ALIGNMENT = 64;

void** own_new_handle(std::int64_t size) {
  void** handle = static_cast<void**>(std::malloc(sizeof(void*)));
  if (!handle) return nullptr;
  const std::size_t rounded = (std::size_t(size) + BLOCK_ALIGNMENT - 1) / BLOCK_ALIGNMENT * BLOCK_ALIGNMENT;
  *handle = std::aligned_alloc(BLOCK_ALIGNMENT, rounded);
  if (*handle) return handle;
  std::free(handle);
  return nullptr;
}
void* own_lock(void** handle) { return *handle; }
void own_unlock(void**) {}
void own_dispose(void** handle) {
  std::free(*handle);
  std::free(handle);
}

constexpr handle_suite OWN_SUITE = {own_new_handle, own_lock, own_unlock, own_dispose};
handle_suite suite = OWN_SUITE;

// --- banks ---------------------------------------------------------------------------------------------

struct bank {
  std::vector<void**> handles;
  std::vector<std::int16_t*> planes;  // null until the slot is used

  std::vector<std::int64_t> plane_sizes;

  std::size_t usual_slots;

  explicit bank(std::size_t slots) : usual_slots(slots) {}
  void grow(std::size_t slots) {
    if (slots <= planes.size()) return;
    slots = std::max(slots, usual_slots);
    handles.resize(slots);
    planes.resize(slots);
    plane_sizes.resize(slots);
  }
  /// Whether a slot holds a plane of the size that is wanted now.
  bool fits(std::size_t slot) const { return planes[slot] && plane_sizes[slot] == short_image_size; }
  void allocate(std::size_t slot) {
    free_slot(slot);
    handles[slot] = new_temp_handle(short_image_size + stagger(int(slot)));
    planes[slot] = staggered(handles[slot], int(slot));
    plane_sizes[slot] = short_image_size;
  }
  void refresh() {
    for (std::size_t i = 0; i < planes.size(); ++i)
      if (handles[i]) planes[i] = staggered(handles[i], int(i));
  }
  void free_slot(std::size_t slot) {
    if (!planes[slot]) return;
    if (handles[slot])
      free_temp_handle(handles[slot]);
    else
      report(REPORT_WARNING, "free_all_temp_images: image %d is !0, but handle is 0.", int(slot));
    handles[slot] = nullptr;
    planes[slot] = nullptr;
  }
  void free_all() {
    for (std::size_t i = 0; i < planes.size(); ++i) free_slot(i);
    *this = bank(usual_slots);
  }
  static std::int64_t stagger(int slot) { return std::int64_t(slot) * PLANE_STAGGER; }
  static std::int16_t* staggered(void** handle, int slot) {
    return reinterpret_cast<std::int16_t*>(static_cast<char*>(*handle) + stagger(slot));
  }
};

lasting<bank> stack_bank_of_process(STACK_BANK_SLOTS), shared_bank_of_process(SHARED_BANK_TABLE);
bank& stack_bank = stack_bank_of_process.value;
bank& shared_bank = shared_bank_of_process.value;

void** long_image_handle;
const genotype* last_assigned;
const genotype* shared_bank_owner;
bool images_freed;

bool keeps_own_planes(const node& n) { return n.fun && (n.fun->fun_flags & FUN_PREV_OUTPUT); }

// --- the previous output ---------------------------------------------------------------------------------

void free_prev_planes(temp_set_record& set) {
  for (int i = 0; i < set.image_count && i < 4; ++i) {
    free_temp_handle(static_cast<void**>(set.handles[i]));
    set.handles[i] = nullptr;
    set.planes[i] = nullptr;
  }
  set.image_count = 0;
}

/// Whether the planes still lie as this render's view does. Planes are read by position in the view.
bool same_view(const temp_set_record& set) {
  const raster_info& view = temp_raster_info;
  return set.view_x0 == view.x0 && set.view_y0 == view.y0 && set.view_width == view.width &&
         set.view_height == view.height;
}

/// Planes for all nodes that read the previous output: they have one store.
void set_prev_planes(const genotype& g) {
  int count = 0;
  for (int i = 0; i < g.n_nodes; ++i)
    if (g.nodes[i].image_count > 0 && keeps_own_planes(g.nodes[i]))
      count = std::max<int>(count, g.nodes[i].elnum < 4 ? 3 : g.nodes[i].elnum);
  if (count == 0) return;
  temp_set_record& set = prev_dest_set();
  const int width = std::max(dest_raster_info.width, temp_raster_info.width);
  const int height = std::max(dest_raster_info.height, temp_raster_info.height);
  const std::int64_t held = std::int64_t(set.width) * set.height, wanted = std::int64_t(width) * height;
  if (width != set.width || height != set.height || !same_view(set)) {
    set.frames_held = 0;
    set.width = std::int16_t(width);
    set.height = std::int16_t(height);
    set.view_x0 = temp_raster_info.x0;
    set.view_y0 = temp_raster_info.y0;
    set.view_width = temp_raster_info.width;
    set.view_height = temp_raster_info.height;
  }
  if (held < wanted || set.image_count != count) {
    free_prev_planes(set);
    set.frames_held = 0;
    for (int i = 0; i < count; ++i) {
      void** handle = new_temp_handle(wanted * std::int64_t(sizeof(std::int16_t)));
      set.handles[i] = handle;
      set.planes[i] = static_cast<std::int16_t*>(*handle);
      set.image_count = std::int8_t(i + 1);
    }
  }
}

void copy_prev_addresses(node& n) {
  temp_set_record& set = prev_dest_set();
  for (int i = 0; i < set.image_count; ++i) {
    set.planes[i] = static_cast<std::int16_t*>(*static_cast<void**>(set.handles[i]));
    n.images[i] = set.planes[i];
  }
}

// --- nodes -------------------------------------------------------------------------------------------------

void take_planes(node& n) {
  for (int i = 0; i < n.image_count; ++i) n.images[i] = get_temp_image_array_i(n.image_base + i, n.shared_image);
}

bool planes_stand(const node& n) {
  bank& b = n.shared_image ? shared_bank : stack_bank;
  for (int i = 0; i < n.image_count; ++i) {
    const std::size_t slot = std::size_t(n.image_base + i);
    if (slot >= b.planes.size() || !b.fits(slot) || n.images[i] != b.planes[slot]) return false;
  }
  return true;
}

}  // namespace

void set_handle_suite(const handle_suite* new_suite) {
  const handle_suite& wanted = new_suite ? *new_suite : OWN_SUITE;
  if (wanted.new_handle == suite.new_handle && wanted.dispose == suite.dispose) return;
  // Blocks go back to where they came from.
  free_all_temp_images();
  if (long_image_handle) free_temp_handle(long_image_handle);
  long_image_handle = nullptr;
  long_image_width = long_image_height = 0;
  suite = wanted;
}

void** try_temp_handle(std::int64_t size) {
  void** handle = suite.new_handle(size);
  if (handle && suite.lock(handle)) return handle;
  if (handle) suite.dispose(handle);
  return nullptr;
}

void** new_temp_handle(std::int64_t size) {
  if (void** handle = try_temp_handle(size)) return handle;
  set_message("Out of memory allocating temp image handle of %" PRId64 " bytes", size);
  report_message(REPORT_ERROR);
  fatal_exit(-100);
}

void free_temp_handle(void** handle) {
  if (!handle) fatal("Attempt to free null temp image handle");
  suite.unlock(handle);
  suite.dispose(handle);
}

std::int16_t* get_temp_image_array_i(int slot, int shared) {
  if (short_image_size < 1) fatal("get_temp_image_array_i:  short_image_size is not set.");
  if (slot < 0) fatal("get_temp_image_array_i: slot %d does not exist.", slot);
  bank& b = shared ? shared_bank : stack_bank;
  b.grow(std::size_t(slot) + 1);
  if (!b.fits(std::size_t(slot))) b.allocate(std::size_t(slot));
  if (!b.planes[slot]) fatal("get_temp_image_array_i: buffer was NULL.");
  return b.planes[slot];
}

std::int32_t* get_long_image(int width, int height) {
  if (!long_image_handle || width != long_image_width || height != long_image_height) {
    if (long_image_handle) free_temp_handle(long_image_handle);
    long_image_handle = nullptr;
    long_image_width = long_image_height = 0;
    long_image_handle = new_temp_handle(std::int64_t(width) * 4 * height);
    long_image_width = width;
    long_image_height = height;
  }
  return static_cast<std::int32_t*>(*long_image_handle);
}

std::int32_t* current_long_image() {
  return long_image_handle ? static_cast<std::int32_t*>(*long_image_handle) : nullptr;
}

temp_set_record& prev_dest_set() { return Globals->temp_set ? *Globals->temp_set : Globals->temp_sets[0]; }

bool prev_dest_valid() {
  const temp_set_record& set = prev_dest_set();
  return set.reset_mark && set.frames_held > 0;
}

void set_prev_dest_valid(bool valid) {
  constexpr int MOST_COUNTED = 127;
  temp_set_record& set = prev_dest_set();
  set.reset_mark = valid;
  set.frames_held = std::int8_t(valid ? std::min(set.frames_held + 1, MOST_COUNTED) : 0);
}

void set_node_images(genotype& g, int reassign, int clear_ready) {
  bool uses_long_image = false;
  set_prev_planes(g);
  for (int i = 0; i < g.n_nodes; ++i) {
    node& n = g.nodes[i];
    if (n.image_count <= 0) continue;
    if (n.fun && n.fun->fun_class == CLASS_BLUR) uses_long_image = true;
    if (keeps_own_planes(n)) {
      copy_prev_addresses(n);
      continue;
    }
    const bool same_owner = last_assigned == &g && (!n.shared_image || shared_bank_owner == &g);
    if (!reassign && same_owner && planes_stand(n)) {
      if (clear_ready) n.node_flags &= std::uint8_t(~NODE_IMAGES_VALID);
      continue;
    }
    take_planes(n);
    n.node_flags &= std::uint8_t(~NODE_IMAGES_VALID);
  }
  last_assigned = &g;
  for (int i = 0; i < g.n_nodes; ++i)
    if (g.nodes[i].image_count > 0 && g.nodes[i].shared_image) shared_bank_owner = &g;
  if (uses_long_image) get_long_image(temp_raster_info.width, temp_raster_info.height);

  // A host may have moved blocks between two locks.
  stack_bank.refresh();
  shared_bank.refresh();
  for (int i = 0; i < g.n_nodes; ++i) {
    node& n = g.nodes[i];
    if (n.image_count <= 0) continue;
    if (keeps_own_planes(n))
      copy_prev_addresses(n);
    else
      take_planes(n);
  }
}

void free_all_temp_images() {
  stack_bank.free_all();
  shared_bank.free_all();
  last_assigned = nullptr;
  shared_bank_owner = nullptr;
  images_freed = true;
}

bool take_images_freed() {
  const bool freed = images_freed;
  images_freed = false;
  return freed;
}

int planes_held() {
  int count = 0;
  for (const bank* b : {&stack_bank, &shared_bank})
    count += int(std::count_if(b->planes.begin(), b->planes.end(), [](const std::int16_t* p) { return p; }));
  return count;
}

std::int64_t plane_bytes_held() {
  std::int64_t bytes = 0;
  for (const bank* b : {&stack_bank, &shared_bank})
    for (std::size_t i = 0; i < b->planes.size(); ++i)
      if (b->planes[i]) bytes += b->plane_sizes[i] + bank::stagger(int(i));
  return bytes;
}

}  // namespace tessaron
