#include "pools/desc_pools.h"

#include "pools/assetsdesc.h"
#include "pools/cusiprng.h"
#include "pools/ipmacdesc.h"
#include "pools/itlgc_pool.h"
#include "pools/pool_holder.h"
#include "tests/unit/pools/pool_samples.h"
#include "tests/unit/support/captured_out.h"
#include "tests/unit/support/scarce_memory.h"

namespace qsvmon {
namespace {

using namespace pool_samples;

/// The label of an IPv4 address, "(none)" without one.
std::string label(Bytes4 ip, std::size_t size = 64) {
  char dest[128] = "untouched";
  const char* const result = desc_lookup(ip.data(), 4, dest, size);
  if (result != nullptr) return result;
  EXPECT_STREQ(dest, "untouched");
  return "(none)";
}

std::string label(Bytes6 mac, std::size_t size = 64) {
  char dest[128] = "untouched";
  const char* const result = desc_lookup(mac.data(), 6, dest, size);
  if (result != nullptr) return result;
  EXPECT_STREQ(dest, "untouched");
  return "(none)";
}

constexpr char kMain[] =
    "# labels\n"
    "mac m=10.0.0.1 d=gateway\n"
    "mac ip=00:11:22:33:44:55 d=printer pid=2\n"
    "malcitlgc id=3 name=botnet cname=Botnets vendor=1\n"
    "cusiprng iprng=10.0.0.0/24 info=\"office\"\n"
    "cusiprng iprng=10.0.0.0/24 info=again\n"
    "cusiprng iprng=10.9.0.0/16 info=lab\n"
    "group id=1 name=not-here\n";
constexpr char kAssets[] =
    "group id=1 name=servers\n"
    "assets pid=1 name=in-range value=10.0.0.7\n"
    "assets pid=1 name=web value=192.168.1.1\n"
    "mac m=1.1.1.1 d=not-here\n";

class DescPools : public ConfigFolderTest {
 protected:
  DescPools() { desc_pools_release(); }
  ~DescPools() override {
    pool_allocate = large_memory_allocate;
    desc_pools_release();
  }

  /// Runs the initialisation and returns what it put on standard output and standard error.
  static std::string printed_by_init(int wanted_result) {
    CapturedOut out;
    testing::internal::CaptureStderr();
    EXPECT_EQ(desc_pools_init(), wanted_result);
    return out.text() + testing::internal::GetCapturedStderr();
  }
};

TEST_F(DescPools, LabelsInOrderOfTheirSources) {
  write_main(kMain);
  write_assets(kAssets);
  EXPECT_EQ(printed_by_init(0), "");
  EXPECT_EQ(label(Bytes4{10, 0, 0, 1}), "gateway");  // also in a range
  EXPECT_EQ(label(Bytes4{10, 0, 0, 7}), "office");   // also an asset
  EXPECT_EQ(label(Bytes4{10, 9, 255, 255}), "lab");
  EXPECT_EQ(label(Bytes4{192, 168, 1, 1}), "web");
  EXPECT_EQ(label(Bytes4{192, 168, 1, 2}), "(none)");
  EXPECT_EQ(label(Bytes6{0, 0x11, 0x22, 0x33, 0x44, 0x55}), "printer");
  EXPECT_EQ(label(Bytes6{0, 0x11, 0x22, 0x33, 0x44, 0x56}), "(none)");
  EXPECT_EQ(label(Bytes6{10, 0, 0, 1, 0, 0}), "(none)");
  EXPECT_EQ(label(Bytes4{1, 1, 1, 1}), "(none)");  // its line is in the other file
  EXPECT_STREQ(itlgc_pool()[3].cname, "Botnets");
  EXPECT_EQ(cusiprng_count(), 2);
  EXPECT_EQ(assetsgrp_count(), 1U);
}

// As the values of rows are printed: a label, or nothing, between what stands around it.
TEST_F(DescPools, LabelsArePrintedAsValues) {
  const std::string longest(63, 'r');
  write_main(std::string(kMain) + "cusiprng iprng=10.8.0.0/16 info=" + longest + "\n");
  write_assets(kAssets);
  EXPECT_EQ(printed_by_init(0), "");
  MemoryPrinter out;
  const auto print = [&](Bytes4 ip) {
    std::uint32_t net = 0;
    std::memcpy(&net, ip.data(), sizeof net);
    out.put('<', AddressLabel{net}, '>');
  };
  print({10, 0, 0, 1});
  print({10, 0, 0, 7});
  print({192, 168, 1, 1});
  print({192, 168, 1, 2});
  print({10, 8, 0, 0});
  const Bytes6 known = {0, 0x11, 0x22, 0x33, 0x44, 0x55};
  const Bytes6 unknown = {0, 0x11, 0x22, 0x33, 0x44, 0x56};
  out.put('<', AddressLabel{known.data()}, "><", AddressLabel{unknown.data()}, '>');
  EXPECT_EQ(out.str(), "<gateway><office><web><><" + longest + "><printer><>");
}

TEST_F(DescPools, LabelsOfEveryLengthArePrintedWhole) {
  std::string lines;
  for (int length = 1; length <= 33; ++length) {
    lines += "mac m=10.7.0." + std::to_string(length) +
             " d=" + std::string(static_cast<std::size_t>(length), 'd') + "\n";
  }
  write_main(lines);
  write_assets("");
  EXPECT_EQ(printed_by_init(0), "");
  for (std::uint8_t length = 1; length <= 33; ++length) {
    const Bytes4 ip = {10, 7, 0, length};
    std::uint32_t net = 0;
    std::memcpy(&net, ip.data(), sizeof net);
    MemoryPrinter out;
    out.put('<', AddressLabel{net}, '>');
    EXPECT_EQ(out.str(), "<" + std::string(length, 'd') + ">");
  }
}

TEST_F(DescPools, AnyFamilyButTheMacIsIpv4) {
  write_main(kMain);
  EXPECT_EQ(printed_by_init(0), "");
  const Bytes4 ip = {10, 0, 0, 1};
  char dest[64];
  for (const int family : {0, 2, 4, 28, -1}) {
    EXPECT_STREQ(desc_lookup(ip.data(), family, dest, sizeof dest), "gateway") << family;
  }
}

TEST_F(DescPools, CutsTheLabelToTheSize) {
  write_main(kMain);
  EXPECT_EQ(printed_by_init(0), "");
  EXPECT_EQ(label(Bytes4{10, 0, 0, 1}, 8), "gateway");
  EXPECT_EQ(label(Bytes4{10, 0, 0, 1}, 7), "gatewa");
  EXPECT_EQ(label(Bytes4{10, 0, 0, 1}, 1), "");
  EXPECT_EQ(label(Bytes4{10, 0, 0, 1}, 0), "untouched");
}

TEST_F(DescPools, BeforeInitialisationThereAreNoLabels) {
  EXPECT_EQ(label(Bytes4{10, 0, 0, 1}), "(none)");
  EXPECT_EQ(label(Bytes6{10, 0, 0, 1, 0, 0}), "(none)");
  EXPECT_EQ(itlgc_pool(), nullptr);
}

// Descriptions come first: without their pool the others are not asked.
TEST_F(DescPools, WithoutThePoolOfDescriptionsThereAreNoLabels) {
  EXPECT_EQ(cusiprng_init(), 0);
  EXPECT_EQ(error_of(cusiprng_line, "iprng=10.0.0.1 info=lab"), "");
  EXPECT_EQ(label(Bytes4{10, 0, 0, 1}), "(none)");
  EXPECT_EQ(ipmacdesc_init(), 0);
  EXPECT_EQ(label(Bytes4{10, 0, 0, 1}), "lab");
}

TEST_F(DescPools, AMissingAssetsFileIsNoFault) {
  write_main(kMain);
  EXPECT_EQ(printed_by_init(0), "");
  EXPECT_EQ(label(Bytes4{192, 168, 1, 1}), "(none)");
  EXPECT_EQ(label(Bytes4{10, 0, 0, 1}), "gateway");
}

TEST_F(DescPools, AMissingMainFileLeavesNoLabels) {
  write_assets(kAssets);
  EXPECT_EQ(printed_by_init(-1), "fopen: No such file or directory\n");
  EXPECT_EQ(label(Bytes4{192, 168, 1, 1}), "(none)");  // the assets were not loaded
  EXPECT_EQ(label(Bytes4{10, 0, 0, 1}), "(none)");
  ASSERT_NE(itlgc_pool(), nullptr);
  EXPECT_STREQ(itlgc_pool()[3].name, "");
}

TEST_F(DescPools, FoldersInPlaceOfTheFilesAreEmpty) {
  std::filesystem::create_directory("conf/korvale.conf");
  std::filesystem::create_directory("conf/qsv_assets.conf");
  EXPECT_EQ(printed_by_init(0), "");
  EXPECT_EQ(label(Bytes4{10, 0, 0, 1}), "(none)");
}

TEST_F(DescPools, ASecondCallMakesFreshPools) {
  write_main(kMain);
  write_assets(kAssets);
  EXPECT_EQ(printed_by_init(0), "");
  const ItlgcEntry* const categories = itlgc_pool();
  write_main("mac m=10.0.0.2 d=other\n");
  write_assets("");
  EXPECT_EQ(printed_by_init(0), "");
  EXPECT_EQ(label(Bytes4{10, 0, 0, 1}), "(none)");
  EXPECT_EQ(label(Bytes4{10, 0, 0, 2}), "other");
  EXPECT_EQ(label(Bytes4{10, 0, 0, 7}), "(none)");
  EXPECT_EQ(label(Bytes4{192, 168, 1, 1}), "(none)");
  EXPECT_STREQ(itlgc_pool()[3].name, "");
  EXPECT_STREQ(categories[3].name, "botnet");
}

TEST_F(DescPools, WithoutTheMainFileTheLaterPoolsStay) {
  write_main(kMain);
  write_assets(kAssets);
  EXPECT_EQ(printed_by_init(0), "");
  std::filesystem::remove("conf/korvale.conf");
  ScarceMemory::allow(2, 1);  // the third pool would be that of the ranges
  pool_allocate = ScarceMemory::allocate;
  EXPECT_EQ(printed_by_init(-1), "fopen: No such file or directory\n");
  EXPECT_EQ(label(Bytes4{10, 0, 0, 1}), "office");  // its description is gone
  EXPECT_EQ(label(Bytes4{192, 168, 1, 1}), "web");
}

// The pools are allocated in the order categories, descriptions, ranges, assets.
std::string printed_without_memory_for(int pool, int wanted_result) {
  CapturedOut out;
  ScarceMemory::allow(pool, 1);
  pool_allocate = ScarceMemory::allocate;
  EXPECT_EQ(desc_pools_init(), wanted_result);
  return out.text();
}

TEST_F(DescPools, GoesOnWithoutMemoryForCategories) {
  write_main(kMain);
  write_assets(kAssets);
  EXPECT_EQ(printed_without_memory_for(0, 0), "itlgc_pool alloc fail\n");
  EXPECT_EQ(itlgc_pool(), nullptr);
  EXPECT_EQ(label(Bytes4{10, 0, 0, 1}), "gateway");
  EXPECT_EQ(label(Bytes4{192, 168, 1, 1}), "web");
}

TEST_F(DescPools, EndsWithoutMemoryForDescriptions) {
  write_main(kMain);
  write_assets(kAssets);
  EXPECT_EQ(printed_without_memory_for(1, -1), "fail to init ipmacdesc pool\n");
  EXPECT_EQ(label(Bytes4{10, 0, 0, 1}), "(none)");
  EXPECT_EQ(label(Bytes4{192, 168, 1, 1}), "(none)");
}

TEST_F(DescPools, EndsWithoutMemoryForRanges) {
  write_main(kMain);
  write_assets(kAssets);
  EXPECT_EQ(printed_without_memory_for(2, -1), "NO_MEM\n");
  EXPECT_EQ(label(Bytes4{10, 0, 0, 1}), "gateway");
  EXPECT_EQ(label(Bytes4{10, 0, 0, 7}), "(none)");
}

TEST_F(DescPools, EndsWithoutMemoryForAssets) {
  write_main(kMain);
  write_assets(kAssets);
  EXPECT_EQ(printed_without_memory_for(3, -1), "assetsdesc_init: fail to alloc 660480 bytes\n");
  EXPECT_EQ(label(Bytes4{10, 0, 0, 7}), "office");
  EXPECT_EQ(label(Bytes4{192, 168, 1, 1}), "(none)");
}

TEST_F(DescPools, HostileLinesLeaveThePoolsInOrder) {
  std::string text;
  for (int byte = 1; byte < 256; ++byte) {
    const std::string fill(static_cast<std::size_t>(byte) * 9, static_cast<char>(byte));
    for (const char* word : {"mac", "malcitlgc", "cusiprng"}) {
      text += std::string(word) + " " + fill + "\n" + word + " id=" + fill + " d=" + fill +
              " m=" + fill + " iprng=" + fill + " name=" + fill + " cname=" + fill +
              " info=" + fill + "\n";
    }
  }
  text += "mac m=99999999999999999999999.-9999999999999999999999.1.1 d=huge\n";
  text += "malcitlgc id=99999999999999999999 name=a cname=b vendor=99999999999999999999\n";
  text += "cusiprng iprng=99999999999999999999/99999999999999999999 info=x\n";
  write_main(text + kMain);
  write_assets(text + kAssets);
  EXPECT_EQ(printed_by_init(0), "");
  EXPECT_EQ(label(Bytes4{255, 0, 1, 1}), "huge");
  EXPECT_EQ(label(Bytes4{10, 0, 0, 1}), "gateway");
  EXPECT_EQ(label(Bytes4{192, 168, 1, 1}), "web");
  EXPECT_STREQ(itlgc_pool()[3].name, "botnet");
}

}  // namespace
}  // namespace qsvmon
