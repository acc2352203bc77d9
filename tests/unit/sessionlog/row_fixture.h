#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>
#include <time.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "commands/sessionlog/csv_sheet.h"
#include "format/time.h"
#include "pools/desc_pools.h"

namespace qsvmon {

/// Rows are shown in UTC, without labels unless `load_labels` was called, in a scratch folder.
class RowTest : public testing::Test {
 protected:
  RowTest() : before_(std::filesystem::current_path()) {
    desc_pools_release();
    ::setenv("TZ", "UTC0", 1);
    ::tzset();
    reset_local_time();
    char folder[] = "/tmp/session_row_XXXXXX";
    EXPECT_NE(::mkdtemp(folder), nullptr);
    std::filesystem::current_path(folder);
    std::filesystem::create_directories("usr/qsvlog");
  }
  ~RowTest() override {
    desc_pools_release();
    const std::filesystem::path scratch = std::filesystem::current_path();
    std::filesystem::current_path(before_);
    std::filesystem::remove_all(scratch);
  }

  /// Labels 10.0.0.1 "office", 192.168.1.2 "mail \"hub\"" (with a double quote) and the MAC
  /// 00-11-22-33-44-55 "laptop".
  static void load_labels() {
    std::filesystem::create_directories("conf");
    std::ofstream("conf/korvale.conf") << "mac m=10.0.0.1 d=office\n"
                                          "mac m=192.168.1.2 d=mail\"hub\n"
                                          "mac m=00:11:22:33:44:55 d=laptop\n";
    EXPECT_EQ(desc_pools_init(), 0);
  }

  /// The bytes that `write(sheet)` puts into a new sheet.
  template <class Write>
  static std::string sheet_bytes(Write&& write) {
    CsvSheet sheet;
    char name[kCsvNameBytes];
    EXPECT_EQ(csv_open(sheet, name, sizeof name), 0);
    write(sheet);
    csv_close(sheet);
    std::ifstream in(std::string("usr/qsvlog/") + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  }

 private:
  std::filesystem::path before_;
};

}  // namespace qsvmon
