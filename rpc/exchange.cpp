#include "rpc/exchange.h"

#include "rpc/session.h"

namespace qsvmon {
namespace {

void print_answer(Printer& out, Exchange::Output output, const RpcRequest& request) {
  using enum Exchange::Output;
  if (output == kNothing || (output == kTextIfAny && request.replylen == 0)) return;
  out.put(rpc_reply_text(request), output == kTextLine ? "\n" : "");
}

}  // namespace

bool enter_text(std::optional<std::uint32_t> length, std::span<char> area, RpcRequest& request) {
  if (!length) return false;
  request.data = area.data();
  request.datalen = *length + 1;
  return true;
}

bool put_joined_words(Words words, std::span<char> area, RpcRequest& request) {
  // A documented "key=" and its value are written with the same characters as the word itself.
  return enter_text(write_words(words, area, WordStyle::kBlankAfter), area, request);
}

bool put_no_text(Words, std::span<char> area, RpcRequest& request) {
  request.data = area.data();
  return true;
}

bool put_empty_text(Words, std::span<char> area, RpcRequest& request) {
  return put_joined_words({}, area, request);
}

int run_exchange(Printer& out, const Exchange& exchange, Words words) {
  if (words.size() < exchange.least_words || words.size() > exchange.most_words) {
    out.put(exchange.usage);
    return -1;
  }
  RpcRequest request{};
  request.msgcode = exchange.code;
  // A name that is cut to the field would address another module.
  if (!set_errtext(request, exchange.module) || !exchange.put_words(words, rpc_area(), request)) {
    return fail(argument_too_long());
  }
  if (rpc_call(daemon_path(exchange.daemon), request) != 0 && !exchange.is_lenient) {
    return fail(Status::error(request_errtext(request)));
  }
  print_answer(out, exchange.output, request);
  return exchange.returns_result ? request.result : 0;
}

}  // namespace qsvmon
