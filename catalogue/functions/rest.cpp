// The last group of the catalogue, called part by part in its order: what reads or draws whole images by rules of
// its own.
#include "catalogue/functions/groups.h"
#include "catalogue/functions/parts.h"

namespace tessaron::TESSARON_LEVEL {

void define_rest(fun_registry& r) {
  define_flares(r);
  define_queries(r);
  define_clips(r);
  define_averages(r);
  define_previous_output(r);
  define_damage(r);
  define_lightning(r);
  define_grid(r);
  define_film(r);
}

}  // namespace tessaron::TESSARON_LEVEL
