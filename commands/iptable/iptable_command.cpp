#include "commands/iptable/iptable_command.h"

#include <cstring>

#include "format/number.h"
#include "format/printer.h"
#include "rpc/session.h"

namespace qsvmon {
namespace {

// Text at the start of the area, built piece by piece; keeps room for the NUL.
class AreaText {
 public:
  explicit AreaText(std::span<char> area) : area_(area), fits_(!area.empty()) {}

  AreaText& add(std::string_view piece) {
    fits_ = fits_ && piece.size() < area_.size() - used_;
    if (fits_ && !piece.empty()) std::memcpy(area_.data() + used_, piece.data(), piece.size());
    if (fits_) used_ += piece.size();
    return *this;
  }

  // Ends the text and enters it in the request. Returns false when it did not fit.
  bool finish(RpcRequest& request) {
    if (!fits_) return false;
    area_[used_] = '\0';
    request.data = area_.data();
    request.datalen = static_cast<std::uint32_t>(used_ + 1);
    return true;
  }

 private:
  std::span<char> area_;
  std::size_t used_ = 0;
  bool fits_;
};

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
  const auto length = write_words(words, area, WordStyle::kBlankAfter);
  if (!length) return false;
  request.data = area.data();
  request.datalen = *length + 1;
  return true;
}

bool put_table_addip(Words words, std::span<char> area, RpcRequest& request) {
  AreaText text(area);
  text.add(holds_equals(words[0]) ? "" : "tid=").add(words[0]);
  text.add(holds_equals(words[1]) ? " " : " ip=").add(words[1]);
  for (const char* word : words.subspan(2)) text.add(" ").add(word);
  return text.finish(request);
}

bool put_table_rmvip(Words words, std::span<char> area, RpcRequest& request) {
  return AreaText(area).add("table=").add(words[0]).add(" ip=").add(words[1]).finish(request);
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
