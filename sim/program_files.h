#pragma once

#include <filesystem>
#include <string>

namespace qsvmon::sim {

/// The path of the running program. Throws std::filesystem::filesystem_error when the system does
/// not say.
std::filesystem::path program_path();

/// The files that come with the program: beside it in a build tree, below share/qsvsim and
/// libexec/qsvsim of its prefix when it is installed. Not built in, so that a build's bytes do not
/// depend on where it was made.
struct ProgramFiles {
  std::filesystem::path data;          ///< the folder of the sample data
  std::filesystem::path dict_library;  ///< the demo dictionary library
};
ProgramFiles find_program_files();

/// The folder that `given` means: the sets that come with the program have names.
/// Throws std::runtime_error when there is no such folder.
std::string data_folder(const ProgramFiles& files, const std::string& given);

/// The dictionary library to install: `given`, or the program's own for an empty text. Throws
/// std::runtime_error when there is no such file.
std::string dict_library(const ProgramFiles& files, const std::string& given);

}  // namespace qsvmon::sim
