#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "rpc/wire/dict_entry.h"

namespace qsvmon {

/// The appliance's application dictionary: a shared library with a function table ("_axpdict") and
/// two arrays of 56-byte entries ("_usraxps", "_usragps") that replies fill. Knows nothing of
/// requests or sessions. Not thread-safe.
class DictLibrary {
 public:
  /// Loads the library at `path` and runs its initialiser; nothing when one is loaded already.
  /// Returns false with why in `error` (NUL-terminated, cut to `capacity`): the loader's text,
  /// or one of its form for a file that is damaged ("<path>: <what>", see rpc/elf_check.h),
  /// "AXPDICT_NOT_FOUND", "USRAXPS_NOT_FOUND" or "USRAGPS_NOT_FOUND". Nothing stays loaded then.
  bool load(const char* path, char* error, std::size_t capacity);

  /// Closes the library and forgets everything from it. Safe in any state.
  void unload();

  /// True while a function table is held.
  bool loaded() const { return functions_ != nullptr; }

  /// Copies the tables at the start of `reply` into the library's arrays, registers the entries in
  /// use and clears the pointer-sized word of the group entries. How many entries there are is the
  /// library's word; whole entries beyond the end of `reply` are ignored.
  /// Returns the bytes of `reply` that the tables occupy, at most its size.
  /// REQUIRES: loaded().
  std::size_t copy_tables(std::span<const char> reply);

  /// Runs the initialiser (slot 0). REQUIRES: loaded().
  void initialise() const { call<void>(kInitialise); }

  /// The library's answers about an application; null when it has none. REQUIRES: loaded().
  const char* name(std::uint16_t id) const { return call<const char*>(kName, int{id}); }
  const char* display_name(std::uint16_t id) const {
    return call<const char*>(kDisplayName, int{id});
  }
  const std::uint16_t* id_of(const char* name) const {
    return call<const std::uint16_t*>(kIdOf, name);
  }
  const DictEntry* entry(std::uint16_t id) const { return call<const DictEntry*>(kEntry, int{id}); }

 private:
  enum Slot : std::size_t {
    kInitialise = 0,
    kName = 5,
    kDisplayName = 6,
    kIdOf = 8,
    kEntry = 10,
    kAppCount = 40,
    kGroupCount = 41,
    kRegister = 42,
  };

  /// What the function in the slot returns; null or 0 where the table has none.
  template <class Result, class... Args>
  Result call(Slot slot, Args... args) const {
    const auto function = reinterpret_cast<Result (*)(Args...)>(functions_[slot]);
    if (function == nullptr) return Result();
    return function(args...);
  }
  std::span<DictEntry> copy_table(std::span<const char> from, DictEntry* to, Slot count) const;

  void* handle_ = nullptr;
  void* const* functions_ = nullptr;
  DictEntry* apps_ = nullptr;
  DictEntry* groups_ = nullptr;
};

}  // namespace qsvmon
