#pragma once

#include <cstddef>
#include <string_view>

namespace qsvmon {

/// Bytes that `base64_decode` may write for `length` characters, its NUL included.
constexpr std::size_t base64_decoded_bytes(std::size_t length) {
  return 3 * ((length + 3) / 4) + 1;
}

/// Characters that `base64_encode` writes for `length` bytes, its NUL included.
constexpr std::size_t base64_encoded_bytes(std::size_t length) {
  return 4 * ((length + 2) / 3) + 1;
}

/// Decodes the characters of `in` up to the first outside the alphabet of RFC 4648 section 4, so up
/// to the padding, into `out` and appends a NUL. Returns the number of bytes decoded: a last group
/// of 1, 2 or 3 characters gives 0, 1 or 2.
/// REQUIRES: `out` has base64_decoded_bytes(in.size()) bytes.
int base64_decode(char* out, std::string_view in);

/// Encodes `in` with padding into `out` and appends a NUL. Returns the number of characters.
/// REQUIRES: `out` has base64_encoded_bytes(in.size()) bytes.
int base64_encode(char* out, std::string_view in);

}  // namespace qsvmon
