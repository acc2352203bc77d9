#include "commands/tcpreset/reset_record.h"

#include <gtest/gtest.h>

namespace qsvmon {
namespace {

// One record byte by byte, as it lies in the shared area.
constexpr unsigned char kBytes[64] = {
    0x78, 0x56, 0x34, 0x12,                          // time 0x12345678
    192,  0,    2,    1,                             // source 192.0.2.1
    198,  51,   100,  7,                             // destination 198.51.100.7
    0xc0, 0x00,                                      // source port 49152
    0x01, 0xbb,                                      // destination port 443
    0x01, 0x00, 0x20, 0x00, 0x00, 0x03, 0x00, 0xf0,  // metrics 1, 2, 3; the top bits are not used
    0x34, 0x12,                                      // val1 0x1234
    0xff, 0xff,                                      // val2 65535
    0x07, 0x00, 0x65, 0x18,                          // class 6, status 404, application 7
    0x2a,                                            // val3 42
    'a',  '.',  'b',  0,    'x'};

TEST(ResetRecord, EveryFieldLiesWhereTheDaemonWritesIt) {
  ResetRecord record;
  std::memcpy(&record, kBytes, sizeof record);
  EXPECT_EQ(+record.time_secs, 0x12345678u);
  EXPECT_EQ(from_net32(record.src_net), 0xc0000201u);
  EXPECT_EQ(from_net32(record.dst_net), 0xc6336407u);
  EXPECT_EQ(from_net16(record.sport_net), 49152);
  EXPECT_EQ(from_net16(record.dport_net), 443);
  EXPECT_EQ(record.metric(0), 1u);
  EXPECT_EQ(record.metric(20), 2u);
  EXPECT_EQ(record.metric(40), 3u);
  EXPECT_EQ(+record.val1, 0x1234);
  EXPECT_EQ(+record.val2, 65535);
  EXPECT_EQ(record.app_id(), 7u);
  EXPECT_EQ(record.http_status(), 404u);
  EXPECT_EQ(record.traffic_class(), 6u);
  EXPECT_EQ(record.val3, 42);
  EXPECT_EQ(record.domain(), "a.b");
}

TEST(ResetRecord, FieldsOfTheApplicationWordDoNotTouch) {
  ResetRecord record{};
  record.appword = 0x3fff;
  EXPECT_EQ(record.app_id(), 16383u);
  EXPECT_EQ(record.http_status() + record.traffic_class(), 0u);
  record.appword = 0xffc000;
  EXPECT_EQ(record.http_status(), 1023u);
  EXPECT_EQ(record.app_id() + record.traffic_class(), 0u);
  record.appword = 0x3000000;  // bits 24-25 mean nothing
  EXPECT_EQ(record.app_id() + record.http_status() + record.traffic_class(), 0u);
  record.appword = 0xfc000000;
  EXPECT_EQ(record.traffic_class(), 63u);
  EXPECT_EQ(record.app_id() + record.http_status(), 0u);
}

TEST(ResetRecord, ANameMayFillItsField) {
  ResetRecord record{};
  EXPECT_EQ(record.domain(), "");
  std::memset(record.name, 'n', sizeof record.name);
  EXPECT_EQ(record.domain(), "nnnnnnnnnnnnnnnnnnnnnnnnnnnnnnn");  // 31 bytes without a NUL
}

}  // namespace
}  // namespace qsvmon
