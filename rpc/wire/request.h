#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <type_traits>

namespace qsvmon {

/// Values of `RpcRequest::status` that the client sets itself; any other is the daemon's.
enum RpcStatus : std::uint32_t {
  kRpcOk = 0,
  kRpcTransportFailed = 5,
  kRpcDictFailed = 12,
  kRpcBadRequest = 22,
};

/// The record that client and daemon exchange whole, in both directions: 208 bytes, little-endian.
/// Every request starts zero-filled (`RpcRequest request{};`). The five fields `flags`, `stream`,
/// `replylen`, `shmsize` and `reply` double as an output sink (format/output_sink.h).
struct RpcRequest {
  std::uint32_t msgcode;   ///< what is asked, see MessageCode
  std::uint32_t datalen;   ///< bytes of argument data; each command says whether with its NUL
  char* data;              ///< argument data in the client; the daemon finds it at the area's start
  std::int32_t shmid;      ///< the client's shared-memory segment
  std::uint8_t syncdesc;   ///< request: send the dictionary; reply: it lies before the reply
  std::uint8_t islast;     ///< reply: the last batch of a reply that takes several calls
  std::uint16_t flags;     ///< zero in requests; bit 0: the sink writes to `stream`
  std::FILE* stream;       ///< zero in requests; the sink's stream
  std::uint32_t status;    ///< 0 or why the call failed, see RpcStatus
  char errtext[128];       ///< request: target module or argument; reply: error text
  std::int32_t result;     ///< the daemon's value; the number of records of a listing
  std::uint32_t replylen;  ///< bytes of reply; the sink's used bytes
  std::uint32_t shmsize;   ///< bytes of shared area; the sink's capacity
  char* reply;             ///< where the reply lies in the client's mapping
  std::uint32_t argval;    ///< numeric argument of the codes that take one
  std::uint8_t reserved1[12];
  std::uint32_t stamp;  ///< seconds since the epoch when the request was sent
  std::uint8_t reserved2[4];
};
static_assert(sizeof(void*) == 8, "the record carries 8-byte addresses");
static_assert(sizeof(RpcRequest) == 208);
static_assert(offsetof(RpcRequest, msgcode) == 0);
static_assert(offsetof(RpcRequest, datalen) == 4);
static_assert(offsetof(RpcRequest, data) == 8);
static_assert(offsetof(RpcRequest, shmid) == 16);
static_assert(offsetof(RpcRequest, syncdesc) == 20);
static_assert(offsetof(RpcRequest, islast) == 21);
static_assert(offsetof(RpcRequest, flags) == 22);
static_assert(offsetof(RpcRequest, stream) == 24);
static_assert(offsetof(RpcRequest, status) == 32);
static_assert(offsetof(RpcRequest, errtext) == 36);
static_assert(offsetof(RpcRequest, result) == 164);
static_assert(offsetof(RpcRequest, replylen) == 168);
static_assert(offsetof(RpcRequest, shmsize) == 172);
static_assert(offsetof(RpcRequest, reply) == 176);
static_assert(offsetof(RpcRequest, argval) == 184);
static_assert(offsetof(RpcRequest, reserved1) == 188);
static_assert(offsetof(RpcRequest, stamp) == 200);
static_assert(offsetof(RpcRequest, reserved2) == 204);
static_assert(std::is_trivially_copyable_v<RpcRequest>);

/// The text in `errtext`, up to its NUL or the field's 128 bytes. Valid as long as the request.
inline std::string_view request_errtext(const RpcRequest& request) {
  return {request.errtext, ::strnlen(request.errtext, sizeof request.errtext)};
}

/// Writes `text` and a NUL at the start of `errtext`, cut to 127 bytes; later bytes stay as they
/// are. Returns false when it was cut.
inline bool set_errtext(RpcRequest& request, std::string_view text) {
  const bool fits = text.size() < sizeof request.errtext;
  const std::size_t n = fits ? text.size() : sizeof request.errtext - 1;
  if (n > 0) std::memcpy(request.errtext, text.data(), n);
  request.errtext[n] = '\0';
  return fits;
}

/// Rejects a request with a message: `status` becomes kRpcBadRequest and `errtext` the text, cut to
/// 119 characters and NUL-terminated. A null text counts as empty. The field's later bytes stay.
inline void set_request_error(RpcRequest& request, const char* text) {
  constexpr std::size_t kMaxText = 119;
  request.status = kRpcBadRequest;
  const std::size_t length = text == nullptr ? 0 : ::strnlen(text, kMaxText);
  if (length > 0) std::memmove(request.errtext, text, length);
  request.errtext[length] = '\0';
  request.errtext[kMaxText] = '\0';
}

}  // namespace qsvmon
