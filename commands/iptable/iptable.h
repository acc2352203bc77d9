#pragma once

/// Handlers of the IP table commands and of the asset-object list. Each gets the words after the
/// sub-command and returns 0, or -1 after printing a usage text or why it failed.
/// REQUIRES: an open session.
namespace qsvmon {

// Served by the management daemon.
int qsviptable_get(int argc, char** argv);
int qsviptable_addip(int argc, char** argv);
int qsviptable_remove(int argc, char** argv);
int qsviptable_clear(int argc, char** argv);
int qsviptable_getcmp(int argc, char** argv);

// Served by the log daemon.
int table_get(int argc, char** argv);
int table_addip(int argc, char** argv);
int table_rmvip(int argc, char** argv);
int table_clear(int argc, char** argv);
int table_getcmp(int argc, char** argv);
/// Asks whether table `argv[0]` matches address `argv[1]`. No command reaches it.
int table_matchtest(int argc, char** argv);
int assetsobj2_list(int argc, char** argv);

}  // namespace qsvmon
