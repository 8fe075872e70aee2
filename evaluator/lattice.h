// Random values on a lattice: all noises are made of them. A value depends on the cell and a seed alone.
#pragma once

#include "evaluator/tables.h"

namespace tessaron {

// `static inline`, as the readers of the tables.

/// The hash of a row of cells, and of the cell at x in a row. Coordinates wrap.
static inline std::uint32_t lattice_key(std::uint32_t y, std::uint32_t seed) { return hash4((y * 16) ^ seed); }
static inline std::uint32_t lattice_hash(std::uint32_t key, std::uint32_t x) { return hash4(key + x); }

/// Elements of a cell's value, -1.0 to just below 1.0. A fourth is as the third.
template <int E>
static inline fix lattice_element(std::uint32_t hash) {
  if constexpr (E == 1) hash >>= 16;
  if constexpr (E >= 2) hash = (hash + hash_table[hash & 255]) >> 8;
  return fix(hash & 0x1fff) - FIX_ONE;
}

}  // namespace tessaron
