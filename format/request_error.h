#pragma once

#include "rpc/wire/request.h"

namespace qsvmon {

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
