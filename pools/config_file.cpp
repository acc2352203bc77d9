#include "pools/config_file.h"

#include <cstring>

#include "format/text.h"

namespace qsvmon {
namespace {

constexpr std::size_t kMaxSectionText = 119;

const ConfigSection* find_section(std::string_view word, std::span<const ConfigSection> sections) {
  for (const ConfigSection& section : sections) {
    if (section.word == word) return &section;
  }
  return nullptr;
}

/// `line` is the record that the lines of a file share: a handler leaves what it reported in there,
/// for the next one as well.
void handle_line(char* text, std::span<const ConfigSection> sections, RpcRequest& line) {
  while (*text == ' ') ++text;
  // Before the line is trimmed, since most lines of a pass are for another one.
  const std::string_view word(text, std::strcspn(text, " \t"));
  const ConfigSection* const section = find_section(word, sections);
  if (section == nullptr) return;
  char* rest = trim(text + word.size());
  while (*rest == ' ') ++rest;  // these were tabs
  if (*rest == '\0') return;
  set_errtext(line, word.substr(0, kMaxSectionText));
  line.data = rest;
  section->handle(line);
}

}  // namespace

void read_config(std::FILE* file, std::span<const ConfigSection> sections) {
  char text[kConfigLineBytes];
  RpcRequest line{};
  while (std::fgets(text, sizeof text, file) != nullptr) handle_line(text, sections, line);
}

int read_config_file(const char* path, std::span<const ConfigSection> sections) {
  std::FILE* const file = std::fopen(path, "re");
  if (file == nullptr) return -1;
  read_config(file, sections);
  std::fclose(file);
  return 0;
}

}  // namespace qsvmon
