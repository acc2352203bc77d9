#include "commands/mgmt/mgmt_command.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/unit/support/captured_out.h"

namespace qsvmon {
namespace {

std::string row_text(const MgmtCommand& c) {
  return std::string(c.module) + " " + std::string(c.verb) + " " + std::to_string(c.code) +
         (c.sends_words ? " words" : " none " + std::to_string(c.empty_datalen)) + " [" + c.keys +
         "] " + (c.is_lenient ? "lenient " : "strict ") + (c.returns_result ? "result " : "0 ") +
         (c.usage != nullptr ? c.usage : "-\n");
}

TEST(MgmtCommands, AreTheseTwentyNine) {
  std::string text;
  for (const MgmtCommand& command : mgmt_commands()) text += row_text(command);
  EXPECT_EQ(text,
            "qsvlog stat 2050 words [tag=] strict 0 -\n"
            "qsvquery stat 2050 none 0 [] strict result -\n"
            "worker add 2051 words [taskname=] strict result -\n"
            "worker list 2055 words [type=] strict 0 -\n"
            "worker stat 2050 words [taskid=] strict result -\n"
            "disk stat 2050 none 0 [] strict 0 -\n"
            "korvlog list 2055 none 1 [] strict 0 -\n"
            "korvlog stat 2050 none 0 [] strict 0 -\n"
            "korvlog add 2051 words [name= port=] lenient 0 usage: name=str port=nn...\n"
            "korvlog remove 2052 words [port=] lenient 0 usage: name=str port=nn...\n"
            "korvlog set 2053 words [name= port=] lenient 0 usage: name=str port=nn...\n"
            "korvlog config 2057 words [buffree= allowfiletodb=] lenient 0 usage: buffree=0|1...\n"
            "auth list 2055 words [page= limit= auth= ipaddr= mac= customer= grpid=] lenient 0 -\n"
            "auth set 2053 words [ttl=] lenient 0 usage: ttl=nn...\n"
            "auth stat 2050 none 1 [] lenient 0 -\n"
            "auth add 2051 words [ipaddr= ipname= grpid=] lenient 0 usage: ttl=nn...\n"
            "auth remove 2052 words [ipaddr=] lenient 0 usage: ipaddr=x.x.x.x\n"
            "node_manage add 2051 words [ipaddr=] lenient result usage: ipaddr=x.x.x.x\n"
            "node_manage list 2055 none 1 [] lenient 0 -\n"
            "node_manage remove 2052 words [ipaddr=] lenient 0 usage: ipaddr=x.x.x.x\n"
            "node_manage stat 2050 none 1 [] strict 0 -\n"
            "node_manage load 2056 none 0 [] strict 0 -\n"
            "virdevice list 2055 none 1 [] strict 0 -\n"
            "virdevice add 2051 words [devid= devname= ipgrp= grpname= grptype=] lenient 0 "
            "usage:  devid=nnn devname=xxx ipgrp=xxx grpname=xxx...\n"
            "virdevice remove 2052 words [devid=] lenient 0 usage: name=str port=nn...\n"
            "device list 2055 none 1 [] strict 0 -\n"
            "device add 2051 words [id= name= addr=] lenient 0 usage:id=nnn name=xxx addr=xxxx...\n"
            "device remove 2052 words [id=] lenient 0 usage: id=nnn...\n"
            "device config 2057 words [id= name= addr=] lenient 0 "
            "usage:id=nnn name=xxx addr=xxxx...\n");
}

TEST(MgmtCommands, AreFoundByModuleAndVerb) {
  ASSERT_NE(find_mgmt_command("auth", "add"), nullptr);
  EXPECT_EQ(find_mgmt_command("auth", "add")->code, kVerbAdd);
  EXPECT_EQ(find_mgmt_command("auth", "load"), nullptr);
  EXPECT_EQ(find_mgmt_command("aut", "add"), nullptr);
}

TEST(MgmtCommands, AskForAWordBeforeAnythingIsSent) {
  for (const MgmtCommand& command : mgmt_commands()) {
    if (command.usage == nullptr) continue;
    CapturedOut out;
    EXPECT_EQ(run_mgmt_command(command, {}), -1);
    EXPECT_EQ(out.text(), command.usage);
  }
}

}  // namespace
}  // namespace qsvmon
