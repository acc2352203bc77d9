#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

/// The records of the FTP and the Telnet list. Both protocols begin with a login, and every record
/// names the user who logged in, so that what the two share is called `Login...`. A record is one
/// operation or command of such a session, not the login itself.
namespace qsvmon {

/// What FTP and Telnet records begin with. Times are seconds since the epoch in host order; `_net`
/// is network order.
struct [[gnu::packed]] LoginHead {
  std::uint32_t start;  ///< when the connection began
  std::uint32_t time;   ///< of this operation or command; the sort key
  std::uint32_t sip_net;
  std::uint32_t dip_net;
  std::uint16_t sport_net;
  std::uint16_t dport_net;
  std::uint8_t mac[6];  ///< the client's
};
static_assert(sizeof(LoginHead) == 26 && alignof(LoginHead) == 1);
static_assert(offsetof(LoginHead, start) == 0);
static_assert(offsetof(LoginHead, time) == 4);
static_assert(offsetof(LoginHead, sip_net) == 8);
static_assert(offsetof(LoginHead, dip_net) == 12);
static_assert(offsetof(LoginHead, sport_net) == 16);
static_assert(offsetof(LoginHead, dport_net) == 18);
static_assert(offsetof(LoginHead, mac) == 20);

/// One FTP operation, as the daemon writes it. Texts end at their NUL or their width.
struct [[gnu::packed]] FtpLogRecord {
  LoginHead head;
  std::uint8_t optype;  ///< see ftp_verb
  std::uint8_t reserved;
  char name[64];  ///< file or directory
  char user[24];
};
static_assert(sizeof(FtpLogRecord) == 116 && alignof(FtpLogRecord) == 1);
static_assert(offsetof(FtpLogRecord, optype) == 26);
static_assert(offsetof(FtpLogRecord, name) == 28);
static_assert(offsetof(FtpLogRecord, user) == 92);
static_assert(std::is_trivially_copyable_v<FtpLogRecord>);

/// One Telnet command, as the daemon writes it. Texts end at their NUL or their width.
struct [[gnu::packed]] TelnetLogRecord {
  LoginHead head;
  std::uint8_t cmdlen;  ///< bytes of `cmd`; not to be trusted
  char cmd[129];        ///< as typed
  char user[32];
};
static_assert(sizeof(TelnetLogRecord) == 188 && alignof(TelnetLogRecord) == 1);
static_assert(offsetof(TelnetLogRecord, cmdlen) == 26);
static_assert(offsetof(TelnetLogRecord, cmd) == 27);
static_assert(offsetof(TelnetLogRecord, user) == 156);
static_assert(std::is_trivially_copyable_v<TelnetLogRecord>);

}  // namespace qsvmon
