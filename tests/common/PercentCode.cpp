#include "common/PercentCode.h"

#include <gtest/gtest.h>

namespace ods {
namespace {

TEST(PercentCodeTest, NamesAreEncodedByteByByteAndDecodedLeniently) {
  EXPECT_EQ(PercentEncode("aZ09._-"), "aZ09._-");
  EXPECT_EQ(PercentEncode("."), "%2E");
  EXPECT_EQ(PercentEncode("..a"), "%2E.a");
  EXPECT_EQ(PercentEncode(std::string_view("a/b\0%\xC3\xA4", 7)), "a%2Fb%00%25%C3%A4");
  EXPECT_EQ(PercentDecode("a%2Fb%00%25%C3%A4"), std::string_view("a/b\0%\xC3\xA4", 7));
  EXPECT_EQ(PercentDecode("%2f%4A%4a"), "/JJ");
  EXPECT_EQ(PercentDecode("100%"), "100%");
  EXPECT_EQ(PercentDecode("%4"), "%4");
  EXPECT_EQ(PercentDecode("%G1%1G %41"), "%G1%1G A");
}

}  // namespace
}  // namespace ods
