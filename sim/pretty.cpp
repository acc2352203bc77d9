#include "sim/pretty.h"

#include <cstdint>
#include <nlohmann/json.hpp>

#include "commands/sessionlog/codec/gb2312.h"

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

constexpr std::size_t kColumns = 132;

// Writes `value` on one line where that fits behind `used` columns, else a member a line.
void write(std::string& out, const Json& value, std::size_t indent, std::size_t used) {
  const std::string line = value.dump(-1, ' ', false);
  if (!value.is_structured() || used + line.size() <= kColumns) {
    out += line;
    return;
  }
  const std::string pad(indent + 2, ' ');
  out += value.is_array() ? '[' : '{';
  const char* comma = "\n";
  for (const auto& [key, member] : value.items()) {
    out += comma + pad;
    const std::string name = value.is_array() ? "" : Json(key).dump() + ": ";
    out += name;
    write(out, member, indent + 2, pad.size() + name.size());
    comma = ",\n";
  }
  out += '\n' + std::string(indent, ' ') + (value.is_array() ? ']' : '}');
}

}  // namespace

bool pretty_json(const std::string& text, std::string& shown, std::string& trouble) {
  // A byte for a byte: places are those of the text as it came.
  std::string marked = text;
  for (char& c : marked) {
    if (static_cast<unsigned char>(c) >= 0x80) c = '?';
  }
  try {
    const Json readable = Json::parse(marked);
  } catch (const Json::parse_error& error) {
    shown = text;
    trouble = text.empty() ? "no JSON document: nothing was read"
                           : "no JSON document: broken at byte " + std::to_string(error.byte);
    return false;
  }
  Json document = Json::parse(text, nullptr, false);
  if (document.is_discarded()) document = Json::parse(from_gb2312(text), nullptr, false);
  shown.clear();
  write(shown, document, 0, 0);
  shown += '\n';
  return true;
}

}  // namespace qsvmon::sim
