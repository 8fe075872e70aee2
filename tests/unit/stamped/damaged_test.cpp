// Files that are no whole plug-in are refused with a reason; the system's loader, which trusts them, doesn't see them.
#include <link.h>

#include <cstring>

#include "stamped_folder.h"

namespace tessaron::stamped {
namespace {

class Damaged : public ::testing::Test {
 protected:
  void SetUp() override {
    const std::string plugin = stamped_folder::get().plugin("A");
    std::filesystem::copy(plugin, folder.file("whole.aex"));
    whole = folder.read("whole.aex");
    std::memcpy(&header, whole.data(), sizeof header);
  }
  /// Why a file of these bytes can't be loaded; empty when it can.
  std::string refusal(const std::string& bytes) const {
    const std::string path = folder.write("damaged.aex", bytes);
    try {
      const plugin_library plugin(path);
      return "";
    } catch (const hostkit::host_error& fault) {
      const std::string text = fault.what(), start = "Plug-in " + path + " can't be loaded: ";
      EXPECT_EQ(text.substr(0, start.size()), start);
      return text.substr(std::min(text.size(), start.size()));
    }
  }
  ElfW(Phdr) segment(int i) const {
    ElfW(Phdr) record;
    std::memcpy(&record, whole.data() + header.e_phoff + std::size_t(i) * sizeof record, sizeof record);
    return record;
  }
  std::string with_segment(int i, const ElfW(Phdr) & record) const {
    std::string bytes = whole;
    std::memcpy(bytes.data() + header.e_phoff + std::size_t(i) * sizeof record, &record, sizeof record);
    return bytes;
  }
  int find_segment(std::uint32_t type) const {
    int i = 0;
    while (i < header.e_phnum && segment(i).p_type != type) ++i;
    return i;
  }
  /// End of what the loader maps.
  std::size_t mapped_end() const {
    std::size_t end = 0;
    for (int i = 0; i < header.e_phnum; ++i)
      if (const auto s = segment(i); s.p_type == PT_LOAD) end = std::max<std::size_t>(end, s.p_offset + s.p_filesz);
    return end;
  }

  testing::scratch_folder folder;
  std::string whole;
  ElfW(Ehdr) header;
};

TEST_F(Damaged, a_whole_one_is_loaded) { EXPECT_EQ(refusal(whole), ""); }

TEST_F(Damaged, a_copy_cut_off_anywhere_in_what_is_mapped) {
  const std::size_t end = mapped_end(), headers = header.e_phoff + header.e_phnum * sizeof(ElfW(Phdr));
  EXPECT_EQ(refusal(""), "it is empty");
  for (const std::size_t size : {std::size_t(1), std::size_t(4), std::size_t(31), sizeof header - 1})
    EXPECT_EQ(refusal(whole.substr(0, size)), "it is no shared object") << size;
  for (const std::size_t size : {sizeof header, headers - 1, headers, end / 4, end / 2, end - 4096, end - 1})
    EXPECT_EQ(refusal(whole.substr(0, size)), "it is cut off") << size;
  // Behind it stand tables for debuggers and linkers alone.
  EXPECT_EQ(refusal(whole.substr(0, end)), "");
}

TEST_F(Damaged, a_copy_of_zeros_from_some_place_on) {
  // What a broken transfer leaves of the right size. Without the table of its parts nothing is loaded.
  const auto dynamic = segment(find_segment(PT_DYNAMIC));
  for (const std::size_t start : {std::size_t(0), sizeof header, std::size_t(4096), std::size_t(dynamic.p_offset)}) {
    std::string bytes = whole;
    std::fill(bytes.begin() + std::ptrdiff_t(start), bytes.end(), '\0');
    EXPECT_NE(refusal(bytes), "") << start;
  }
}

TEST_F(Damaged, noise_behind_a_good_start) {
  unsigned seed = 1;
  for (const std::size_t start : {std::size_t(16), sizeof header, std::size_t(200)}) {
    std::string bytes = whole;
    for (std::size_t i = start; i < bytes.size(); ++i) bytes[i] = char((seed = seed * 1664525 + 1013904223) >> 24);
    EXPECT_NE(refusal(bytes), "") << start;
  }
}

TEST_F(Damaged, segments_that_no_file_can_have) {
  const int load = find_segment(PT_LOAD), dynamic = find_segment(PT_DYNAMIC);
  ASSERT_LT(dynamic, int(header.e_phnum));
  auto s = segment(load);
  s.p_offset = ~std::size_t(0) - 4095;
  EXPECT_EQ(refusal(with_segment(load, s)), "it is cut off");
  s = segment(load);
  s.p_filesz = ~std::size_t(0);
  EXPECT_EQ(refusal(with_segment(load, s)), "it is cut off");
  s = segment(load);
  s.p_vaddr = ~std::size_t(0) - 4095;
  EXPECT_EQ(refusal(with_segment(load, s)), "it is damaged");
  s = segment(load);
  s.p_memsz = s.p_filesz - 1;
  EXPECT_EQ(refusal(with_segment(load, s)), "it is damaged");
  s = segment(load + 1);
  s.p_vaddr = 0;
  EXPECT_EQ(refusal(with_segment(load + 1, s)), "it is damaged") << "two at one place";
  s = segment(dynamic);
  s.p_vaddr += 0x10000000;
  EXPECT_EQ(refusal(with_segment(dynamic, s)), "it is damaged") << "outside what is mapped";
  s = segment(dynamic);
  s.p_type = PT_NULL;
  EXPECT_EQ(refusal(with_segment(dynamic, s)), "it is damaged");
}

TEST_F(Damaged, a_table_that_leads_out_of_the_file) {
  const auto dynamic = segment(find_segment(PT_DYNAMIC));
  for (std::size_t at = dynamic.p_offset; at < dynamic.p_offset + dynamic.p_filesz; at += sizeof(ElfW(Dyn))) {
    ElfW(Dyn) entry;
    std::memcpy(&entry, whole.data() + at, sizeof entry);
    if (entry.d_tag != DT_STRTAB && entry.d_tag != DT_SYMTAB && entry.d_tag != DT_RELA && entry.d_tag != DT_INIT_ARRAY)
      continue;
    entry.d_un.d_ptr += 0x10000000;
    std::string bytes = whole;
    std::memcpy(bytes.data() + at, &entry, sizeof entry);
    EXPECT_EQ(refusal(bytes), "it is damaged") << entry.d_tag;
  }
}

TEST_F(Damaged, what_is_no_plain_file) {
  const auto refused = [](const std::string& path) {
    try {
      const plugin_library plugin(path);
      return std::string();
    } catch (const hostkit::host_error& fault) {
      return std::string(fault.what());
    }
  };
  EXPECT_EQ(refused(folder.path()), "Plug-in " + folder.path() + " can't be loaded: it is no shared object");
  EXPECT_EQ(refused("/dev/zero"), "Plug-in /dev/zero can't be loaded: it is no shared object");
  EXPECT_EQ(refused(folder.file("none")), "Plug-in " + folder.file("none") + " can't be loaded: no such file");
  EXPECT_EQ(refused(""), "Plug-in  can't be loaded: it is no shared object");
}

TEST_F(Damaged, a_file_of_another_machine_is_left_to_the_loaders_words) {
  std::string bytes = whole;
  bytes[EI_CLASS] = header.e_ident[EI_CLASS] == ELFCLASS64 ? ELFCLASS32 : ELFCLASS64;
  EXPECT_NE(refusal(bytes).find("ELF"), std::string::npos);
}

}  // namespace
}  // namespace tessaron::stamped
