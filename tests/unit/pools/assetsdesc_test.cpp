#include "pools/assetsdesc.h"

#include <random>
#include <vector>

#include "tests/unit/pools/pool_samples.h"

namespace qsvmon {
namespace {

using namespace pool_samples;

static_assert(offsetof(AssetsGroup, pid) == 2 && offsetof(AssetsGroup, name) == 4);
static_assert(sizeof(AssetsGroup) == 52);
static_assert(offsetof(AssetsObject, kind) == 8 && offsetof(AssetsObject, pid) == 10);
static_assert(offsetof(AssetsObject, id) == 12 && offsetof(AssetsObject, logicid) == 16);
static_assert(offsetof(AssetsObject, name) == 20 && offsetof(AssetsObject, value) == 68);

class Assets : public ConfigFolderTest {
 protected:
  Assets() { EXPECT_EQ(assetsdesc_init(), 0); }
  ~Assets() override { assetsdesc_release(); }
  static std::string group(const std::string& rest) { return error_of(assetsgrp_line, rest); }
  static std::string object(const std::string& rest) { return error_of(assetsobj_line, rest); }
  static const AssetsObject* find(const char* text) {
    return assetsobj_find_value(text, std::strlen(text));
  }
  static std::string name_of(const AssetsObject* found) {
    return found == nullptr ? "(none)" : found->name;
  }
};

TEST_F(Assets, StoresAGroupUnderItsId) {
  EXPECT_EQ(group("id=7 pid=3 name=servers"), "");
  const AssetsGroup* const found = assetsgrp_find(7);
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found->id, 7);
  EXPECT_EQ(found->pid, 3);
  EXPECT_STREQ(found->name, "servers");
  EXPECT_EQ(assetsgrp_find(6), nullptr);
  EXPECT_EQ(assetsgrp_find(8), nullptr);
  EXPECT_EQ(assetsgrp_count(), 1U);
}

TEST_F(Assets, RejectsGroups) {
  EXPECT_EQ(group("id=1024 name=x"), "INV_ID\n");
  EXPECT_EQ(group("id=-1 name=x"), "INV_ID\n");
  EXPECT_EQ(group("id=1024 pid=2000"), "INV_ID\n");
  EXPECT_EQ(group("id=1 pid=1025 name=x"), "INV_PID\n");
  EXPECT_EQ(group("id=1 pid=1025"), "INV_PID\n");
  EXPECT_EQ(group("id=1 pid=1024"), "INV_NAME\n");
  EXPECT_EQ(group("id=1 name="), "INV_NAME\n");
  EXPECT_EQ(assetsgrp_count(), 0U);
  EXPECT_EQ(assetsgrp_find(0), nullptr);
  EXPECT_EQ(assetsgrp_find(1), nullptr);
  EXPECT_EQ(assetsgrp_find(1025), nullptr);
}

TEST_F(Assets, NumbersOfGroupsHave16Bits) {
  EXPECT_EQ(group("id=65537 pid=65538 name=x"), "");
  EXPECT_EQ(assetsgrp_find(1)->pid, 2);
  EXPECT_EQ(group("id=65536 name=y"), "");  // 0: the first free slot
  EXPECT_STREQ(assetsgrp_find(2)->name, "y");
}

TEST_F(Assets, AGroupOverwritesItsSlotAndCountsAgain) {
  EXPECT_EQ(group("id=5 pid=1 name=a-long-name"), "");
  EXPECT_EQ(group("id=5 name=b"), "");
  EXPECT_STREQ(assetsgrp_find(5)->name, "b");
  EXPECT_EQ(assetsgrp_find(5)->pid, 0);
  EXPECT_EQ(assetsgrp_count(), 2U);
}

TEST_F(Assets, GroupsWithoutIdTakeTheFirstFreeSlot) {
  EXPECT_EQ(group("id=2 name=two"), "");
  EXPECT_EQ(group("id=0 name=x"), "");
  EXPECT_EQ(group("name=y"), "");
  EXPECT_STREQ(assetsgrp_find(1)->name, "x");
  EXPECT_EQ(assetsgrp_find(1)->id, 1);
  EXPECT_STREQ(assetsgrp_find(3)->name, "y");
  EXPECT_EQ(assetsgrp_count(), 3U);
}

TEST_F(Assets, GroupNamesAreCut) {
  EXPECT_EQ(group("id=1 name=" + std::string(60, 'g')), "");
  EXPECT_EQ(assetsgrp_find(1)->name, std::string(47, 'g'));
}

TEST_F(Assets, TheLastGroupSlotIsFilledWithoutAnIdAlone) {
  for (int i = 1; i <= 1024; ++i) ASSERT_EQ(group("name=g" + std::to_string(i)), "");
  EXPECT_STREQ(assetsgrp_find(1024)->name, "g1024");
  EXPECT_EQ(assetsgrp_find(1024)->id, 1024);
  EXPECT_EQ(group("name=late"), "GRPPOOL_FULL\n");
  EXPECT_EQ(assetsgrp_count(), 1024U);
  EXPECT_EQ(group("id=9 name=over"), "");
  EXPECT_STREQ(assetsgrp_find(9)->name, "over");
  EXPECT_EQ(assetsgrp_count(), 1025U);
}

class AssetsWithAGroup : public Assets {
 protected:
  AssetsWithAGroup() { EXPECT_EQ(group("id=1 name=g"), ""); }
};

TEST_F(AssetsWithAGroup, StoresAnAddress) {
  EXPECT_EQ(object("id=9 logicid=40 pid=1 name=web value=10.1.2"), "");
  const AssetsObject* const found = assetsobj_find_ip(0x0a010002);
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found->kind, 0);
  EXPECT_EQ(found->pid, 1);
  EXPECT_EQ(found->id, 9U);
  EXPECT_EQ(found->logicid, 40U);
  EXPECT_STREQ(found->name, "web");
  EXPECT_EQ(assetsobj_find_ip(0x0a010003), nullptr);
  EXPECT_EQ(find("10.1.2"), nullptr);
  EXPECT_EQ(assetsobj_count(), 1U);
}

TEST_F(AssetsWithAGroup, StoresAText) {
  EXPECT_EQ(object("pid=1 name=mail value=mail.example.org"), "");
  const AssetsObject* const found = find("mail.example.org");
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found->kind, 1);
  EXPECT_EQ(found->id, 1U);
  EXPECT_EQ(found->logicid, 1U);
  EXPECT_STREQ(found->value.text, "mail.example.org");
  EXPECT_EQ(find("mail.example.com"), nullptr);
}

TEST_F(AssetsWithAGroup, IgnoresIdsBeyondThePool) {
  EXPECT_EQ(object("id=5000 pid=1 name=x value=10.0.0.1"), "");
  EXPECT_EQ(object("id=4097"), "");
  EXPECT_EQ(object("id=-1 value=0.0.0.0"), "");
  EXPECT_EQ(assetsobj_count(), 0U);
  EXPECT_EQ(object("id=4096 pid=1 name=x value=10.0.0.1"), "");
  EXPECT_EQ(assetsobj_find_ip(0x0a000001)->id, 4096U);
}

TEST_F(AssetsWithAGroup, RejectsObjectsInOrderOfTheirFaults) {
  EXPECT_EQ(object("id=1"), "INV_OBJECT\n");
  EXPECT_EQ(object("pid=1 name=x"), "INV_OBJECT\n");
  EXPECT_EQ(object("pid=1 name=x value=0.0.0.0"), "INV_OBJECT\n");
  EXPECT_EQ(object("pid=1 name=x value="), "INV_OBJECT\n");
  EXPECT_EQ(object("pid=1 name=x value=text value=0"), "INV_OBJECT\n");
  EXPECT_EQ(object("value=10.0.0.1"), "INV_NAME\n");
  EXPECT_EQ(object("name=x value=10.0.0.1"), "INV_PID\n");
  EXPECT_EQ(object("pid=0 name=x value=10.0.0.1"), "INV_PID\n");
  EXPECT_EQ(object("pid=1025 name=x value=10.0.0.1"), "INV_PID\n");
  EXPECT_EQ(object("pid=2 name=x value=10.0.0.1"), "INV_PID\n");
  EXPECT_EQ(object("pid=1024 name=x value=10.0.0.1"), "INV_PID\n");
  EXPECT_EQ(assetsobj_count(), 0U);
  EXPECT_EQ(object("pid=65537 name=x value=10.0.0.1 value=text.x"), "");  // 16 bits; later value
  EXPECT_EQ(name_of(find("text.x")), "x");
}

TEST_F(AssetsWithAGroup, LogicalIds) {
  const auto logicid = [](std::uint32_t ip) { return assetsobj_find_ip(ip)->logicid; };
  EXPECT_EQ(object("pid=1 name=a value=1.1.1.1"), "");
  EXPECT_EQ(logicid(0x01010101), 1U);
  EXPECT_EQ(object("pid=1 name=a value=1.1.1.2 logicid=10"), "");
  EXPECT_EQ(logicid(0x01010102), 10U);
  EXPECT_EQ(object("pid=1 name=a value=1.1.1.3 logicid=5"), "");
  EXPECT_EQ(logicid(0x01010103), 5U);
  EXPECT_EQ(object("pid=1 name=a value=1.1.1.3 logicid=90"), "EXISTS\n");
  EXPECT_EQ(object("pid=1 name=a value=1.1.1.4"), "");
  EXPECT_EQ(logicid(0x01010104), 11U);  // a rejected line leaves the counter alone
  EXPECT_EQ(object("id=77 pid=1 name=a value=1.1.1.5 logicid=-1"), "");
  EXPECT_EQ(logicid(0x01010105), 4294967295U);
  EXPECT_EQ(object("pid=1 name=a value=1.1.1.6"), "");
  EXPECT_EQ(logicid(0x01010106), 0U);
}

TEST_F(AssetsWithAGroup, CutsTexts) {
  EXPECT_EQ(object("pid=1 name=" + std::string(60, 'n') + " value=" + std::string(60, 'v')), "");
  const std::string cut(47, 'v');
  ASSERT_NE(find(cut.c_str()), nullptr);
  EXPECT_EQ(find(cut.c_str())->value.text, cut);
  EXPECT_EQ(find(cut.c_str())->name, std::string(47, 'n'));
  EXPECT_EQ(object("pid=1 name=n value=" + std::string(61, 'v')), "EXISTS\n");
  EXPECT_EQ(find(std::string(48, 'v').c_str()), nullptr);  // longer than any stored text
  EXPECT_EQ(find(std::string(200, 'v').c_str()), nullptr);
}

TEST_F(AssetsWithAGroup, AnAddressIsStoredOnce) {
  EXPECT_EQ(object("pid=1 name=a value=10.0.0.1"), "");
  EXPECT_EQ(object("id=9 pid=1 name=b value=10.1"), "EXISTS\n");
  EXPECT_EQ(name_of(assetsobj_find_ip(0x0a000001)), "a");
  EXPECT_EQ(assetsobj_count(), 1U);
}

// Texts with the same first 16 bytes share a bucket.
TEST_F(AssetsWithAGroup, ATextThatBeginsAStoredOneInItsBucketExists) {
  EXPECT_EQ(object("pid=1 name=uk value=mail.example.org.uk"), "");
  EXPECT_EQ(object("pid=1 name=x value=mail.example.org.u"), "EXISTS\n");
  EXPECT_EQ(object("pid=1 name=x value=mail.example.org"), "EXISTS\n");
  EXPECT_EQ(name_of(find("mail.example.org")), "uk");
  // 15 bytes: another bucket (731, not 406), so it is new.
  EXPECT_EQ(object("pid=1 name=short value=mail.example.or"), "");
  EXPECT_EQ(name_of(find("mail.example.or")), "short");
  // A longer text does not exist because a stored one begins it.
  EXPECT_EQ(object("pid=1 name=longer value=mail.example.org.uk.x"), "");
  EXPECT_EQ(name_of(find("mail.example.org.uk")), "longer");  // the newest that begins so
}

// "host" and "host-3724" share bucket 641, "host-1" is in 108; "srv69" is in 641 as well.
TEST_F(AssetsWithAGroup, ShortTextsExistOnlyWhenTheirBucketsAgree) {
  EXPECT_EQ(object("pid=1 name=one value=host-1"), "");
  EXPECT_EQ(find("host"), nullptr);
  EXPECT_EQ(object("pid=1 name=other value=srv69"), "");
  EXPECT_EQ(find("host"), nullptr);
  EXPECT_EQ(object("pid=1 name=far value=host-3724"), "");
  EXPECT_EQ(name_of(find("host")), "far");
  EXPECT_EQ(object("pid=1 name=x value=host"), "EXISTS\n");
  EXPECT_EQ(name_of(find("srv69")), "other");
}

TEST_F(AssetsWithAGroup, TheLengthSaysHowMuchIsCompared) {
  EXPECT_EQ(object("pid=1 name=one value=host-3724"), "");
  EXPECT_EQ(object("pid=1 name=two value=srv69"), "");
  EXPECT_EQ(name_of(assetsobj_find_value("host", 4)), "one");
  EXPECT_EQ(assetsobj_find_value("host", 5), nullptr);  // the NUL counts
  EXPECT_EQ(name_of(assetsobj_find_value("host-3724", 9)), "one");
  EXPECT_EQ(name_of(assetsobj_find_value("host-3724", 10)), "one");
  EXPECT_EQ(name_of(assetsobj_find_value("host-3724", 1000)), "one");
  // The bucket is the whole text's: "srv757" and "srv69" share theirs.
  EXPECT_EQ(name_of(assetsobj_find_value("srv757", 3)), "two");
  EXPECT_EQ(assetsobj_find_value("srv757", 6), nullptr);
  EXPECT_EQ(name_of(assetsobj_find_value("srv757", 0)), "two");  // the newest of the bucket
  EXPECT_EQ(assetsobj_find_value("", 0), nullptr);
}

TEST_F(AssetsWithAGroup, ObjectsWithoutIdTakeTheFirstFreeSlot) {
  EXPECT_EQ(object("id=2 pid=1 name=two value=2.2.2.2"), "");
  EXPECT_EQ(object("pid=1 name=one value=1.1.1.1"), "");
  EXPECT_EQ(object("id=0 pid=1 name=three value=t.hree"), "");
  EXPECT_EQ(assetsobj_find_ip(0x01010101)->id, 1U);
  EXPECT_EQ(find("t.hree")->id, 3U);
  EXPECT_EQ(assetsobj_count(), 3U);
}

TEST_F(AssetsWithAGroup, AnObjectReplacesTheOneInItsSlot) {
  EXPECT_EQ(object("id=3 pid=1 name=old value=10.0.0.1"), "");
  EXPECT_EQ(object("id=3 pid=1 name=text value=mail.example.org.a"), "");
  EXPECT_EQ(assetsobj_find_ip(0x0a000001), nullptr);
  EXPECT_EQ(object("id=4 pid=1 name=b value=mail.example.org.b"), "");
  EXPECT_EQ(object("id=4 pid=1 name=b2 value=mail.example.org.c"), "");  // same bucket, same slot
  EXPECT_EQ(find("mail.example.org.b"), nullptr);
  EXPECT_EQ(name_of(find("mail.example.org.")), "b2");
  EXPECT_EQ(object("id=4 pid=1 name=ip value=10.0.0.1"), "");
  EXPECT_EQ(name_of(find("mail.example.org.")), "text");
  EXPECT_EQ(object("id=3 pid=1 name=ip2 value=10.0.0.2"), "");
  EXPECT_EQ(find("mail.example.org."), nullptr);
  EXPECT_EQ(assetsobj_count(), 6U);  // each line counts
  EXPECT_EQ(object("id=3 pid=1 name=same value=10.0.0.2"), "EXISTS\n");
}

TEST_F(AssetsWithAGroup, AFullPool) {
  for (int i = 0; i < 4096; ++i) {  // sums of halves equal: addresses i.0.0 + (4095-i)
    const std::string ip = std::to_string(i << 16 | (4095 - i));
    ASSERT_EQ(object("pid=1 name=n" + std::to_string(i) + " value=" + ip), "");
  }
  EXPECT_EQ(object("pid=1 name=late value=mail"), "ASSETS_POOL_FULL\n");
  EXPECT_EQ(object("pid=1 name=late value=4095"), "EXISTS\n");
  for (std::uint32_t i = 0; i < 4096; ++i) {
    ASSERT_EQ(name_of(assetsobj_find_ip(i << 16 | (4095 - i))), "n" + std::to_string(i));
  }
  EXPECT_EQ(assetsobj_find_ip(1U << 16), nullptr);
  EXPECT_EQ(assetsobj_count(), 4096U);
  EXPECT_EQ(object("id=1 pid=1 name=late value=mail"), "");
  EXPECT_EQ(assetsobj_find_ip(4095), nullptr);
}

// As many addresses as there are chains: some chains hold several, the oldest of them last.
TEST_F(AssetsWithAGroup, AnObjectIsReplacedWhereverItStandsInItsChain) {
  const auto line = [](std::uint32_t id, const char* name, std::uint32_t ip) {
    return "id=" + std::to_string(id) + " pid=1 name=" + name + " value=" + std::to_string(ip);
  };
  for (std::uint32_t id = 1; id <= 4096; ++id) ASSERT_EQ(object(line(id, "old", id * 257)), "");
  for (std::uint32_t id = 1; id <= 4096; ++id) {
    ASSERT_EQ(object(line(id, "new", 0x80000000 + id)), "");
    ASSERT_EQ(assetsobj_find_ip(id * 257), nullptr) << id;
    ASSERT_EQ(name_of(assetsobj_find_ip(0x80000000 + id)), "new") << id;
    if (id == 4096) break;
    ASSERT_EQ(name_of(assetsobj_find_ip((id + 1) * 257)), "old") << id;
  }
  for (std::uint32_t id = 1; id <= 4096; ++id) {
    ASSERT_EQ(assetsobj_find_ip(0x80000000 + id)->id, id);
  }
}

TEST_F(AssetsWithAGroup, UnknownWordsAreSkipped) {
  EXPECT_EQ(group("colour=red id=2 names=y name=x i=3"), "");
  EXPECT_STREQ(assetsgrp_find(2)->name, "x");
  EXPECT_EQ(object("port=80 id=3 values=2.2.2.2 value=10.0.0.1 pid=2 name=web i=4 colour=red"), "");
  const AssetsObject* const found = assetsobj_find_ip(0x0a000001);
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found->id, 3U);
  EXPECT_EQ(found->pid, 2);
  EXPECT_STREQ(found->name, "web");
}

/// Keeps the texts of one bucket the slow way: a list, the newest first.
class SlowBucket {
 public:
  void put(std::uint32_t id, const std::string& text) {
    drop(id);
    newest_first_.insert(newest_first_.begin(), {id, text});
  }
  std::uint32_t find(const std::string& prefix) const {
    for (const auto& [id, text] : newest_first_) {
      if (text.compare(0, prefix.size(), prefix) == 0) return id;
    }
    return 0;
  }

 private:
  void drop(std::uint32_t id) {
    std::erase_if(newest_first_, [id](const auto& entry) { return entry.first == id; });
  }
  std::vector<std::pair<std::uint32_t, std::string>> newest_first_;
};

// Hundreds of texts with the same first 16 bytes and few letters, so that prefixes, overwritten
// slots and full texts all occur often.
TEST_F(AssetsWithAGroup, TextsOfOneBucketAreFoundNewestFirst) {
  std::mt19937 random(7);
  SlowBucket slow;
  const auto below = [&](unsigned n) { return static_cast<unsigned>(random() % n); };
  for (int round = 0; round < 6000; ++round) {
    std::string text = "0123456789abcde-";
    for (unsigned n = below(9); n > 0; --n) text += static_cast<char>("ab\xff"[below(3)]);
    if (below(50) == 0) text += std::string(40, 'z');
    text.resize(std::min<std::size_t>(text.size(), 47));
    const std::uint32_t wanted = slow.find(text);
    const AssetsObject* const found = find(text.c_str());
    ASSERT_EQ(found == nullptr ? 0U : found->id, wanted) << text;
    if (wanted != 0) {
      ASSERT_EQ(object("pid=1 name=x value=" + text), "EXISTS\n");
      continue;
    }
    const std::uint32_t id = below(500) + 1;
    ASSERT_EQ(object("id=" + std::to_string(id) + " pid=1 name=x value=" + text), "");
    slow.put(id, text);
  }
}

TEST(AssetsWithoutAPool, FindsAndStoresNothing) {
  assetsdesc_release();
  EXPECT_EQ(assetsgrp_find(1), nullptr);
  EXPECT_EQ(assetsobj_find_ip(0x0a000001), nullptr);
  EXPECT_EQ(assetsobj_find_value("x", 1), nullptr);
  EXPECT_EQ(error_of(assetsgrp_line, "id=1 name=x"), "");
  EXPECT_EQ(error_of(assetsobj_line, "pid=1 name=x value=10.0.0.1"), "INV_PID\n");
  EXPECT_EQ(assetsgrp_count() + assetsobj_count(), 0U);
}

}  // namespace
}  // namespace qsvmon
