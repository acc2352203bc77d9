#include "sim/generated_records.h"

#include <arpa/inet.h>

#include <cstdio>

#include "commands/malclog/malc_record.h"
#include "commands/sessionlog/login_record.h"
#include "commands/tcpreset/reset_record.h"
#include "sim/dict_tables.h"
#include "sim/mail_elements.h"

namespace qsvmon::sim {
namespace {

constexpr std::uint32_t kFirstTime = 1700000000;

// The numbers of one record: its index, its key and as many random bits as it needs.
class Draw {
 public:
  Draw(std::uint64_t seed, std::size_t distinct, std::size_t index)
      : state_(seed * 0x9e3779b97f4a7c15U + index), index_(index) {
    key_ = static_cast<std::uint32_t>(distinct == 0 ? index : bits() % distinct);
  }
  // One step of the splitmix64 generator.
  std::uint64_t bits() {
    std::uint64_t z = state_ += 0x9e3779b97f4a7c15U;
    z = (z ^ z >> 30) * 0xbf58476d1ce4e5b9U;
    z = (z ^ z >> 27) * 0x94d049bb133111ebU;
    return z ^ z >> 31;
  }
  std::uint32_t below(std::uint32_t limit) { return static_cast<std::uint32_t>(bits() % limit); }
  std::uint32_t time() const { return kFirstTime + static_cast<std::uint32_t>(index_); }
  std::uint32_t key() const { return key_; }
  // An address that belongs to the key; an odd multiplier maps no two keys to one.
  std::uint32_t address_net(std::uint32_t multiplier) const {
    return htonl(key_ * multiplier + 0x0a000001U);
  }
  std::uint16_t port_net() { return static_cast<std::uint16_t>(below(65535) + 1); }

 private:
  std::uint64_t state_;
  std::size_t index_;
  std::uint32_t key_;
};

std::uint16_t some_app(Draw& draw) {
  return kBuiltinApps[draw.below(std::size(kBuiltinApps))].id;
}

// Fills a text field, NUL included, from a format with one number.
template <std::size_t Width>
void print_field(char (&to)[Width], const char* format, unsigned number) {
  char text[Width];
  std::snprintf(text, sizeof text, format, number);
  std::memcpy(to, text, sizeof text);
}

ResetRecord reset_record(Draw draw) {
  static constexpr std::uint32_t kStatuses[] = {0, 200, 302, 404, 503};
  ResetRecord record{};
  record.time_secs = draw.time();
  record.src_net = draw.address_net(2654435761U);
  record.dst_net = draw.address_net(2246822519U);
  record.sport_net = draw.port_net();
  record.dport_net = draw.port_net();
  record.metrics = draw.bits() >> 4;
  record.val1 = static_cast<std::uint16_t>(draw.below(1000));
  record.val2 = static_cast<std::uint16_t>(draw.below(1000));
  record.appword = some_app(draw) | kStatuses[draw.below(std::size(kStatuses))] << 14 |
                   (kClassHttp + draw.below(3)) << 26;
  record.val3 = static_cast<std::uint8_t>(draw.below(8));
  print_field(record.name, "host-%u.example.net", draw.key());
  return record;
}

MalcEvent malc_event(Draw draw) {
  MalcEvent event{};
  event.time_secs = draw.time();
  event.src_net = draw.address_net(2654435761U);
  event.dst_net = draw.address_net(2246822519U);
  event.sport_net = draw.port_net();
  event.dport_net = draw.port_net();
  event.bitmap = std::uint64_t{1} << draw.below(46) | std::uint64_t{1} << draw.below(46);
  event.apid = some_app(draw);
  for (std::uint8_t& byte : event.mac) byte = static_cast<std::uint8_t>(draw.below(256));
  event.proto = 6;
  event.sign = static_cast<std::uint8_t>(draw.below(16));
  print_field(event.host, "host-%u.example.net", draw.key());
  event.host_len = static_cast<std::uint8_t>(std::strlen(event.host));
  return event;
}

LoginHead login_head(Draw& draw) {
  LoginHead head{};
  head.start = draw.time() - draw.below(600);
  head.time = draw.time();
  head.sip_net = draw.address_net(2654435761U);
  head.dip_net = draw.address_net(2246822519U);
  head.sport_net = draw.port_net();
  head.dport_net = draw.port_net();
  for (std::uint8_t& byte : head.mac) byte = static_cast<std::uint8_t>(draw.below(256));
  return head;
}

FtpLogRecord ftp_record(Draw draw) {
  FtpLogRecord record{};
  record.head = login_head(draw);
  record.optype = static_cast<std::uint8_t>(draw.below(9));
  print_field(record.name, "folder/file-%u.dat", draw.key());
  print_field(record.user, "user%u", draw.key());
  return record;
}

TelnetLogRecord telnet_record(Draw draw) {
  TelnetLogRecord record{};
  record.head = login_head(draw);
  print_field(record.cmd, "tail -n %u messages", draw.key());
  record.cmdlen = static_cast<std::uint8_t>(std::strlen(record.cmd));
  print_field(record.user, "user%u", draw.key());
  return record;
}

MailRecord mail_record(Draw draw) {
  static constexpr const char* kSubjects[] = {"Weekly figures", "=?UTF-8?B?5L2g5aW9?=",
                                              "=?GB2312?B?vL62yLGouOY=?=", "Re: =?GBK?Q?=C4=E3?="};
  MailElements elements;
  char text[64];
  const auto print = [&](std::uint8_t type, const char* format) {
    std::snprintf(text, sizeof text, format, draw.key());
    elements.add_text(type, text);
  };
  print(kMailFrom, "Sender %u <sender@example.net>");
  print(kMailTo, "Reader %u <reader@example.net>");
  elements.add_text(kMailSubject, kSubjects[draw.below(std::size(kSubjects))]);
  if (draw.below(2) == 0) elements.add_attachment("report.doc");
  elements.add_value(kMailTime, draw.time());
  const MailAddressBlock block{draw.address_net(2654435761U), draw.address_net(2246822519U),
                               draw.port_net(), htons(25)};
  elements.add_value(kMailAddresses, block);
  elements.add_value(kMailAppId, some_app(draw));
  return elements.record(draw.time());
}

}  // namespace

RecordSource GeneratedRecords::reset_sessions() const {
  return generated_records<ResetRecord>(
      count_, [d = distinct_, s = seed_](std::size_t n) { return reset_record(Draw(s, d, n)); });
}

RecordSource GeneratedRecords::malicious_events() const {
  return generated_records<MalcEvent>(
      count_, [d = distinct_, s = seed_](std::size_t n) { return malc_event(Draw(s, d, n)); });
}

RecordSource GeneratedRecords::mails() const {
  return generated_records<MailRecord>(
      count_, [d = distinct_, s = seed_](std::size_t n) { return mail_record(Draw(s, d, n)); });
}

RecordSource GeneratedRecords::ftp_operations() const {
  return generated_records<FtpLogRecord>(
      count_, [d = distinct_, s = seed_](std::size_t n) { return ftp_record(Draw(s, d, n)); });
}

RecordSource GeneratedRecords::telnet_commands() const {
  return generated_records<TelnetLogRecord>(
      count_, [d = distinct_, s = seed_](std::size_t n) { return telnet_record(Draw(s, d, n)); });
}

}  // namespace qsvmon::sim
