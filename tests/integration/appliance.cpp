#include "tests/integration/appliance.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace qsvmon::harness {
namespace {

namespace fs = std::filesystem;

constexpr const char* kFolders[] = {"var/tmp", "usr/ramdisk/var", "usr/ramdisk/bin", "conf",
                                    "usr/qsvlog"};

const char* library_of(DictVariant variant) {
  switch (variant) {
    case DictVariant::kWhole:
      return QSVMON_FAKE_DICT_FOLDER "/fake_dict.so";
    case DictVariant::kWithoutFunctions:
      return QSVMON_FAKE_DICT_FOLDER "/fake_dict_no_functions.so";
    case DictVariant::kWithoutApps:
      return QSVMON_FAKE_DICT_FOLDER "/fake_dict_no_apps.so";
    case DictVariant::kWithoutGroups:
      return QSVMON_FAKE_DICT_FOLDER "/fake_dict_no_groups.so";
  }
  return "";
}

}  // namespace

Appliance::Appliance() {
  // Not below TMPDIR: the path of a socket must be short.
  char path[] = "/tmp/qsvmon_it_XXXXXX";
  if (::mkdtemp(path) == nullptr) {
    ADD_FAILURE() << "no scratch folder";
    return;
  }
  root_ = path;
  for (const char* folder : kFolders) fs::create_directories(root_ + "/" + folder);
}

Appliance::~Appliance() {
  std::error_code ignored;
  if (!root_.empty()) fs::remove_all(root_, ignored);
}

std::string Appliance::path(std::string_view inside) const {
  return root_ + "/" + std::string(inside);
}

std::string Appliance::socket_path(Daemon daemon) const {
  return path(daemon == Daemon::kLog ? "var/tmp/qsvlog.d" : "usr/ramdisk/var/mgmt.d");
}

void Appliance::write(std::string_view inside, std::string_view bytes) const {
  std::ofstream file(path(inside), std::ios::binary);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  EXPECT_TRUE(file.good()) << inside;
}

std::string Appliance::read(std::string_view inside) const {
  std::ifstream file(path(inside), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::vector<std::string> Appliance::list(std::string_view inside) const {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(path(inside))) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

void Appliance::install_dictionary(DictVariant variant) const {
  fs::create_symlink(library_of(variant), path("usr/ramdisk/bin/dict.so"));
}

// A test's own process loads the library of its own system, the program that of its own.
void Appliance::exchange_dictionary() const {
  const std::string link = path("usr/ramdisk/bin/dict.so");
  std::error_code none;
  const fs::path target = fs::read_symlink(link, none);
  if (none || target.parent_path() != QSVMON_FAKE_DICT_FOLDER) return;
  fs::remove(link);
  fs::create_symlink(fake_dict_folder() / target.filename(), link);
}

Outcome Appliance::run(const std::vector<std::string>& words, const RunOptions& options) const {
  if (freebsd_program()) exchange_dictionary();
  return run_program(root_, words, options);
}

}  // namespace qsvmon::harness
