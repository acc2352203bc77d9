#pragma once

/// Handlers of the management commands that the command table reaches. Each gets the words after
/// the sub-command and returns the command's result (mgmt_command.h). REQUIRES: an open session.
namespace qsvmon {

int qsvlog_stat(int argc, char** argv);
int qsvquery_stat(int argc, char** argv);
int worker_stat(int argc, char** argv);
int worker_list(int argc, char** argv);
int worker_add(int argc, char** argv);
int disk_stat(int argc, char** argv);

}  // namespace qsvmon
