// Portable maps of 16 bits a sample, read and written to the last bit.
#include "console/deep_pnm.h"

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
      for (int k = 0; k < 4; ++k)
        all.push_back(reinterpret_cast<const std::uint16_t*>(picture.row(y))[4 * x + order.field[k]]);
  return all;
}

class DeepPnm : public ::testing::Test {
 protected:
  std::optional<image> read(const std::string& bytes) const { return read_deep_pnm(folder.write("a.pnm", bytes)); }
  scratch_folder folder;
};

TEST_F(DeepPnm, every_sample_is_read_as_it_stands) {
  std::string bytes = "P5\n256 256\n65535\n";
  for (int i = 0; i < 65536; ++i) bytes.append({char(i >> 8), char(i)});
  const image picture = read_image_file(folder.write("all.pgm", bytes));
  ASSERT_EQ(picture.format, pixel_format::bgra16);
  const ints samples = fields(picture);
  for (int i = 0; i < 65536; ++i)
    ASSERT_EQ(ints(samples.begin() + 4 * i, samples.begin() + 4 * i + 4), (ints{i, i, i, 65535}));
}

TEST_F(DeepPnm, every_sample_comes_back_from_a_file) {
  image picture = image::make(256, 256, pixel_format::bgra16);
  for (int i = 0; i < 65536; ++i)
    for (int k = 0; k < 3; ++k)
      reinterpret_cast<std::uint16_t*>(picture.data.data())[4 * i + k] = std::uint16_t(i * (2 * k + 1));
  for (int i = 0; i < 65536; ++i) reinterpret_cast<std::uint16_t*>(picture.data.data())[4 * i + 3] = 65535;
  write_image_file(folder.file("all.ppm"), picture);
  EXPECT_TRUE(read_image_file(folder.file("all.ppm")).data == picture.data);
}

TEST_F(DeepPnm, colour_comes_as_bytes_or_as_text) {
  const ints expected = {0x1234, 0xffff, 1, 65535, 7, 8, 9, 65535};
  EXPECT_EQ(fields(*read(std::string("P6 2 1 65535\n\x12\x34\xff\xff\0\1\0\7\0\10\0\11", 25))), expected);
  EXPECT_EQ(fields(*read("P3\n# made by hand\n2 1 # two\n65535\n4660 65535 1\n7 8 9\n")), expected);
  EXPECT_EQ(fields(*read("P2\n1 2\n65535\n4660\n9")), (ints{4660, 4660, 4660, 65535, 9, 9, 9, 65535}));
}

TEST_F(DeepPnm, other_full_scales_are_stretched) {
  // 1 of 1023 is 64.06 of 65535; what lies above the full scale is limited to it.
  EXPECT_EQ(fields(*read("P2 4 1 1023 0 1 1023 5000")),
            (ints{0, 0, 0, 65535, 64, 64, 64, 65535, 65535, 65535, 65535, 65535, 65535, 65535, 65535, 65535}));
}

TEST_F(DeepPnm, other_files_are_left_to_the_image_library) {
  for (const char* bytes : {"", "P", "P6", "P6\n1 1\n255\nabc", "P4\n1 1\n\1", "P6\n0 1\n65535\n", "P6\n1 1\n65536\n",
                            "P6\n1 1\n", "P6 # 1 1 65535", "P7\nWIDTH 1", "GIF89a", "P2\n-1 1\n65535\n1"})
    EXPECT_FALSE(read(bytes)) << bytes;
  EXPECT_FALSE(read_deep_pnm(folder.file("none")));
  EXPECT_FALSE(read_deep_pnm(folder.path()));
}

TEST_F(DeepPnm, what_is_cut_off_or_too_large_is_refused) {
  for (const char* bytes :
       {"P6\n1 1\n65535\nabcde", "P5\n2 1\n65535\nabc", "P3\n1 1\n65535\n1 2", "P2\n1 1\n65535\n",
        "P2\n2 1\n65535\n1 x", "P6\n30001 1\n65535\n", "P6\n1 99999999999999\n65535\n", "P6\n30000 30000\n65535\n"})
    EXPECT_THROW(read(bytes), work_error) << bytes;
}

}  // namespace
}  // namespace tessaron::console
