#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "sim/dict_tables.h"
#include "sim/listing.h"

namespace qsvmon::sim {

/// Where the listings' records come from.
struct DataOptions {
  std::string folder;        ///< the plain-text files
  std::size_t records = 0;   ///< not 0: generate this many of each kind instead
  std::size_t distinct = 0;  ///< of these, how many addresses and names differ; 0: all
  std::uint64_t seed = 1;
};

/// The application ids and the two tables that are sent in front of replies.
struct Dictionary {
  std::map<std::string, std::uint16_t> id_by_name;
  std::vector<char> tables;  ///< kDictTableBytes, applications first

  /// The id of `name`, a number as it is; 0 for "". Throws for an unknown name.
  std::uint16_t id(const std::string& name) const;
};

/// Reads user_apps.csv and user_groups.csv. Throws std::runtime_error for data that cannot be
/// used, as every function here does.
Dictionary read_dictionary(const std::string& folder);

/// The listings by module name: tcpreset, qsvmalicious, emaillog, ftplog, telnetlog.
std::map<std::string, RecordSource> read_listings(const DataOptions& options,
                                                  const Dictionary& dictionary);

}  // namespace qsvmon::sim
