#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "rpc/wire/message_codes.h"
#include "rpc/wire/request.h"
#include "sim/area.h"

namespace qsvmon::sim {

/// The blank-separated words of an argument text.
using Words = std::vector<std::string>;
Words split_words(std::string_view text);

/// The value of the last "key=value" word, or "" when there is none.
std::string word_value(const Words& words, std::string_view key);

/// The value of an unsigned number word, or `absent`.
unsigned long word_number(const Words& words, std::string_view key, unsigned long absent);

/// One request and its answer in the making. The request's text is copied out of the area first,
/// since the answer is written over it.
struct Call {
  Daemon daemon;
  RpcRequest& request;   ///< the record that is sent back
  std::string target;    ///< the module or argument in `errtext`
  std::string text;      ///< the argument text
  Words words;           ///< its words
  std::span<char> body;  ///< where the reply goes: the area behind dictionary tables
  ClientKey client;
  std::string out;  ///< the text reply so far, see begin_text

  /// Refuses the request: `status` 22, `why` as the error text.
  void fail(const char* why);
  bool failed() const { return request.status != 0; }
};

}  // namespace qsvmon::sim
