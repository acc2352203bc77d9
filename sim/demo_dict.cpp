// The demo dictionary library, loaded by the client as usr/ramdisk/bin/dict.so. Some
// applications are built in; the daemon sends the user-defined ones in front of a reply.
#include <array>
#include <cstring>

#include "sim/dict_tables.h"

namespace {

using qsvmon::DictEntry;
using qsvmon::sim::kBuiltinApps;
using qsvmon::sim::kUserApps;
using qsvmon::sim::kUserGroups;

// Registered entries by id. Groups have ids of their own from kGroupBase up.
constexpr std::size_t kMaxId = 16384;
std::array<const DictEntry*, kMaxId> registered;
std::array<DictEntry, std::size(kBuiltinApps)> builtin;

template <std::size_t Width>
void copy_text(char (&to)[Width], const char* from) {
  std::strncpy(to, from, Width - 1);
  to[Width - 1] = '\0';
}

const DictEntry* find(int id) {
  return id >= 0 && static_cast<std::size_t>(id) < kMaxId ? registered[static_cast<std::size_t>(id)]
                                                          : nullptr;
}

void initialise() {
  registered.fill(nullptr);
  for (std::size_t i = 0; i < builtin.size(); ++i) {
    builtin[i] = DictEntry{};
    builtin[i].id = kBuiltinApps[i].id;
    copy_text(builtin[i].name, kBuiltinApps[i].name);
    copy_text(builtin[i].display_name, kBuiltinApps[i].display_name);
    registered[builtin[i].id] = &builtin[i];
  }
}

const char* app_name(int id) {
  const DictEntry* entry = find(id);
  return entry != nullptr ? entry->name : "unknown";
}

const char* app_display_name(int id) {
  const DictEntry* entry = find(id);
  return entry != nullptr ? entry->display_name : "Unknown";
}

// The result is valid until the next call. It is a copy, since an entry's own id may lie at an odd
// address.
const std::uint16_t* id_of(const char* name) {
  static std::uint16_t id;
  for (const DictEntry* entry : registered) {
    if (entry != nullptr && std::strncmp(entry->name, name, sizeof entry->name) == 0) {
      id = entry->id;
      return &id;
    }
  }
  return nullptr;
}

const void* record_of(int id) {
  return find(id);
}
int app_count() {
  return static_cast<int>(kUserApps);
}
int group_count() {
  return static_cast<int>(kUserGroups);
}

void register_entry(void* bytes) {
  auto* entry = static_cast<DictEntry*>(bytes);
  entry->name[sizeof entry->name - 1] = '\0';
  entry->display_name[sizeof entry->display_name - 1] = '\0';
  if (entry->id < kMaxId) registered[entry->id] = entry;
}

template <class Function>
const void* slot(Function* function) {
  return reinterpret_cast<const void*>(function);
}

// Fills the function table before the symbol can be looked up.
struct Functions {
  std::array<const void*, 64> slots{};
  Functions() {
    slots[0] = slot(initialise);
    slots[5] = slot(app_name);
    slots[6] = slot(app_display_name);
    slots[8] = slot(id_of);
    slots[10] = slot(record_of);
    slots[40] = slot(app_count);
    slots[41] = slot(group_count);
    slots[42] = slot(register_entry);
  }
};
Functions functions;

}  // namespace

extern "C" {
extern const void* const* _axpdict;
extern DictEntry _usraxps[kUserApps];
extern DictEntry _usragps[kUserGroups];

const void* const* _axpdict = functions.slots.data();
DictEntry _usraxps[kUserApps];
DictEntry _usragps[kUserGroups];
}
