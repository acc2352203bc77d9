#pragma once

#include <cstdint>
#include <span>

#include "commands/listing/fold_table.h"
#include "commands/tcpreset/flow_stat.h"

namespace qsvmon {

/// The sessions of one domain name.
struct DnsStat : FlowStat {
  std::uint32_t http20x;  ///< sessions by the class of their HTTP status
  std::uint32_t http30x;
  std::uint32_t http40x;
  std::uint32_t http50x;
  NameKey<4> name;
};

/// Folds reset sessions into one entry per domain name, numbered as first seen; sessions without a
/// name are left out. Takes any number of batches. A record that finds no memory is dropped.
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
