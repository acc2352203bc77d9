#include "rpc/elf_check.h"

#include <elf.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace qsvmon {
namespace {

#if defined(__x86_64__)
constexpr Elf64_Half kMachine = EM_X86_64;
#elif defined(__aarch64__)
constexpr Elf64_Half kMachine = EM_AARCH64;
#else
#error "which ELF machine is this?"
#endif

constexpr std::size_t kMostHeaders = 64;    // a library has about ten
constexpr std::size_t kMostEntries = 256;   // of the dynamic section; a library has about thirty
constexpr std::uint64_t kPageBytes = 4096;  // of both systems

// A file that is open for the time of the check. It is read and not mapped, since one that is cut
// off meanwhile would end the process; and opened without waiting, since it may be a pipe.
class File {
 public:
  explicit File(const char* path) : fd_(::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
    struct stat about {};
    if (fd_ < 0 || ::fstat(fd_, &about) != 0 || !S_ISREG(about.st_mode)) return;
    bytes_ = static_cast<std::uint64_t>(about.st_size);
  }
  ~File() {
    if (fd_ >= 0) ::close(fd_);
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  bool holds(std::uint64_t offset, std::uint64_t bytes) const {
    return offset <= bytes_ && bytes <= bytes_ - offset;
  }
  template <class Record>
  bool read(std::uint64_t offset, std::span<Record> to) const {
    return holds(offset, to.size_bytes()) &&
           ::pread(fd_, to.data(), to.size_bytes(), static_cast<off_t>(offset)) ==
               static_cast<ssize_t>(to.size_bytes());
  }

 private:
  int fd_;
  std::uint64_t bytes_ = 0;
};

bool is_elf(const Elf64_Ehdr& header) {
  return std::memcmp(header.e_ident, ELFMAG, SELFMAG) == 0;
}

bool is_for_this_machine(const Elf64_Ehdr& header) {
  return header.e_ident[EI_CLASS] == ELFCLASS64 && header.e_ident[EI_DATA] == ELFDATA2LSB &&
         header.e_ident[EI_VERSION] == EV_CURRENT && header.e_version == EV_CURRENT &&
         header.e_machine == kMachine;
}

// Whether `bytes` at address `at` lie in the memory of one loaded segment, which ends with its last
// page: what is made read-only is counted to there by some linkers.
bool in_memory(std::span<const Elf64_Phdr> headers, std::uint64_t at, std::uint64_t bytes) {
  for (const Elf64_Phdr& h : headers) {
    const std::uint64_t end = (h.p_vaddr + h.p_memsz + kPageBytes - 1) & ~(kPageBytes - 1);
    if (h.p_type == PT_LOAD && at >= h.p_vaddr && at <= end && bytes <= end - at) return true;
  }
  return false;
}

// Segments come in the order of their addresses, apart, and begin in their page as in the file's.
bool may_be_mapped(const Elf64_Phdr& load, std::uint64_t& end) {
  if (load.p_filesz > load.p_memsz || load.p_memsz == 0) return false;
  if (load.p_vaddr < end || load.p_vaddr + load.p_memsz < load.p_vaddr) return false;
  end = load.p_vaddr + load.p_memsz;
  return (load.p_vaddr - load.p_offset) % kPageBytes == 0;
}

const char* segment_damage(const File& file, std::span<const Elf64_Phdr> headers) {
  std::uint64_t end = 0;
  for (const Elf64_Phdr& h : headers) {
    if (!file.holds(h.p_offset, h.p_filesz)) return "a program header reaches beyond the file";
    if (h.p_type == PT_LOAD && !may_be_mapped(h, end)) return "a segment cannot be mapped";
  }
  for (const Elf64_Phdr& h : headers) {
    if (h.p_type == PT_NULL || h.p_type == PT_GNU_STACK) continue;  // these name no memory
    if (!in_memory(headers, h.p_vaddr, h.p_memsz)) return "a program header names no segment";
  }
  return end == 0 ? "no segment to load" : nullptr;
}

// The tags whose value is an address, with the tag of the size of what lies there (0: not said).
struct Table {
  Elf64_Sxword address;
  Elf64_Sxword bytes;
};
constexpr Table kTables[] = {
    {DT_STRTAB, DT_STRSZ},
    {DT_SYMTAB, 0},
    {DT_HASH, 0},
    {DT_GNU_HASH, 0},
    {DT_RELA, DT_RELASZ},
    {DT_JMPREL, DT_PLTRELSZ},
    {DT_PLTGOT, 0},
    {DT_INIT, 0},
    {DT_FINI, 0},
    {DT_INIT_ARRAY, DT_INIT_ARRAYSZ},
    {DT_FINI_ARRAY, DT_FINI_ARRAYSZ},
    {DT_VERSYM, 0},
    {DT_VERNEED, 0},
    {DT_VERDEF, 0},
};

// The first entry of that tag before the section's end, or the end itself for DT_NULL.
const Elf64_Dyn* find_entry(std::span<const Elf64_Dyn> entries, Elf64_Sxword tag) {
  for (const Elf64_Dyn& entry : entries) {
    if (entry.d_tag == tag) return &entry;
    if (entry.d_tag == DT_NULL) break;
  }
  return nullptr;
}

const char* dynamic_damage(const File& file, std::span<const Elf64_Phdr> headers,
                           const Elf64_Phdr& dynamic) {
  Elf64_Dyn room[kMostEntries];
  const std::size_t count = dynamic.p_filesz / sizeof room[0];
  if (count > kMostEntries) return "the dynamic section is too long";
  const std::span<Elf64_Dyn> entries(room, count);
  if (!file.read(dynamic.p_offset, entries)) return "the dynamic section cannot be read";
  if (find_entry(entries, DT_NULL) == nullptr) return "the dynamic section has no end";
  if (find_entry(entries, DT_STRTAB) == nullptr || find_entry(entries, DT_SYMTAB) == nullptr) {
    return "the dynamic section names no symbols";
  }
  for (const Table& table : kTables) {
    // The loader follows these before it has looked at any of them; a library has not all.
    const Elf64_Dyn* at = find_entry(entries, table.address);
    const Elf64_Dyn* bytes = table.bytes != 0 ? find_entry(entries, table.bytes) : nullptr;
    if (at == nullptr) continue;
    if (!in_memory(headers, at->d_un.d_ptr, bytes != nullptr ? bytes->d_un.d_val : 1)) {
      return "the dynamic section reaches beyond the segments";
    }
  }
  return nullptr;
}

}  // namespace

const char* elf_damage(const char* path) {
  const File file(path);
  Elf64_Ehdr header;
  if (!file.read(0, std::span(&header, 1)) || !is_elf(header)) return nullptr;
  if (!is_for_this_machine(header)) return "not made for this machine";
  if (header.e_type != ET_DYN) return "not a shared library";
  Elf64_Phdr room[kMostHeaders];
  if (header.e_phentsize != sizeof room[0] || header.e_phnum > kMostHeaders) {
    return "odd program headers";
  }
  const std::span<Elf64_Phdr> headers(room, header.e_phnum);
  if (!file.read(header.e_phoff, headers)) return "the program headers reach beyond the file";
  if (const char* damage = segment_damage(file, headers)) return damage;
  for (const Elf64_Phdr& h : headers) {
    if (h.p_type == PT_DYNAMIC) return dynamic_damage(file, headers, h);
  }
  return "no dynamic section";
}

}  // namespace qsvmon
