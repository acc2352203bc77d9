#pragma once

#include <cstdint>
#include <span>

#include "format/printer.h"
#include "rpc/exchange.h"

/// The IP table commands and the asset-object list (asset_objects.h).
namespace qsvmon {

// Served by the management daemon.
extern const Exchange kQsvIpTableAddIp;
extern const Exchange kQsvIpTableRemove;
extern const Exchange kQsvIpTableClear;
extern const Exchange kQsvIpTableGetCmp;

// Served by the log daemon.
extern const Exchange kTableAddIp;
extern const Exchange kTableRemoveIp;
extern const Exchange kTableClear;
extern const Exchange kTableGetCmp;
/// Asks whether a table, by its number, matches an address. No command reaches it.
extern const Exchange kTableMatchTest;

/// Handlers: each gets the words after the sub-command and returns 0, or -1 after printing why it
/// failed. `get` prints the addresses of the tables that the words name, or the daemon's text.
/// REQUIRES: an open session.
int qsviptable_get(int argc, char** argv);
int table_get(int argc, char** argv);
int assetsobj2_list(int argc, char** argv);

/// One address of a table's binary reply: host order, the first octet in the high byte.
struct [[gnu::packed]] TableAddress {
  std::uint32_t host;
};
static_assert(sizeof(TableAddress) == 4 && alignof(TableAddress) == 1);

/// Prints each address in dotted form on a line.
void print_addresses(Printer& out, std::span<const TableAddress> addresses);

}  // namespace qsvmon
