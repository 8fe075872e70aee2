// Hashes of pixels and seeds: references from the rules, and values worked out by hand.
//
// The hash table's entries come from s = (s * 4096 + 150889) % 714025, three a time; the first three
// states are 150889, 560608 and 96857, so that entry 0 is 96857 * 0x40000 + 560608 * 0x100 + 37722, cut to
// 32 bits: 0xf1f2735a. A step is (v >> 8) + entry[v & 255].
#include "evaluator/frame.h"
#include "support/plain_tables.h"

namespace tessaron::testing {
namespace {

// --- references --------------------------------------------------------------------------------------

std::int32_t frame_offset;  // seed of the frame that the references see
void start_frame() { time_globals.time_offset = frame_offset; }
struct with_offset {
  explicit with_offset(std::int32_t offset) { frame_offset = offset; }
  ~with_offset() { frame_offset = 0; }
};

std::uint32_t pixel_number(const sample_input& in) { return std::uint32_t(wide(frame_offset) + in.pixel); }
fix low_12(std::uint32_t v) { return fix(v % 4096); }

const register_reference STATIC(
    "static", [](const sample_input& in, fix out[4]) { out[0] = low_12(plain_hash(pixel_number(in))); }, false,
    start_frame);
const register_reference STATIC2(
    "static2",
    [](const sample_input& in, fix out[4]) {
      const std::uint32_t v = plain_hash(pixel_number(in) + 33333);
      out[0] = low_12(v) - 2048;
      out[1] = low_12(v / 65536) - 2048;
    },
    false, start_frame);
const register_reference STATIC3(
    "static3",
    [](const sample_input& in, fix out[4]) {
      const std::uint32_t v = plain_hash(pixel_number(in) + 77777);
      out[0] = low_12(v);
      out[1] = low_12(v / 65536);
      out[2] = low_12(plain_hash(v) / 256);
    },
    false, start_frame);
const register_reference RANDOM("random", [](const sample_input& in, fix out[4]) {
  out[0] = low_12(plain_hash(std::uint32_t(in.arg[0][0])));
});

// --- values worked out by hand -----------------------------------------------------------------------

TEST(noise, random_is_four_steps_of_the_hash) {
  // 0 -> 0xf1f2735a; + entry 0x5a = 0x28ddfad6 -> 0x29cfed49; + entry 0x49 = 0xc697b52f -> 0xc6c1851c;
  // + entry 0x1c = 0x082e6c7f -> 0x08f52e04: the low 12 bits are 0xe04.
  expect_values("random", {{0}}, {0xe04});
  // 1 -> 0xf8aba961 -> 0xd2aa0b6d -> 0x15adbeda -> 0xdaaa7c6d.
  expect_values("random", {{1}}, {0xc6d});
}

TEST(noise, static_hashes_the_number_of_the_pixel) {
  expect_values("static", {}, {0xe04});  // pixel 0 of the frame at offset 0
  const with_offset one(1);
  expect_values("static", {}, {0xc6d});
}

TEST(noise, static2_is_centred_on_zero) {
  // 33333 -> 0x9f5e3cd9 -> 0x58986106 -> 0x8bef33c2 -> 0x442578d9: 0x8d9 and 0x425, less 0x800.
  expect_values("static2", {}, {0x8d9 - 0x800, 0x425 - 0x800});
  // 33334 ends in 0x3efd6f5b.
  const with_offset one(1);
  expect_values("static2", {}, {0xf5b - 0x800, 0xefd - 0x800});
}

TEST(noise, static3_takes_its_third_element_from_a_second_hash) {
  // 77777 -> 0xe6491a3c -> 0x97be2458 -> 0xece7ada1 -> 0x02536135: 0x135 and 0x253; four steps on,
  // 0x0d06565f, of which bits 8 to 19 are 0x656.
  expect_values("static3", {}, {0x135, 0x253, 0x656});
}

TEST(noise, static_goes_on_from_the_stretch_s_first_pixel) {
  const fun_info& fun = *level_catalogue(cpu_level::generic).find("static");
  kernel_bench row(fun, 0, 64, {}), rest(fun, 0, 24, {});
  time_globals.time_offset = 5;
  row.pixel_index = 1000;
  rest.pixel_index = 1040;
  row.run(fun.kernels[0]);
  rest.run(fun.kernels[0]);
  for (int i = 0; i < 24; ++i) EXPECT_EQ(rest.result(i, 0), row.result(40 + i, 0));
}

TEST(noise, pixel_numbers_wrap_around) {
  const with_offset last(-1);
  const fun_info& fun = *level_catalogue(cpu_level::generic).find("static");
  kernel_bench bench(fun, 0, 2, {});
  start_frame();
  bench.run(fun.kernels[0]);
  EXPECT_EQ(bench.result(1, 0), 0xe04);  // -1 + 1 is pixel 0
}

}  // namespace
}  // namespace tessaron::testing
