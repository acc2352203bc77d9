#pragma once

#include <cstddef>
#include <span>
#include <string>

#include "rpc/wire/request.h"

namespace qsvmon::sim {

/// Writes what crosses between client and daemon into files of a folder, four for each exchange,
/// numbered from 1 in the order of the answers:
///   0001.request   the 208 bytes that the client sent
///   0001.words     the argument text in its area, `datalen` bytes of it
///   0001.answer    the 208 bytes that were sent back
///   0001.area      its area as the answer left it, whole (zeros at its end are a hole in the file)
class Capture {
 public:
  /// Creates the folder when it is missing. An empty name captures nothing. Throws
  /// std::filesystem::filesystem_error when it cannot be created.
  explicit Capture(const std::string& folder);

  /// Stores the request and its words, before the answer is written over them.
  void before(const RpcRequest& request);
  /// Writes the exchange's files. Throws std::runtime_error when one cannot be written.
  void after(const RpcRequest& answer);

 private:
  void write(const char* kind, std::span<const char> bytes, std::size_t size) const;

  std::string folder_;  ///< absolute, or empty
  unsigned exchange_ = 0;
  RpcRequest request_{};
  std::string words_;
};

}  // namespace qsvmon::sim
