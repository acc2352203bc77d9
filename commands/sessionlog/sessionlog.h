#pragma once

/// The session lists: mails, FTP operations and Telnet commands that the management daemon has
/// recorded, one page as JSON or all of them as a file for download (its name is then printed).
/// `argv` holds the words after the sub-command. Each returns 0, or -1 after printing why.
namespace qsvmon {

/// Words: page=, limit=, download=, mac=, ip=, keywd=. Fails with "INV_MAC", "INV_IP", the text of
/// a failed call, or "xlsxwriter init failed." when the file cannot be made.
int emaillog_list(int argc, char** argv);

/// Words: page=, limit=, download=. Fail with the text of a failed call or
/// "xlsxwriter init failed.".
int ftplog_list(int argc, char** argv);
int telnetlog_list(int argc, char** argv);

}  // namespace qsvmon
