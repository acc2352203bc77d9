#pragma once

#include <emmintrin.h>

#include <bit>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace qsvmon {

/// Trims one line in place: skips leading blanks, turns each tab of the rest into a blank, ends the
/// text at the first CR or LF and removes trailing blanks. Returns the first character kept, within
/// `text` (null for null).
/// KEEP: only blanks are skipped in front, and before tabs are turned; a line that begins with a
/// tab begins with a blank afterwards.
char* trim(char* text);

/// Reads the next blank-separated word of `text` and cuts it at its first "=". Returns the key and
/// stores the value; a value that begins with a double quote loses it, and then one at its end.
/// Null with `*value` null when `text` is null, holds no word, or its next word has no "=".
/// `*save` is set to the rest of the text (null when `text` is), to be passed as the next `text`.
/// All pointers are into `text`, which is cut in place.
/// KEEP: a word without "=" ends the caller's scan; a quoted value cannot hold a blank.
char* next_keyvalue(char* text, char** value, char** save);

/// Copies `src` to `dst` with tab, LF, form feed, CR, byte 24 and blank written "%T", "%N", "%C",
/// "%R", "%8" and "%S", and round brackets made square; a NUL follows. `dst` needs twice the length
/// of `src` plus 1. Returns `dst`. A null `src` counts as empty.
char* escape_ctl(const char* src, char* dst);

/// 1 when min <= length of `text` <= max, and then copies it with its NUL to `dst` unless that is
/// null; else 0. A null text gives 0.
int copy_len_in(const char* text, int min, int max, char* dst);

/// The text in a fixed-width field of a record: up to its NUL, or all of its bytes. Valid as long
/// as the field.
template <std::size_t Width>
std::string_view field_text(const char (&field)[Width]) {
  return {field, ::strnlen(field, Width)};
}

/// Copies the 16 bytes at `from` to `at` and returns how many of them stand in front of the first
/// NUL, 16 without one: all that most labels need, and without a call (SSE2, which every amd64
/// processor has).
inline std::size_t copy_16(char* at, const char* from) {
  const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
  const int nuls = _mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_setzero_si128()));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(at), bytes);
  return static_cast<std::size_t>(std::countr_zero(static_cast<unsigned>(nuls) | 0x10000));
}

/// Width of the fixed text fields that these fill.
constexpr std::size_t kField32Bytes = 32;

/// Clears the 32 bytes at `dst` and writes text made by `format` into them, cut to 31 characters.
/// Returns the number of characters in the field. No argument may lie in `dst`.
[[gnu::format(printf, 2, 3)]] int field32_printf(char* dst, const char* format, ...);

/// Clears the 32 bytes at `dst` and copies at most 32 characters of `src`, none for a null `src`,
/// which must not lie in `dst`.
/// KEEP: 32 characters fill the field without a NUL; readers stop at its width.
void field32_copy(char* dst, const char* src);

}  // namespace qsvmon
