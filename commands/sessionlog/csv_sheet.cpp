#include "commands/sessionlog/csv_sheet.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <new>

#include "format/time.h"
#include "platform/appliance_paths.h"

namespace qsvmon {
namespace {

/// Opens the file at `path` empty, or returns -1. Its name can be guessed and others may have put
/// something else there: no link is followed (a refusal: ELOOP, on FreeBSD EMLINK), a FIFO that
/// nobody reads does not hang, and what is no regular file is left alone.
int open_empty_file(const char* path) {
  const int fd =
      ::open(path, O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666);
  if (fd < 0) return -1;
  struct stat about;
  if (::fstat(fd, &about) == 0 && S_ISREG(about.st_mode) && ::ftruncate(fd, 0) == 0) return fd;
  ::close(fd);
  return -1;
}

}  // namespace

CsvSheet::~CsvSheet() {
  csv_close(*this);
}

void csv_file_name(std::time_t now, char* name, std::size_t namecap) {
  if (namecap < 2) {
    if (namecap == 1) name[0] = '\0';
    return;
  }
  const LocalTime t = local_time(static_cast<std::uint32_t>(now));
  std::snprintf(name, namecap - 1, "%04d%02d%02d%02d%02d%02d.csv", t.year, t.month, t.day, t.hour,
                t.minute, t.second);
}

int csv_open(CsvSheet& sheet, char* name, std::size_t namecap) {
  csv_close(sheet);
  csv_file_name(std::time(nullptr), name, namecap);
  char path[1024];  // the folder is a short constant
  std::snprintf(path, sizeof path, "%s%s", kCsvFolder, name);
  const int fd = open_empty_file(path);
  if (fd < 0) return -1;
  sheet.out.reset(new (std::nothrow) FilePrinter(fd));
  if (sheet.out == nullptr) {
    ::close(fd);
    return -1;
  }
  sheet.fd = fd;
  sheet.row = 0;
  sheet.col = 0;
  return 0;
}

void csv_close(CsvSheet& sheet) {
  if (sheet.out == nullptr) return;
  sheet.out.reset();  // flushes
  ::close(sheet.fd);
  sheet.fd = -1;
}

}  // namespace qsvmon
