#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "cli/command_table.h"

// completions/commands.txt is what completion, the manual page and docs/ are held against; here it
// is held against the table that the program runs.
namespace qsvmon {
namespace {

struct ListedCommand {
  std::string daemon, module, subcommand;
  bool operator==(const ListedCommand&) const = default;
};

std::ostream& operator<<(std::ostream& out, const ListedCommand& c) {
  return out << c.daemon << ' ' << c.module << ' ' << c.subcommand;
}

std::vector<ListedCommand> listed_commands(bool fallback) {
  std::ifstream file(QSVMON_SOURCE_DIR "/completions/commands.txt");
  std::vector<ListedCommand> commands;
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream words(line);
    ListedCommand c;
    words >> c.daemon >> c.module >> c.subcommand;
    if (c.daemon != "front" && (c.module == "*") == fallback) commands.push_back(c);
  }
  return commands;
}

TEST(CommandList, IsTheTableRowByRow) {
  std::vector<ListedCommand> rows;
  for (const CommandGroup& group : command_table()) {
    const char* daemon = &group == &log_group() ? "log" : "mgmt";
    for (const ModuleEntry& module : group.modules) {
      for (const SubcommandEntry& row : module.subcommands) {
        rows.push_back({daemon, module.name, row.name});
      }
    }
  }
  EXPECT_EQ(listed_commands(false), rows);
}

TEST(CommandList, HasTheVerbsOfAnyModuleInTheirOrder) {
  std::vector<ListedCommand> verbs;
  for (const SubcommandEntry& row : fallback_verbs()) verbs.push_back({"log", "*", row.name});
  EXPECT_EQ(listed_commands(true), verbs);
}

// "code | area" of the command's row in docs/commands.md; empty when it has none.
std::string documented(const std::string& command) {
  std::ifstream file(QSVMON_SOURCE_DIR "/docs/commands.md");
  const std::string start = "| `" + command + "` | ";
  for (std::string line; std::getline(file, line);) {
    if (line.compare(0, start.size(), start) != 0) continue;
    const std::size_t area = line.find(" | ", start.size());
    return line.substr(start.size(), line.find(" |", area + 3) - start.size());
  }
  return "";
}

void expect_documented(const std::string& module, const SubcommandEntry& row) {
  const std::string command = module + " " + row.name;
  const std::string text = documented(command);
  const std::string area = " | " + std::to_string(row.area_kib);
  ASSERT_GE(text.size(), area.size()) << command;
  EXPECT_EQ(text.substr(text.size() - area.size()), area) << command;
  if (row.action.kind == Action::Kind::kHandler) return;
  const Exchange* exchange = row.action.exchange;
  const std::uint32_t code = exchange != nullptr ? exchange->code : row.action.code;
  EXPECT_EQ(text, std::to_string(code) + area) << command;
}

TEST(CommandList, DocumentsCodeAndAreaOfEveryRow) {
  for (const CommandGroup& group : command_table()) {
    for (const ModuleEntry& module : group.modules) {
      for (const SubcommandEntry& row : module.subcommands) expect_documented(module.name, row);
    }
  }
  for (const SubcommandEntry& row : fallback_verbs()) expect_documented("*", row);
}

}  // namespace
}  // namespace qsvmon
