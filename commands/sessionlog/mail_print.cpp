#include "commands/sessionlog/mail_print.h"

#include <cstring>

#include "commands/sessionlog/clean_text.h"
#include "commands/sessionlog/session_print.h"
#include "format/address.h"
#include "format/time.h"
#include "rpc/dict.h"

namespace qsvmon {

bool MailTexts::decode(const MailParts& parts) {
  return from.decode(parts.from) && subject.decode(parts.subject) && to.decode(parts.to) &&
         cc.decode(parts.cc);
}

bool is_hidden_mail(std::span<const char> elements) {
  MailElements own(elements);
  MailTexts texts;
  return !texts.decode(own.parts());
}

/// KEEP: the comma between two names is there even when the second cannot be decoded.
void MailRow::join_names(const MailParts& parts) {
  names_length_ = 0;
  for (std::uint32_t i = 0; i < parts.attachment_count; ++i) {
    if (i > 0) names_[names_length_++] = ',';
    const std::span<char> name = parts.attachments[i];
    const std::size_t length = ::strnlen(name.data(), name.size());
    const int decoded =
        decode_header(name.data(), static_cast<int>(length), names_ + names_length_, kNameBytes);
    if (decoded > 0) names_length_ += decoded;
  }
}

bool MailRow::load(std::span<const char> elements) {
  MailElements own(elements);  // decoding splits texts
  const MailParts parts = own.parts();
  if (!texts_.decode(parts)) return false;
  join_names(parts);
  endpoints_ = parts.endpoints;
  time_ = parts.time;
  apid_ = parts.apid;
  tolen_ = parts.to.size();
  return true;
}

void MailRow::print(Printer& out) const {
  const EndpointLabels labels(endpoints_);
  {
    RowText row(out, kSharedRowBytes);
    row.put("{");
    print_endpoints(row, endpoints_);
    row.put(",\"apid\":", apid_, ",\"appname\":\"");
  }
  // KEEP: "appname" is the display name in this list, the plain name in all others.
  out.put(dict_appcname(apid_), '"');
  {
    RowText row(out, kSharedRowBytes);
    print_mac(row, endpoints_);
    print_request_time(row, time_);
    print_labels(row, labels);
  }
  out.put(",\"from\":\"", CleanMailText{texts_.from.text()}, "\",\"to\":\"",
          CleanMailText{texts_.to.text()}, "\",\"cc\":\"", CleanMailText{texts_.cc.text()},
          "\",\"subject\":\"", CleanMailText{texts_.subject.text()}, "\",\"tolen\":", tolen_,
          ",\"file\":\"", CleanMailText{names()}, "\"}");
}

void MailRow::write(CsvSheet& sheet) const {
  // KEEP: ports as the record has them, in network order, so that 25 reads 6400; the other two
  // lists swap them.
  csv_endpoints(sheet, endpoints_, endpoints_.sport_net, endpoints_.dport_net);
  csv_text(sheet, LocalTimeText{time_});
  csv_text(sheet, dict_appcname(apid_));
  csv_text(sheet, MacText{endpoints_.mac});
  csv_text(sheet, CleanMailText{texts_.from.text()});
  csv_text(sheet, CleanMailText{texts_.to.text()});
  csv_text(sheet, CleanMailText{texts_.cc.text()});
  csv_text(sheet, CleanMailText{texts_.subject.text()});
  csv_text(sheet, CleanMailText{names()});
}

void MailRow::write_header(CsvSheet& sheet) {
  static constexpr std::string_view kHeader[] = {
      "\xD4\xB4\xB5\xD8\xD6\xB7",          // 源地址
      "\xD4\xB4\xB6\xCB\xBF\xDA",          // 源端口
      "\xC4\xBF\xB1\xEA\xB5\xD8\xD6\xB7",  // 目标地址
      "\xC4\xBF\xB1\xEA\xB6\xCB\xBF\xDA",  // 目标端口
      "\xB7\xC3\xCE\xCA\xCA\xB1\xBC\xE4",  // 访问时间
      "\xD3\xA6\xD3\xC3\xD0\xAD\xD2\xE9",  // 应用协议
      "\xD4\xB4MAC",                       // 源MAC
      "\xB7\xA2\xBC\xFE\xC8\xCB",          // 发件人
      "\xCA\xD5\xBC\xFE\xC8\xCB",          // 收件人
      "\xB3\xAD\xCB\xCD",                  // 抄送
      "\xD6\xF7\xCC\xE2",                  // 主题
      "\xB8\xBD\xBD\xFC",                  // KEEP: 附近, "nearby", over the attachments
  };
  for (const std::string_view text : kHeader) csv_text(sheet, text);
}

}  // namespace qsvmon
