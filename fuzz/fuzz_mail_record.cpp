// Mail records of any bytes through the filter, the page and the row.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "commands/sessionlog/mail_fold.h"
#include "commands/sessionlog/mail_parts.h"
#include "commands/sessionlog/mail_print.h"
#include "commands/sessionlog/session_page.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qsvmon;
  if (size < 4 || size > 4 * sizeof(MailRecord)) return 0;
  MailQuery query;
  if ((data[0] & 1) != 0) query.keyword = "a";
  if ((data[0] & 2) != 0) query.ip_net = 0x0100000A;
  if ((data[0] & 4) != 0) query.has_mac = true;
  // Each record in a block of its own, so that the sanitizer sees one byte too many.
  RecordList list(page_range(1, data[0] >> 3), is_hidden_mail);
  MailFold fold(query, list);
  const std::size_t bytes = size - 1;
  for (std::size_t at = 0; at < bytes; at += sizeof(MailRecord)) {
    const std::unique_ptr<MailRecord> record(new MailRecord{});
    const std::size_t part = bytes - at < sizeof(MailRecord) ? bytes - at : sizeof(MailRecord);
    std::memcpy(static_cast<void*>(record.get()), data + 1 + at, part);
    fold.add({record.get(), 1});
    MailRow row;
    if (row.load(MailElements(*record).bytes()) == is_hidden_mail(MailElements(*record).bytes())) {
      std::abort();
    }
  }
  list.sort();
  MemoryPrinter out;
  print_record_page<MailRow>(out, list);
  return 0;
}
