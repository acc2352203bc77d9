#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

/// What the simulated daemon and the demo dictionary library agree on.
namespace qsvmon::sim {

/// One entry of the dictionary's tables. The client knows its size, the in-use byte (the name's
/// first) and the pointer, and passes the rest on.
struct DictEntry {
  std::uint16_t id;
  std::uint16_t group;     ///< of an application: the group it belongs to
  char name[20];           ///< NUL-terminated; empty: the entry is not in use
  char display_name[24];   ///< NUL-terminated
  std::uint64_t reserved;  ///< a pointer of the daemon's, cleared by the client in group entries
};
static_assert(sizeof(DictEntry) == 56);
static_assert(offsetof(DictEntry, name) == 4);
static_assert(offsetof(DictEntry, display_name) == 24);
static_assert(offsetof(DictEntry, reserved) == 48);
static_assert(std::is_trivially_copyable_v<DictEntry>);

constexpr std::size_t kUserApps = 64;    ///< entries of the table of user-defined applications
constexpr std::size_t kUserGroups = 16;  ///< entries of the table of user-defined groups
constexpr std::size_t kDictTableBytes = (kUserApps + kUserGroups) * sizeof(DictEntry);

/// An application that the library knows without being told.
struct BuiltinApp {
  std::uint16_t id;
  const char* name;
  const char* display_name;
};

constexpr BuiltinApp kBuiltinApps[] = {
    {1, "http", "Web browsing"},        {2, "https", "Secure web"},
    {3, "dns", "Name service"},         {4, "dot", "DNS over TLS"},
    {5, "ssh", "Secure shell"},         {6, "telnet", "Remote terminal"},
    {7, "ftp", "File transfer"},        {8, "smtp", "Mail transfer"},
    {9, "pop3", "Mailbox (POP3)"},      {10, "imap", "Mailbox (IMAP)"},
    {11, "smb", "File sharing"},        {12, "rdp", "Remote desktop"},
    {13, "ldap", "Directory"},          {14, "sip", "Internet telephony"},
    {15, "p2p", "Peer to peer"},        {16, "ntp", "Network time"},
    {17, "snmp", "Network management"},
};

}  // namespace qsvmon::sim
