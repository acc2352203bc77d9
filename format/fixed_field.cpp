#include "format/fixed_field.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace qsvmon {

int field32_printf(char* dst, const char* format, ...) {
  std::memset(dst, 0, kField32Bytes);
  std::va_list args;
  va_start(args, format);
  const int length = std::vsnprintf(dst, kField32Bytes, format, args);
  va_end(args);
  constexpr int kMaxText = static_cast<int>(kField32Bytes) - 1;
  if (length < 0) return 0;
  return length < kMaxText ? length : kMaxText;
}

void field32_copy(char* dst, const char* src) {
  std::memset(dst, 0, kField32Bytes);
  if (src != nullptr) std::memcpy(dst, src, ::strnlen(src, kField32Bytes));
}

}  // namespace qsvmon
