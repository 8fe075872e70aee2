// The pool of image planes: two banks of short images in host handles, reused between frames.
#pragma once

#include <cstdint>

#include "genotype/genotype.h"

namespace tessaron {

struct temp_set_record;  // genotype/globals.h

inline constexpr int STACK_BANK_SLOTS = 100;
inline constexpr int SHARED_BANK_SLOTS = 20;
inline constexpr int SHARED_BANK_TABLE = 24;
inline constexpr int PLANE_STAGGER = 128;  // bytes a slot

extern std::int64_t short_image_size;  // bytes of one plane, 0: not set

/// The host's memory, by handle (a pointer to a pointer).
struct handle_suite {
  void** (*new_handle)(std::int64_t size);
  void* (*lock)(void** handle);
  void (*unlock)(void** handle);
  void (*dispose)(void** handle);
};
/// Installs the host's operations; null puts the engine's own (plain memory) back.
void set_handle_suite(const handle_suite* suite);

/// A locked handle. The host has none: fatal.
void** new_temp_handle(std::int64_t size);
/// The same, null where the host has none.
void** try_temp_handle(std::int64_t size);
void free_temp_handle(void** handle);

std::int16_t* get_temp_image_array_i(int slot, int shared);
std::int32_t* get_long_image(int width, int height);
/// The long image as it stands, or null.
std::int32_t* current_long_image();
extern std::int32_t long_image_width, long_image_height;

/// Gives each node its planes. `reassign` forces it; `clear_ready` clears the valid mark of nodes
/// whose planes stand.
void set_node_images(genotype& g, int reassign, int clear_ready);
void free_all_temp_images();

/// Planes in which the record of the call under way keeps its effect's earlier output.
temp_set_record& prev_dest_set();
/// Whether they hold the output of the frame before, or what stands for it at the start of a run.
bool prev_dest_valid();
/// Marks them as valid, which frames_held counts, or not.
void set_prev_dest_valid(bool valid);

/// Whether the pool was emptied since the last call.
bool take_images_freed();

/// Planes held now, and their bytes (stagger included).
int planes_held();
std::int64_t plane_bytes_held();

}  // namespace tessaron
