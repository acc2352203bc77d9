#include "commands/sessionlog/label_cache.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "tests/unit/sessionlog/row_fixture.h"

namespace qsvmon {
namespace {

class LabelCacheTest : public RowTest {};

std::uint32_t net_of(unsigned host) {
  return __builtin_bswap32(host);
}

TEST_F(LabelCacheTest, labels_are_the_pools_own_however_often_they_are_asked_for) {
  std::filesystem::create_directories("conf");
  std::FILE* conf = std::fopen("conf/korvale.conf", "w");
  std::fprintf(conf, "cusiprng iprng=10.9.0.1 info=%s\n", std::string(63, 'x').c_str());
  for (int i = 0; i < 2000; ++i) {
    std::fprintf(conf, "mac m=10.1.%d.%d d=a%d\n", i >> 8, i & 255, i);
    std::fprintf(conf, "mac m=00:00:0a:01:%02x:%02x d=m%d\n", i >> 8, i & 255, i);
  }
  std::fclose(conf);
  ASSERT_EQ(0, desc_pools_init());
  LabelCache labels;
  for (int pass = 0; pass < 3; ++pass) {
    EXPECT_EQ(std::string(63, 'x'), labels.of_ipv4(net_of(0x0A090001)));
    EXPECT_STREQ("", labels.of_ipv4(net_of(0x0A090003)));
    EXPECT_STREQ("", labels.of_ipv4(0));
    for (unsigned i = 0; i < 2000; ++i) {
      EXPECT_EQ("a" + std::to_string(i), labels.of_ipv4(net_of(0x0A010000 + i)));
      const std::uint8_t mac[6] = {
          0, 0, 0x0A, 1, static_cast<std::uint8_t>(i >> 8), static_cast<std::uint8_t>(i)};
      EXPECT_EQ("m" + std::to_string(i), labels.of_mac(mac));
    }
  }
}

TEST_F(LabelCacheTest, without_pools_there_are_no_labels) {
  LabelCache labels;
  const std::uint8_t mac[6] = {};
  EXPECT_STREQ("", labels.of_ipv4(net_of(0x0A090001)));
  EXPECT_STREQ("", labels.of_mac(mac));
}

}  // namespace
}  // namespace qsvmon
