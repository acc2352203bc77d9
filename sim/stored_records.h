#pragma once

#include <string>
#include <vector>

#include "sim/data.h"
#include "sim/listing.h"

namespace qsvmon::sim {

/// Reads the listings' data files; their columns are described in sim/data/README.md. Every
/// function throws std::runtime_error, naming file and line, for data that cannot be used.
class StoredRecords {
 public:
  /// Both must outlive the object.
  StoredRecords(const std::string& folder, const Dictionary& dictionary)
      : folder_(folder), dictionary_(dictionary) {}

  RecordSource reset_sessions() const;    ///< reset_sessions.csv
  RecordSource malicious_events() const;  ///< malicious_events.csv
  RecordSource mails() const;             ///< mail.jsonl
  RecordSource ftp_operations() const;    ///< ftp.csv
  RecordSource telnet_commands() const;   ///< telnet.csv

 private:
  const std::string& folder_;
  const Dictionary& dictionary_;
};

/// The 64 slots of signatures.csv, as they are sent in front of the first batch of events.
std::vector<char> read_signature_table(const std::string& folder);

}  // namespace qsvmon::sim
