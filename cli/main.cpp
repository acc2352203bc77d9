#include "cli/dispatch.h"
#include "format/printer.h"

int main(int argc, char** argv) {
  const int result = qsvmon::dispatch(argc, argv);
  qsvmon::standard_out().flush();
  return result;
}
