#include "commands/iptable/address_list.h"

#include "commands/listing/batches.h"
#include "format/address.h"
#include "rpc/session.h"

namespace qsvmon {

void print_addresses(Printer& out, std::span<const TableAddress> addresses) {
  for (const TableAddress& address : addresses) out.put(Ipv4Text{address.host}, '\n');
}

int list_addresses(Daemon daemon, std::string_view module, Words words) {
  RpcBatches batches(
      {.module = module, .daemon = daemon, .style = WordStyle::kBlankAfter, .msgcode = kVerbGet},
      words);
  while (!batches.done()) {
    if (Status s = batches.fetch(); !s.ok()) return fail(s);
    // A reply that has a length is text, one that has none is records.
    if (batches.request().replylen < 1) {
      print_addresses(standard_out(), batches.records<TableAddress>());
    } else {
      standard_out().put(rpc_reply_text(batches.request()));
    }
  }
  return 0;
}

}  // namespace qsvmon
