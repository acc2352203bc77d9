#include "sim/program_files.h"

#include <stdexcept>

namespace qsvmon::sim {

namespace fs = std::filesystem;

ProgramFiles find_program_files() {
  const fs::path folder = program_path().parent_path();
  if (fs::exists(folder / "dict.so")) return {folder / "data", folder / "dict.so"};
  const fs::path prefix = folder.parent_path();
  return {prefix / "share/qsvsim/data", prefix / "libexec/qsvsim/dict.so"};
}

std::string data_folder(const ProgramFiles& files, const std::string& given) {
  fs::path folder = fs::absolute(given);
  if (given == "sample") folder = files.data;
  if (given == "nasty") folder = files.data / "nasty";
  if (!fs::is_directory(folder)) {
    throw std::runtime_error("no such data set or folder: " + given);
  }
  return folder.string();
}

std::string dict_library(const ProgramFiles& files, const std::string& given) {
  const fs::path library = given.empty() ? files.dict_library : fs::absolute(given);
  if (!fs::is_regular_file(library)) {
    throw std::runtime_error("no such dictionary library: " + library.string());
  }
  return library.string();
}

}  // namespace qsvmon::sim
