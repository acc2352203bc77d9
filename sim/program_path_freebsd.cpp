#include <sys/types.h>

#include <sys/param.h>
#include <sys/sysctl.h>

#include <cerrno>

#include "sim/program_files.h"

namespace qsvmon::sim {

std::filesystem::path program_path() {
  int name[] = {CTL_KERN, KERN_PROC, KERN_PROC_PATHNAME, -1};
  char path[MAXPATHLEN];
  std::size_t size = sizeof path;
  if (::sysctl(name, 4, path, &size, nullptr, 0) != 0) {
    throw std::filesystem::filesystem_error("the program's path",
                                            std::error_code(errno, std::generic_category()));
  }
  return path;
}

}  // namespace qsvmon::sim
