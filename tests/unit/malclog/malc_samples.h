#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "commands/malclog/malc_record.h"
#include "commands/malclog/malclog.h"
#include "commands/malclog/tally.h"
#include "commands/malclog/tidpool.h"
#include "format/printer.h"
#include "pools/itlgc_pool.h"
#include "tests/unit/support/fake_batches.h"

/// Signatures, events and batches for the malicious-event tests.
namespace qsvmon::malc_samples {

/// An address in network order from its four octets, as the bytes lie in a record.
inline std::uint32_t net(std::uint8_t a, std::uint8_t b, std::uint8_t c, std::uint8_t d) {
  const std::uint8_t bytes[4] = {a, b, c, d};
  std::uint32_t value = 0;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

/// A port in network order.
inline std::uint16_t net_port(unsigned port) {
  return static_cast<std::uint16_t>(((port & 0xff) << 8) | ((port >> 8) & 0xff));
}

/// The count of `slot` in `tally`; 0 when it was never counted, or wrapped.
inline std::uint16_t count_of(const Tally& tally, int slot) {
  std::uint16_t found = 0;
  tally.for_each([&](int n, std::uint16_t count) { found = n == slot ? count : found; });
  return found;
}

struct Sig {
  std::uint16_t tid = 0;
  std::uint8_t type = 0;
  std::uint8_t mkmode = kModeOwnName;
  std::uint8_t itlgc = 0;
  std::string_view name = "";
  std::uint16_t vid = 0;
  std::uint8_t disabled = 0;
};

inline MalcTid signature(const Sig& sig) {
  MalcTid tid{};
  tid.tid = sig.tid;
  tid.vid = sig.vid;
  tid.type = sig.type;
  tid.disabled = sig.disabled;
  tid.itlgc = sig.itlgc;
  tid.mkmode = sig.mkmode;
  std::memcpy(tid.name, sig.name.data(), std::min(sig.name.size(), sizeof tid.name));
  return tid;
}

/// A table with `slots` filled and the other slots zero.
inline SignatureTable table(std::initializer_list<std::pair<int, Sig>> slots) {
  SignatureTable result{};
  for (const auto& [slot, sig] : slots) result[static_cast<std::size_t>(slot)] = signature(sig);
  return result;
}

/// Signatures that most listings are tested with, in slots 0 to 3, and `more`.
inline SignatureTable common_table(std::initializer_list<std::pair<int, Sig>> more) {
  SignatureTable result = table({
      {0, {.tid = 100, .name = "zero"}},
      {1, {.tid = 101, .name = "one"}},
      {2, {.tid = 102, .type = 1, .mkmode = 2, .itlgc = 7, .name = "two"}},
      {3, {.tid = 103, .mkmode = 2, .itlgc = 7, .name = "three"}},
  });
  for (const auto& [slot, sig] : more) result[static_cast<std::size_t>(slot)] = signature(sig);
  return result;
}

inline std::string bytes_of(const SignatureTable& table) {
  return {reinterpret_cast<const char*>(table.data()), sizeof(SignatureTable)};
}

/// The pool of a query after a first batch that brought `table` and some records.
inline TidPool pool(const MalcQuery& query, const SignatureTable& table) {
  TidPool result(query);
  const std::string bytes = bytes_of(table);
  result.fill(bytes, true);
  return result;
}

constexpr std::uint64_t bit(int slot) {
  return std::uint64_t{1} << slot;
}

/// An event that counts (its time is 1) with `bitmap`; the rest is zero.
inline MalcEvent event(std::uint64_t bitmap) {
  MalcEvent e{};
  e.time_secs = 1;
  e.bitmap = bitmap;
  return e;
}

inline MalcEvent to(std::uint32_t dst_net, std::uint64_t bitmap) {
  MalcEvent e = event(bitmap);
  e.dst_net = dst_net;
  return e;
}

/// An event of `host`; its length is the text's, its field what of it fits.
inline MalcEvent of_host(std::string_view host, std::uint64_t bitmap) {
  MalcEvent e = event(bitmap);
  e.host_len = static_cast<std::uint8_t>(host.size());
  std::memcpy(e.host, host.data(), std::min(host.size(), sizeof e.host));
  return e;
}

/// The bytes of `events`, as a later batch holds them.
inline std::string bytes_of(const std::vector<MalcEvent>& events) {
  return {reinterpret_cast<const char*>(events.data()), events.size() * sizeof(MalcEvent)};
}

/// One batch with the table and all events.
inline FakeBatches one_batch(const SignatureTable& table, const std::vector<MalcEvent>& events) {
  FakeBatches batches;
  batches.batch(bytes_of(table) + bytes_of(events), static_cast<std::uint32_t>(events.size()));
  return batches;
}

using Categories = std::array<ItlgcEntry, 32>;

inline void set_category(Categories& categories, std::size_t id, const char* name,
                         const char* cname) {
  std::strcpy(categories[id].name, name);
  std::strcpy(categories[id].cname, cname);
}

/// The names of category 7, which the common signatures have.
inline Categories common_categories() {
  Categories result{};
  set_category(result, 7, "botnet", "zombie net");
  return result;
}

/// A query of that list type without filters.
inline MalcQuery query_of(MalcListType type) {
  MalcQuery query;
  query.listtype = type;
  return query;
}

/// What a listing prints with `categories` in the pool; a failure's line comes behind a "!".
inline std::string listing(const MalcQuery& query, FakeBatches& batches, Categories categories) {
  MemoryPrinter out;
  TidPool tids(query);
  const Status status = list_events(out, query, batches, tids, categories);
  if (!status.ok()) out.put("!", status.line());
  return out.str();
}
/// The same for one batch.
inline std::string listing(const MalcQuery& query, const SignatureTable& table,
                           const std::vector<MalcEvent>& events, const Categories& categories) {
  FakeBatches batches = one_batch(table, events);
  return listing(query, batches, categories);
}

}  // namespace qsvmon::malc_samples
