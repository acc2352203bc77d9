#pragma once

#include <string_view>

namespace qsvmon {

/// Decodes the Q encoding of mail header words: `in` is copied to `out` up to its end or a NUL in
/// it, and "=" takes the two characters after it as hex digits of one byte. A digit that the end
/// cuts off counts as 0. Returns the number of bytes, or -1 when it reached `cap`; at most `cap`
/// bytes are written and no NUL.
/// KEEP: "_" stays "_" (RFC 2047 makes it a blank); any letter is a digit, "G" being 16, and the
/// byte is the low 8 bits of high x 16 + low; any other character is the digit 0.
int qp_decode(std::string_view in, char* out, int cap);

}  // namespace qsvmon
