#pragma once

#include <cstdint>
#include <span>

#include "commands/malclog/malc_print.h"
#include "commands/malclog/malc_query.h"
#include "commands/malclog/malc_record.h"
#include "commands/malclog/tidpool.h"
#include "format/printer.h"

namespace qsvmon {

/// The beginning of the event-by-event listing.
inline void print_detail_begin(Printer& out) {
  out.put("{\"data\":[");
}

/// The rest of the listing: filters events as they arrive and prints those of one page at once,
/// so that none is stored. Borrows its arguments.
class MalcDetail {
 public:
  /// The signature table must be filled before the first `add`.
  MalcDetail(Printer& out, const MalcQuery& query, const MalcNames& names)
      : out_(out), query_(query), names_(names), tids_(names.tids), range_(query.range()) {}

  void add(std::span<const MalcEvent> events);
  /// KEEP: a blank stands before "count" here and in no other listing; the page's parser was
  /// written against it.
  void finish() { out_.put("], \"count\":", static_cast<std::int32_t>(count_), "}"); }

  /// Events that passed every filter and have something to list, shown or not.
  std::uint32_t count() const { return count_; }

 private:
  bool passes(const MalcEvent& event, std::uint64_t bitmap) const;
  bool has_list(std::uint64_t bitmap) const;

  Printer& out_;
  const MalcQuery& query_;
  MalcNames names_;
  const TidPool& tids_;
  PageRange range_;
  std::uint32_t count_ = 0;
  bool printed_one_ = false;
};

/// True when the query's host text lets `event` pass: its first host-length bytes are the event's
/// host, compared up to a NUL as texts are. `host` is a C string.
/// KEEP: a text that is longer than the event's host passes when the host is its beginning;
/// "host=example.com" finds events of "exam" too, and not those of "example.com.cn".
bool host_passes(const char* host, const MalcEvent& event);

/// A row's opening brace and its "list" member with the comma behind it: the signature that the
/// query names, or every listed signature of the event, categories once each.
/// KEEP: those that are equal modulo 64 are one here, and modulo 32 in the other listings; a pool
/// has 32.
void print_detail_list(Printer& out, const MalcQuery& query, const MalcNames& names,
                       std::uint64_t bitmap);

/// The rest of the row: from "src_ip" to the closing brace.
void print_detail_row(Printer& out, const MalcEvent& event);

}  // namespace qsvmon
