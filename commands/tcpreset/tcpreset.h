#pragma once

/// The listings of TCP sessions that the appliance reset. Each handler receives the words after its
/// sub-command, fetches the records from the management daemon through the session that the
/// dispatcher opened, and returns 0, or -1 after printing why it failed. The other families are cut
/// at the same places; where and why they differ is in CONTRIBUTING.md.
namespace qsvmon {

int tcpreset_listip(int argc, char** argv);   ///< one row per address, as JSON
int tcpreset_listdns(int argc, char** argv);  ///< one row per domain name, as JSON
int tcpreset_list(int argc, char** argv);     ///< one line per session

}  // namespace qsvmon
