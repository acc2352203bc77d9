#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "rpc/wire/message_codes.h"
#include "tests/integration/program_run.h"

namespace qsvmon::harness {

/// Builds of the test's dictionary library.
enum class DictVariant { kWhole, kWithoutFunctions, kWithoutApps, kWithoutGroups };

/// A scratch folder with the appliance's tree in it, removed at the end.
class Appliance {
 public:
  Appliance();
  ~Appliance();
  Appliance(const Appliance&) = delete;
  Appliance& operator=(const Appliance&) = delete;

  const std::string& root() const { return root_; }
  /// The absolute path of a file in the tree, for example "conf/korvale.conf".
  std::string path(std::string_view inside) const;
  std::string socket_path(Daemon daemon) const;

  void write(std::string_view inside, std::string_view bytes) const;
  /// The file's bytes; empty when there is none.
  std::string read(std::string_view inside) const;
  /// The names in a folder, sorted.
  std::vector<std::string> list(std::string_view inside) const;

  /// Puts the dictionary library where the program looks for it.
  void install_dictionary(DictVariant variant = DictVariant::kWhole) const;

  /// Runs the program with `words` in this tree; see program_run.h.
  Outcome run(const std::vector<std::string>& words, const RunOptions& options = {}) const;

 private:
  void exchange_dictionary() const;

  std::string root_;
};

}  // namespace qsvmon::harness
