#pragma once

#include <cstddef>
#include <cstdint>

namespace qsvmon {

/// The `family` of a MAC address; any other value means IPv4.
constexpr int kDescFamilyMac = 6;
constexpr int kDescFamilyIpv4 = 4;

/// Builds the four description pools and loads both configuration files (kMainConfigPath, then
/// kAssetsConfigPath). Returns 0, or -1 when a pool could not be allocated or the main file could
/// not be opened, which leaves the later pools as they were; callers go on either way, look-ups
/// then find nothing. What went wrong is printed to standard output, a missing main file to
/// standard error; a missing assets file is no fault.
/// A second call makes fresh pools; pointers into the earlier ones stay valid.
int desc_pools_init();

/// Copies the label of an address to `dest`, cut to `size` - 1 characters and NUL-terminated.
/// Returns `dest`, or null with `dest` untouched when there is no label. `addr` points at the 6
/// bytes of a MAC (`family` kDescFamilyMac) or the 4 bytes of an IPv4 address in network order. The
/// operator's description comes first, for IPv4 then the custom range that contains the address,
/// then the asset object with the address. Several threads may call it while descriptions change.
char* desc_lookup(const void* addr, int family, char* dest, std::size_t size);

/// The text of the same label, or null: of an IPv4 address in network order, of the 6 bytes of a
/// MAC. It stays in its pool, valid until that label is changed or `desc_pools_release`.
const char* address_label(std::uint32_t net);
const char* mac_label(const std::uint8_t* mac);

/// The same label as a value to print: `out.put("...", AddressLabel{net}, "...")`. Without a label
/// nothing is printed. The constructor looks the address up, in every pool up to the one that has
/// the label, and prefetches the text: a row that makes its labels before it prints the members in
/// front of them does not wait for the text.
class AddressLabel {
 public:
  static constexpr std::size_t kMostBytes = 64;  ///< every label is shorter

  explicit AddressLabel(std::uint32_t net) : AddressLabel(address_label(net)) {}
  explicit AddressLabel(const std::uint8_t* mac) : AddressLabel(mac_label(mac)) {}
  const char* text() const { return text_; }

 private:
  explicit AddressLabel(const char* text) : text_(text) { __builtin_prefetch(text); }

  const char* text_;  ///< null without a label
};
/// Writes the label's text, at most AddressLabel::kMostBytes bytes, and returns its end.
char* write_label(char* at, const char* text);
inline char* write_value(char* at, AddressLabel label) {
  return label.text() == nullptr ? at : write_label(at, label.text());
}

/// Frees all pools, those of earlier calls too; for tests and fuzzing, which build them many times.
void desc_pools_release();

}  // namespace qsvmon
