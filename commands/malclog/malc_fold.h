#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "commands/listing/fold_table.h"
#include "commands/malclog/malc_record.h"
#include "commands/malclog/tally.h"
#include "commands/malclog/tidpool.h"
#include "pools/itlgc_pool.h"

/// The folds of the malicious-event listings, one for each kind of row but the single event (`Agg`,
/// as in aggregation, is what the appliance's developers call them): events in, rows of counters
/// out, numbered from 0, over any number of batches. `tids` must outlive a fold and be filled
/// before its first `add`. An empty record, whose time is 0, counts nowhere; an event is dropped
/// when there is no memory to count it.
namespace qsvmon {

/// The events of one address.
struct MalcIpStat {
  std::uint32_t ip;     ///< network order
  std::uint32_t total;  ///< events counted
  Tally tally;
};

/// Folds events by destination or source address, numbered as first seen. An event counts when
/// `tid_match` and the category filter let it pass.
class MalcIpAgg {
 public:
  MalcIpAgg(const TidPool& tids, IpSide side, LargeMemory memory = {})
      : tids_(tids), side_(side), rows_(memory), blocks_(memory) {}

  void add(std::span<const MalcEvent> events);

  std::uint32_t size() const { return rows_.size(); }
  const MalcIpStat& operator[](std::uint32_t row) const { return rows_[row]; }

 private:
  const TidPool& tids_;
  IpSide side_;
  FoldTable<AddressKeys<MalcIpStat>> rows_;
  TallyBlocks blocks_;
};

/// The events of one host.
struct MalcHostStat {
  NameKey<48> name;     ///< at most 42 bytes, so NUL-terminated; may hold NULs before its end
  std::uint32_t total;  ///< events counted
  Tally tally;
};

/// Folds events by host, numbered as first seen. An event counts when it has a host and `tid_match`
/// and the category filter let it pass.
///
/// KEEP: a row has room for 42 bytes of host, and what the appliance makes of longer ones is part
/// of its listing:
/// - An event of more than 43 bytes always makes a row of its own, under the first 42. A host of
///   exactly those 42 bytes joins the newest of these rows, and makes one if there is none.
/// - The row of an event of exactly 43 bytes can neither be found again nor shown or counted as a
///   row; nothing of it is ever seen, so none is made here.
class MalcHostAgg {
 public:
  static constexpr std::size_t kMaxName = 42;

  explicit MalcHostAgg(const TidPool& tids, LargeMemory memory = {})
      : tids_(tids), rows_(memory), blocks_(memory) {}

  void add(std::span<const MalcEvent> events);

  std::uint32_t size() const { return rows_.size(); }
  const MalcHostStat& operator[](std::uint32_t row) const { return rows_[row]; }

 private:
  const TidPool& tids_;
  FoldTable<NameKeys<MalcHostStat>> rows_;
  TallyBlocks blocks_;
};

/// The events of one application.
struct MalcAppStat {
  std::uint16_t apid;   ///< 0 in a row that no event made, and in that of application 0
  std::uint32_t total;  ///< events counted
  Tally tally;
};

/// Folds events by application id, which is the row's number. Events of ids from 1000 on are
/// dropped.
class MalcAppAgg {
 public:
  static constexpr std::uint32_t kApps = 1000;

  explicit MalcAppAgg(const TidPool& tids, LargeMemory memory = {})
      : tids_(tids), blocks_(memory) {}

  void add(std::span<const MalcEvent> events);

  std::uint32_t size() const { return kApps; }
  const MalcAppStat& operator[](std::uint32_t row) const { return rows_[row]; }

 private:
  const TidPool& tids_;
  std::array<MalcAppStat, kApps> rows_{};
  TallyBlocks blocks_;
};

/// One signature and how many events it matched.
struct MalcTidStat {
  const MalcTid& signature;
  std::uint32_t total;
};

/// Counts events by signature; a row's number is its slot. An event adds 1 to each slot that it
/// matched and that passes the category filter; a signature that the query names does not filter
/// here. Without any event there are no rows, with one every signature has a row.
class MalcTidAgg {
 public:
  using CategoryHits = std::array<std::uint32_t, kItlgcCategories>;

  explicit MalcTidAgg(const TidPool& tids) : tids_(tids) {}

  void add(std::span<const MalcEvent> events);

  std::uint32_t size() const { return made_ ? kSlots : 0; }
  MalcTidStat operator[](std::uint32_t row) const {
    return {tids_.slot(static_cast<int>(row)), counts_[row]};
  }

  /// The sums of the signatures listed by their category; those of other categories are lost.
  CategoryHits category_hits() const;

 private:
  const TidPool& tids_;
  std::array<std::uint32_t, kSlots> counts_{};
  bool made_ = false;
};

}  // namespace qsvmon
