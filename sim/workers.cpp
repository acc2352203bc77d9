#include "sim/workers.h"

#include "sim/modules.h"
#include "sim/text.h"

namespace qsvmon::sim {
namespace {

constexpr char kDefaultType[] = "query";

}  // namespace

Workers::Workers() {
  tasks_[1] = {"rotate", "service"};
  tasks_[2] = {"index", "service"};
}

void Workers::add(Call& call) {
  const std::string name = word_value(call.words, "taskname");
  if (name.empty()) return call.fail("NO_TASKNAME");
  const std::string type = word_value(call.words, "type");
  const unsigned long id = tasks_.rbegin()->first + 1;
  tasks_[id] = {name, type.empty() ? kDefaultType : type};
  call.request.result = static_cast<std::int32_t>(id);
  begin_text(call);
  append(call.out, "taskid=%lu\n", id);
  end_text(call);
}

void Workers::list(Call& call) const {
  const std::string type = word_value(call.words, "type");
  begin_text(call);
  for (const auto& [id, task] : tasks_) {
    if (!type.empty() && type != task.type) continue;
    append(call.out, "taskid=%lu taskname=%s type=%s\n", id, task.name.c_str(), task.type.c_str());
  }
  end_text(call);
}

void Workers::stat(Call& call) const {
  const unsigned long id = word_number(call.words, "taskid", 0);
  const auto found = tasks_.find(id);
  if (id != 0 && found == tasks_.end()) return call.fail("NO_TASK");
  begin_text(call);
  if (id == 0) {
    append(call.out, "tasks=%zu\n", tasks_.size());
  } else {
    append(call.out, "taskid=%lu\n", id);
    append(call.out, "taskname=%s\ntype=%s\nstate=running\n", found->second.name.c_str(),
           found->second.type.c_str());
  }
  end_text(call);
}

}  // namespace qsvmon::sim
