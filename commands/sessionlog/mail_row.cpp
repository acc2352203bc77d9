#include "commands/sessionlog/mail_row.h"

#include <cstring>

#include "commands/sessionlog/clean_text.h"
#include "commands/sessionlog/codec/mail_header.h"
#include "format/address.h"
#include "format/time.h"
#include "rpc/dict.h"

namespace qsvmon {

bool MailRow::decode(MailRecord& record, MailText place, Text& text) {
  text.length = 0;
  if (!place.is_present()) return true;
  text.length = decode_header(record.elems + place.at, place.length, text.bytes, kTextBytes);
  return text.length >= 1;
}

/// KEEP: the comma between two names is there even when the second cannot be decoded.
void MailRow::join_names(MailRecord& record) {
  static_assert(MailParts::kMaxAttachments * kNameBytes <= kTextBytes);
  names_.length = 0;
  for (std::uint32_t i = 0; i < parts_.attachment_count; ++i) {
    if (i > 0) names_.bytes[names_.length++] = ',';
    char* const name = record.elems + parts_.attachments[i].at;
    const std::size_t length = ::strnlen(name, parts_.attachments[i].length);
    const int decoded =
        decode_header(name, static_cast<int>(length), names_.bytes + names_.length, kNameBytes);
    if (decoded > 0) names_.length += decoded;
  }
}

bool MailRow::load(MailRecord& record) {
  parts_ = mail_parts(record);
  if (!decode(record, parts_.from, from_) || !decode(record, parts_.subject, subject_) ||
      !decode(record, parts_.to, to_) || !decode(record, parts_.cc, cc_)) {
    return false;
  }
  join_names(record);
  return true;
}

void MailRow::print(Printer& out) {
  const EndLabels labels = labels_of(parts_.ends, labels_);
  out.put('{');
  print_ends(out, parts_.ends);
  // KEEP: "appname" is the display name in this list, the plain name in all others.
  out.put(",\"apid\":", parts_.apid, ",\"appname\":\"", dict_appcname(parts_.apid), '"');
  print_mac(out, parts_.ends);
  print_request_time(out, parts_.time);
  print_labels(out, labels);
  out.put(",\"from\":\"", CleanMailText{from_.view()}, "\",\"to\":\"", CleanMailText{to_.view()},
          "\",\"cc\":\"", CleanMailText{cc_.view()}, "\",\"subject\":\"",
          CleanMailText{subject_.view()}, "\",\"tolen\":", parts_.to.length, ",\"file\":\"",
          CleanMailText{names_.view()}, "\"}");
}

void MailRow::write(CsvSheet& sheet) const {
  // KEEP: ports as the record has them, in network order, so that 25 reads 6400; the other two
  // lists swap them.
  csv_ends(sheet, parts_.ends, parts_.ends.sport_net, parts_.ends.dport_net);
  csv_text(sheet, LocalTimeText{parts_.time});
  csv_text(sheet, dict_appcname(parts_.apid));
  csv_text(sheet, MacText{parts_.ends.mac});
  csv_text(sheet, CleanMailText{from_.view()});
  csv_text(sheet, CleanMailText{to_.view()});
  csv_text(sheet, CleanMailText{cc_.view()});
  csv_text(sheet, CleanMailText{subject_.view()});
  csv_text(sheet, CleanMailText{names_.view()});
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
