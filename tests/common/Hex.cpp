#include "common/Hex.h"

#include <gtest/gtest.h>

#include "common/Error.h"
#include "support/RaisedErrors.h"

namespace ods {
namespace {

const Bytes kThreeBytes{0x01, 0xAB, 0x00};

TEST(HexTest, WritesTwoUpperCaseDigitsAByte) {
  EXPECT_EQ(BytesToHex(kThreeBytes), "01AB00");
  EXPECT_EQ(BytesToHex(Value(kThreeBytes)), "01AB00");
  EXPECT_EQ(BytesToHex(Bytes{}), "");
}

TEST(HexTest, KnowsSingleDigits) {
  std::string text = "<";
  AppendHex(text, 0x0F);
  AppendHex(text, 0xA0);
  EXPECT_EQ(text, "<0FA0");
  EXPECT_EQ(HexDigitValue('7'), 7);
  EXPECT_EQ(HexDigitValue('c'), 12);
  EXPECT_EQ(HexDigitValue('F'), 15);
  for (const char letter : {'g', 'G', '/', ':', '@', '`', '\0', '\xC6'}) EXPECT_EQ(HexDigitValue(letter), -1) << letter;
}

TEST(HexTest, AnEmptyValueIsTheEmptyText) { EXPECT_EQ(BytesToHex(Value()), ""); }

TEST(HexTest, OtherValuesAreATypeMismatch) {
  EXPECT_RAISES(BytesToHex(Value(Null{})), 13, "Type mismatch");
  EXPECT_RAISES(BytesToHex(Value("01AB00")), 13, "Type mismatch");
}

TEST(HexTest, ReadsEitherCase) {
  EXPECT_EQ(HexToBytes("01AB00"), kThreeBytes);
  EXPECT_EQ(HexToBytes("01ab00"), kThreeBytes);
  EXPECT_EQ(HexToBytes(""), Bytes{});
}

TEST(HexTest, EveryByteSurvives) {
  Bytes all;
  for (int byte = 0; byte < 256; ++byte) all.push_back(static_cast<std::uint8_t>(byte));
  EXPECT_EQ(HexToBytes(BytesToHex(all)), all);
}

TEST(HexTest, ALastSingleDigitIsAByteWhereThereIsRoom) {
  EXPECT_EQ(HexToBytes("ABC"), (Bytes{0xAB, 0x0C}));
  EXPECT_EQ(HexToBytes("0102030"), (Bytes{1, 2, 3, 0}));
  for (const char* text : {"A", "01020", "010203040"}) EXPECT_RAISES(HexToBytes(text), 13, "Type mismatch") << text;
}

TEST(HexTest, OtherCharactersAreATypeMismatch) {
  for (const char* text : {"0G", "G0", "0x", " 1", "+1", "12\xC3\xA9", "ABZ"}) {
    EXPECT_RAISES(HexToBytes(text), 13, "Type mismatch") << text;
  }
  EXPECT_RAISES(HexToBytes(std::string_view("0\0", 2)), 13, "Type mismatch");
}

}  // namespace
}  // namespace ods
