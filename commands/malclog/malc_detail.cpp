#include "commands/malclog/malc_detail.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "format/address.h"
#include "format/byte_order.h"
#include "format/time.h"
#include "platform/read_once.h"
#include "pools/desc_pools.h"
#include "rpc/dict.h"

namespace qsvmon {
namespace {

void print_signs(Printer& out, unsigned sign) {
  const auto flag = [sign](unsigned bit) { return (sign >> bit) & 1U ? '1' : '0'; };
  out.put(",\"src_sign\":\"", flag(0), "\",\"dst_sign\":\"", flag(1), "\",\"dns_sign\":\"", flag(2),
          "\",\"uri_sign\":\"", flag(3), "\"");
}

void print_signature(Printer& out, const MalcTid& signature) {
  out.put("{\"tid\":", std::uint16_t{signature.tid}, ",\"type\":", signature.type, ",\"name\":\"",
          field_text(signature.name), "\"");
}

void print_category(Printer& out, int category, const ItlgcEntry& names) {
  out.put("{\"id\":", category, ",\"type\":0,\"name\":\"", names.name, "\",\"cname\":\"",
          names.cname, "\"");
}

}  // namespace

bool host_passes(const char* host, const MalcEvent& event) {
  const std::size_t length = read_once(event.host_len);
  if (length == 0) return false;
  return std::strncmp(host, event.host, std::min(length, sizeof event.host)) == 0;
}

void print_detail_list(Printer& out, const MalcQuery& query, const MalcNames& names,
                       std::uint64_t bitmap) {
  const TidPool& tids = names.tids;
  out.put("{\"list\":[");
  if (query.names_signature()) {
    print_signature(out, tids.slot(tids.resolved_slot()));
    out.put(",\"cnt\":1}],");
    return;
  }
  std::uint64_t listed = 0;  // a bit for each category, those from 64 on sharing the lower ones'
  const char* comma = "";
  std::uint64_t slots = tids.passing(bitmap) & (tids.own_name_slots() | tids.category_slots());
  for (; slots != 0; slots &= slots - 1) {
    const int n = std::countr_zero(slots);
    const MalcTid& signature = tids.slot(n);
    if (signature.mkmode == kModeOwnName) {
      out.put(comma);
      print_signature(out, signature);
    } else {
      const int category = tids.category_of(n);
      const std::uint64_t bit = std::uint64_t{1} << (static_cast<unsigned>(category) & 63U);
      if (listed & bit) continue;
      listed |= bit;
      out.put(comma);
      print_category(out, category, names.category(category));
    }
    out.put(",\"mkmode\":", signature.mkmode, ",\"cnt\":1}");
    comma = ",";
  }
  out.put("],");
}

void print_detail_row(Printer& out, const MalcEvent& event) {
  const std::uint32_t src_net = event.src_net;
  const std::uint32_t dst_net = event.dst_net;
  const std::uint16_t apid = event.apid;
  out.put("\"src_ip\":\"", Ipv4Text{from_net32(src_net)},
          "\",\"src_port\":", from_net16(event.sport_net), ",\"dst_ip\":\"",
          Ipv4Text{from_net32(dst_net)}, "\",\"dst_port\":", from_net16(event.dport_net),
          ",\"apid\":", apid, ",\"appname\":\"", dict_appname(apid), "\",\"appcname\":\"",
          dict_appcname(apid), "\",\"mac\":\"", MacText{event.mac}, "\",\"req_time\":\"",
          LocalTimeText{event.time_secs}, "\",\"time\":", std::uint32_t{event.time_secs},
          ",\"proto\":", event.proto, ",\"bitmap\":", std::uint64_t{event.bitmap}, ",\"host\":\"",
          event.host_len == 0 ? std::string_view() : field_text(event.host), "\",\"srcip_desc\":\"",
          AddressLabel{src_net}, "\",\"dstip_desc\":\"", AddressLabel{dst_net}, "\",\"sign\":\"",
          event.sign, "\",\"ipmac_desc\":\"", AddressLabel{event.mac}, "\"");
  print_signs(out, event.sign);
  out.put("}");
}

bool MalcDetail::passes(const MalcEvent& event, std::uint64_t bitmap) const {
  if (event.time_secs == 0) return false;
  if (query_.apid != -1 && event.apid != query_.apid) return false;
  if (query_.src_net != 0 && event.src_net != query_.src_net) return false;
  if (query_.dst_net != 0 && event.dst_net != query_.dst_net) return false;
  if (query_.host && !host_passes(query_.host, event)) return false;
  return tids_.tid_match(bitmap);
}

bool MalcDetail::has_list(std::uint64_t bitmap) const {
  if (query_.names_signature()) return true;
  return (tids_.passing(bitmap) & (tids_.own_name_slots() | tids_.category_slots())) != 0;
}

void MalcDetail::add(std::span<const MalcEvent> events) {
  for (const MalcEvent& event : events) {
    const std::uint64_t bitmap = read_once(event.bitmap);
    if (!passes(event, bitmap) || !has_list(bitmap)) continue;
    // KEEP: events before and behind the page are counted too; "count" is what the filters passed.
    const bool shown = range_.contains_signed(static_cast<std::int32_t>(count_));
    ++count_;
    if (!shown) continue;
    if (printed_one_) out_.put(",");
    printed_one_ = true;
    print_detail_list(out_, query_, names_, bitmap);
    print_detail_row(out_, event);
  }
}

}  // namespace qsvmon
