#pragma once

#include <map>
#include <string>

#include "rpc/wire/request.h"
#include "sim/area.h"
#include "sim/call.h"
#include "sim/data.h"
#include "sim/ip_tables.h"
#include "sim/listing.h"
#include "sim/modules.h"
#include "sim/workers.h"

namespace qsvmon::sim {

/// Both daemons behind the sockets: answers one request at a time, from the data files and from
/// what earlier requests stored.
class Appliance {
 public:
  /// Reads the data files and the assets of `conf_folder`. `batch` bounds the records of a
  /// batch (0: only the area does). Throws std::runtime_error when a file cannot be used.
  Appliance(const DataOptions& options, const std::string& conf_folder, std::size_t batch);

  /// Turns a request into its reply, in place and in the client's area. `status` and `errtext` say
  /// what was wrong with it.
  void answer(Daemon daemon, RpcRequest& request);

 private:
  void route(Call& call);
  void route_coded(Call& call);
  bool route_log_module(Call& call);
  bool route_mgmt_module(Call& call);
  void route_ip_table(Call& call);
  void get_table(Call& call);
  void list_assets(Call& call);
  void show_modules(Call& call);
  void show_stat(Call& call);
  void show_disk(Call& call);
  void seed_tables(const std::string& folder);
  void seed_assets(const std::string& conf_folder);
  IpTables& tables(Daemon daemon) { return daemon == Daemon::kLog ? log_tables_ : mgmt_tables_; }

  Dictionary dictionary_;
  std::map<std::string, RecordSource> listings_;
  Batches batches_;
  Modules modules_;
  IpTables log_tables_;
  IpTables mgmt_tables_;
  Workers workers_;
  std::string data_folder_;
  std::uint32_t started_at_;
  std::map<std::string, unsigned long> requests_;  ///< number of requests by module
};

}  // namespace qsvmon::sim
