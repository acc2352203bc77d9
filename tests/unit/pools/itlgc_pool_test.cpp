#include "pools/itlgc_pool.h"

#include "tests/unit/pools/pool_samples.h"

namespace qsvmon {
namespace {

using namespace pool_samples;

static_assert(offsetof(ItlgcEntry, vendor) == 0 && offsetof(ItlgcEntry, name) == 1);
static_assert(offsetof(ItlgcEntry, cname) == 32 && offsetof(ItlgcEntry, hits) == 64);
static_assert(sizeof(ItlgcEntry) == 68);

class Itlgc : public PoolTest<itlgc_pool_release> {
 protected:
  Itlgc() { EXPECT_EQ(itlgc_pool_init(), 0); }
  static void line(const std::string& rest) { EXPECT_EQ(error_of(itlgc_pool_line, rest), ""); }
  static bool is_empty() {
    const ItlgcEntry zeros[32] = {};
    return std::memcmp(itlgc_pool(), zeros, sizeof zeros) == 0;
  }
};

TEST_F(Itlgc, StoresACategory) {
  EXPECT_TRUE(is_empty());
  line("id=3 name=botnet cname=Botnets vendor=2");
  EXPECT_STREQ(itlgc_pool()[3].name, "botnet");
  EXPECT_STREQ(itlgc_pool()[3].cname, "Botnets");
  EXPECT_EQ(itlgc_pool()[3].vendor, 2);
  EXPECT_EQ(itlgc_pool()[3].hits, 0U);
}

TEST_F(Itlgc, TakesTheWholeRangeOfIds) {
  line("cname=b name=a id=0");
  line("id=31 name=c cname=d");
  line("id=none name=e cname=f");  // no digits read as 0
  EXPECT_STREQ(itlgc_pool()[0].name, "e");
  EXPECT_STREQ(itlgc_pool()[31].cname, "d");
}

TEST_F(Itlgc, IgnoresIncompleteLines) {
  for (const char* rest : {"id=32 name=a cname=b", "id=-1 name=a cname=b", "id=3 name=a",
                           "id=3 cname=a", "name=a cname=b", "id=3 name=a stop cname=b",
                           "id=4294967296000000000000 name=a cname=b", "vendor=4"}) {
    line(rest);
    EXPECT_TRUE(is_empty()) << rest;
  }
}

TEST_F(Itlgc, ALaterLineOverwrites) {
  line("id=5 name=longer cname=longer vendor=9");
  line("id=5 name=a cname=b id=5");
  EXPECT_STREQ(itlgc_pool()[5].name, "a");
  EXPECT_STREQ(itlgc_pool()[5].cname, "b");
  EXPECT_EQ(itlgc_pool()[5].vendor, 0);
  line("id=5 name= cname=\"\"");  // given, though empty
  EXPECT_STREQ(itlgc_pool()[5].name, "");
}

TEST_F(Itlgc, CutsToTheFields) {
  line(
      "id=1 vendor=258 name=1234567890123456789012345678901234567890"
      " cname=1234567890123456789012345678901234567890");
  EXPECT_STREQ(itlgc_pool()[1].name, "123456789012345678901234567890");
  EXPECT_STREQ(itlgc_pool()[1].cname, "1234567890123456789012345678901");
  EXPECT_EQ(itlgc_pool()[1].vendor, 2);
  EXPECT_EQ(itlgc_pool()[2].vendor, 0);
}

TEST(ItlgcWithoutAPool, LinesAreIgnored) {
  itlgc_pool_release();
  EXPECT_EQ(itlgc_pool(), nullptr);
  EXPECT_EQ(error_of(itlgc_pool_line, "id=3 name=a cname=b"), "");
}

}  // namespace
}  // namespace qsvmon
