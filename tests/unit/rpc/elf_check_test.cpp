#include "rpc/elf_check.h"

#include <elf.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>

namespace qsvmon {
namespace {

#if defined(__x86_64__)
constexpr Elf64_Half kMachine = EM_X86_64;
constexpr Elf64_Half kOtherMachine = EM_AARCH64;
#else
constexpr Elf64_Half kMachine = EM_AARCH64;
constexpr Elf64_Half kOtherMachine = EM_X86_64;
#endif

constexpr Elf64_Dyn entry(Elf64_Sxword tag, std::uint64_t value) {
  Elf64_Dyn made{};
  made.d_tag = tag;
  made.d_un.d_val = value;
  return made;
}

// A library of two segments: 1,024 bytes that the file holds, and 4,096 from 5,120 on of which it
// holds 256; their last pages end at 4,096 and 12,288. The dynamic section lies at 512.
struct Image {
  Elf64_Ehdr header{};
  Elf64_Phdr programs[4] = {
      {PT_LOAD, PF_R | PF_X, 0, 0, 0, 1024, 1024, 4096},
      {PT_LOAD, PF_R | PF_W, 1024, 5120, 0, 256, 4096, 4096},
      {PT_DYNAMIC, PF_R, 512, 512, 512, sizeof dynamic, sizeof dynamic, 8},
      {PT_GNU_STACK, PF_R | PF_W, 0, 0, 0, 0, 0, 16},
  };
  Elf64_Dyn dynamic[8] = {
      entry(DT_STRTAB, 768), entry(DT_STRSZ, 256),     entry(DT_SYMTAB, 700),
      entry(DT_RELA, 5120),  entry(DT_RELASZ, 4096),   entry(DT_INIT, 1023),
      entry(DT_NULL, 0),     entry(DT_FINI, 99999999),  // behind the end nothing counts
  };

  Image() {
    const unsigned char ident[] = {0x7f, 'E', 'L', 'F', ELFCLASS64, ELFDATA2LSB, EV_CURRENT};
    std::copy(std::begin(ident), std::end(ident), header.e_ident);
    header.e_type = ET_DYN;
    header.e_machine = kMachine;
    header.e_version = EV_CURRENT;
    header.e_phoff = 64;
    header.e_phentsize = 56;
    header.e_phnum = 4;
  }

  std::string bytes() const {
    std::string all(1280, '\0');
    all.replace(0, 64, reinterpret_cast<const char*>(&header), 64);
    all.replace(64, sizeof programs, reinterpret_cast<const char*>(programs), sizeof programs);
    all.replace(512, sizeof dynamic, reinterpret_cast<const char*>(dynamic), sizeof dynamic);
    return all;
  }
};
static_assert(sizeof(Elf64_Ehdr) == 64 && sizeof(Elf64_Phdr) == 56 && sizeof(Elf64_Dyn) == 16);

// What is said of a file with these bytes; "" for nothing.
std::string damage_of(const std::string& bytes) {
  char path[] = "/tmp/qsvmon_elf_XXXXXX";
  ::close(::mkstemp(path));
  std::ofstream(path, std::ios::binary) << bytes;
  const char* damage = elf_damage(path);
  ::unlink(path);
  return damage != nullptr ? damage : "";
}

constexpr char kMadeFor[] = "not made for this machine";
constexpr char kNoHeaders[] = "odd program headers";
constexpr char kHeaderBeyond[] = "a program header reaches beyond the file";
constexpr char kNotMapped[] = "a segment cannot be mapped";
constexpr char kNoSegment[] = "a program header names no segment";
constexpr char kBeyond[] = "the dynamic section reaches beyond the segments";

TEST(ElfCheck, AWholeLibraryPasses) {
  EXPECT_EQ(damage_of(Image().bytes()), "");
  EXPECT_EQ(damage_of(Image().bytes() + "debug information"), "");
}

TEST(ElfCheck, WhatTheLoaderRefusesByItselfIsLeftToIt) {
  EXPECT_EQ(damage_of(""), "");
  EXPECT_EQ(damage_of("not a library"), "");
  EXPECT_EQ(damage_of(Image().bytes().substr(0, 63)), "");
  EXPECT_EQ(damage_of(std::string(5000, 'n')), "");
  EXPECT_EQ(elf_damage("/nonexistent/dict.so"), nullptr);
  EXPECT_EQ(elf_damage("/"), nullptr);
  char path[] = "/tmp/qsvmon_elf_XXXXXX";
  ASSERT_NE(::mkdtemp(path), nullptr);
  const std::string fifo = std::string(path) + "/fifo";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  EXPECT_EQ(elf_damage(fifo.c_str()), nullptr);  // and does not wait for a writer
  ::unlink(fifo.c_str());
  ::rmdir(path);
}

TEST(ElfCheck, NamesWhatIsDamaged) {
  struct {
    const char* name;
    std::function<void(Image&)> change;
    const char* damage;
  } const cases[] = {
      {"class", [](Image& i) { i.header.e_ident[EI_CLASS] = ELFCLASS32; }, kMadeFor},
      {"byte order", [](Image& i) { i.header.e_ident[EI_DATA] = ELFDATA2MSB; }, kMadeFor},
      {"version of the beginning", [](Image& i) { i.header.e_ident[EI_VERSION] = 2; }, kMadeFor},
      {"version", [](Image& i) { i.header.e_version = 2; }, kMadeFor},
      {"machine", [](Image& i) { i.header.e_machine = kOtherMachine; }, kMadeFor},
      {"program", [](Image& i) { i.header.e_type = ET_EXEC; }, "not a shared library"},
      {"object", [](Image& i) { i.header.e_type = ET_REL; }, "not a shared library"},
      {"header size", [](Image& i) { i.header.e_phentsize = 55; }, kNoHeaders},
      {"many headers", [](Image& i) { i.header.e_phnum = 65; }, kNoHeaders},
      {"no headers", [](Image& i) { i.header.e_phnum = 0; }, "no segment to load"},
      {"headers behind the end", [](Image& i) { i.header.e_phoff = 1280 - 4 * 56 + 1; },
       "the program headers reach beyond the file"},
      {"headers far away", [](Image& i) { i.header.e_phoff = ~0ULL; },
       "the program headers reach beyond the file"},
      {"no dynamic section", [](Image& i) { i.header.e_phnum = 2; }, "no dynamic section"},
      {"segment behind the end", [](Image& i) { i.programs[1].p_filesz = 257; }, kHeaderBeyond},
      {"segment far away", [](Image& i) { i.programs[1].p_offset = ~0ULL - 100; }, kHeaderBeyond},
      {"unused header behind the end",
       [](Image& i) {
         i.programs[3].p_type = PT_NULL;
         i.programs[3].p_filesz = 2000;
       },
       kHeaderBeyond},
      {"more in the file", [](Image& i) { i.programs[0].p_memsz = 1023; }, kNotMapped},
      {"no memory", [](Image& i) { i.programs[0].p_memsz = i.programs[0].p_filesz = 0; },
       kNotMapped},
      {"over each other", [](Image& i) { i.programs[0].p_memsz = 5121; }, kNotMapped},
      {"side by side", [](Image& i) { i.programs[0].p_memsz = 5120; }, ""},
      {"around the end of memory", [](Image& i) { i.programs[1].p_memsz = ~0ULL - 5000; },
       kNotMapped},
      {"another place in its page", [](Image& i) { i.programs[1].p_vaddr = 5121; }, kNotMapped},
      {"dynamic section unmapped", [](Image& i) { i.programs[2].p_vaddr = 4090; }, kNoSegment},
      {"dynamic section below", [](Image& i) { i.programs[2].p_vaddr = 5119; }, kNoSegment},
      {"dynamic section too large", [](Image& i) { i.programs[2].p_memsz = 3585; }, kNoSegment},
      {"dynamic section to the end", [](Image& i) { i.programs[2].p_memsz = 3584; }, ""},
      {"read-only to the end of its page",
       [](Image& i) { i.programs[3] = {PT_GNU_RELRO, PF_R, 1024, 5120, 0, 256, 7168, 1}; }, ""},
      {"read-only beyond its page",
       [](Image& i) { i.programs[3] = {PT_GNU_RELRO, PF_R, 1024, 5120, 0, 256, 7169, 1}; },
       kNoSegment},
      {"a large stack", [](Image& i) { i.programs[3].p_memsz = 1 << 20; }, ""},
      {"an unused header", [](Image& i) { i.programs[3] = {PT_NULL, 0, 0, 99999, 0, 0, 10, 0}; },
       ""},
      {"half unmapped", [](Image& i) { i.programs[2].p_vaddr = 12287; }, kNoSegment},
  };
  for (const auto& c : cases) {
    Image image;
    c.change(image);
    EXPECT_EQ(damage_of(image.bytes()), c.damage) << c.name;
  }
}

TEST(ElfCheck, ADynamicSectionWithoutMeasureIsNotRead) {
  Image image;
  image.programs[0].p_filesz = image.programs[0].p_memsz = 5120;
  image.programs[2].p_filesz = 257 * sizeof(Elf64_Dyn);
  const std::string bytes = image.bytes() + std::string(5120, '\0');
  EXPECT_EQ(damage_of(bytes), "the dynamic section is too long");
  image.programs[2].p_filesz = 256 * sizeof(Elf64_Dyn);
  EXPECT_EQ(damage_of(image.bytes() + std::string(5120, '\0')), "");
}

TEST(ElfCheck, NamesWhatTheDynamicSectionHasWrong) {
  struct {
    const char* name;
    std::function<void(Image&)> change;
    const char* damage;
  } const cases[] = {
      {"no end", [](Image& i) { i.dynamic[6] = entry(DT_DEBUG, 0); },
       "the dynamic section has no end"},
      {"cut off", [](Image& i) { i.programs[2].p_filesz = 96; }, "the dynamic section has no end"},
      {"no strings", [](Image& i) { i.dynamic[0].d_tag = DT_DEBUG; },
       "the dynamic section names no symbols"},
      {"no symbols", [](Image& i) { i.dynamic[2].d_tag = DT_DEBUG; },
       "the dynamic section names no symbols"},
      {"strings beyond", [](Image& i) { i.dynamic[1].d_un.d_val = 3329; }, kBeyond},
      {"strings of any size", [](Image& i) { i.dynamic[1].d_un.d_val = ~0ULL; }, kBeyond},
      {"symbols behind the end", [](Image& i) { i.dynamic[2].d_un.d_ptr = 4096; }, kBeyond},
      {"symbols far away", [](Image& i) { i.dynamic[2].d_un.d_ptr = ~0ULL; }, kBeyond},
      {"relocations", [](Image& i) { i.dynamic[4].d_un.d_val = 7169; }, kBeyond},
      {"initialiser", [](Image& i) { i.dynamic[5].d_un.d_ptr = 4096; }, kBeyond},
      {"between the segments", [](Image& i) { i.dynamic[5].d_un.d_ptr = 5119; }, kBeyond},
      {"where the second begins", [](Image& i) { i.dynamic[5].d_un.d_ptr = 5120; }, ""},
  };
  for (const auto& c : cases) {
    Image image;
    c.change(image);
    EXPECT_EQ(damage_of(image.bytes()), c.damage) << c.name;
  }
}

}  // namespace
}  // namespace qsvmon
