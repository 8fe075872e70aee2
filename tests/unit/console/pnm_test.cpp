// Portable maps, read and written to the last bit.
#include "console/pnm.h"

#include <gtest/gtest.h>

#include "console/errors.h"
#include "console/image_files.h"
#include "console/pixels.h"
#include "support/scratch_folder.h"

namespace tessaron::console {
namespace {

using hostkit::image;
using hostkit::pixel_format;
using testing::scratch_folder;
using ints = std::vector<int>;

/// Red, green, blue and alpha of each pixel.
ints fields(const image& picture) {
  ints all;
  const field_order order = order_of(picture.format);
  for (int y = 0; y < picture.height; ++y)
    for (int x = 0; x < picture.width; ++x)
      for (int k = 0; k < 4; ++k) {
        const int at = 4 * x + order.field[k];
        all.push_back(is_deep(picture.format) ? reinterpret_cast<const std::uint16_t*>(picture.row(y))[at]
                                              : picture.row(y)[at]);
      }
  return all;
}

class Pnm : public ::testing::Test {
 protected:
  std::optional<image> read(const std::string& bytes) const { return read_pnm(folder.write("a.pnm", bytes)); }
  scratch_folder folder;
};

TEST_F(Pnm, every_sample_is_read_as_it_stands) {
  std::string bytes = "P5\n256 256\n65535\n";
  for (int i = 0; i < 65536; ++i) bytes.append({char(i >> 8), char(i)});
  const image picture = read_image_file(folder.write("all.pgm", bytes));
  ASSERT_EQ(picture.format, pixel_format::bgra16);
  const ints samples = fields(picture);
  for (int i = 0; i < 65536; ++i)
    ASSERT_EQ(ints(samples.begin() + 4 * i, samples.begin() + 4 * i + 4), (ints{i, i, i, 65535}));
}

TEST_F(Pnm, every_sample_comes_back_from_a_file) {
  image picture = image::make(256, 256, pixel_format::bgra16);
  for (int i = 0; i < 65536; ++i)
    for (int k = 0; k < 3; ++k)
      reinterpret_cast<std::uint16_t*>(picture.data.data())[4 * i + k] = std::uint16_t(i * (2 * k + 1));
  for (int i = 0; i < 65536; ++i) reinterpret_cast<std::uint16_t*>(picture.data.data())[4 * i + 3] = 65535;
  write_image_file(folder.file("all.ppm"), picture);
  EXPECT_TRUE(read_image_file(folder.file("all.ppm")).data == picture.data);
}

TEST_F(Pnm, colour_comes_as_bytes_or_as_text) {
  const ints expected = {0x1234, 0xffff, 1, 65535, 7, 8, 9, 65535};
  EXPECT_EQ(fields(*read(std::string("P6 2 1 65535\n\x12\x34\xff\xff\0\1\0\7\0\10\0\11", 25))), expected);
  EXPECT_EQ(fields(*read("P3\n# made by hand\n2 1 # two\n65535\n4660 65535 1\n7 8 9\n")), expected);
  EXPECT_EQ(fields(*read("P2\n1 2\n65535\n4660\n9")), (ints{4660, 4660, 4660, 65535, 9, 9, 9, 65535}));
}

TEST_F(Pnm, other_full_scales_are_stretched) {
  // 1 of 1023 is 64.06 of 65535; what lies above the full scale is limited to it.
  EXPECT_EQ(fields(*read("P2 4 1 1023 0 1 1023 5000")),
            (ints{0, 0, 0, 65535, 64, 64, 64, 65535, 65535, 65535, 65535, 65535, 65535, 65535, 65535, 65535}));
}

TEST_F(Pnm, eight_bits_stay_eight_bits) {
  const std::optional<image> colour = read("P6\n2 1\n255\n#bcdef"), grey = read("P5 2 1 255 ab");
  ASSERT_TRUE(colour && grey);
  EXPECT_EQ(colour->format, pixel_format::rgba8);
  EXPECT_EQ(fields(*colour), (ints{'#', 'b', 'c', 255, 'd', 'e', 'f', 255}));
  EXPECT_EQ(fields(*grey), (ints{'a', 'a', 'a', 255, 'b', 'b', 'b', 255}));
  EXPECT_EQ(fields(*read("P3\n1 1\n255\n1 2 255")), (ints{1, 2, 255, 255}));
  // 1 of 15 is 17 of 255; 50 of 100 is 127.5, and halves go up.
  EXPECT_EQ(fields(*read("P2 3 1 15 0 1 15")), (ints{0, 0, 0, 255, 17, 17, 17, 255, 255, 255, 255, 255}));
  EXPECT_EQ(fields(*read("P5 1 1 100 2")), (ints{128, 128, 128, 255}));
}

TEST_F(Pnm, eight_bits_come_back_from_a_file) {
  image picture = image::make(3, 5, pixel_format::bgra8);
  for (std::size_t i = 0; i < picture.data.size(); ++i)
    picture.data[i] = std::uint8_t(i % 4 == 3 ? 255 : 17 * i);  // opaque
  write_image_file(folder.file("a.PPM"), picture);
  EXPECT_EQ(folder.read("a.PPM").substr(0, 11), "P6\n3 5\n255\n");
  const image again = read_image_file(folder.file("a.PPM"));
  EXPECT_EQ(again.format, pixel_format::rgba8);
  EXPECT_EQ(fields(again), fields(picture));
}

TEST_F(Pnm, other_files_are_left_to_the_image_library) {
  for (const char* bytes : {"", "P", "P6", "P6\n1 1\n0\nabc", "P4\n1 1\n\1", "P6\n0 1\n65535\n", "P6\n1 1\n65536\n",
                            "P6\n1 1\n", "P6 # 1 1 65535", "P7\nWIDTH 1", "GIF89a", "P2\n-1 1\n65535\n1"})
    EXPECT_FALSE(read(bytes)) << bytes;
  EXPECT_FALSE(read_pnm(folder.file("none")));
  EXPECT_FALSE(read_pnm(folder.path()));
}

TEST_F(Pnm, what_is_cut_off_or_too_large_is_refused) {
  for (const char* bytes : {"P6\n1 1\n255\nab", "P5\n2 1\n1\na", "P3\n1 1\n15\n1 2", "P6\n1 1\n65535\nabcde",
                            "P5\n2 1\n65535\nabc", "P3\n1 1\n65535\n1 2", "P2\n1 1\n65535\n", "P2\n2 1\n65535\n1 x",
                            "P6\n30001 1\n65535\n", "P6\n1 99999999999999\n65535\n", "P6\n30000 30000\n65535\n"})
    EXPECT_THROW(read(bytes), work_error) << bytes;
}

}  // namespace
}  // namespace tessaron::console
