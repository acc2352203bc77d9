#include "cli/forward.h"

#include "format/printer.h"
#include "rpc/session.h"
#include "rpc/wire/request.h"

namespace qsvmon {

int rpc_forward(Daemon daemon, Words words, std::uint32_t code) {
  return rpc_forward_module(daemon, {}, words, code);
}

int rpc_forward_module(Daemon daemon, std::string_view module, Words words, std::uint32_t code) {
  RpcRequest request{};
  // A name that does not fit whole would address another module.
  if (module.size() >= sizeof request.errtext) return fail(argument_too_long());
  request.msgcode = code;
  set_errtext(request, module);
  request.data = rpc_shmbuf();
  const std::optional<std::uint32_t> length =
      write_words(words, rpc_area(), WordStyle::kBlankAfter);
  if (!length) return fail(argument_too_long());
  request.datalen = *length + 1;
  if (rpc_call(daemon_path(daemon), request) != 0) {
    return fail(Status::error(request_errtext(request)));
  }
  if (request.replylen > 0) standard_out().put(rpc_reply_text(request));
  return 0;
}

}  // namespace qsvmon
