// The session logs' data files: mail.jsonl, ftp.csv, telnet.csv.
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "commands/sessionlog/login_record.h"
#include "sim/mail_elements.h"
#include "sim/row_fields.h"
#include "sim/stored_records.h"

namespace qsvmon::sim {
namespace {

using Row = CsvTable::Row;
using Json = nlohmann::json;

constexpr const char* kVerbs[] = {"UNKN", "STOR", "RETR", "DELE", "RMD",
                                  "RNFR", "RNTO", "USER", "PASS"};

std::uint8_t verb_of(const Row& row) {
  const std::string& verb = row.text("verb");
  for (std::size_t i = 0; i < std::size(kVerbs); ++i) {
    if (verb == kVerbs[i]) return static_cast<std::uint8_t>(i);
  }
  return static_cast<std::uint8_t>(row.number("verb", 255));
}

LoginHead login_head(const Row& row) {
  LoginHead head{};
  head.start = time_of(row, "start");
  head.time = time_of(row, "time");
  head.sip_net = ip_net(row, "src");
  head.dip_net = ip_net(row, "dst");
  head.sport_net = port_net(row, "sport");
  head.dport_net = port_net(row, "dport");
  copy_mac(row, head.mac);
  return head;
}

FtpLogRecord ftp_record(const Row& row) {
  FtpLogRecord record{};
  record.head = login_head(row);
  record.optype = verb_of(row);
  copy_field(row, row.text("name"), record.name);
  copy_field(row, row.text("user"), record.user);
  return record;
}

TelnetLogRecord telnet_record(const Row& row) {
  TelnetLogRecord record{};
  record.head = login_head(row);
  copy_field(row, row.text("cmd"), record.cmd);
  record.cmdlen = static_cast<std::uint8_t>(row.text("cmd").size());
  copy_field(row, row.text("user"), record.user);
  return record;
}

// A header's bytes: every character U+0000..U+00FF of the file is one byte of the mail.
std::string raw_bytes(const Json& value) {
  const std::string text = value.get<std::string>();
  std::string bytes;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto lead = static_cast<unsigned char>(text[i]);
    if (lead < 0x80) {
      bytes += text[i];
    } else if ((lead == 0xc2 || lead == 0xc3) && i + 1 < text.size()) {
      bytes += static_cast<char>((lead & 3) << 6 | (text[++i] & 0x3f));
    } else {
      throw std::runtime_error("a character that is no byte: write one of U+0000..U+00FF each");
    }
  }
  return bytes;
}

std::uint32_t mail_ip_net(const Json& mail, const char* member) {
  std::uint32_t host = 0;
  if (!parse_address(mail.at(member).get<std::string>(), host)) {
    throw std::runtime_error(std::string("not an address: ") + member);
  }
  return htonl(host);
}

MailRecord mail_record(const Json& mail, const Dictionary& dictionary) {
  MailElements elements;
  const MailAddressBlock block{mail_ip_net(mail, "src"), mail_ip_net(mail, "dst"),
                               htons(mail.at("sport").get<std::uint16_t>()),
                               htons(mail.at("dport").get<std::uint16_t>())};
  const auto time = mail.at("time").get<std::uint32_t>();
  elements.add_value(kMailTime, time);
  elements.add_value(kMailAddresses, block);
  elements.add_value(kMailAppId, dictionary.id(mail.value("app", "")));
  if (mail.contains("mac")) {
    std::uint8_t mac[6];
    if (!parse_mac(mail["mac"].get<std::string>(), mac)) {
      throw std::runtime_error("not a MAC address");
    }
    elements.add_value(kMailMac, mac);
  }
  static constexpr std::pair<const char*, MailElement> kHeaders[] = {
      {"from", kMailFrom}, {"to", kMailTo}, {"cc", kMailCc}, {"subject", kMailSubject}};
  for (const auto& [member, type] : kHeaders) {
    if (mail.contains(member)) elements.add_text(type, raw_bytes(mail[member]));
  }
  for (const Json& file : mail.value("files", Json::array())) {
    elements.add_attachment(raw_bytes(file).c_str());
  }
  for (const Json& extra : mail.value("extra", Json::array())) {
    elements.add_text(extra.at(0).get<std::uint8_t>(), raw_bytes(extra.at(1)));
  }
  if (!elements.all_fit()) throw std::runtime_error("more than a record holds (1026 bytes)");
  return elements.record(mail.value("key", time));
}

// What the JSON library says, without the name that it gives its exceptions.
std::string plain(const std::string& what) {
  const std::size_t end = what.rfind("[json.exception", 0) == 0 ? what.find("] ") : what.npos;
  return end == what.npos ? what : what.substr(end + 2);
}

std::vector<MailRecord> read_mails(const std::string& path, const Dictionary& dictionary) {
  std::ifstream in(path);
  if (!in) throw std::runtime_error("cannot open " + path);
  std::vector<MailRecord> records;
  std::size_t number = 0;
  for (std::string line; std::getline(in, line);) {
    ++number;
    if (line.empty()) continue;
    try {
      records.push_back(mail_record(Json::parse(line), dictionary));
    } catch (const std::exception& error) {
      throw std::runtime_error(path + ":" + std::to_string(number) + ": " + plain(error.what()));
    }
  }
  return records;
}

}  // namespace

RecordSource StoredRecords::mails() const {
  return stored_records(read_mails(folder_ + "/mail.jsonl", dictionary_));
}

RecordSource StoredRecords::ftp_operations() const {
  return stored_records(read_rows(folder_ + "/ftp.csv", ftp_record));
}

RecordSource StoredRecords::telnet_commands() const {
  return stored_records(read_rows(folder_ + "/telnet.csv", telnet_record));
}

}  // namespace qsvmon::sim
