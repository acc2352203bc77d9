#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include "pools/config_file.h"

namespace qsvmon::pool_samples {

/// The error word that a line handler records for the rest of a line, "" when it takes the line.
inline std::string error_of(ConfigLineHandler handle, std::string rest) {
  RpcRequest line{};
  line.data = rest.data();
  handle(line);
  EXPECT_EQ(line.status, line.errtext[0] == '\0' ? 0U : 22U);
  return std::string(request_errtext(line));
}

using Bytes4 = std::array<std::uint8_t, 4>;
using Bytes6 = std::array<std::uint8_t, 6>;

/// Leaves no pool behind that `kRelease` frees.
template <void (*kRelease)()>
class PoolTest : public testing::Test {
 protected:
  PoolTest() { kRelease(); }
  ~PoolTest() override { kRelease(); }
};

/// Runs in a scratch folder of its own, where the configuration files are looked for.
class ConfigFolderTest : public testing::Test {
 protected:
  ConfigFolderTest() : before_(std::filesystem::current_path()) {
    char name[] = "/tmp/qsvmon-pools-XXXXXX";
    folder_ = ::mkdtemp(name);
    std::filesystem::create_directory(folder_ / "conf");
    std::filesystem::current_path(folder_);
  }
  ~ConfigFolderTest() override {
    std::filesystem::current_path(before_);
    std::filesystem::remove_all(folder_);
  }

  static void write_main(const std::string& text) { write("conf/korvale.conf", text); }
  static void write_assets(const std::string& text) { write("conf/qsv_assets.conf", text); }

 private:
  static void write(const char* path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
  }

  std::filesystem::path before_;
  std::filesystem::path folder_;
};

}  // namespace qsvmon::pool_samples
