#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "commands/tcpreset/reset_record.h"
#include "tests/unit/support/fake_batches.h"

namespace qsvmon {

/// A record in readable terms: host order, the metrics one by one.
struct Session {
  std::uint32_t time = 0;
  std::uint32_t src = 0;
  std::uint32_t dst = 0;
  std::uint16_t sport = 0;
  std::uint16_t dport = 0;
  std::uint32_t app = 0;
  std::uint32_t status = 0;
  std::uint32_t traffic = 0;
  std::string_view name = {};
};

inline ResetRecord record_of(const Session& session) {
  ResetRecord record{};
  record.time_secs = session.time;
  record.src_net = from_net32(session.src);
  record.dst_net = from_net32(session.dst);
  record.sport_net = from_net16(session.sport);
  record.dport_net = from_net16(session.dport);
  record.appword = session.traffic << 26 | session.status << 14 | session.app;
  const std::size_t length = std::min(session.name.size(), sizeof record.name);
  if (length > 0) std::memcpy(record.name, session.name.data(), length);
  return record;
}

inline std::vector<ResetRecord> records_of(const std::vector<Session>& sessions) {
  std::vector<ResetRecord> records;
  for (const Session& session : sessions) records.push_back(record_of(session));
  return records;
}

/// Argument words from literals.
class WordList {
 public:
  explicit WordList(std::vector<const char*> words) {
    for (const char* word : words) words_.push_back(const_cast<char*>(word));
  }
  std::span<char* const> get() const { return words_; }

 private:
  std::vector<char*> words_;
};

}  // namespace qsvmon
