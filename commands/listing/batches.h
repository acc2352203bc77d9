#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

#include "commands/listing/words.h"
#include "format/status.h"
#include "rpc/request.h"

namespace qsvmon {

/// What one batched command asks for. The same record is sent for every batch, as the last reply
/// left it but for the fields that the command's steps set again.
struct BatchPlan {
  std::string_view module;                    ///< target name, set for every batch
  const char* socket_path;                    ///< kLogSocketPath or kMgmtSocketPath
  WordStyle style = WordStyle::kBlankBefore;  ///< kBlankAfter also counts the NUL in datalen
  std::uint32_t msgcode = kVerbList;          ///< set for every batch
  bool want_dict = false;                     ///< ask for the dictionary with the first batch
  bool clear_syncdesc_later = false;          ///< later batches ask for none; else as replied
  bool clear_result = false;                  ///< `result` is 0 in every request
};

/// Fetches a listing's reply batch by batch and lends it out. The bytes lent out can never leave
/// the shared area, whatever the daemon claims, and are valid until the next `fetch`.
///
///     while (!batches.done()) {
///       if (Status s = batches.fetch(); !s.ok()) return s;
///       use(batches.records<Record>());
///     }
class BatchLoop {
 public:
  BatchLoop(const BatchPlan& plan, Words words) : plan_(plan), words_(words) {}

  /// True after the batch that the daemon marked as the last.
  bool done() const { return done_; }

  /// Sends the request again and takes the next batch. On failure the status holds the line to
  /// print: the daemon's or the transport's error text, or "argument text too long".
  Status fetch();

  /// The reply from its first byte behind dictionary tables to the end of the area.
  std::span<const char> bytes() const { return bytes_; }
  /// The daemon's record count, as sent (unsigned, unbounded).
  std::uint32_t claimed() const { return static_cast<std::uint32_t>(request_.result); }
  /// The reply's length as the daemon sent it.
  std::uint32_t replylen() const { return request_.replylen; }
  const RpcRequest& request() const { return request_; }

  /// The records that begin `skip` bytes into the reply: as many as claimed, at most what fits the
  /// area. `Record` has alignment 1.
  template <class Record>
  std::span<const Record> records(std::size_t skip = 0) const {
    static_assert(alignof(Record) == 1);
    if (skip >= bytes_.size()) return {};
    const std::size_t room = (bytes_.size() - skip) / sizeof(Record);
    const std::size_t count = claimed() < room ? claimed() : room;
    return {reinterpret_cast<const Record*>(bytes_.data() + skip), count};
  }

 private:
  BatchPlan plan_;
  Words words_;
  RpcRequest request_{};
  std::span<const char> bytes_;
  bool first_ = true;
  bool done_ = false;
};

/// The batches of a listing whose reply is nothing but records. Tests pass an object of the same
/// shape made from vectors.
template <class Record>
class RpcBatches {
 public:
  RpcBatches(const BatchPlan& plan, Words words) : loop_(plan, words) {}
  bool done() const { return loop_.done(); }
  Status fetch() { return loop_.fetch(); }
  std::span<const Record> records() const { return loop_.template records<Record>(); }

 private:
  BatchLoop loop_;
};

/// Feeds every batch of `batches` to `sink(std::span<const Record>)` until the last one.
template <class Batches, class Sink>
Status for_each_batch(Batches& batches, Sink&& sink) {
  while (!batches.done()) {
    if (Status s = batches.fetch(); !s.ok()) return s;
    sink(batches.records());
  }
  return Status::good();
}

}  // namespace qsvmon
