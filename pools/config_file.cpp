#include "pools/config_file.h"

#include <cstring>

#include "format/text.h"

namespace qsvmon {
namespace {

/// `line` is the record that the lines of a file share: a handler leaves what it reported in there,
/// for the next one as well.
void handle_line(char* text, std::span<const ConfigSection> sections, RpcRequest& line) {
  while (*text == ' ') ++text;
  for (const ConfigSection& section : sections) {
    char* rest = behind_word(text, section.word);
    if (rest == nullptr || (*rest != ' ' && *rest != '\t')) continue;
    rest = trim(rest);
    while (*rest == ' ') ++rest;  // these were tabs
    if (*rest == '\0') return;
    // All of the field: a copy of as many bytes as the word has costs a full load 0.3 ms.
    std::memcpy(line.errtext, section.word, sizeof section.word);
    line.data = rest;
    return section.handle(line);
  }
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
