#include "sim/text.h"

#include <arpa/inet.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace qsvmon::sim {

void append(std::string& out, const char* format, ...) {
  std::va_list args;
  std::va_list again;
  va_start(args, format);
  va_copy(again, args);
  const int length = std::vsnprintf(nullptr, 0, format, args);
  va_end(args);
  if (length > 0) {
    const std::size_t used = out.size();
    out.resize(used + static_cast<std::size_t>(length) + 1);
    std::vsnprintf(out.data() + used, static_cast<std::size_t>(length) + 1, format, again);
    out.pop_back();
  }
  va_end(again);
}

void append_time(std::string& out, const char* key, std::uint32_t seconds) {
  append(out, "%s=%s\n", key, time_text(seconds).c_str());
}

void append_count(std::string& out, const char* key, unsigned long value) {
  const double number = static_cast<double>(value);
  if (value >= 1000000) {
    append(out, "%s=%.2fM\n", key, number / 1e6);
  } else if (value >= 1000) {
    append(out, "%s=%.2fK\n", key, number / 1e3);
  } else {
    append(out, "%s=%lu\n", key, value);
  }
}

std::string time_text(std::uint32_t seconds) {
  const std::time_t time = seconds;
  std::tm local{};
  char text[32];
  ::localtime_r(&time, &local);
  std::strftime(text, sizeof text, "%Y-%m-%d/%H:%M:%S", &local);
  return text;
}

std::string bytes_text(unsigned long value) {
  std::string out;
  const char* unit = "GMK";
  for (unsigned long one = 1UL << 30; one > 1; one >>= 10, ++unit) {
    if (value < one) continue;
    append(out, "%.2f%c ", static_cast<double>(value) / static_cast<double>(one), *unit);
    return out;
  }
  append(out, "%lu ", value);
  return out;
}

std::string address_text(std::uint32_t host) {
  char text[INET_ADDRSTRLEN];
  const in_addr address{htonl(host)};
  return ::inet_ntop(AF_INET, &address, text, sizeof text);
}

bool parse_address(const std::string& text, std::uint32_t& host) {
  in_addr address{};
  if (::inet_aton(text.c_str(), &address) == 0) return false;
  host = ntohl(address.s_addr);
  return true;
}

bool parse_range(const std::string& text, std::uint32_t& low, std::uint32_t& high) {
  const std::size_t at = text.find_first_of("-/");
  if (!parse_address(text.substr(0, at), low)) return false;
  high = low;
  if (at == std::string::npos) return true;
  const std::string rest = text.substr(at + 1);
  if (text[at] == '-') return parse_address(rest, high) && low <= high;
  char* end = nullptr;
  const long length = std::strtol(rest.c_str(), &end, 10);
  if (length < 1 || length > 32 || *end != '\0') return false;
  const std::uint32_t hosts = length == 32 ? 0 : 0xffffffffU >> length;
  low &= ~hosts;
  high = low | hosts;
  return true;
}

bool parse_mac(const std::string& text, std::uint8_t (&mac)[6]) {
  char rest = '\0';
  char separator[5];
  const int read = std::sscanf(text.c_str(), "%2hhx%c%2hhx%c%2hhx%c%2hhx%c%2hhx%c%2hhx%c", &mac[0],
                               &separator[0], &mac[1], &separator[1], &mac[2], &separator[2],
                               &mac[3], &separator[3], &mac[4], &separator[4], &mac[5], &rest);
  if (read != 11 || (separator[0] != '-' && separator[0] != ':')) return false;
  for (const char c : separator) {
    if (c != separator[0]) return false;
  }
  return true;
}

}  // namespace qsvmon::sim
