#pragma once

#include <cstddef>

namespace qsvmon {

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
