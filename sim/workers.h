#pragma once

#include <map>
#include <string>

#include "sim/call.h"

namespace qsvmon::sim {

/// The log daemon's worker tasks.
class Workers {
 public:
  Workers();
  /// add: starts a task "taskname=" and returns its number as text and as result.
  void add(Call& call);
  /// list: one line per task; "type=" selects the tasks of that type.
  void list(Call& call) const;
  /// stat: one task ("taskid=") in full, or the number of tasks. Fails with "NO_TASK".
  void stat(Call& call) const;

 private:
  struct Task {
    std::string name;
    std::string type;
  };
  std::map<unsigned long, Task> tasks_;
};

}  // namespace qsvmon::sim
