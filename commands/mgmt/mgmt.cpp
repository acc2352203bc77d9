#include "commands/mgmt/mgmt.h"

#include "commands/mgmt/mgmt_command.h"

namespace qsvmon {
namespace {

// REQUIRES: the command exists.
int run(std::string_view module, std::string_view verb, int argc, char** argv) {
  return run_mgmt_command(*find_mgmt_command(module, verb), words_of(argc, argv));
}

}  // namespace

int qsvlog_stat(int argc, char** argv) {
  return run("qsvlog", "stat", argc, argv);
}
int qsvquery_stat(int argc, char** argv) {
  return run("qsvquery", "stat", argc, argv);
}
int worker_stat(int argc, char** argv) {
  return run("worker", "stat", argc, argv);
}
int worker_list(int argc, char** argv) {
  return run("worker", "list", argc, argv);
}
int worker_add(int argc, char** argv) {
  return run("worker", "add", argc, argv);
}
int disk_stat(int argc, char** argv) {
  return run("disk", "stat", argc, argv);
}

}  // namespace qsvmon
