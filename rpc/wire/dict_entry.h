#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace qsvmon {

/// One entry of the application dictionary, as the daemon sends it in front of a reply and as the
/// dictionary library keeps it; the library's record of an application begins alike.
struct [[gnu::packed]] DictEntry {
  std::uint16_t id;       ///< of the application or group; the client passes it on
  std::uint16_t group;    ///< of an application: the group it belongs to; the client passes it on
  char name[20];          ///< NUL-terminated; the first byte doubles as the in-use flag (0: free)
  char display_name[24];  ///< NUL-terminated
  std::uint64_t pointer;  ///< a pointer of the daemon's; the client clears it in group entries

  /// KEEP: any value but 0 counts as in use.
  bool in_use() const { return name[0] != 0; }
};
static_assert(sizeof(DictEntry) == 56 && alignof(DictEntry) == 1);
static_assert(offsetof(DictEntry, id) == 0);
static_assert(offsetof(DictEntry, group) == 2);
static_assert(offsetof(DictEntry, name) == 4);
static_assert(offsetof(DictEntry, display_name) == 24);
static_assert(offsetof(DictEntry, pointer) == 48);
static_assert(std::is_trivially_copyable_v<DictEntry>);

}  // namespace qsvmon
