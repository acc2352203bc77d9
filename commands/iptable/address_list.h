#pragma once

#include <cstdint>
#include <span>

#include "format/printer.h"
#include "rpc/wire/daemon.h"
#include "rpc/words.h"

namespace qsvmon {

/// One address of a table's binary reply: host order, the first octet in the high byte.
struct [[gnu::packed]] TableAddress {
  std::uint32_t host;
};
static_assert(sizeof(TableAddress) == 4 && alignof(TableAddress) == 1);

/// Prints each address in dotted form on a line.
void print_addresses(Printer& out, std::span<const TableAddress> addresses);

/// Asks `daemon` for the tables that `words` name, addressed to `module`, and
/// prints every batch: addresses, or the daemon's text where it sent a length. Returns 0 or -1.
int list_addresses(Daemon daemon, std::string_view module, Words words);

}  // namespace qsvmon
