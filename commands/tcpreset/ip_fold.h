#pragma once

#include <cstdint>
#include <span>

#include "commands/listing/fold_table.h"
#include "commands/tcpreset/flow_stat.h"

namespace qsvmon {

/// Which address of a session is the key.
enum class IpSide : std::uint8_t {
  kDst,  ///< destination; the slots hold destination ports
  kSrc,  ///< source; the slots hold application ids
};

/// The sessions of one address.
struct IpStat : FlowStat {
  std::uint32_t ip;  ///< network order, as it came
};

/// Folds reset sessions into one entry per address, numbered as first seen. Takes any number of
/// batches. A record that finds no memory is dropped.
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

}  // namespace qsvmon
