#pragma once

#include <cstdint>
#include <string>

// Values of the appliance's text replies and data files. Addresses are 32-bit values in host order,
// first octet in the high byte.

namespace qsvmon::sim {

/// Adds text made by `format`.
[[gnu::format(printf, 2, 3)]] void append(std::string& out, const char* format, ...);

/// Adds the lines of a status: "key=value\n" with local time "2024-03-05/07:08:09", and with
/// "1.50M", "1.50K" or all digits.
void append_time(std::string& out, const char* key, std::uint32_t seconds);
void append_count(std::string& out, const char* key, unsigned long value);

/// Local time, "2024-03-05/07:08:09".
std::string time_text(std::uint32_t seconds);
/// "1.50G ", "1.50M ", "1.50K " in binary units, or "1023 ".
std::string bytes_text(unsigned long value);
/// "10.0.0.1".
std::string address_text(std::uint32_t host);

/// Reads an address as inet_aton does, the short forms included. False when it is none.
bool parse_address(const std::string& text, std::uint32_t& host);
/// Reads "a", "a-b" or "a/len" with len 1..32; false also when a is above b.
bool parse_range(const std::string& text, std::uint32_t& low, std::uint32_t& high);
/// Reads six hexadecimal numbers separated by "-" or ":".
bool parse_mac(const std::string& text, std::uint8_t (&mac)[6]);

}  // namespace qsvmon::sim
