// SHA-256, the array file format, and files that appear whole.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "console/errors.h"
#include "console/npy.h"
#include "console/output_file.h"
#include "console/progress.h"
#include "console/sha256.h"
#include "support/scratch_folder.h"

namespace tessaron::console {
namespace {

using testing::scratch_folder;

std::string digest_of(const std::string& text, std::size_t piece = 1000000) {
  sha256 digest;
  for (std::size_t at = 0; at < text.size(); at += piece)
    digest.add(text.data() + at, std::min(piece, text.size() - at));
  return digest.hex();
}

// The digests are the standard's own examples.
TEST(Sha256, digests_of_the_standard_examples) {
  EXPECT_EQ(digest_of(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  EXPECT_EQ(digest_of("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(digest_of("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
            "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
  EXPECT_EQ(digest_of(std::string(1000000, 'a')), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(Sha256, pieces_make_no_difference) {
  const std::string text(300, 'x');
  for (std::size_t piece : {1u, 3u, 63u, 64u, 65u, 128u}) EXPECT_EQ(digest_of(text, piece), digest_of(text)) << piece;
}

TEST(Npy, header_and_samples_stand_as_the_format_says) {
  const std::string bytes = npy_bytes({1, -2, 0x01020304, 4096, 0, 7}, {1, 2, 3});
  EXPECT_EQ(bytes.substr(0, 8), std::string("\x93NUMPY\x01\x00", 8));
  const std::size_t length = std::size_t(std::uint8_t(bytes[8])) + 256 * std::uint8_t(bytes[9]);
  EXPECT_EQ((10 + length) % 64, 0u);
  const std::string header = bytes.substr(10, length);
  EXPECT_EQ(header.find("{'descr': '<i4', 'fortran_order': False, 'shape': (1, 2, 3), }"), 0u) << header;
  EXPECT_EQ(header.back(), '\n');
  EXPECT_EQ(bytes.substr(10 + length),
            std::string("\x01\0\0\0\xfe\xff\xff\xff\x04\x03\x02\x01\0\x10\0\0\0\0\0\0\x07\0\0\0", 24));
}

TEST(OutputFile, replaces_a_file_as_a_whole_and_leaves_nothing_else) {
  const scratch_folder folder;
  folder.write("a.png", "before");
  write_whole_file(folder.file("a.png"), "after", 5);
  EXPECT_EQ(folder.read("a.png"), "after");
  EXPECT_EQ(folder.names(), (std::vector<std::string>{"a.png"}));
}

TEST(OutputFile, that_is_not_published_is_taken_away) {
  const scratch_folder folder;
  {
    const unfinished_file file(folder.file("a.png"));
    std::ofstream(file.name()) << "half";
    EXPECT_EQ(folder.names().size(), 1u);
  }
  EXPECT_TRUE(folder.names().empty());
}

TEST(OutputFile, a_missing_folder_is_an_error_that_names_the_file) {
  const scratch_folder folder;
  try {
    write_whole_file(folder.file("no/a.png"), "x", 1);
    FAIL();
  } catch (const work_error& fault) {
    EXPECT_NE(std::string(fault.what()).find("no/a.png"), std::string::npos) << fault.what();
  }
}

TEST(OutputFile, a_folder_of_that_name_is_an_error_and_nothing_is_left) {
  const scratch_folder folder;
  ::mkdir(folder.file("a.png").c_str(), 0777);
  EXPECT_THROW(write_whole_file(folder.file("a.png"), "x", 1), work_error);
  EXPECT_EQ(folder.names(), (std::vector<std::string>{"a.png"}));
}

TEST(OutputFile, the_temporary_name_keeps_folder_and_extension) {
  const std::string name = temporary_name("out/pic.v2.exr");
  EXPECT_EQ(name.rfind("out/.unfinished-", 0), 0u) << name;
  EXPECT_EQ(name.substr(name.size() - 11), "-pic.v2.exr");
}

TEST(Progress, clock_text_shows_hours_only_when_there_are_some) {
  EXPECT_EQ(clock_text(0), "0:00");
  EXPECT_EQ(clock_text(59.4), "0:59");
  EXPECT_EQ(clock_text(125), "2:05");
  EXPECT_EQ(clock_text(3723), "1:02:03");
}

TEST(Progress, file_holds_key_value_lines_of_each_frame) {
  const scratch_folder folder;
  {
    progress_display progress(2, folder.file("p"));
    progress.frame_ended(5, "done", "a.0005.png");
    progress.frame_ended(6, "failed", "a.0006.png");
    progress.finish("failed");
  }
  const std::string text = folder.read("p");
  for (const char* line : {"frame=5\nstate=done\noutput=a.0005.png\ndone=1\nfailed=0\ntotal=2\n",
                           "frame=6\nstate=failed\n", "progress=continue\n", "progress=failed\n"})
    EXPECT_NE(text.find(line), std::string::npos) << line << "in\n" << text;
}

}  // namespace
}  // namespace tessaron::console
