#pragma once

#include <cstddef>
#include <cstdint>

#include "rpc/wire/dict_entry.h"

/// What the simulated daemon and the demo dictionary library agree on.
namespace qsvmon::sim {

constexpr std::size_t kUserApps = 64;    ///< entries of the table of user-defined applications
constexpr std::size_t kUserGroups = 16;  ///< entries of the table of user-defined groups
constexpr std::size_t kDictTableBytes = (kUserApps + kUserGroups) * sizeof(DictEntry);

/// An application that is built into the library.
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
