#include "rpc/words.h"

#include <cstring>

#include "format/message.h"

namespace qsvmon {

ArgumentText& ArgumentText::add(std::string_view part) {
  fits_ = fits_ && argument_fits(used_ + part.size() + 1, area_);
  if (fits_ && !part.empty()) {  // an empty one may have no address, which memcpy may not get
    std::memcpy(area_.data() + used_, part.data(), part.size());
    used_ += part.size();
  }
  return *this;
}

std::optional<std::uint32_t> ArgumentText::finish() {
  add({});  // room for the NUL of a text without parts
  if (!fits_) return std::nullopt;
  area_[used_] = '\0';
  return static_cast<std::uint32_t>(used_);
}

std::optional<std::uint32_t> write_words(Words words, std::span<char> area, WordStyle style) {
  ArgumentText text(area);
  for (const char* word : words) {
    if (style == WordStyle::kBlankBefore) text.add(" ");
    text.add(word);
    if (style == WordStyle::kBlankAfter) text.add(" ");
  }
  return text.finish();
}

int fail(const Status& status) {
  put_message(status.line(), '\n');
  return -1;
}

}  // namespace qsvmon
