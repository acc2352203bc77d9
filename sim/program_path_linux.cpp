#include "sim/program_files.h"

namespace qsvmon::sim {

std::filesystem::path program_path() {
  return std::filesystem::read_symlink("/proc/self/exe");
}

}  // namespace qsvmon::sim
