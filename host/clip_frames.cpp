#include "host/clip_frames.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "base/report.h"
#include "evaluator/clips.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/workers.h"
#include "host/configuration.h"
#include "host/converters.h"
#include "host/host_state.h"
#include "host/output_rows.h"

namespace tessaron {
namespace {

/// The render whose inputs are asked for.
struct {
  const pf_in_data* in_data;
  const genotype* g;
  const effect_inputs* inputs;
  bool bgra;
} clips;

/// A layer checked out of the host, for as long as this lives.
class checked_out_layer {
 public:
  checked_out_layer(const pf_in_data& in_data, int slot, std::int32_t time) : in_data_(in_data) {
    const int index = slot == 0 ? 0 : Globals->input_param_index - 1 + slot;
    error_ =
        in_data.inter.checkout_param(in_data.effect_ref, index, time, in_data.time_step, in_data.time_scale, &def_);
  }
  ~checked_out_layer() {
    if (!error_) in_data_.inter.checkin_param(in_data_.effect_ref, &def_);
  }
  checked_out_layer(const checked_out_layer&) = delete;
  checked_out_layer& operator=(const checked_out_layer&) = delete;

  std::int32_t error() const { return error_; }
  const pf_world& world() const { return def_.u.layer; }

 private:
  const pf_in_data& in_data_;
  pf_param_def def_ = {};
  std::int32_t error_;
};

clip_fetch refuse(std::int32_t error) {
  host_state.host_abort_err = error;
  request_abort();
  return clip_fetch::refused;
}

std::int32_t host_time(int frame) {
  const std::int64_t step = std::max<std::int64_t>(std::llabs(clips.in_data->time_step), 1);
  return std::int32_t(std::min<std::int64_t>(frame * step, 0x7fffffff));
}

/// Where the frame lies, which may be of another size than the one at hand: as that would lie.
void place(raster_info& raster, const pf_world& world, int image_number) {
  const raster_info* first = nullptr;
  for (int i = 0; i < clips.inputs->count && !first; ++i)
    if (source_raster_info[i].kind == 2) first = &source_raster_info[i];
  if (first == &source_raster_info[image_number]) first = nullptr;
  source_raster_info_from_layer(raster, world, clips.bgra, first);
}

struct {
  const pf_world* from;
  std::uint8_t* to;
  std::size_t row_bytes;
} copy_job;

void forked_copy_rows() {
  int first = 0, count = 0;
  split_rows(copy_job.from->height, &first, &count);
  const auto* pixels = static_cast<const std::uint8_t*>(copy_job.from->data);
  for (int y = first; y < first + count; ++y)
    std::memcpy(copy_job.to + std::size_t(y) * copy_job.row_bytes, pixels + std::int64_t(y) * copy_job.from->rowbytes,
                copy_job.row_bytes);
}

void copy_rows(const pf_world& from, std::uint8_t* to, std::size_t row_bytes) {
  copy_job = {&from, to, row_bytes};
  fork_processes(forked_copy_rows);
}

clip_fetch fetch_from_host(int image_number, int frame, frame_buffer& buffer) {
  buffer.raster = {};
  buffer.reader = read_absent_source;
  const int slot = clips.inputs->slot[image_number];
  if (slot < 0) return clip_fetch::done;  // an input without a layer has none at any time
  const char* name = clips.g->input_names[image_number];

  const checked_out_layer layer(*clips.in_data, slot, host_time(frame));
  if (layer.error()) {
    report(REPORT_ERROR, "Frame %d of %s: the host does not give it, error %d.", frame, name, layer.error());
    return refuse(layer.error());
  }
  pf_world world = layer.world();
  if (!world.data || world.width == 0 || world.height == 0) return clip_fetch::done;  // nothing there at that time
  if (!world_usable(world, name)) return refuse(PF_Err_BAD_REQUEST);

  const std::size_t pixel_bytes = world.world_flags & PF_WorldFlag_DEEP ? 8 : 4;
  const std::size_t row_bytes = std::size_t(world.width) * pixel_bytes;
  std::uint8_t* block = buffer.take(std::int64_t(row_bytes) * world.height);
  if (!block) return clip_fetch::no_buffer;
  copy_rows(world, block, row_bytes);
  world.data = block;
  world.rowbytes = std::int32_t(row_bytes);
  place(buffer.raster, world, image_number);
  buffer.reader = choose_source_reader(buffer.raster.format, mix_globals.mix_input, config.input_lut_on);
  return clip_fetch::done;
}

}  // namespace

clip_access::clip_access(const pf_in_data& in_data, const genotype& g, const effect_inputs& inputs, bool bgra) {
  clips = {&in_data, &g, &inputs, bgra};
  read_clip_frame = fetch_from_host;
}

clip_access::~clip_access() {
  clips = {};
  read_clip_frame = nullptr;
}

}  // namespace tessaron
