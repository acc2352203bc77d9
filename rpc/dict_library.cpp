#include "rpc/dict_library.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "rpc/elf_check.h"

namespace qsvmon {

bool DictLibrary::load(const char* path, char* error, std::size_t capacity) {
  if (loaded()) return true;
  if (const char* damage = elf_damage(path)) {
    std::snprintf(error, capacity, "%s: %s", path, damage);
    return false;
  }
  // Bound at once: a symbol that is missing is an error here, and not the end of the process later.
  handle_ = ::dlopen(path, RTLD_NOW);
  if (handle_ == nullptr) {
    const char* why = ::dlerror();
    std::snprintf(error, capacity, "%s", why != nullptr ? why : "dlopen");
    return false;
  }
  const auto* table = static_cast<void* const* const*>(::dlsym(handle_, "_axpdict"));
  if (table != nullptr) functions_ = *table;
  apps_ = static_cast<DictEntry*>(::dlsym(handle_, "_usraxps"));
  groups_ = static_cast<DictEntry*>(::dlsym(handle_, "_usragps"));
  const char* missing = functions_ == nullptr ? "AXPDICT_NOT_FOUND"
                        : apps_ == nullptr    ? "USRAXPS_NOT_FOUND"
                        : groups_ == nullptr  ? "USRAGPS_NOT_FOUND"
                                              : nullptr;
  if (missing != nullptr) {
    std::snprintf(error, capacity, "%s", missing);
    unload();
    return false;
  }
  initialise();
  return true;
}

// The members are cleared first: dlclose runs the library's own code, and a signal handler that
// interrupts it must not find the library still loaded.
void DictLibrary::unload() {
  void* handle = handle_;
  handle_ = nullptr;
  functions_ = nullptr;
  apps_ = nullptr;
  groups_ = nullptr;
  if (handle != nullptr) ::dlclose(handle);
}

// A count below 0 is none.
std::span<DictEntry> DictLibrary::copy_table(std::span<const char> from, DictEntry* to,
                                             Slot count) const {
  const auto claimed = static_cast<std::size_t>(std::max(call<int>(count), 0));
  const std::size_t entries = std::min(claimed, from.size() / sizeof(DictEntry));
  if (entries > 0) std::memcpy(to, from.data(), entries * sizeof(DictEntry));
  return {to, entries};
}

std::size_t DictLibrary::copy_tables(std::span<const char> reply) {
  const std::span<DictEntry> apps = copy_table(reply, apps_, kAppCount);
  const std::span<DictEntry> groups =
      copy_table(reply.subspan(apps.size_bytes()), groups_, kGroupCount);
  // Registered where they lie: the library keeps pointers into its arrays, not copies.
  for (DictEntry& app : apps) {
    if (app.in_use()) call<void, void*>(kRegister, &app);
  }
  for (DictEntry& group : groups) {
    if (group.in_use()) call<void, void*>(kRegister, &group);
    group.pointer = 0;  // an address of the daemon's means nothing in this process
  }
  return apps.size_bytes() + groups.size_bytes();
}

}  // namespace qsvmon
