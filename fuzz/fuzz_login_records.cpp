// FTP and Telnet records of any bytes through the list, the page and both forms of a row.
#include <fcntl.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "commands/sessionlog/login_fold.h"
#include "commands/sessionlog/login_print.h"
#include "commands/sessionlog/session_page.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using namespace qsvmon;

/// Whatever is shown goes to a page and to a sheet.
template <class Row>
void show(const RecordList& list) {
  MemoryPrinter out;
  print_record_page<Row>(out, list);
  CsvSheet sheet;
  sheet.fd = ::open("/dev/null", O_WRONLY);
  sheet.out = std::make_unique<FilePrinter>(sheet.fd);
  write_sheet<Row>(sheet, list);
}

template <class Row>
void list_records(const std::uint8_t* data, std::size_t size, PageRange range) {
  using Record = typename Row::Record;
  RecordList page(range);
  RecordList all({0, 0xFFFFFFFF});
  for (std::size_t at = 0; at + sizeof(Record) <= size; at += sizeof(Record)) {
    // In a block of its own, so that the sanitizer sees one byte too many.
    const std::vector<std::uint8_t> bytes(data + at, data + at + sizeof(Record));
    const auto& record = *reinterpret_cast<const Record*>(bytes.data());
    LoginFold<Record>(page).add({&record, 1});
    LoginFold<Record>(all).add({&record, 1});
    Row row;
    MemoryPrinter out;
    char room[kPackRoom<Record>];
    if (row.load({room, pack_login(room, record)})) row.print(out);
  }
  for (RecordList* list : {&page, &all}) {
    list->sort();
    show<Row>(*list);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const PageRange range = page_range(1 + (data[0] & 3), data[0] >> 2);
  list_records<FtpRow>(data + 1, size - 1, range);
  list_records<TelnetRow>(data + 1, size - 1, range);
  return 0;
}
