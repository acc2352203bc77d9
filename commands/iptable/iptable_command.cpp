#include "commands/iptable/iptable_command.h"

#include <cstring>
#include <optional>

#include "format/number.h"
#include "format/printer.h"
#include "rpc/session.h"

namespace qsvmon {
namespace {

// Enters the text in the request, its NUL counted. Returns false when it did not fit.
bool put_text(const std::optional<std::uint32_t>& length, std::span<char> area,
              RpcRequest& request) {
  if (!length) return false;
  request.data = area.data();
  request.datalen = *length + 1;
  return true;
}

bool holds_equals(const char* word) {
  return std::strchr(word, '=') != nullptr;
}

// A word cut to the field would name something else, so it must fit whole.
bool put_errtext(const char* word, RpcRequest& request) {
  if (std::strlen(word) >= sizeof request.errtext) return false;
  set_errtext(request, word);
  return true;
}

void print_answer(IpTableCommand::Output output, const RpcRequest& request) {
  switch (output) {
    case IpTableCommand::Output::kNothing:
      break;
    case IpTableCommand::Output::kTextIfAny:
      if (request.replylen > 0) standard_out().put(rpc_reply_text(request));
      break;
    case IpTableCommand::Output::kTextLine:
      standard_out().put(rpc_reply_text(request), '\n');
      break;
  }
}

}  // namespace

bool put_joined_words(Words words, std::span<char> area, RpcRequest& request) {
  // A "tag=" word and its value are written with the same characters as the word itself.
  return put_text(write_words(words, area, WordStyle::kBlankAfter), area, request);
}

bool put_table_addip(Words words, std::span<char> area, RpcRequest& request) {
  ArgumentText text(area);
  text.add(holds_equals(words[0]) ? "" : "tid=").add(words[0]);
  text.add(holds_equals(words[1]) ? " " : " ip=").add(words[1]);
  for (const char* word : words.subspan(2)) text.add(" ").add(word);
  return put_text(text.finish(), area, request);
}

bool put_table_rmvip(Words words, std::span<char> area, RpcRequest& request) {
  ArgumentText text(area);
  text.add("table=").add(words[0]).add(" ip=").add(words[1]);
  return put_text(text.finish(), area, request);
}

bool put_word_in_errtext(Words words, std::span<char>, RpcRequest& request) {
  return put_errtext(words[0], request);
}

bool put_matchtest(Words words, std::span<char>, RpcRequest& request) {
  request.argval = static_cast<std::uint32_t>(parse_atoi(words[0]));
  return put_errtext(words[1], request);
}

int run_iptable_command(const IpTableCommand& command, Words words) {
  if (words.size() < command.least_words || words.size() > command.most_words) {
    standard_out().put(command.usage);
    return -1;
  }
  RpcRequest request{};
  request.msgcode = command.code;
  set_errtext(request, command.module);
  if (!command.put_words(words, rpc_area(), request)) return fail(argument_too_long());
  if (rpc_call(daemon_path(command.daemon), request) != 0) {
    return fail(Status::error(request_errtext(request)));
  }
  print_answer(command.output, request);
  return 0;
}

}  // namespace qsvmon
