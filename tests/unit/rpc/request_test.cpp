#include "rpc/wire/request.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace qsvmon {
namespace {

TEST(RequestText, IsCutToLeaveRoomForItsNulAndLaterBytesStay) {
  for (const std::size_t length : {0U, 1U, 126U, 127U, 128U, 1000U}) {
    RpcRequest request{};
    std::memset(request.errtext, '#', sizeof request.errtext);
    request.result = 0x55555555;
    EXPECT_EQ(set_errtext(request, std::string(length, 'm')), length < 128) << length;
    const std::size_t kept = length < 127 ? length : 127;
    EXPECT_EQ(request_errtext(request), std::string(kept, 'm')) << length;
    for (std::size_t at = kept + 1; at < 128; ++at) ASSERT_EQ(request.errtext[at], '#') << length;
    EXPECT_EQ(request.result, 0x55555555) << length;
  }
}

TEST(RequestText, EndsWithTheFieldWhereItHasNoNul) {
  RpcRequest request{};
  std::memset(request.errtext, 'e', sizeof request.errtext);
  request.result = 0x66666666;  // "ffff"
  EXPECT_EQ(request_errtext(request), std::string(128, 'e'));
}

TEST(RequestError, SetsStatus22AndText) {
  RpcRequest request{};
  std::memset(request.errtext, '#', sizeof request.errtext);
  set_request_error(request, "INV_IP");
  EXPECT_EQ(request.status, 22u);
  EXPECT_STREQ(request.errtext, "INV_IP");
  EXPECT_EQ(request.errtext[7], '#');
  EXPECT_EQ(request.errtext[119], '\0');
  EXPECT_EQ(request.errtext[120], '#');
}

TEST(RequestError, AcceptsATextOfOneCharacter) {
  RpcRequest request{};
  std::memset(request.errtext, '#', sizeof request.errtext);
  set_request_error(request, "x");
  EXPECT_STREQ(request.errtext, "x");
  EXPECT_EQ(request.errtext[2], '#');
}

TEST(RequestError, CutsLongTexts) {
  for (const std::size_t length : {118u, 119u, 120u, 121u, 500u}) {
    RpcRequest request{};
    std::memset(request.errtext, '#', sizeof request.errtext);
    set_request_error(request, std::string(length, 'x').c_str());
    EXPECT_EQ(std::strlen(request.errtext), length < 119 ? length : 119) << length;
    EXPECT_EQ(request.errtext[120], '#') << length;
    EXPECT_EQ(request.errtext[127], '#') << length;
  }
  RpcRequest request{};
  set_request_error(request, nullptr);
  EXPECT_EQ(request.status, 22u);
  EXPECT_STREQ(request.errtext, "");
}

}  // namespace
}  // namespace qsvmon
