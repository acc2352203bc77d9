#include "commands/tcpreset/plain_print.h"

#include <string_view>

#include "format/time.h"
#include "rpc/dict.h"

namespace qsvmon {

void put_value(Printer& out, Hundredths metric) {
  if (metric.value == 0) {
    out.put('0');
    return;
  }
  const std::uint32_t part = metric.value % 100;
  out.put(metric.value / 100, '.', static_cast<char>('0' + part / 10),
          static_cast<char>('0' + part % 10));
}

void print_plain_line(Printer& out, const ResetRecord& record) {
  const std::uint32_t time = record.time_secs;
  const auto app = static_cast<std::uint16_t>(record.app_id());
  out.put(time, ' ', LocalTimeText{time}, ' ', dict_appname(app), ' ', dict_appcname(app), ' ');
  out.put(from_net32(record.src_net), ' ', from_net16(record.sport_net), ' ',
          from_net32(record.dst_net), ' ', from_net16(record.dport_net), ' ');
  out.put(Hundredths{record.metric(20)}, ' ', Hundredths{record.metric(40)}, ' ',
          Hundredths{record.metric(0)}, ' ');
  out.put(+record.val1, ' ', +record.val2, ' ', +record.val3, ' ');
  const std::string_view name = record.domain();
  out.put(name.empty() ? "NULL" : name);
  if (const std::uint32_t status = record.http_status(); status != 0) out.put('|', status);
  out.put('\n');
}

}  // namespace qsvmon
