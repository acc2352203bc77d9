#include "pools/config_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace qsvmon {
namespace {

constexpr std::size_t kMaxSectionText = 119;

/// The section that a line beginning with `text` belongs to, or null. Told before the line is
/// trimmed, so that the lines of other sections cost next to nothing.
const ConfigSection* find_section(const char* text, std::span<const ConfigSection> sections) {
  for (const ConfigSection& section : sections) {
    std::size_t same = 0;
    while (same < section.word.size() && text[same] == section.word[same]) ++same;
    if (same == section.word.size() && (text[same] == ' ' || text[same] == '\t')) return &section;
  }
  return nullptr;
}

/// `line` is the record that the file's lines share.
void take_line(char* text, std::size_t length, std::span<const ConfigSection> sections,
               RpcRequest& line) {
  const char* const end = text + length;
  while (*text == ' ') ++text;
  const ConfigSection* const section = find_section(text, sections);
  if (section == nullptr) return;
  trim_length(text, static_cast<std::size_t>(end - text));
  char* rest = text + section->word.size();
  if (*rest == '\0') return;  // nothing but blanks followed the word
  *rest++ = '\0';
  while (*rest == ' ') ++rest;
  set_errtext(line, section->word.substr(0, kMaxSectionText));
  line.data = rest;
  section->take_line(line);
}

}  // namespace

char* PieceReader::next() {
  if (covering_) {
    buffer_[begin_] = covered_;
    covering_ = false;
  }
  constexpr std::size_t kMaxPiece = kPieceBytes - 1;
  if (end_ - begin_ < kMaxPiece) refill();
  const std::size_t available = end_ - begin_;
  if (available == 0) return nullptr;
  const std::size_t limit = available < kMaxPiece ? available : kMaxPiece;
  char* const piece = buffer_ + begin_;
  if (auto* lf = static_cast<char*>(std::memchr(piece, '\n', limit)); lf != nullptr) {
    *lf = '\0';
    length_ = static_cast<std::size_t>(lf - piece);
    begin_ += length_ + 1;
    return piece;
  }
  length_ = limit;
  begin_ += limit;
  covered_ = piece[limit];
  covering_ = true;
  piece[limit] = '\0';
  return piece;
}

void PieceReader::refill() {
  if (at_end_) return;
  constexpr std::size_t kRoom = sizeof buffer_ - 1;
  std::memmove(buffer_, buffer_ + begin_, end_ - begin_);
  end_ -= begin_;
  begin_ = 0;
  while (end_ < kRoom) {
    const ssize_t got = ::read(fd_, buffer_ + end_, kRoom - end_);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) {
      at_end_ = true;
      return;
    }
    end_ += static_cast<std::size_t>(got);
  }
}

void read_config(int fd, std::span<const ConfigSection> sections) {
  PieceReader pieces(fd);
  RpcRequest line{};
  while (char* text = pieces.next()) take_line(text, pieces.length(), sections, line);
}

int read_config_file(const char* path, std::span<const ConfigSection> sections) {
  const int fd = ::open(path, O_RDONLY | O_CLOEXEC);
  if (fd < 0) return -1;
  read_config(fd, sections);
  ::close(fd);
  return 0;
}

Pages pages_for(const char* path) {
  constexpr off_t kLargeFile = off_t{128} << 10;
  struct stat file;
  return ::stat(path, &file) == 0 && S_ISREG(file.st_mode) && file.st_size >= kLargeFile
             ? Pages::kWhole
             : Pages::kOnTouch;
}

}  // namespace qsvmon
