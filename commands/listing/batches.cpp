#include "commands/listing/batches.h"

#include <algorithm>

#include "platform/large_memory.h"
#include "rpc/session.h"

namespace qsvmon {

Status RpcBatches::fetch() {
  const std::optional<std::uint32_t> length = write_words(words_, rpc_area(), plan_.style);
  if (!length) return argument_too_long();
  if (first_) {
    request_.syncdesc = plan_.want_dict ? 1 : 0;
  } else if (plan_.clear_syncdesc_later) {
    request_.syncdesc = 0;
  }
  first_ = false;
  // The last reply replaced the whole record, so these are set for every batch.
  request_.msgcode = plan_.msgcode;
  request_.data = rpc_shmbuf();
  request_.datalen = plan_.style == WordStyle::kBlankAfter ? *length + 1 : *length;
  if (plan_.clear_result) request_.result = 0;
  set_errtext(request_, plan_.module);
  bytes_ = {};  // the last batch is overwritten by the call, also by one that fails
  if (rpc_call(daemon_path(plan_.daemon), request_) != 0)
    return Status::error(request_errtext(request_));
  bytes_ = rpc_reply_bytes(request_);
  // The first batch is the largest: the later ones lie where it was.
  const std::size_t used = std::min(bytes_.size(), claimed() * plan_.record_bytes);
  if (used > mapped_) memory_will_be_read(bytes_.data() + mapped_, used - mapped_);
  mapped_ = std::max(mapped_, used);
  return Status::good();
}

}  // namespace qsvmon
