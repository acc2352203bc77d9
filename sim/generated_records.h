#pragma once

#include <cstddef>
#include <cstdint>

#include "sim/listing.h"

namespace qsvmon::sim {

/// Listings of any length, for measuring. Record n depends on the seed and n alone, so that the
/// same options give the same bytes on any machine and no record is stored.
class GeneratedRecords {
 public:
  /// `distinct` addresses and names among the records; 0: every record has its own.
  GeneratedRecords(std::size_t count, std::size_t distinct, std::uint64_t seed)
      : count_(count), distinct_(distinct), seed_(seed) {}

  RecordSource reset_sessions() const;
  RecordSource malicious_events() const;
  RecordSource mails() const;
  RecordSource ftp_operations() const;
  RecordSource telnet_commands() const;

 private:
  std::size_t count_;
  std::size_t distinct_;
  std::uint64_t seed_;
};

}  // namespace qsvmon::sim
