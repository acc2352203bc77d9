#pragma once

#include <cstdint>
#include <span>

#include "commands/listing/fold_table.h"
#include "commands/tcpreset/reset_record.h"
#include "commands/tcpreset/reset_stat.h"

/// The folds of the reset-session listings: records in, entries numbered as first seen out. They
/// take any number of batches; a record that finds no memory is dropped.
namespace qsvmon {

/// One entry per address.
class IpFold {
 public:
  explicit IpFold(IpSide side, FoldMemory memory = {}) : side_(side), table_(memory) {}

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
  explicit DnsFold(FoldMemory memory = {}) : table_(memory) {}

  void add(std::span<const ResetRecord> records);

  std::uint32_t size() const { return table_.size(); }
  const DnsStat& operator[](std::uint32_t number) const { return table_[number]; }

 private:
  FoldTable<NameKeys<DnsStat>> table_;
};

}  // namespace qsvmon
