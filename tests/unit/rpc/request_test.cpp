#include "rpc/wire/request.h"

#include <gtest/gtest.h>

#include <string>

namespace qsvmon {
namespace {

TEST(RequestText, IsCutToLeaveRoomForItsNulAndLaterBytesStay) {
  for (const std::size_t length : {0U, 1U, 126U, 127U, 128U, 1000U}) {
    RpcRequest request{};
    std::memset(request.errtext, '#', sizeof request.errtext);
    request.result = 0x55555555;
    set_errtext(request, std::string(length, 'm'));
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

}  // namespace
}  // namespace qsvmon
