#include "sim/pretty.h"

#include <cstdint>
#include <nlohmann/json.hpp>

#include "commands/sessionlog/gb2312.h"

namespace qsvmon::sim {
namespace {

using Json = nlohmann::ordered_json;

// The text with every pair of GB2312 bytes as UTF-8; a byte that belongs to none becomes "?".
std::string from_gb2312(const std::string& text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    std::uint32_t code = 0;
    char utf8[4];
    if (static_cast<unsigned char>(text[i]) < 0x80) {
      out += text[i];
    } else if (i + 1 < text.size() && gb2312_char_to_uni(&text[i], 2, &code) == 2) {
      out.append(utf8, static_cast<std::size_t>(utf8_encode_char(utf8, code, sizeof utf8)));
      ++i;
    } else {
      out += '?';
    }
  }
  return out;
}

}  // namespace

std::string pretty_json(const std::string& text) {
  Json document = Json::parse(text, nullptr, false);
  if (document.is_discarded()) document = Json::parse(from_gb2312(text), nullptr, false);
  return document.is_discarded() ? text : document.dump(2) + "\n";
}

}  // namespace qsvmon::sim
