#include "sim/capture.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "sim/area.h"

namespace qsvmon::sim {
namespace {

std::span<const char> bytes_of(const RpcRequest& record) {
  return {reinterpret_cast<const char*>(&record), sizeof record};
}

}  // namespace

Capture::Capture(const std::string& folder) {
  if (folder.empty()) return;
  std::filesystem::create_directories(folder);
  folder_ = std::filesystem::absolute(folder).string();  // the working directory changes later
}

void Capture::before(const RpcRequest& request) {
  if (folder_.empty()) return;
  request_ = request;
  const ClientArea area(request.shmid);
  const std::size_t length = std::min<std::size_t>(request.datalen, area.bytes().size());
  words_.assign(area.bytes().data(), length);
}

void Capture::after(const RpcRequest& answer) {
  if (folder_.empty()) return;
  ++exchange_;
  const ClientArea area(request_.shmid);
  const std::span<const char> bytes = area.bytes();
  const auto zeros = std::find_if(bytes.rbegin(), bytes.rend(), [](char c) { return c != 0; });
  write("request", bytes_of(request_), sizeof request_);
  write("words", words_, words_.size());
  write("answer", bytes_of(answer), sizeof answer);
  write("area", bytes.first(static_cast<std::size_t>(bytes.rend() - zeros)), bytes.size());
}

void Capture::write(const char* kind, std::span<const char> bytes, std::size_t size) const {
  char name[32];
  std::snprintf(name, sizeof name, "%04u.%s", exchange_, kind);
  const std::filesystem::path path = std::filesystem::path(folder_) / name;
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  file.close();
  if (!file) throw std::runtime_error(path.string() + ": cannot be written");
  std::filesystem::resize_file(path, size);
}

}  // namespace qsvmon::sim
