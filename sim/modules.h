#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "sim/call.h"

namespace qsvmon::sim {

/// One item of a module's list: a number and the words it was added with.
struct Item {
  unsigned long id;
  Words words;  ///< without the id
};

/// The state of a module, which the generic verbs change. An item is named by its "id=", or by any
/// of its words: "remove name=x" removes what was added with the word "name=x".
class ModuleState {
 public:
  /// Adds an item under its "id=" or the next free number. Returns the number, 0 when it is in use.
  unsigned long add(const Words& words);
  /// The items that have every one of `words` ("page=" and "limit=" aside).
  std::vector<const Item*> find(const Words& words) const;
  /// Sets the values of the other words in the item that the first word names. False: no such item.
  bool set(const Words& words);
  /// Removes the items that `find` finds; returns how many.
  std::size_t remove(const Words& words);

  const std::vector<Item>& items() const { return items_; }
  std::map<std::string, std::string>& settings() { return settings_; }
  const std::map<std::string, std::string>& settings() const { return settings_; }

 private:
  std::vector<Item> items_;
  std::map<std::string, std::string> settings_;  ///< set by "config" and "debug"
  unsigned long last_id_ = 0;
};

/// The modules that have the generic verbs only: any name, each with its state, for each daemon.
class Modules {
 public:
  /// Answers a generic verb for `call.target`:
  ///   add     adds an item, replies "id=<n>\n"; result is the number
  ///   list    one line per item "id=<n> <words>\n"; "page=" and "limit=" cut the list
  ///   get     the lines of the items that have all the words
  ///   set     changes the item that the first word names
  ///   remove  removes the items that have all the words; result is how many
  ///   load    adds every line of the file "file=" (or of the first word)
  ///   stat    a JSON object; config and debug store and show "key=value" settings
  /// Fails with "NO_ARGUMENT", "EXISTS", "NOT_FOUND", "NO_FILE" or "UNKNOWN_CODE".
  void answer(Call& call);

  ModuleState& state(Daemon daemon, const std::string& module) { return states_[{daemon, module}]; }

 private:
  std::map<std::pair<Daemon, std::string>, ModuleState> states_;
};

/// Make a text reply: between the two calls, text is appended to `call.out`; `end_text` copies what
/// fits of it and a NUL to `body` and sets `replylen` to its length.
void begin_text(Call& call);
void end_text(Call& call);

/// The lines of the text file that `words` name with "file=" or as their last word without "=";
/// false when there is none or it cannot be read.
bool read_lines(const Words& words, std::vector<std::string>& lines);

}  // namespace qsvmon::sim
