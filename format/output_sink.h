#pragma once

#include <cstdarg>
#include <cstdint>

#include "rpc/wire/request.h"

// Writers of text replies: every value goes through `out_printf`, to a stdio stream or into a
// bounded buffer. Nothing reports an error: a full buffer cuts the text in silence and drops what
// comes after it.

namespace qsvmon {

/// Where the writers write: the request whose reply is being made, of which they use five fields.
///   flags     bit 0 set: write to `stream`; clear: into the buffer
///   stream    a stdio stream, not owned
///   replylen  bytes of the buffer in use (read as signed); the next text starts there
///   shmsize   bytes of the buffer (read as signed); `replylen` never exceeds `shmsize` - 1
///   reply     the buffer, not owned; it is NUL-terminated after every text written
/// A sink without stream or buffer, or with impossible counts, ignores what is written.
using OutputSink = RpcRequest;

constexpr std::uint16_t kSinkToStream = 1;

/// Bytes that the buffer has left, the NUL's included; 0 or less when it is full.
std::int64_t out_room(const OutputSink& sink);

/// Writes text made by `format`. Returns the number of characters written: what vfprintf returns
/// for a stream; for a buffer what fitted, 0 when nothing did.
[[gnu::format(printf, 2, 3)]] int out_printf(OutputSink& sink, const char* format, ...);
[[gnu::format(printf, 2, 0)]] int out_vprintf(OutputSink& sink, const char* format,
                                              std::va_list args);

// Lines "label=value\n". A null label writes the value alone.
// KEEP: a label that ends in a blank is written without the "=", and one that begins with a blank
// gets no newline. The two look at different ends, so that " label " continues the current line.

/// The label alone: "label=", or "label " as it is. A null label writes nothing.
void out_label(OutputSink& sink, const char* label);

/// An address in host order, "10.0.0.1".
void out_ip(OutputSink& sink, const char* label, std::uint32_t host);

/// "any" for 0 to 4294967295; else `low`, and "-high" when high > low, else "/high" when high < 32.
void out_iprange(OutputSink& sink, const char* label, std::uint32_t low, std::uint32_t high);

/// Six bytes, "00-11-22-33-44-55"; a null `mac6` reads as zeros.
void out_mac(OutputSink& sink, const char* label, const std::uint8_t* mac6);

/// Local time, "2024-03-05/07:08:09".
/// KEEP: here the label is followed by "=" even when it ends in a blank.
void out_time(OutputSink& sink, const char* label, std::uint32_t seconds);

/// "1.50M" from 1000000, "1.50K" from 1000, else all digits.
void out_count(OutputSink& sink, const char* label, std::uint64_t value);

}  // namespace qsvmon
