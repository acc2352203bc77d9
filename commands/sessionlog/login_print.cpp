#include "commands/sessionlog/login_print.h"

#include <cstring>

#include "commands/sessionlog/clean_text.h"
#include "commands/sessionlog/codec/gb2312.h"
#include "commands/sessionlog/session_print.h"
#include "format/address.h"
#include "format/byte_order.h"
#include "format/time.h"

namespace qsvmon {
namespace {

Endpoints endpoints_of(const LoginHead& head) {
  Endpoints endpoints{head.sip_net, head.dip_net, head.sport_net, head.dport_net, {}};
  std::memcpy(endpoints.mac, head.mac, sizeof endpoints.mac);
  return endpoints;
}

/// All members up to "user".
void print_head(RowText& row, const PackedLogin& login) {
  const Endpoints endpoints = endpoints_of(login.head);
  const EndpointLabels labels(endpoints);
  row.put("{");
  print_endpoints(row, endpoints);
  print_mac(row, endpoints);
  row.put(",\"start\":", std::uint32_t{login.head.start});
  print_request_time(row, login.head.time);
  print_labels(row, labels);
  row.put(",\"user\":\"", login.user(), "\"");
}

/// All cells up to the user's.
void write_head(CsvSheet& sheet, const PackedLogin& login) {
  const LoginHead& head = login.head;
  const Endpoints endpoints = endpoints_of(head);
  csv_endpoints(sheet, endpoints, from_net16(endpoints.sport_net), from_net16(endpoints.dport_net));
  csv_text(sheet, MacText{endpoints.mac});
  csv_text(sheet, LocalTimeText{head.start});
  csv_text(sheet, LocalTimeText{head.time});
  csv_text(sheet, login.user());
}

// The header texts in GBK bytes.
constexpr std::string_view kHeadColumns[] = {
    "\xD4\xB4\xB5\xD8\xD6\xB7",          // 源地址
    "\xD4\xB4\xB6\xCB\xBF\xDA",          // 源端口
    "\xC4\xBF\xB1\xEA\xB5\xD8\xD6\xB7",  // 目标地址
    "\xC4\xBF\xB1\xEA\xB6\xCB\xBF\xDA",  // 目标端口
    "\xD4\xB4MAC",                       // 源MAC
    "\xC1\xAC\xBD\xD3\xCA\xB1\xBC\xE4",  // 连接时间
    "\xB2\xD9\xD7\xF7\xCA\xB1\xBC\xE4",  // 操作时间
    "\xD3\xC3\xBB\xA7\xC3\xFB",          // 用户名
};
constexpr std::string_view kOperationColumn = "\xB2\xD9\xD7\xF7\xC0\xE0\xD0\xCD";  // 操作类型
constexpr std::string_view kObjectColumn = "\xB6\xD4\xCF\xF3\xC3\xFB\xB3\xC6";     // 对象名称

/// Writes a GB2312 text as a cell in UTF-8.
void csv_text_as_utf8(CsvSheet& sheet, std::string_view gb) {
  char utf8[128];
  gb2312_to_utf8(utf8, sizeof utf8, gb.data(), static_cast<int>(gb.size()));
  csv_text(sheet, static_cast<const char*>(utf8));
}

/// A verb in a row: four bytes are copied of any, which takes no call. A million rows with full
/// labels take 111 ms so, and 114.
struct ShortVerb {
  std::string_view text;
};
char* write_value(char* at, ShortVerb verb) {
  std::memcpy(at, verb.text.data(), 4);  // those of three letters have a NUL behind them
  return at + verb.text.size();
}

}  // namespace

std::string_view ftp_verb(std::uint8_t optype) {
  static constexpr std::string_view kVerbs[] = {"UNKN", "STOR", "RETR", "DELE", "RMD",
                                                "RNFR", "RNTO", "USER", "PASS"};
  return optype < std::size(kVerbs) ? kVerbs[optype] : "NULL";
}

void FtpRow::print(Printer& out) const {
  RowText row(out, kSharedRowBytes + sizeof(FtpLogRecord));
  print_head(row, *login_);
  row.put(",\"optype\":\"", ShortVerb{ftp_verb(login_->code)}, "\",\"name\":\"", login_->text(),
          "\"}");
}

void FtpRow::write(CsvSheet& sheet) const {
  write_head(sheet, *login_);
  csv_text_as_utf8(sheet, ftp_verb(login_->code));
  csv_text(sheet, login_->text());
}

void FtpRow::write_header(CsvSheet& sheet) {
  for (const std::string_view text : kHeadColumns) csv_text_as_utf8(sheet, text);
  csv_text_as_utf8(sheet, kOperationColumn);
  csv_text_as_utf8(sheet, kObjectColumn);
}

void TelnetRow::print(Printer& out) const {
  RowText row(out, kSharedRowBytes + 2 * sizeof(TelnetLogRecord));  // backslashes are doubled
  print_head(row, *login_);
  row.put(",\"cmd\":\"", CleanCommand{login_->text().substr(0, login_->code)}, "\"}");
}

void TelnetRow::write(CsvSheet& sheet) const {
  write_head(sheet, *login_);
  csv_text(sheet, login_->text());
}

void TelnetRow::write_header(CsvSheet& sheet) {
  for (const std::string_view text : kHeadColumns) csv_text(sheet, text);
  csv_text(sheet, kObjectColumn);
}

}  // namespace qsvmon
