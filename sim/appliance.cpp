#include "sim/appliance.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <ctime>
#include <fstream>
#include <stdexcept>

#include "commands/iptable/asset_object_record.h"
#include "sim/csv.h"
#include "sim/text.h"

namespace qsvmon::sim {
namespace {

// The modules that have commands, in the order of `module list`.
constexpr const char* kModules[] = {
    "module",     "qsvlog",     "qsvquery", "worker",    "disk",   "assetsgroup2",
    "assetsobj2", "table",      "tcpreset", "emaillog",  "ftplog", "telnetlog",
    "malclog",    "qsviptable", "qsvtable", "qsvdnsgrp",
};

// The numbers are the group, the object and its logical object.
AssetObjectRecord asset_record(const Item& item) {
  AssetObjectRecord record{};
  record.num1 = static_cast<std::uint16_t>(word_number(item.words, "pid", 0));
  record.num2 = static_cast<std::uint32_t>(item.id);
  record.num3 = static_cast<std::uint32_t>(word_number(item.words, "logicid", item.id));
  const std::string name = word_value(item.words, "name");
  std::memcpy(record.name, name.data(), std::min(name.size(), sizeof record.name - 1));
  return record;
}

// A text in batches: its records are its bytes.
RecordSource text_source(std::string text) {
  return stored_records(std::vector<char>(text.begin(), text.end()));
}

std::string entry_lines(const IpTable& table) {
  std::string text;
  for (const IpEntry& entry : table.entries) {
    text += address_text(entry.low);
    if (entry.high != entry.low) append(text, "-%s", address_text(entry.high).c_str());
    if (!entry.info.empty()) text += " " + entry.info;
    text += "\n";
  }
  return text;
}

}  // namespace

Appliance::Appliance(const DataOptions& options, const std::string& conf_folder, std::size_t batch)
    : dictionary_(read_dictionary(options.folder)),
      listings_(read_listings(options, dictionary_)),
      batches_(batch),
      data_folder_(options.folder),
      started_at_(static_cast<std::uint32_t>(std::time(nullptr))) {
  seed_tables(options.folder);
  seed_assets(conf_folder);
}

void Appliance::seed_tables(const std::string& folder) {
  const CsvTable csv = CsvTable::read(folder + "/ip_tables.csv");
  for (const CsvTable::Row& row : csv.rows()) {
    const Daemon daemon = row.text("daemon") == "log" ? Daemon::kLog : Daemon::kMgmt;
    const std::string& id = row.text("tid");
    tables(daemon).create(row.number("tid", 0xffffffff), row.text("name"));
    if (!tables(daemon).seed(id, row.text("ip"), row.text("info"))) row.fail("not an address");
    if (daemon == Daemon::kMgmt) {
      modules_.state(daemon, "qsvtable").add({"id=" + id, "name=" + row.text("name")});
    }
  }
}

void Appliance::seed_assets(const std::string& conf_folder) {
  std::ifstream in(conf_folder + "/qsv_assets.conf");
  for (std::string line; std::getline(in, line);) {
    Words words = split_words(line);
    if (words.size() < 2) continue;
    const std::string section = words.front();
    words.erase(words.begin());
    if (section == "group") modules_.state(Daemon::kLog, "assetsgroup2").add(words);
    if (section == "assets") modules_.state(Daemon::kLog, "assetsobj2").add(words);
  }
}

void Appliance::answer(Daemon daemon, RpcRequest& request) {
  const ClientArea area(request.shmid);
  Call call{daemon, request, std::string(request_errtext(request)), {}, {}, {}, area.client(), {}};
  const std::uint32_t shmsize = request.shmsize;
  request.status = kRpcOk;
  request.result = 0;
  request.replylen = 0;
  request.islast = 1;
  request.reply = nullptr;
  if (!area.attached()) return call.fail("NO_AREA");

  const std::span<char> bytes = area.bytes();
  const std::size_t length = std::min<std::size_t>(request.datalen, bytes.size());
  call.text.assign(bytes.data(), ::strnlen(bytes.data(), length));
  call.words = split_words(call.text);
  call.body = bytes;
  if (request.syncdesc != 0) {
    if (bytes.size() < kDictTableBytes) return call.fail("AREA_TOO_SMALL");
    std::copy(dictionary_.tables.begin(), dictionary_.tables.end(), bytes.begin());
    call.body = bytes.subspan(kDictTableBytes);
  }
  ++requests_[call.target];
  route(call);
  request.shmsize = shmsize;
  request.reply = nullptr;
}

void Appliance::route(Call& call) {
  const bool is_verb = call.request.msgcode >= kVerbStat && call.request.msgcode <= kVerbDebug;
  if (!is_verb) return route_coded(call);
  if (call.target.empty()) return call.fail("NO_MODULE");
  const bool done = call.daemon == Daemon::kLog ? route_log_module(call) : route_mgmt_module(call);
  if (!done) modules_.answer(call);
}

void Appliance::route_coded(Call& call) {
  IpTables& ips = tables(call.daemon);
  switch (call.request.msgcode) {
    case kCodeTableAddIp:
      return ips.add(call);
    case kCodeTableRemoveIp:
      return ips.remove(call);
    case kCodeTableClear:
      return ips.clear(call, call.target);
    case kCodeTableGetCmp:
      return ips.compiled(call, call.target);
    case kCodeTableLoadFile:
      return ips.load(call);
    case kCodeTableMatchTest:
      return ips.match(call, std::to_string(call.request.argval), call.target);
    case kCodeModuleList:
    case kCodeModuleStat:
      return show_modules(call);
    case kCodeKeyTableList:
      begin_text(call);
      for (const auto& [name, id] : dictionary_.id_by_name) {
        append(call.out, "%d %s\n", id, name.c_str());
      }
      return end_text(call);
    case kCodeSyncDesc:
      begin_text(call);
      return end_text(call);
    default:
      return call.fail("UNKNOWN_CODE");
  }
}

bool Appliance::route_log_module(Call& call) {
  const std::uint32_t verb = call.request.msgcode;
  if (call.target == "worker" && verb == kVerbAdd) return workers_.add(call), true;
  if (call.target == "worker" && verb == kVerbList) return workers_.list(call), true;
  if (call.target == "worker" && verb == kVerbStat) return workers_.stat(call), true;
  if (call.target == "disk" && verb == kVerbStat) return show_disk(call), true;
  if (call.target == "assetsobj" && verb == kVerbList) return list_assets(call), true;
  if (call.target == "table" && verb == kVerbGet) return get_table(call), true;
  if ((call.target == "qsvlog" || call.target == "qsvquery") && verb == kVerbStat) {
    return show_stat(call), true;
  }
  return false;
}

bool Appliance::route_mgmt_module(Call& call) {
  const auto listing = listings_.find(call.target);
  if (listing != listings_.end() && call.request.msgcode == kVerbList) {
    batches_.answer(call, listing->first, listing->second);
    return true;
  }
  if (call.target == "qsviptable") return route_ip_table(call), true;
  if (call.target != "qsvtable") return false;
  // The items of this module are the tables: removing one removes its addresses.
  if (call.request.msgcode == kVerbGet) return get_table(call), true;
  modules_.answer(call);
  mgmt_tables_.set_tables(modules_.state(Daemon::kMgmt, "qsvtable").items());
  return true;
}

void Appliance::route_ip_table(Call& call) {
  switch (call.request.msgcode) {
    case kVerbAdd:
      mgmt_tables_.add(call);
      break;
    case kVerbRemove:
      return mgmt_tables_.remove(call);
    case kVerbGet:
      return mgmt_tables_.compiled(call, table_of(call.words));
    case kVerbLoad:
      mgmt_tables_.load(call);
      break;
    default:
      return modules_.answer(call);
  }
  if (const IpTable* table = mgmt_tables_.find(table_of(call.words)); table != nullptr) {
    modules_.state(Daemon::kMgmt, "qsvtable")
        .add({"id=" + std::to_string(table->id), "name=" + table->name});
  }
}

// The addresses of a table: binary, or as text lines with their labels when "info=1" is given.
void Appliance::get_table(Call& call) {
  const IpTable* table = tables(call.daemon).find(table_of(call.words));
  if (table == nullptr) return call.fail("NO_TABLE");
  if (word_number(call.words, "info", 0) == 0) {
    batches_.answer_snapshot(call, call.target, [&] { return stored_records(table->addresses()); });
    call.request.replylen = 0;  // KEEP: the client tells the binary form by this
    return;
  }
  const std::span<char> whole = call.body;
  if (whole.empty()) return call.fail("AREA_TOO_SMALL");
  call.body = whole.first(whole.size() - 1);
  batches_.answer_snapshot(call, call.target, [&] { return text_source(entry_lines(*table)); });
  if (!call.failed()) whole[call.request.replylen] = '\0';
}

void Appliance::list_assets(Call& call) {
  batches_.answer_snapshot(call, call.target, [&] {
    const std::vector<Item>& items = modules_.state(Daemon::kLog, "assetsobj2").items();
    const std::size_t limit = word_number(call.words, "limit", items.size());
    const std::size_t page = std::max<std::size_t>(word_number(call.words, "page", 1), 1);
    std::vector<AssetObjectRecord> records;
    for (std::size_t i = 0; i < items.size(); ++i) {
      if (limit != 0 && i / limit == page - 1) records.push_back(asset_record(items[i]));
    }
    return stored_records(std::move(records));
  });
}

// "module list": the modules that have commands; "module stat": with the number of requests to
// each.
void Appliance::show_modules(Call& call) {
  begin_text(call);
  for (const char* module : kModules) {
    if (call.request.msgcode == kCodeModuleList) {
      append(call.out, "%s\n", module);
    } else {
      append(call.out, "module=%s ", module);
      append_count(call.out, "requests", requests_[module]);
    }
  }
  end_text(call);
}

void Appliance::show_stat(Call& call) {
  unsigned long requests = 0;
  for (const auto& [name, count] : requests_) requests += count;
  begin_text(call);
  if (call.target == "qsvquery") {
    append(call.out, "{\"module\":\"qsvquery\",\"requests\":%lu,\"started\":\"%s\"}\n", requests,
           time_text(started_at_).c_str());
  } else {
    call.out += "module=qsvlog\n";
    if (const std::string tag = word_value(call.words, "tag"); !tag.empty()) {
      append(call.out, "tag=%s\n", tag.c_str());
    }
    append_count(call.out, "requests", requests);
    append_time(call.out, "started", started_at_);
  }
  end_text(call);
}

void Appliance::show_disk(Call& call) {
  const CsvTable csv = CsvTable::read(data_folder_ + "/disks.csv");
  begin_text(call);
  for (const CsvTable::Row& row : csv.rows()) {
    append(call.out, "mount=%s device=%s size=%sused=%s\n", row.text("mount").c_str(),
           row.text("device").c_str(), bytes_text(row.number("size", ~0UL)).c_str(),
           bytes_text(row.number("used", ~0UL)).c_str());
  }
  end_text(call);
}

}  // namespace qsvmon::sim
