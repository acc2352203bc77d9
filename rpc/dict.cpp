#include "rpc/dict.h"

#include "rpc/dict_library.h"
#include "rpc/session.h"

namespace qsvmon {
namespace {

const char* or_undefined(const char* name) {
  return name != nullptr ? name : "undname";
}

// Asks the daemon for the dictionary when none has come yet. A daemon that answers without tables
// leaves no function table to ask.
bool dict_ready() {
  if (!rpc_dict_loaded()) rpc_syncdesc();
  return session_dict().loaded();
}

const DictEntry* entry_of(std::uint16_t id) {
  return dict_ready() ? session_dict().entry(id) : nullptr;
}

}  // namespace

// The names are asked for while rows are printed, from the area that holds the reply: fetching the
// dictionary here would overwrite the rows that are still to come.
const char* dict_appname(std::uint16_t id) {
  const DictLibrary& dict = session_dict();
  return or_undefined(dict.loaded() ? dict.name(id) : nullptr);
}

const char* dict_appcname(std::uint16_t id) {
  const DictLibrary& dict = session_dict();
  return or_undefined(dict.loaded() ? dict.display_name(id) : nullptr);
}

int dict_appid(const char* name) {
  if (!dict_ready() || name == nullptr || *name == '\0') return -1;
  const std::uint16_t* id = session_dict().id_of(name);
  return id != nullptr ? *id : -1;
}

const char* dict_entry_name(std::uint16_t id) {
  const DictEntry* entry = entry_of(id);
  return entry != nullptr ? entry->name : nullptr;
}

const char* dict_entry_extra(std::uint16_t id) {
  const DictEntry* entry = entry_of(id);
  return entry != nullptr ? entry->display_name : nullptr;
}

int dict_startup() {
  if (!session_dict().loaded()) return -1;
  session_dict().initialise();
  return 0;
}

}  // namespace qsvmon
