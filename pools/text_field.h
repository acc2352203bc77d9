#pragma once

#include <cstddef>
#include <cstring>

namespace qsvmon {

/// Copies `text` into a fixed-width field, cut to its width less one; zeros fill the rest.
template <std::size_t N>
void set_field(char (&field)[N], const char* text) {
  std::memset(field, 0, N);
  std::memcpy(field, text, ::strnlen(text, N - 1));
}

/// Copies `text` to the `size` bytes at `dest`, cut to `size` - 1 characters and NUL-terminated;
/// nothing when `size` is 0.
inline void copy_text(char* dest, const char* text, std::size_t size) {
  if (size == 0) return;
  const std::size_t length = ::strnlen(text, size - 1);
  std::memcpy(dest, text, length);
  dest[length] = '\0';
}

}  // namespace qsvmon
