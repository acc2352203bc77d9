#include "sim/modules.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>

#include "sim/text.h"

namespace qsvmon::sim {
namespace {

constexpr std::string_view kId = "id=";

bool starts_with(std::string_view text, std::string_view prefix) {
  return text.substr(0, prefix.size()) == prefix;
}

bool is_paging(std::string_view word) {
  return starts_with(word, "page=") || starts_with(word, "limit=");
}

bool has_word(const Item& item, const std::string& word) {
  if (starts_with(word, kId)) {
    return std::strtoul(word.c_str() + kId.size(), nullptr, 10) == item.id;
  }
  return std::find(item.words.begin(), item.words.end(), word) != item.words.end();
}

void write_item(std::string& out, const Item& item) {
  append(out, "id=%lu", item.id);
  for (const std::string& word : item.words) append(out, " %s", word.c_str());
  append(out, "\n");
}

// The part of the list that "page=" and "limit=" ask for; all of it without a limit.
void write_page(std::string& out, const std::vector<const Item*>& items, const Words& words) {
  const std::size_t limit = word_number(words, "limit", 0);
  const std::size_t page = std::max<std::size_t>(word_number(words, "page", 1), 1);
  const std::size_t first = limit == 0 ? 0 : (page - 1) * limit;
  for (std::size_t i = first; i < items.size() && (limit == 0 || i < first + limit); ++i) {
    write_item(out, *items[i]);
  }
}

void write_stat(std::string& out, const std::string& module, const ModuleState& state) {
  append(out, "{\"module\":\"%s\",\"items\":%zu", module.c_str(), state.items().size());
  for (const auto& [key, value] : state.settings()) {
    append(out, ",\"%s\":\"%s\"", key.c_str(), value.c_str());
  }
  append(out, "}\n");
}

void store_settings(ModuleState& state, const Words& words, const char* fallback_key) {
  for (const std::string& word : words) {
    const std::size_t at = word.find('=');
    if (at == std::string::npos) {
      state.settings()[fallback_key] = word;
    } else {
      state.settings()[word.substr(0, at)] = word.substr(at + 1);
    }
  }
}

void load_file(Call& call, ModuleState& state) {
  std::vector<std::string> lines;
  if (!read_lines(call.words, lines)) return call.fail("NO_FILE");
  for (const std::string& line : lines) {
    if (state.add(split_words(line)) != 0) ++call.request.result;
  }
  begin_text(call);
  append(call.out, "loaded=%d\n", call.request.result);
  end_text(call);
}

}  // namespace

unsigned long ModuleState::add(const Words& words) {
  Item item{word_number(words, "id", 0), {}};
  if (item.id == 0) item.id = last_id_ + 1;
  for (const Item& other : items_) {
    if (other.id == item.id) return 0;
  }
  std::copy_if(words.begin(), words.end(), std::back_inserter(item.words),
               [](const std::string& word) { return !starts_with(word, kId); });
  last_id_ = std::max(last_id_, item.id);
  items_.push_back(std::move(item));
  return items_.back().id;
}

std::vector<const Item*> ModuleState::find(const Words& words) const {
  std::vector<const Item*> found;
  for (const Item& item : items_) {
    if (std::all_of(words.begin(), words.end(), [&](const std::string& word) {
          return is_paging(word) || has_word(item, word);
        })) {
      found.push_back(&item);
    }
  }
  return found;
}

bool ModuleState::set(const Words& words) {
  const auto item = std::find_if(items_.begin(), items_.end(),
                                 [&](const Item& each) { return has_word(each, words.front()); });
  if (item == items_.end()) return false;
  for (std::size_t i = 1; i < words.size(); ++i) {
    const std::string key = words[i].substr(0, words[i].find('=') + 1);
    const auto old = std::find_if(item->words.begin(), item->words.end(), [&](const auto& word) {
      return !key.empty() && starts_with(word, key);
    });
    if (old != item->words.end()) {
      *old = words[i];
    } else {
      item->words.push_back(words[i]);
    }
  }
  return true;
}

std::size_t ModuleState::remove(const Words& words) {
  const std::vector<const Item*> found = find(words);
  std::vector<Item> left;
  for (Item& item : items_) {
    if (!std::binary_search(found.begin(), found.end(), &item)) left.push_back(std::move(item));
  }
  items_ = std::move(left);
  return found.size();
}

void Modules::answer(Call& call) {
  ModuleState& module = state(call.daemon, call.target);
  RpcRequest& request = call.request;
  const bool changes =
      request.msgcode == kVerbAdd || request.msgcode == kVerbSet || request.msgcode == kVerbRemove;
  if (changes && call.words.empty()) return call.fail("NO_ARGUMENT");
  switch (request.msgcode) {
    case kVerbAdd:
      request.result = static_cast<std::int32_t>(module.add(call.words));
      if (request.result == 0) return call.fail("EXISTS");
      begin_text(call);
      append(call.out, "id=%d\n", request.result);
      return end_text(call);
    case kVerbList:
    case kVerbGet:
      begin_text(call);
      write_page(call.out, module.find(call.words), call.words);
      return end_text(call);
    case kVerbSet:
      if (!module.set(call.words)) return call.fail("NOT_FOUND");
      break;
    case kVerbRemove:
      request.result = static_cast<std::int32_t>(module.remove(call.words));
      if (request.result == 0) return call.fail("NOT_FOUND");
      break;
    case kVerbLoad:
      return load_file(call, module);
    case kVerbConfig:
    case kVerbDebug:
      store_settings(module, call.words, request.msgcode == kVerbDebug ? "debug" : "config");
      [[fallthrough]];
    case kVerbStat:
      begin_text(call);
      write_stat(call.out, call.target, module);
      return end_text(call);
    default:
      return call.fail("UNKNOWN_CODE");
  }
  begin_text(call);
  end_text(call);
}

void begin_text(Call& call) {
  call.out.clear();
}

void end_text(Call& call) {
  if (call.body.empty()) return;
  const std::size_t length = std::min(call.out.size(), call.body.size() - 1);
  std::copy_n(call.out.begin(), length, call.body.begin());
  call.body[length] = '\0';
  call.request.replylen = static_cast<std::uint32_t>(length);
}

bool read_lines(const Words& words, std::vector<std::string>& lines) {
  std::string path = word_value(words, "file");
  for (const std::string& word : words) {
    if (path.empty() && word.find('=') == std::string::npos) path = word;
  }
  std::ifstream in(path);
  if (path.empty() || !in) return false;
  for (std::string line; std::getline(in, line);) {
    while (!line.empty() && (line.back() == '\r' || line.back() == ' ')) line.pop_back();
    if (!line.empty() && line[0] != '#') lines.push_back(line);
  }
  return true;
}

}  // namespace qsvmon::sim
