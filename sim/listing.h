#pragma once

#include <cstddef>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "sim/call.h"

namespace qsvmon::sim {

/// The records of one listing, in order: stored ones, or any number generated on demand.
struct RecordSource {
  std::size_t count = 0;
  std::size_t record_bytes = 0;
  /// Writes records [first, first + n) to `to`.
  std::function<void(std::size_t first, std::size_t n, char* to)> fill;
  std::vector<char> head;  ///< sent in front of the first batch's records
};

/// A source of stored records.
template <class Record>
RecordSource stored_records(std::vector<Record> records) {
  static_assert(std::is_trivially_copyable_v<Record>);
  RecordSource source{records.size(), sizeof(Record), nullptr, {}};
  source.fill = [stored = std::move(records)](std::size_t first, std::size_t n, char* to) {
    if (n > 0) std::memcpy(to, &stored[first], n * sizeof(Record));
  };
  return source;
}

/// A source of `count` records, each generated from its number alone.
template <class Record>
RecordSource generated_records(std::size_t count, std::function<Record(std::size_t)> make) {
  static_assert(std::is_trivially_copyable_v<Record>);
  RecordSource source{count, sizeof(Record), nullptr, {}};
  source.fill = [make = std::move(make)](std::size_t first, std::size_t n, char* to) {
    for (std::size_t i = 0; i < n; ++i, to += sizeof(Record)) {
      const Record record = make(first + i);
      std::memcpy(to, &record, sizeof record);
    }
  };
  return source;
}

/// Serves listings in batches and stores how far each client has read.
class Batches {
 public:
  /// At most `records` in a batch, whatever the area holds; 0 for no limit.
  explicit Batches(std::size_t records = 0) : limit_(records) {}

  /// Puts the client's next batch of `source` into `call.body`: `result` is the number of records,
  /// `islast` is set with the last of them. Fails with "AREA_TOO_SMALL" when not one fits.
  void answer(Call& call, const std::string& listing, const RecordSource& source);

  /// The same for a source that is made for the client's first batch and stored for its later ones.
  void answer_snapshot(Call& call, const std::string& listing,
                       const std::function<RecordSource()>& make);

 private:
  using Key = std::pair<ClientKey, std::string>;
  struct Progress {
    std::size_t next = 0;
    RecordSource snapshot;
  };
  void advance(Call& call, const Key& key, Progress& progress, const RecordSource& source);
  void forget_ended_clients();

  std::size_t limit_;
  std::map<Key, Progress> progress_;
};

}  // namespace qsvmon::sim
