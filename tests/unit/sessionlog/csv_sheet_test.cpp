#include "commands/sessionlog/csv_sheet.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "format/address.h"
#include "format/time.h"

namespace qsvmon {
namespace {

/// A scratch folder as working folder, with the download folder in it when asked for.
class CsvSheetTest : public testing::Test {
 protected:
  CsvSheetTest() : before_(std::filesystem::current_path()) {
    char folder[] = "/tmp/csv_sheet_XXXXXX";
    EXPECT_NE(nullptr, ::mkdtemp(folder));
    std::filesystem::current_path(folder);
  }
  ~CsvSheetTest() override {
    const std::filesystem::path scratch = std::filesystem::current_path();
    std::filesystem::current_path(before_);
    std::filesystem::remove_all(scratch);
  }
  static void make_folder() { std::filesystem::create_directories("usr/qsvlog"); }
  static std::string read(const char* name) {
    std::ifstream in(std::string("usr/qsvlog/") + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  }

 private:
  std::filesystem::path before_;
};

TEST_F(CsvSheetTest, rows_begin_with_a_line_end_and_nothing_is_escaped) {
  make_folder();
  CsvSheet sheet;
  char name[kCsvNameBytes];
  ASSERT_EQ(0, csv_open(sheet, name, sizeof name));
  csv_text(sheet, "first");
  csv_text(sheet, "second");
  csv_next_row(sheet);
  EXPECT_EQ(1U, sheet.row);
  csv_text(sheet, Ipv4Text{0x0A000001});
  csv_number(sheet, 6400);
  csv_text(sheet, "a,\"b\"\n");
  csv_text(sheet, "");
  EXPECT_EQ(4U, sheet.col);
  csv_close(sheet);
  csv_close(sheet);
  // KEEP: an empty first line, no line end behind the last row.
  EXPECT_EQ("\nfirst,second\n10.0.0.1,6400,a,\"b\"\n,", read(name));
}

TEST_F(CsvSheetTest, a_closed_sheet_takes_nothing) {
  CsvSheet sheet;
  csv_text(sheet, "x");
  csv_number(sheet, 1);
  EXPECT_EQ(0U, sheet.col);
  csv_close(sheet);
}

TEST_F(CsvSheetTest, a_missing_folder_is_not_made) {
  CsvSheet sheet;
  char name[kCsvNameBytes];
  EXPECT_EQ(-1, csv_open(sheet, name, sizeof name));
  EXPECT_EQ(nullptr, sheet.out);
  EXPECT_FALSE(std::filesystem::exists("usr"));
}

TEST_F(CsvSheetTest, the_file_bears_the_current_time_and_replaces_one_of_its_name) {
  make_folder();
  char early[kCsvNameBytes];
  char late[kCsvNameBytes];
  char name[kCsvNameBytes];
  csv_file_name(std::time(nullptr), early, sizeof early);
  for (std::time_t t = std::time(nullptr); t < std::time(nullptr) + 3; ++t) {
    char other[kCsvNameBytes];
    csv_file_name(t, other, sizeof other);
    std::ofstream(std::string("usr/qsvlog/") + other) << "left from before, and longer";
  }
  CsvSheet sheet;
  ASSERT_EQ(0, csv_open(sheet, name, sizeof name));
  csv_text(sheet, "x");
  csv_close(sheet);
  csv_file_name(std::time(nullptr), late, sizeof late);
  EXPECT_LE(std::strcmp(early, name), 0);
  EXPECT_LE(std::strcmp(name, late), 0);
  EXPECT_EQ("\nx", read(name));
}

/// Puts something at every name that a sheet opened by now may get.
template <class Put>
void put_at_each_name(Put&& put) {
  for (std::time_t t = std::time(nullptr); t < std::time(nullptr) + 5; ++t) {
    char name[kCsvNameBytes];
    csv_file_name(t, name, sizeof name);
    put(std::string("usr/qsvlog/") + name);
  }
}

// Whoever may write to the folder can guess the name.
TEST_F(CsvSheetTest, no_link_is_followed) {
  make_folder();
  std::ofstream("precious") << "untouched";
  put_at_each_name(
      [](const std::string& path) { std::filesystem::create_symlink("../../precious", path); });
  CsvSheet sheet;
  char name[kCsvNameBytes];
  EXPECT_EQ(-1, csv_open(sheet, name, sizeof name));
  EXPECT_EQ(nullptr, sheet.out);
  std::ifstream in("precious");
  EXPECT_EQ("untouched", std::string(std::istreambuf_iterator<char>(in), {}));
}

TEST_F(CsvSheetTest, no_file_is_made_behind_a_link) {
  make_folder();
  put_at_each_name(
      [](const std::string& path) { std::filesystem::create_symlink("../../made", path); });
  CsvSheet sheet;
  char name[kCsvNameBytes];
  EXPECT_EQ(-1, csv_open(sheet, name, sizeof name));
  EXPECT_FALSE(std::filesystem::exists("made"));
}

TEST_F(CsvSheetTest, a_fifo_neither_hangs_nor_gets_the_records) {
  make_folder();
  put_at_each_name([](const std::string& path) { EXPECT_EQ(0, ::mkfifo(path.c_str(), 0600)); });
  CsvSheet sheet;
  char name[kCsvNameBytes];
  EXPECT_EQ(-1, csv_open(sheet, name, sizeof name));  // nobody reads it
  const int reader = ::open((std::string("usr/qsvlog/") + name).c_str(), O_RDONLY | O_NONBLOCK);
  ASSERT_GE(reader, 0);
  EXPECT_EQ(-1, csv_open(sheet, name, sizeof name));
  char byte;
  EXPECT_EQ(0, ::read(reader, &byte, 1));
  ::close(reader);
}

TEST_F(CsvSheetTest, a_folder_of_the_name_is_refused) {
  make_folder();
  put_at_each_name([](const std::string& path) { std::filesystem::create_directory(path); });
  CsvSheet sheet;
  char name[kCsvNameBytes];
  EXPECT_EQ(-1, csv_open(sheet, name, sizeof name));
}

TEST_F(CsvSheetTest, more_than_the_buffer_is_written) {
  make_folder();
  CsvSheet sheet;
  char name[kCsvNameBytes];
  ASSERT_EQ(0, csv_open(sheet, name, sizeof name));
  std::string expected;
  for (int row = 0; row < 20000; ++row) {
    csv_next_row(sheet);
    csv_text(sheet, "abc");
    csv_number(sheet, 12345);
    expected += "\nabc,12345";
  }
  csv_close(sheet);
  EXPECT_EQ(expected, read(name));
}

TEST(CsvFileName, is_the_local_time) {
  ::setenv("TZ", "CST-8", 1);
  ::tzset();
  reset_local_time();
  char name[kCsvNameBytes];
  csv_file_name(1709622489, name, sizeof name);  // 2024-03-05 07:08:09 UTC
  EXPECT_STREQ("20240305150809.csv", name);
  csv_file_name(0, name, sizeof name);
  EXPECT_STREQ("19700101080000.csv", name);
  char cut[8] = "#######";
  csv_file_name(1709622489, cut, sizeof cut);
  EXPECT_STREQ("202403", cut);  // two bytes of the room stay unused
  csv_file_name(1709622489, cut, 1);
  EXPECT_STREQ("", cut);
  cut[0] = '#';
  csv_file_name(1709622489, cut, 0);
  EXPECT_EQ('#', cut[0]);
  ::setenv("TZ", "UTC", 1);
  ::tzset();
  reset_local_time();
}

}  // namespace
}  // namespace qsvmon
