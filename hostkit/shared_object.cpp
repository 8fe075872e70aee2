// Headers, segments and dynamic table of an ELF file against the file's size.
#include "hostkit/shared_object.h"

#include <link.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <vector>

namespace tessaron::hostkit {
namespace {

using file_header = ElfW(Ehdr);
using segment = ElfW(Phdr);
using dynamic_entry = ElfW(Dyn);

constexpr const char* NO_SHARED_OBJECT = "it is no shared object";
constexpr const char* CUT_OFF = "it is cut off";
constexpr const char* DAMAGED = "it is damaged";

constexpr int NATIVE_CLASS = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;
constexpr int NATIVE_ORDER = std::endian::native == std::endian::little ? ELFDATA2LSB : ELFDATA2MSB;

/// Whether `count` bytes from `start` on lie below `end`; no sum overflows.
bool within(std::uint64_t start, std::uint64_t count, std::uint64_t end) {
  return start <= end && count <= end - start;
}

template <class Record>
bool read_records(std::ifstream& file, std::uint64_t at, std::vector<Record>& records) {
  file.seekg(std::streamoff(at));
  return bool(file.read(reinterpret_cast<char*>(records.data()), std::streamsize(records.size() * sizeof(Record))));
}

/// The memory that the loader maps for a file.
class image_layout {
 public:
  explicit image_layout(const std::vector<segment>& segments) {
    std::copy_if(segments.begin(), segments.end(), std::back_inserter(mapped_),
                 [](const segment& s) { return s.p_type == PT_LOAD; });
  }
  /// Rising and apart, as the loader takes for granted: it reserves up to the end of the last.
  bool in_order() const {
    std::uint64_t end = 0;
    for (const segment& s : mapped_) {
      if (s.p_vaddr < end || s.p_filesz > s.p_memsz || s.p_vaddr + s.p_memsz < s.p_vaddr) return false;
      end = s.p_vaddr + s.p_memsz;
    }
    return !mapped_.empty();
  }
  bool holds(std::uint64_t address, std::uint64_t size) const {
    return std::any_of(mapped_.begin(), mapped_.end(), [&](const segment& s) {
      return address >= s.p_vaddr && within(address - s.p_vaddr, size, s.p_memsz);
    });
  }

 private:
  std::vector<segment> mapped_;
};

/// What the loader reads of a segment by its address; 0 of those that it doesn't read.
std::uint64_t size_read(const segment& s) {
  switch (s.p_type) {
    case PT_DYNAMIC:
      return s.p_memsz;
    case PT_TLS:
    case PT_NOTE:
    case PT_GNU_PROPERTY:
      return s.p_filesz;
    default:
      return 0;
  }
}

/// Tags whose value is an address in the file's own memory.
bool holds_address(const dynamic_entry& entry) {
  static constexpr std::int64_t TAGS[] = {DT_PLTGOT,     DT_HASH,     DT_STRTAB, DT_SYMTAB, DT_RELA,
                                          DT_INIT,       DT_FINI,     DT_REL,    DT_JMPREL, DT_INIT_ARRAY,
                                          DT_FINI_ARRAY, DT_GNU_HASH, DT_VERSYM, DT_VERDEF, DT_VERNEED};
  return std::find(std::begin(TAGS), std::end(TAGS), std::int64_t(entry.d_tag)) != std::end(TAGS);
}

/// Whether the table names the texts and symbols that the loader looks up, and no address outside the file's memory.
bool sound_table(const std::vector<dynamic_entry>& table, const image_layout& layout) {
  std::uint64_t texts = 0, text_size = 0, symbols = 0;
  for (const dynamic_entry& entry : table) {
    if (entry.d_tag == DT_NULL) return texts && symbols && layout.holds(texts, text_size);
    if (holds_address(entry) && !layout.holds(entry.d_un.d_ptr, 1)) return false;
    if (entry.d_tag == DT_STRTAB) texts = entry.d_un.d_ptr;
    if (entry.d_tag == DT_STRSZ) text_size = entry.d_un.d_val;
    if (entry.d_tag == DT_SYMTAB) symbols = entry.d_un.d_ptr;
  }
  return false;  // without an end
}

/// What is wrong with the segments of a file of `size` bytes.
std::string segments_fault(std::ifstream& file, std::uint64_t size, const std::vector<segment>& segments) {
  for (const segment& s : segments)
    if ((s.p_type == PT_LOAD || s.p_type == PT_DYNAMIC) && !within(s.p_offset, s.p_filesz, size)) return CUT_OFF;
  const image_layout layout(segments);
  if (!layout.in_order()) return DAMAGED;
  bool has_table = false;
  for (const segment& s : segments) {
    if (size_read(s) && !layout.holds(s.p_vaddr, size_read(s))) return DAMAGED;
    if (s.p_type != PT_DYNAMIC) continue;
    std::vector<dynamic_entry> table(s.p_filesz / sizeof(dynamic_entry));
    if (!read_records(file, s.p_offset, table) || !sound_table(table, layout)) return DAMAGED;
    has_table = true;
  }
  return has_table ? "" : DAMAGED;
}

}  // namespace

std::string shared_object_fault(const std::string& path) {
  std::error_code ignored;
  const auto status = std::filesystem::status(path, ignored);
  if (!std::filesystem::exists(status)) return "no such file";
  if (!std::filesystem::is_regular_file(status)) return NO_SHARED_OBJECT;
  std::ifstream file(path, std::ios::binary);
  if (!file) return "it can't be read";
  const std::uint64_t size = std::filesystem::file_size(path, ignored);

  std::vector<file_header> header(1);
  const auto& id = header[0].e_ident;
  if (size < sizeof header[0] || !read_records(file, 0, header)) return size ? NO_SHARED_OBJECT : "it is empty";
  if (std::memcmp(id, ELFMAG, SELFMAG) != 0) return NO_SHARED_OBJECT;
  // A file of another machine is laid out otherwise; the loader says what is the matter.
  if (id[EI_CLASS] != NATIVE_CLASS || id[EI_DATA] != NATIVE_ORDER) return "";
  if (header[0].e_phentsize != sizeof(segment) || header[0].e_type != ET_DYN) return NO_SHARED_OBJECT;

  std::vector<segment> segments(header[0].e_phnum);
  if (!within(header[0].e_phoff, segments.size() * sizeof(segment), size)) return CUT_OFF;
  if (!read_records(file, header[0].e_phoff, segments)) return "it can't be read";
  return segments_fault(file, size, segments);
}

}  // namespace tessaron::hostkit
