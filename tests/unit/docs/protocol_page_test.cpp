#include <gtest/gtest.h>

#include <cstddef>
#include <fstream>
#include <map>
#include <string>

#include "rpc/wire/request.h"

// docs/protocol.md is what writers of daemons go by: its table of the request has to be the record.
namespace qsvmon {
namespace {

// Name to offset of every row "| offset | width | `name` | ..." of the page's table of the request.
std::map<std::string, std::size_t> offsets_of_page() {
  std::ifstream file(QSVMON_SOURCE_DIR "/docs/protocol.md");
  std::map<std::string, std::size_t> offsets;
  bool in_table = false;
  for (std::string line; std::getline(file, line);) {
    if (line.compare(0, 3, "## ") == 0) in_table = line == "## The 208 bytes";
    const std::size_t name = line.find(" | `");
    if (!in_table || line.compare(0, 2, "| ") != 0 || name == std::string::npos) continue;
    const std::size_t end = line.find('`', name + 4);
    const std::string number = line.substr(2, line.find(' ', 2) - 2);
    if (number.find_first_not_of("0123456789") != std::string::npos) continue;
    offsets[line.substr(name + 4, end - name - 4)] = std::stoul(number);
  }
  return offsets;
}

TEST(ProtocolPage, HasTheOffsetOfEveryFieldOfTheRequest) {
  const std::map<std::string, std::size_t> expected = {
      {"msgcode", offsetof(RpcRequest, msgcode)},   {"datalen", offsetof(RpcRequest, datalen)},
      {"data", offsetof(RpcRequest, data)},         {"shmid", offsetof(RpcRequest, shmid)},
      {"syncdesc", offsetof(RpcRequest, syncdesc)}, {"islast", offsetof(RpcRequest, islast)},
      {"flags", offsetof(RpcRequest, flags)},       {"stream", offsetof(RpcRequest, stream)},
      {"status", offsetof(RpcRequest, status)},     {"errtext", offsetof(RpcRequest, errtext)},
      {"result", offsetof(RpcRequest, result)},     {"replylen", offsetof(RpcRequest, replylen)},
      {"shmsize", offsetof(RpcRequest, shmsize)},   {"reply", offsetof(RpcRequest, reply)},
      {"argval", offsetof(RpcRequest, argval)},     {"stamp", offsetof(RpcRequest, stamp)},
  };
  EXPECT_EQ(offsets_of_page(), expected);
}

}  // namespace
}  // namespace qsvmon
