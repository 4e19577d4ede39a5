#include "tabledata/ExactPosition.h"

#include <gtest/gtest.h>

#include "common/Hex.h"
#include "support/RaisedErrors.h"

namespace ods {
namespace {

std::string AsPosition(const std::string& plain) {
  return std::string(kExactPositionMark) + BytesToHex(Bytes(plain.begin(), plain.end()));
}

TEST(ExactPosition, ComesBackAsItWas) {
  ExactPosition position;
  position.table = 0xFFFFFFFFFFFFFFFF;
  position.order = 7;
  position.from = CountedFrom::kBack;
  position.count = 4294967295;
  position.values = {{ExactValue::Kind::kNull, ""},
                     {ExactValue::Kind::kNumber, "-12345678901234567890.5"},
                     {ExactValue::Kind::kText, "a,b:c\"'é\n"},
                     {ExactValue::Kind::kText, ""},
                     {ExactValue::Kind::kBytes, std::string("\0\xFF", 2)}};
  const std::string text = PositionText(position);
  EXPECT_TRUE(text.starts_with("exact-"));
  EXPECT_EQ(ParsePosition(text), position);
}

TEST(ExactPosition, OfARowWithoutEqualsCountsOne) {
  const ExactPosition position = ParsePosition(AsPosition("1,2,f,1,N0:"));
  EXPECT_EQ(position.from, CountedFrom::kFront);
  EXPECT_EQ(position.count, 1U);
  EXPECT_EQ(position.values, std::vector<ExactValue>(1));
}

TEST(ExactPosition, SaysThatAPositionWasMadeWithoutExactPaging) {
  EXPECT_RAISES(ParsePosition("48444901"), 13,
                "Type mismatch: the position was not made with exact paging, which this server uses.");
}

TEST(ExactPosition, TakesNothingDamaged) {
  for (const char* plain :
       {"", "1", "1,2", "1,2,f", "1,2,f,", "1,2,f,0,", "1,2,x,1,", "1,2,f,1", "1,2,f,1,X0:", "1,2,f,1,T",
        "1,2,f,1,T5:abc", "1,2,f,1,T-1:", "1,2,f,1,T99999999999999999999:a", "1,2,f,1,N1:a", "1,2,f,4294967296,",
        "-1,2,f,1,", " 1,2,f,1,", "1,18446744073709551616,f,1,", "1,2,f,1,T3:abcd"}) {
    EXPECT_RAISES(ParsePosition(AsPosition(plain)), 13, "Type mismatch: the position is damaged.") << plain;
  }
  EXPECT_RAISES(ParsePosition("exact-GG"), 13, "Type mismatch");
}

}  // namespace
}  // namespace ods
