#include "sim/call.h"

#include <cstdlib>

namespace qsvmon::sim {

Words split_words(std::string_view text) {
  Words words;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(' '), text.size());
    if (end > 0) words.emplace_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return words;
}

std::string word_value(const Words& words, std::string_view key) {
  std::string value;
  for (const std::string& word : words) {
    if (word.size() > key.size() && word[key.size()] == '=' &&
        std::string_view(word).substr(0, key.size()) == key) {
      value = word.substr(key.size() + 1);
    }
  }
  return value;
}

unsigned long word_number(const Words& words, std::string_view key, unsigned long absent) {
  const std::string value = word_value(words, key);
  return value.empty() ? absent : std::strtoul(value.c_str(), nullptr, 10);
}

void Call::fail(const char* why) {
  set_request_error(request, why);
}

}  // namespace qsvmon::sim
