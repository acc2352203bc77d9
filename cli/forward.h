#pragma once

#include <cstdint>
#include <string_view>

#include "rpc/wire/daemon.h"
#include "rpc/words.h"

namespace qsvmon {

/// Sends `words` as "w1 w2 " with message code `code` to the session's `daemon` and
/// prints its text reply as it stands. Returns 0, or -1 after printing the error text and a
/// newline. REQUIRES: an open session.
int rpc_forward(Daemon daemon, Words words, std::uint32_t code);

/// The same, addressed to `module`.
int rpc_forward_module(Daemon daemon, std::string_view module, Words words, std::uint32_t code);

}  // namespace qsvmon
