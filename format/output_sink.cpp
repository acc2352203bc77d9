#include "format/output_sink.h"

#include <cstdio>
#include <cstring>

#include "format/address.h"
#include "format/time.h"

namespace qsvmon {
namespace {

/// The newline of a line that its label does not continue.
void end_line(OutputSink& sink, const char* label) {
  if (label != nullptr && label[0] != ' ') out_printf(sink, "\n");
}

void put_ip(OutputSink& sink, std::uint32_t host) {
  char text[kIpv4TextBytes];
  const char* end = format_ipv4(text, host);
  out_printf(sink, "%.*s", static_cast<int>(end - text), text);
}

}  // namespace

std::int64_t out_room(const OutputSink& sink) {
  // Signed, so that a count that went below 0 means no room, and not four gigabytes of it.
  const auto used = static_cast<std::int32_t>(sink.replylen);
  const auto capacity = static_cast<std::int32_t>(sink.shmsize);
  if (sink.reply == nullptr || used < 0) return 0;
  return std::int64_t{capacity} - used;
}

int out_vprintf(OutputSink& sink, const char* format, std::va_list args) {
  if ((sink.flags & kSinkToStream) != 0) {
    return sink.stream == nullptr ? 0 : std::vfprintf(sink.stream, format, args);
  }
  const std::int64_t room = out_room(sink);
  if (room <= 1) return 0;  // the NUL has its byte already
  const int length =
      std::vsnprintf(sink.reply + sink.replylen, static_cast<std::size_t>(room), format, args);
  if (length < 0) return 0;
  // vsnprintf returns the length of the whole text, also of one that it cut.
  const int written = length >= room ? static_cast<int>(room - 1) : length;
  sink.replylen += static_cast<std::uint32_t>(written);
  return written;
}

int out_printf(OutputSink& sink, const char* format, ...) {
  std::va_list args;
  va_start(args, format);
  const int written = out_vprintf(sink, format, args);
  va_end(args);
  return written;
}

void out_label(OutputSink& sink, const char* label) {
  if (label == nullptr) return;
  const std::size_t length = std::strlen(label);
  const bool blank_last = length > 0 && label[length - 1] == ' ';
  out_printf(sink, blank_last ? "%s" : "%s=", label);
}

void out_ip(OutputSink& sink, const char* label, std::uint32_t host) {
  out_label(sink, label);
  put_ip(sink, host);
  end_line(sink, label);
}

void out_iprange(OutputSink& sink, const char* label, std::uint32_t low, std::uint32_t high) {
  out_label(sink, label);
  if (low == 0 && high == 0xffffffff) {
    out_printf(sink, "any");
  } else {
    put_ip(sink, low);
    if (high > low) {
      out_printf(sink, "-");
      put_ip(sink, high);
    } else if (high < 32) {
      out_printf(sink, "/%u", high);
    }
  }
  end_line(sink, label);
}

void out_mac(OutputSink& sink, const char* label, const std::uint8_t* mac6) {
  constexpr std::uint8_t kNoMac[6] = {};
  char text[kMacTextBytes];
  format_mac(text, mac6 == nullptr ? kNoMac : mac6);
  out_label(sink, label);
  out_printf(sink, "%.*s", static_cast<int>(sizeof text), text);
  end_line(sink, label);
}

void out_time(OutputSink& sink, const char* label, std::uint32_t seconds) {
  char text[kTimeTextBytes + 1];
  format_time(text, seconds);
  if (label != nullptr) out_printf(sink, "%s=", label);  // KEEP: whatever its last character
  out_printf(sink, "%s", text);
  end_line(sink, label);
}

void out_count(OutputSink& sink, const char* label, std::uint64_t value) {
  out_label(sink, label);
  if (value >= 1000000) {
    out_printf(sink, "%.2fM", static_cast<double>(value) / 1000000);
  } else if (value >= 1000) {
    out_printf(sink, "%.2fK", static_cast<double>(value) / 1000);
  } else {
    out_printf(sink, "%lu", static_cast<unsigned long>(value));
  }
  end_line(sink, label);
}

}  // namespace qsvmon
