#include "rpc/dict.h"

#include "rpc/session.h"
#include "rpc/session_dict.h"

namespace qsvmon {
namespace {

constexpr char kUndefinedName[] = "undname";
constexpr std::size_t kNameAt = 4;
constexpr std::size_t kExtraAt = 24;

// Asks the daemon for the dictionary when none has come yet. A daemon that answers without tables
// leaves no function table to ask.
bool dict_ready() {
  if (!rpc_dict_loaded()) rpc_syncdesc();
  return session_dict().loaded();
}

const char* record_at(std::uint16_t id, std::size_t offset) {
  if (!dict_ready()) return nullptr;
  const char* record = session_dict().record(id);
  return record != nullptr ? record + offset : nullptr;
}

}  // namespace

const char* dict_appname(std::uint16_t id) {
  const DictLibrary& dict = session_dict();
  const char* name = dict.loaded() ? dict.name(id) : nullptr;
  return name != nullptr ? name : kUndefinedName;
}

const char* dict_appcname(std::uint16_t id) {
  const DictLibrary& dict = session_dict();
  const char* name = dict.loaded() ? dict.display_name(id) : nullptr;
  return name != nullptr ? name : kUndefinedName;
}

int dict_appid(const char* name) {
  if (!dict_ready() || name == nullptr || *name == '\0') return -1;
  const std::uint16_t* id = session_dict().id_of(name);
  return id != nullptr ? *id : -1;
}

const char* dict_entry_name(std::uint16_t id) {
  return record_at(id, kNameAt);
}

const char* dict_entry_extra(std::uint16_t id) {
  return record_at(id, kExtraAt);
}

int dict_startup() {
  if (!session_dict().loaded()) return -1;
  session_dict().initialise();
  return 0;
}

}  // namespace qsvmon
