#include "commands/iptable/iptable.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "commands/iptable/asset_objects.h"
#include "tests/unit/support/captured_out.h"

namespace qsvmon {
namespace {

// The text that the command writes for `words` into an area of `bytes`, and what it says of it.
struct Written {
  bool fits;
  std::string text;
  std::uint32_t datalen;
  std::string errtext;
  std::uint32_t argval;
  bool has_data;
};

Written write(const Exchange& command, std::vector<std::string> words, std::size_t bytes = 4096) {
  std::vector<char*> pointers;
  for (std::string& word : words) pointers.push_back(word.data());
  std::vector<char> area(bytes, '#');
  RpcRequest request{};
  const bool fits = command.put_words(pointers, area, request);
  return {fits,
          request.data != nullptr ? std::string(area.data()) : "",
          request.datalen,
          std::string(request_errtext(request)),
          request.argval,
          request.data != nullptr};
}

TEST(IpTableText, AddIpAcceptsBothArgumentForms) {
  struct Case {
    std::vector<std::string> words;
    const char* text;
    std::uint32_t datalen;
  };
  const Case cases[] = {
      {{"5", "10.1.1.1"}, "tid=5 ip=10.1.1.1", 18},
      {{"tid=5", "ip=10.1.1.1"}, "tid=5 ip=10.1.1.1", 18},
      {{"table=x", "10.1.1.1"}, "table=x ip=10.1.1.1", 20},
      {{"5", "ip=10.1.1.1", "info=x"}, "tid=5 ip=10.1.1.1 info=x", 25},
      {{"5", "10.1.1.1", "a", "b=c"}, "tid=5 ip=10.1.1.1 a b=c", 24},
      {{"", ""}, "tid= ip=", 9},
  };
  for (const Case& c : cases) {
    const Written w = write(kTableAddIp, c.words);
    EXPECT_TRUE(w.fits);
    EXPECT_EQ(w.text, c.text);
    EXPECT_EQ(w.datalen, c.datalen);
    EXPECT_EQ(w.errtext, "");
  }
}

TEST(IpTableText, RemoveJoinAndErrtextForms) {
  Written w = write(kTableRemoveIp, {"5", "10.1.1.1"});
  EXPECT_EQ(w.text, "table=5 ip=10.1.1.1");
  EXPECT_EQ(w.datalen, 20u);
  w = write(kQsvIpTableAddIp, {"tag=a", "tid=5", "x"});
  EXPECT_EQ(w.text, "tag=a tid=5 x ");
  EXPECT_EQ(w.datalen, 15u);
  w = write(kTableClear, {"mytable"});
  EXPECT_EQ(w.errtext, "mytable");
  EXPECT_EQ(w.datalen, 0u);
  EXPECT_FALSE(w.has_data);
  w = write(kTableMatchTest, {"12x", "10.1.1.1"});
  EXPECT_EQ(w.argval, 12u);
  EXPECT_EQ(w.errtext, "10.1.1.1");
  EXPECT_FALSE(w.has_data);
}

TEST(IpTableText, WhatDoesNotFitIsRefusedWhole) {
  EXPECT_TRUE(write(kTableAddIp, {"5", "1.1.1.1"}, 17).fits);  // 16 characters and the NUL
  EXPECT_FALSE(write(kTableAddIp, {"5", "1.1.1.1"}, 16).fits);
  EXPECT_TRUE(write(kQsvIpTableAddIp, {"abc"}, 5).fits);
  EXPECT_FALSE(write(kQsvIpTableAddIp, {"abc"}, 4).fits);
  EXPECT_TRUE(write(kTableClear, {std::string(127, 'a')}).fits);
  EXPECT_FALSE(write(kTableClear, {std::string(128, 'a')}).fits);
  EXPECT_FALSE(write(kTableMatchTest, {"1", std::string(128, 'a')}).fits);
}

TEST(IpTableCommands, AWrongCountOfWordsPrintsTheUsageText) {
  struct Case {
    const Exchange& command;
    std::vector<std::size_t> wrong_counts;
    const char* usage;
  };
  const Case cases[] = {
      {kQsvIpTableAddIp, {0, 1}, "qsvmon qsviptable|table addip tid=n ip=xxx info=xxxx\n"},
      {kQsvIpTableRemove, {0, 1, 3}, "qsviptable remove tid=n ip=xxxx\n"},
      {kQsvIpTableClear, {0, 2}, "qsvmon qsviptable remove clear=1 table=xxx\n"},
      {kQsvIpTableGetCmp, {0, 2}, "qsvmon qsviptable get getcmp=1 table=xxx\n"},
      {kTableAddIp, {0, 1}, "iptbl addip table ip\n"},
      {kTableRemoveIp, {0, 1, 3}, "iptbl rmvip table ip\n"},
      {kTableClear, {0, 2}, "vexacli iptbl clear tblid|tblname\n"},
      {kTableGetCmp, {0, 2}, "vexacli iptbl getcmp tblid|tblname\n"},
      {kTableMatchTest, {0, 1, 3}, "vexacli table matchtest tblid ip\n"},
  };
  char word[] = "w";
  char* words[] = {word, word, word};
  for (const Case& c : cases) {
    for (const std::size_t count : c.wrong_counts) {
      MemoryPrinter out;
      EXPECT_EQ(run_exchange(out, c.command, std::span(words, count)), -1);
      EXPECT_EQ(out.str(), c.usage);
    }
  }
}

TEST(AddressList, PrintsHostOrderAddressesALine) {
  const TableAddress addresses[] = {{0x0a010203}, {0}, {0xffffffff}};
  MemoryPrinter out;
  print_addresses(out, addresses);
  EXPECT_EQ(out.str(), "10.1.2.3\n0.0.0.0\n255.255.255.255\n");
}

TEST(AssetObjects, PrintNumbersSignedAndTheNameToItsEnd) {
  AssetObjectRecord objects[2] = {};
  objects[0].num1 = 65535;
  objects[0].num2 = 7;
  objects[0].num3 = 0xffffffff;
  std::strcpy(objects[0].name, "file server");
  std::memset(objects[1].name, 'x', sizeof objects[1].name);  // no NUL: the record ends it
  MemoryPrinter out;
  print_asset_objects(out, objects);
  EXPECT_EQ(out.str(), "65535 7 -1 file server\n0 0 0 " + std::string(96, 'x') + "\n");
}

TEST(AssetObjects, QueryWords) {
  struct Case {
    std::vector<std::string> words;
    bool ok;
    std::int32_t page;
    std::int32_t limit;
  };
  const Case cases[] = {
      {{}, true, 1, 2147483647},
      {{"page=2", "limit=10"}, true, 2, 10},
      {{"page=2", "page=3"}, true, 3, 2147483647},
      {{"xpage=0"}, true, 1, 2147483647},
      {{"page=-1"}, true, -1, 2147483647},
      {{"page=0"}, false, 0, 0},
      {{"limit=0"}, false, 0, 0},
      {{"page=x"}, false, 0, 0},
      {{"page="}, false, 0, 0},
  };
  for (const Case& c : cases) {
    std::vector<std::string> texts = c.words;
    std::vector<char*> words;
    for (std::string& text : texts) words.push_back(text.data());
    AssetQuery query;
    const Status status = parse_asset_query(words, query);
    EXPECT_EQ(status.ok(), c.ok);
    if (c.ok) {
      EXPECT_EQ(query.page, c.page);
      EXPECT_EQ(query.limit, c.limit);
    } else {
      EXPECT_EQ(status.line(), "INV_PAGE_LIMIT");
    }
  }
}

TEST(AssetObjects, NoMemoryForTheWorkingAreaIsSaid) {
  CapturedOut out;
  EXPECT_EQ(list_asset_objects({}, [](std::size_t) -> void* { return nullptr; }), -1);
  EXPECT_EQ(out.text(), "CMPBASE_MALLOC_ERROR\n");
}

}  // namespace
}  // namespace qsvmon
