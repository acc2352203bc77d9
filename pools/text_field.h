#pragma once

#include <cstddef>
#include <cstring>

namespace qsvmon {

/// Copies `text` into a fixed-width field, cut to its width less one; zeros fill the rest.
template <std::size_t N>
void set_field(char (&field)[N], const char* text) {
  const std::size_t length = ::strnlen(text, N - 1);
  std::memcpy(field, text, length);
  std::memset(field + length, 0, N - length);
}

}  // namespace qsvmon
