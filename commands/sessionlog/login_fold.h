#pragma once

#include <span>

#include "commands/listing/record_list.h"
#include "commands/sessionlog/login_record.h"
#include "platform/read_once.h"

namespace qsvmon {

/// Appends FTP or Telnet records to a list: all of them, by their time.
template <class Record>
class LoginFold {
 public:
  /// The list outlives the fold.
  explicit LoginFold(RecordList& list) : list_(list) {}

  void add(std::span<const Record> records) {
    for (const Record& record : records) {
      list_.append(read_once(std::uint32_t{record.head.time}),
                   {reinterpret_cast<const char*>(&record), sizeof record});
    }
  }

 private:
  RecordList& list_;
};

}  // namespace qsvmon
