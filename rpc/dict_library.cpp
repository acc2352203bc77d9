#include "rpc/dict_library.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "rpc/elf_check.h"

namespace qsvmon {
namespace {

void set_error(char* error, std::size_t capacity, std::string_view text) {
  if (capacity == 0) return;
  const std::size_t n = std::min(text.size(), capacity - 1);
  std::memcpy(error, text.data(), n);
  error[n] = '\0';
}

}  // namespace

bool DictLibrary::load(const char* path, char* error, std::size_t capacity) {
  if (loaded()) return true;
  if (const char* damage = elf_damage(path)) {
    std::snprintf(error, capacity, "%s: %s", path, damage);
    return false;
  }
  handle_ = ::dlopen(path, RTLD_NOW);
  if (handle_ == nullptr) {
    const char* why = ::dlerror();
    set_error(error, capacity, why != nullptr ? why : "dlopen");
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
    set_error(error, capacity, missing);
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

void DictLibrary::initialise() {
  if (auto run = slot<void (*)()>(kInitialise)) run();
}

const char* DictLibrary::name(std::uint16_t id) const {
  auto ask = slot<const char* (*)(int)>(kName);
  return ask != nullptr ? ask(id) : nullptr;
}

const char* DictLibrary::display_name(std::uint16_t id) const {
  auto ask = slot<const char* (*)(int)>(kDisplayName);
  return ask != nullptr ? ask(id) : nullptr;
}

const std::uint16_t* DictLibrary::id_of(const char* name) const {
  auto ask = slot<const std::uint16_t* (*)(const char*)>(kIdOf);
  return ask != nullptr ? ask(name) : nullptr;
}

const DictEntry* DictLibrary::entry(std::uint16_t id) const {
  auto ask = slot<const DictEntry* (*)(int)>(kEntry);
  return ask != nullptr ? ask(id) : nullptr;
}

std::size_t DictLibrary::count(Slot index) const {
  auto ask = slot<int (*)()>(index);
  const int n = ask != nullptr ? ask() : 0;
  return n > 0 ? static_cast<std::size_t>(n) : 0;
}

std::size_t DictLibrary::copy_table(std::span<const char> from, DictEntry* to,
                                    Slot count_slot) const {
  const std::size_t entries = std::min(count(count_slot), from.size() / sizeof(DictEntry));
  if (entries > 0) std::memcpy(to, from.data(), entries * sizeof(DictEntry));
  return entries;
}

void DictLibrary::register_if_used(DictEntry& entry) const {
  if (!entry.in_use()) return;
  if (auto take = slot<void (*)(void*)>(kRegister)) take(&entry);
}

std::size_t DictLibrary::take_tables(std::span<const char> reply) {
  const std::size_t apps = copy_table(reply, apps_, kAppCount);
  const std::size_t group_at = apps * sizeof(DictEntry);
  const std::size_t groups = copy_table(reply.subspan(group_at), groups_, kGroupCount);
  for (DictEntry& app : std::span(apps_, apps)) register_if_used(app);
  for (DictEntry& group : std::span(groups_, groups)) {
    register_if_used(group);
    group.pointer = 0;
  }
  return group_at + groups * sizeof(DictEntry);
}

}  // namespace qsvmon
