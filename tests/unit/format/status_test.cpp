#include "format/status.h"

#include <gtest/gtest.h>

#include <string>

namespace qsvmon {
namespace {

TEST(Status, SuccessHasNoLine) {
  const Status good = Status::good();
  EXPECT_TRUE(good.ok());
  EXPECT_EQ(good.line(), "");
}

TEST(Status, AnErrorKeepsItsOwnCopyOfTheLine) {
  std::string text = "INVALID_ROW";
  const Status error = Status::error(text);
  text = "something else";
  EXPECT_FALSE(error.ok());
  EXPECT_EQ(error.line(), "INVALID_ROW");
  EXPECT_FALSE(Status::error("").ok());
}

TEST(Status, ALongLineIsCutAt255Bytes) {
  EXPECT_EQ(Status::error(std::string(254, 'l')).line(), std::string(254, 'l'));
  EXPECT_EQ(Status::error(std::string(255, 'l')).line(), std::string(255, 'l'));
  EXPECT_EQ(Status::error(std::string(255, 'l') + 'x').line(), std::string(255, 'l'));
  EXPECT_EQ(Status::error(std::string(100000, 'l')).line(), std::string(255, 'l'));
}

}  // namespace
}  // namespace qsvmon
