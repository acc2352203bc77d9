#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "format/status.h"
#include "rpc/wire/message_codes.h"
#include "rpc/wire/request.h"
#include "rpc/words.h"

namespace qsvmon {

/// What one batched command asks for. The daemon answers a listing in batches, one call each. All
/// calls send the same request record: what the last reply wrote into a field stays there, unless
/// the plan sets it again.
/// KEEP: which fields a command sets again is as its daemon has always seen it; nothing but that
/// tells the commands apart.
struct BatchPlan {
  std::string_view module;  ///< target name, set for every batch
  Daemon daemon;
  WordStyle style = WordStyle::kBlankBefore;  ///< kBlankAfter also counts the NUL in datalen
  std::uint32_t msgcode = kVerbList;          ///< set for every batch
  std::size_t record_bytes = 0;               ///< of a record; not 0 maps a batch at once
  bool want_dict = false;  ///< `syncdesc` of the first request: 1 asks for the dictionary
  bool clear_syncdesc_later = false;  ///< sets it to 0 from the second on; else it is as replied
  bool clear_result = false;  ///< sets `result` to 0 in every request; else it is as replied
};

/// A listing's reply, batch by batch. The spans of `bytes` and `records` lie within the shared
/// area, whatever the daemon claims, and are valid until the next `fetch`. Tests have one that
/// needs no daemon.
class BatchSource {
 public:
  virtual ~BatchSource() = default;

  /// True after the batch that the daemon marked as the last.
  virtual bool done() const = 0;
  /// Fetches the next batch. On failure the status holds the line to print.
  virtual Status fetch() = 0;
  /// The reply from its first byte behind dictionary tables to the end of the area.
  virtual std::span<const char> bytes() const = 0;
  /// The daemon's record count, as sent (unsigned, unbounded).
  virtual std::uint32_t claimed() const = 0;

  /// The records that begin `skip` bytes into the reply: as many as claimed, at most what fits the
  /// area. `Record` has alignment 1.
  template <class Record>
  std::span<const Record> records(std::size_t skip = 0) const {
    static_assert(alignof(Record) == 1);
    const std::span<const char> reply = bytes();
    if (skip >= reply.size()) return {};
    const std::size_t room = (reply.size() - skip) / sizeof(Record);
    const std::size_t count = claimed() < room ? claimed() : room;
    return {reinterpret_cast<const Record*>(reply.data() + skip), count};
  }
};

/// The batches that a daemon sends: one call each, with the same request. `fetch` fails with the
/// daemon's or the transport's error text, or with "argument text too long".
class RpcBatches final : public BatchSource {
 public:
  RpcBatches(const BatchPlan& plan, Words words) : plan_(plan), words_(words) {}

  bool done() const override { return request_.islast != 0; }
  Status fetch() override;
  std::span<const char> bytes() const override { return bytes_; }
  std::uint32_t claimed() const override { return static_cast<std::uint32_t>(request_.result); }
  /// The last reply.
  const RpcRequest& request() const { return request_; }

 private:
  BatchPlan plan_;
  Words words_;
  RpcRequest request_{};
  std::span<const char> bytes_;
  std::size_t mapped_ = 0;  ///< bytes of the reply that were mapped so
  bool first_ = true;
};

/// Feeds every record of `batches` to `fold.add(std::span<const Record>)`, batch by batch.
template <class Record, class Fold>
Status fold_all(BatchSource& batches, Fold& fold) {
  while (!batches.done()) {
    if (Status s = batches.fetch(); !s.ok()) return s;
    fold.add(batches.records<Record>());
  }
  return Status::good();
}

}  // namespace qsvmon
