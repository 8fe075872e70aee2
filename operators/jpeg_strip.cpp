#include "operators/jpeg_strip.h"

#include <jerror.h>

#include <algorithm>
#include <csetjmp>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "evaluator/pixel_loop.h"

namespace tessaron {
namespace {

constexpr std::size_t FIRST_STREAM_BYTES = 1 << 16;
constexpr int ABORT_ROWS = 16;
// No coefficient of bytes survives a coarser step, and libraries that keep eight times a step in 16 bits divide by 0
// at 8192.
constexpr int LARGEST_QUANTISER = 8191;
constexpr int WAVES = 8;  // in each direction of a block

std::size_t memory_limit;

// --- the codec's errors --------------------------------------------------------------------------------------
//
// The codec is C and leaves its depths by a jump to where the work on the strip began. What it jumps over are frames
// of its own and the callbacks below, none of which holds anything that has to be destroyed.

struct error_exit {
  jpeg_error_mgr manager;  // first: the codec's pointer to it is one to the whole
  std::jmp_buf way_out;
  jpeg_result* result;
};

[[noreturn]] void leave_codec(j_common_ptr codec) {
  error_exit& exit = *reinterpret_cast<error_exit*>(codec->err);
  const bool no_memory = exit.manager.msg_code == JERR_OUT_OF_MEMORY;
  exit.result->outcome = no_memory ? jpeg_outcome::out_of_memory : jpeg_outcome::refused;
  exit.manager.format_message(codec, exit.result->message);
  std::longjmp(exit.way_out, 1);
}
void ignore_message(j_common_ptr) {}
void ignore_warning(j_common_ptr, int) {}

// --- streams in memory ---------------------------------------------------------------------------------------

struct byte_stream {
  std::uint8_t* bytes = nullptr;
  std::size_t size = 0, room = 0;
};

bool make_room(byte_stream& stream, std::size_t room) {
  if (memory_limit && room > memory_limit) return false;
  void* bytes = std::realloc(stream.bytes, room);
  if (!bytes) return false;
  stream.bytes = static_cast<std::uint8_t*>(bytes);
  stream.room = room;
  return true;
}

struct stream_writer {
  jpeg_destination_mgr manager;
  byte_stream* stream;
};
stream_writer& writer_of(j_compress_ptr codec) { return *reinterpret_cast<stream_writer*>(codec->dest); }

/// Doubles the stream behind the first `written` bytes.
void grow_stream(j_compress_ptr codec, std::size_t written) {
  stream_writer& writer = writer_of(codec);
  byte_stream& stream = *writer.stream;
  if (!make_room(stream, std::max(FIRST_STREAM_BYTES, stream.room * 2))) ERREXIT1(codec, JERR_OUT_OF_MEMORY, 0);
  writer.manager.next_output_byte = stream.bytes + written;
  writer.manager.free_in_buffer = stream.room - written;
}
void begin_writing(j_compress_ptr codec) { grow_stream(codec, 0); }
boolean go_on_writing(j_compress_ptr codec) {
  grow_stream(codec, writer_of(codec).stream->room);
  return TRUE;
}
void end_writing(j_compress_ptr codec) {
  stream_writer& writer = writer_of(codec);
  writer.stream->size = writer.stream->room - writer.manager.free_in_buffer;
}

void ignore_source(j_decompress_ptr) {}
/// The stream is whole, so that this means a fault of the codec.
boolean no_more_bytes(j_decompress_ptr codec) {
  ERREXIT(codec, JERR_INPUT_EOF);
  return FALSE;
}
void skip_bytes(j_decompress_ptr codec, long count) {
  if (count <= 0) return;
  const std::size_t step = std::min(std::size_t(count), codec->src->bytes_in_buffer);
  codec->src->next_input_byte += step;
  codec->src->bytes_in_buffer -= step;
}

// --- one strip -----------------------------------------------------------------------------------------------

class strip_codec {
 public:
  strip_codec(const jpeg_settings& settings, std::uint8_t* pixels, int width, int height, int strip,
              jpeg_result& result)
      : settings_(settings), pixels_(pixels), width_(width), height_(height), strip_(strip) {
    jpeg_std_error(&errors_.manager);
    errors_.manager.error_exit = leave_codec;
    errors_.manager.emit_message = ignore_warning;
    errors_.manager.output_message = ignore_message;
    errors_.result = &result;
    compressor_.err = decompressor_.err = &errors_.manager;
  }
  ~strip_codec() {
    jpeg_destroy_compress(&compressor_);
    jpeg_destroy_decompress(&decompressor_);
    std::free(stream_.bytes);
    std::free(damaged_.bytes);
  }
  strip_codec(const strip_codec&) = delete;
  strip_codec& operator=(const strip_codec&) = delete;

  void recode() {
    if (setjmp(errors_.way_out)) return;
    compress();
    if (stopped()) return;
    if (!settings_.errors.none()) {
      damage();
      if (stopped()) return;
    }
    decompress();
  }

 private:
  bool stopped() {
    if (abort_pending()) errors_.result->outcome = jpeg_outcome::stopped;
    return errors_.result->outcome != jpeg_outcome::done;
  }

  void write_to(byte_stream& stream) {
    jpeg_create_compress(&compressor_);
    writer_.manager.init_destination = begin_writing;
    writer_.manager.empty_output_buffer = go_on_writing;
    writer_.manager.term_destination = end_writing;
    writer_.stream = &stream;
    compressor_.dest = &writer_.manager;
  }
  void read_from(const byte_stream& stream) {
    jpeg_create_decompress(&decompressor_);
    reader_.init_source = reader_.term_source = ignore_source;
    reader_.fill_input_buffer = no_more_bytes;
    reader_.skip_input_data = skip_bytes;
    reader_.resync_to_restart = jpeg_resync_to_restart;
    reader_.next_input_byte = stream.bytes;
    reader_.bytes_in_buffer = stream.size;
    decompressor_.src = &reader_;
    jpeg_read_header(&decompressor_, TRUE);
  }

  void set_quantisers() {
    jpeg_set_quality(&compressor_, std::clamp(settings_.quality, LEAST_JPEG_QUALITY, BEST_JPEG_QUALITY), TRUE);
    for (const int table : {0, 1})
      for (int i = 0; i < DCTSIZE2; ++i) {
        UINT16& value = compressor_.quant_tbl_ptrs[table]->quantval[i];
        value = UINT16(scaled_quantiser(value, i % WAVES, i / WAVES, table == 1, settings_));
      }
  }

  void compress() {
    write_to(stream_);
    compressor_.image_width = JDIMENSION(width_);
    compressor_.image_height = JDIMENSION(height_);
    compressor_.input_components = 3;
    compressor_.in_color_space = JCS_RGB;
    jpeg_set_defaults(&compressor_);
    set_quantisers();
    jpeg_start_compress(&compressor_, TRUE);
    while (compressor_.next_scanline < compressor_.image_height) {
      if (compressor_.next_scanline % ABORT_ROWS == 0 && (check_abort() || stopped())) return;
      JSAMPROW row = row_at(compressor_.next_scanline);
      jpeg_write_scanlines(&compressor_, &row, 1);
    }
    jpeg_finish_compress(&compressor_);
  }

  void damage() {
    read_from(stream_);
    jvirt_barray_ptr* coefficients = jpeg_read_coefficients(&decompressor_);
    damage_coefficients(decompressor_, coefficients, settings_.errors, strip_);
    jpeg_destroy_compress(&compressor_);
    write_to(damaged_);
    jpeg_copy_critical_parameters(&decompressor_, &compressor_);
    jpeg_write_coefficients(&compressor_, coefficients);
    jpeg_finish_compress(&compressor_);
    jpeg_destroy_decompress(&decompressor_);
    std::swap(stream_, damaged_);
  }

  void decompress() {
    read_from(stream_);
    decompressor_.out_color_space = JCS_RGB;
    jpeg_start_decompress(&decompressor_);
    while (decompressor_.output_scanline < decompressor_.output_height) {
      if (decompressor_.output_scanline % ABORT_ROWS == 0 && (check_abort() || stopped())) return;
      JSAMPROW row = row_at(decompressor_.output_scanline);
      jpeg_read_scanlines(&decompressor_, &row, 1);
    }
    jpeg_finish_decompress(&decompressor_);
  }

  std::uint8_t* row_at(JDIMENSION row) { return pixels_ + std::size_t(row) * std::size_t(width_) * 3; }

  const jpeg_settings& settings_;
  std::uint8_t* const pixels_;
  const int width_, height_, strip_;
  error_exit errors_ = {};
  // Zeroed, they may be destroyed before they are created.
  jpeg_compress_struct compressor_ = {};
  jpeg_decompress_struct decompressor_ = {};
  stream_writer writer_ = {};
  jpeg_source_mgr reader_ = {};
  byte_stream stream_, damaged_;
};

/// Factor at wave number `wave` of 0 to `last`, from three at the ends and the middle.
float between_bands(const float (&bands)[3], int wave, int last) {
  const float place = 2 * float(wave) / float(last);
  const int band = place < 1 ? 0 : 1;
  return bands[band] + (bands[band + 1] - bands[band]) * (place - float(band));
}

}  // namespace

int scaled_quantiser(int value, int u, int v, bool chroma, const jpeg_settings& s) {
  const auto along = [](float factor, int wave) { return 1 + (factor - 1) * float(wave) / (WAVES - 1); };
  const float factor = between_bands(s.bands, u + v, 2 * (WAVES - 1)) * along(s.across, u) * along(s.down, v) *
                       (chroma ? s.chroma : s.luma);
  const float scaled = float(value) * factor + 0.5f;
  // A factor below 0, or none that is a number, asks for nothing coarser.
  return scaled >= 1 ? int(std::min(scaled, float(LARGEST_QUANTISER))) : 1;
}

jpeg_result recode_strip(const jpeg_settings& settings, std::uint8_t* pixels, int width, int height, int strip) {
  jpeg_result result;
  strip_codec(settings, pixels, width, height, strip, result).recode();
  return result;
}

void set_jpeg_memory_limit(std::size_t bytes) { memory_limit = bytes; }

}  // namespace tessaron
