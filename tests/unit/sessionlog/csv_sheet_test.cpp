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
    EXPECT_NE(::mkdtemp(folder), nullptr);
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

TEST_F(CsvSheetTest, RowsBeginWithALineEndAndNothingIsEscaped) {
  make_folder();
  CsvSheet sheet;
  char name[kCsvNameBytes];
  ASSERT_EQ(csv_open(sheet, name, sizeof name), 0);
  csv_text(sheet, "first");
  csv_text(sheet, "second");
  csv_next_row(sheet);
  EXPECT_EQ(sheet.row, 1U);
  csv_text(sheet, Ipv4Text{0x0A000001});
  csv_number(sheet, 6400);
  csv_text(sheet, "a,\"b\"\n");
  csv_text(sheet, "");
  EXPECT_EQ(sheet.col, 4U);
  csv_close(sheet);
  csv_close(sheet);
  // KEEP: an empty first line, no line end behind the last row.
  EXPECT_EQ(read(name), "\nfirst,second\n10.0.0.1,6400,a,\"b\"\n,");
}

TEST_F(CsvSheetTest, AClosedSheetIgnoresCells) {
  CsvSheet sheet;
  csv_text(sheet, "x");
  csv_number(sheet, 1);
  EXPECT_EQ(sheet.col, 0U);
  csv_close(sheet);
}

TEST_F(CsvSheetTest, AMissingFolderIsNotMade) {
  CsvSheet sheet;
  char name[kCsvNameBytes];
  EXPECT_EQ(csv_open(sheet, name, sizeof name), -1);
  EXPECT_EQ(sheet.out, nullptr);
  EXPECT_FALSE(std::filesystem::exists("usr"));
}

TEST_F(CsvSheetTest, TheFileBearsTheCurrentTimeAndReplacesOneOfItsName) {
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
  ASSERT_EQ(csv_open(sheet, name, sizeof name), 0);
  csv_text(sheet, "x");
  csv_close(sheet);
  csv_file_name(std::time(nullptr), late, sizeof late);
  EXPECT_LE(std::strcmp(early, name), 0);
  EXPECT_LE(std::strcmp(name, late), 0);
  EXPECT_EQ(read(name), "\nx");
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
TEST_F(CsvSheetTest, NoLinkIsFollowed) {
  make_folder();
  std::ofstream("precious") << "untouched";
  put_at_each_name(
      [](const std::string& path) { std::filesystem::create_symlink("../../precious", path); });
  CsvSheet sheet;
  char name[kCsvNameBytes];
  EXPECT_EQ(csv_open(sheet, name, sizeof name), -1);
  EXPECT_EQ(sheet.out, nullptr);
  std::ifstream in("precious");
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), "untouched");
}

TEST_F(CsvSheetTest, NoFileIsMadeBehindALink) {
  make_folder();
  put_at_each_name(
      [](const std::string& path) { std::filesystem::create_symlink("../../made", path); });
  CsvSheet sheet;
  char name[kCsvNameBytes];
  EXPECT_EQ(csv_open(sheet, name, sizeof name), -1);
  EXPECT_FALSE(std::filesystem::exists("made"));
}

TEST_F(CsvSheetTest, AFifoNeitherHangsNorGetsTheRecords) {
  make_folder();
  put_at_each_name([](const std::string& path) { EXPECT_EQ(::mkfifo(path.c_str(), 0600), 0); });
  CsvSheet sheet;
  char name[kCsvNameBytes];
  EXPECT_EQ(csv_open(sheet, name, sizeof name), -1);  // nobody reads it
  const int reader = ::open((std::string("usr/qsvlog/") + name).c_str(), O_RDONLY | O_NONBLOCK);
  ASSERT_GE(reader, 0);
  EXPECT_EQ(csv_open(sheet, name, sizeof name), -1);
  char byte;
  EXPECT_EQ(::read(reader, &byte, 1), 0);
  ::close(reader);
}

TEST_F(CsvSheetTest, AFolderOfTheNameIsRefused) {
  make_folder();
  put_at_each_name([](const std::string& path) { std::filesystem::create_directory(path); });
  CsvSheet sheet;
  char name[kCsvNameBytes];
  EXPECT_EQ(csv_open(sheet, name, sizeof name), -1);
}

TEST_F(CsvSheetTest, MoreThanTheBufferIsWritten) {
  make_folder();
  CsvSheet sheet;
  char name[kCsvNameBytes];
  ASSERT_EQ(csv_open(sheet, name, sizeof name), 0);
  std::string expected;
  for (int row = 0; row < 20000; ++row) {
    csv_next_row(sheet);
    csv_text(sheet, "abc");
    csv_number(sheet, 12345);
    expected += "\nabc,12345";
  }
  csv_close(sheet);
  EXPECT_EQ(read(name), expected);
}

TEST(CsvFileName, IsTheLocalTime) {
  ::setenv("TZ", "CST-8", 1);
  ::tzset();
  reset_local_time();
  char name[kCsvNameBytes];
  csv_file_name(1709622489, name, sizeof name);  // 2024-03-05 07:08:09 UTC
  EXPECT_STREQ(name, "20240305150809.csv");
  csv_file_name(0, name, sizeof name);
  EXPECT_STREQ(name, "19700101080000.csv");
  char cut[8] = "#######";
  csv_file_name(1709622489, cut, sizeof cut);
  EXPECT_STREQ(cut, "202403");  // two bytes of the room stay unused
  csv_file_name(1709622489, cut, 1);
  EXPECT_STREQ(cut, "");
  cut[0] = '#';
  csv_file_name(1709622489, cut, 0);
  EXPECT_EQ(cut[0], '#');
  ::setenv("TZ", "UTC", 1);
  ::tzset();
  reset_local_time();
}

}  // namespace
}  // namespace qsvmon
