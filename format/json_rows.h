#pragma once

#include <cstdint>
#include <string_view>

#include "format/printer.h"

namespace qsvmon {

/// The JSON document around rows: {"data":[row,row],"count":2}.
class JsonRows {
 public:
  explicit JsonRows(Printer& out) : out_(out) { out_.put("{\"data\":["); }

  /// Call it in front of each row.
  void next_row() {
    if (count_++ != 0) out_.put(',');
  }
  /// Rows so far.
  std::uint32_t count() const { return count_; }
  /// `total` is the name of the member with the number of all rows.
  void finish(std::string_view total, std::uint32_t number) {
    out_.put("],\"", total, "\":", number, '}');
  }

 private:
  Printer& out_;
  std::uint32_t count_ = 0;
};

}  // namespace qsvmon
