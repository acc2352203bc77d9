#pragma once

#include <cstdint>
#include <span>

#include "commands/listing/fold_table.h"
#include "commands/tcpreset/reset_record.h"
#include "commands/tcpreset/reset_stat.h"

/// The folds of the reset-session listings: records in, entries out, numbered as first seen, over
/// any number of batches. A record is dropped when there is no memory for its entry.
namespace qsvmon {

/// One entry per address.
class IpFold {
 public:
  explicit IpFold(IpSide side, LargeMemory memory = {}) : side_(side), table_(memory) {}

  void add(std::span<const ResetRecord> records);

  std::uint32_t size() const { return table_.size(); }
  const IpStat& operator[](std::uint32_t number) const { return table_[number]; }

 private:
  IpSide side_;
  FoldTable<AddressKeys<IpStat>> table_;
};

/// One entry per domain name; sessions without a name are left out.
class DnsFold {
 public:
  explicit DnsFold(LargeMemory memory = {}) : table_(memory) {}

  void add(std::span<const ResetRecord> records);

  std::uint32_t size() const { return table_.size(); }
  const DnsStat& operator[](std::uint32_t number) const { return table_[number]; }

 private:
  FoldTable<NameKeys<DnsStat>> table_;
};

}  // namespace qsvmon
