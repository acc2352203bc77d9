#include "format/json_rows.h"

#include <gtest/gtest.h>

namespace qsvmon {
namespace {

TEST(JsonRows, AreADocumentWithoutRows) {
  MemoryPrinter out;
  JsonRows rows(out);
  rows.finish("count", 0);
  EXPECT_EQ(out.str(), R"({"data":[],"count":0})");
}

TEST(JsonRows, HaveCommasBetweenThemAndAreCounted) {
  MemoryPrinter out;
  JsonRows rows(out);
  for (const char* row : {"{}", "[1]", "7"}) {
    rows.next_row();
    out.put(row);
  }
  EXPECT_EQ(rows.count(), 3U);
  rows.finish("total", 4294967295U);  // not the rows so far
  EXPECT_EQ(out.str(), R"({"data":[{},[1],7],"total":4294967295})");
}

}  // namespace
}  // namespace qsvmon
