// A dictionary library that was cut off or damaged on its way is refused: it must not end the
// process inside the loader. tests/faults/run_damage.py tries damage of any kind.
#include <elf.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>

#include "tests/integration/harness.h"

namespace qsvmon::harness {
namespace {

using namespace std::string_literals;

std::string whole_library() {
  std::ifstream file(fake_dict_folder() / "fake_dict.so", std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// The bytes that the loader needs; sections that only tools look at come behind them.
std::size_t needed_bytes(const std::string& library) {
  Elf64_Ehdr header;
  std::memcpy(&header, library.data(), sizeof header);
  std::size_t needed = 0;
  for (std::size_t n = 0; n < header.e_phnum; ++n) {
    Elf64_Phdr program;
    std::memcpy(&program, library.data() + header.e_phoff + n * sizeof program, sizeof program);
    needed = std::max<std::size_t>(needed, program.p_offset + program.p_filesz);
  }
  return needed;
}

// Runs a command whose reply brings tables for a library of these bytes.
Outcome run_with(const std::string& library) {
  Appliance appliance;
  appliance.write("usr/ramdisk/bin/dict.so", library);
  ScriptedDaemon daemon(appliance, Daemon::kLog,
                        {Reply::records(std::string(168, '\0') + "text\n"s + '\0', 0)
                             .with_replylen(5)
                             .with_syncdesc(1)});
  return appliance.run({"module", "list"});
}

TEST(DictionaryDamage, OneThatWasCutOffIsRefused) {
  const std::string library = whole_library();
  const std::size_t needed = needed_bytes(library);
  ASSERT_GT(needed, 4096U);
  for (std::size_t bytes = 0; bytes < library.size(); bytes += 512) {
    const Outcome outcome = run_with(library.substr(0, bytes));
    EXPECT_EQ(outcome.exit_status, bytes < needed ? 255 : 0) << bytes;
    if (bytes >= needed) {
      EXPECT_EQ(outcome.out, "text\n") << bytes;
    } else if (bytes >= 512) {
      EXPECT_EQ(outcome.out.find("./usr/ramdisk/bin/dict.so: "), 0U) << outcome.out;
      EXPECT_NE(outcome.out.find(" beyond the file\n"), std::string::npos) << outcome.out;
    }
  }
}

// FreeBSD's linker lets this part reach to the end of a page, beyond its segment; further it may
// not.
TEST(DictionaryDamage, WhatBecomesReadOnlyLiesInASegmentsPages) {
  std::string library = whole_library();
  Elf64_Ehdr header;
  std::memcpy(&header, library.data(), sizeof header);
  bool found = false;
  for (std::size_t n = 0; n < header.e_phnum; ++n) {
    Elf64_Phdr program;
    char* at = library.data() + header.e_phoff + n * sizeof program;
    std::memcpy(&program, at, sizeof program);
    if (program.p_type != PT_GNU_RELRO) continue;
    found = true;
    program.p_memsz += 1 << 20;
    std::memcpy(at, &program, sizeof program);
  }
  ASSERT_TRUE(found);
  EXPECT_EQ(run_with(library).out,
            "./usr/ramdisk/bin/dict.so: a program header names no segment\n");
}

TEST(DictionaryDamage, TheReasonHasTheFormOfTheLoaders) {
  std::string library = whole_library();
  library[offsetof(Elf64_Ehdr, e_machine)] ^= 1;
  const Outcome outcome = run_with(library);
  EXPECT_EQ(outcome.out, "./usr/ramdisk/bin/dict.so: not made for this machine\n");
  EXPECT_EQ(outcome.exit_status, 255);
}

}  // namespace
}  // namespace qsvmon::harness
