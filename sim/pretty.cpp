#include "sim/pretty.h"

#include <iconv.h>

#include <nlohmann/json.hpp>

namespace qsvmon::sim {
namespace {

using Json = nlohmann::ordered_json;

// The text with every pair of GB2312 bytes as UTF-8; a byte that belongs to no pair becomes "?".
std::string from_gb2312(std::string text) {
  std::string out(text.size() * 2, '\0');  // two bytes become three at most
  const iconv_t converter = ::iconv_open("UTF-8", "GB2312");
  char* from = text.data();
  char* to = out.data();
  std::size_t left = text.size();
  std::size_t room = out.size();
  while (left > 0) {
    ::iconv(converter, &from, &left, &to, &room);
    if (left == 0 || room == 0) break;
    ++from;
    --left;
    *to++ = '?';
    --room;
  }
  ::iconv_close(converter);
  out.resize(out.size() - room);
  return out;
}

constexpr std::size_t kColumns = 132;

// Writes `value` on one line where that fits behind `used` columns, else each member on its own.
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

bool pretty_json(const std::string& text, std::string& indented, std::string& error) {
  // Bytes that are no ASCII do not matter to the structure. Each is replaced by one, so that the
  // byte of an error is that of the text.
  std::string ascii = text;
  for (char& c : ascii) {
    if (static_cast<unsigned char>(c) >= 0x80) c = '?';
  }
  try {
    const Json readable = Json::parse(ascii);
  } catch (const Json::parse_error& broken) {
    indented = text;
    error = text.empty() ? "no JSON document: nothing was read"
                         : "no JSON document: broken at byte " + std::to_string(broken.byte);
    return false;
  }
  Json document = Json::parse(text, nullptr, false);
  if (document.is_discarded()) document = Json::parse(from_gb2312(text), nullptr, false);
  indented.clear();
  write(indented, document, 0, 0);
  indented += '\n';
  return true;
}

}  // namespace qsvmon::sim
