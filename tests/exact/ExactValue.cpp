#include "exact/ExactValue.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

#include "common/Error.h"
#include "platform/ado/Ado.h"
#include "support/RaisedErrors.h"

namespace ods::test {
namespace {

using Kind = ExactValue::Kind;

ExactValue Number(const std::string& text) { return {Kind::kNumber, text}; }
ExactValue Text(const std::string& text) { return {Kind::kText, text}; }

TEST(ExactValue, NumbersHaveDigitsAPointAndAnExponent) {
  for (const char* text : {"0", "-0", "12", "-12.50", "1E5", "1.5e-07", "1E+300", "007"}) {
    EXPECT_TRUE(IsNumberText(text)) << text;
  }
  for (const char* text : {"", "-", "+1", ".5", "5.", "1E", "1E+", "1e1.5", " 1", "1 ", "1,5", "NaN", "0x10", "1_0",
                           "--1", "1-1", "1;", "1\n", "\xD9\xA1"}) {
    EXPECT_FALSE(IsNumberText(text)) << text;
  }
  EXPECT_FALSE(IsNumberText(std::string_view("1\0", 2)));
  EXPECT_TRUE(IsNumberText(std::string(2000, '9')));
  EXPECT_FALSE(IsNumberText(std::string(2001, '9')));
}

TEST(ExactValue, IntegersAndDecimalsKeepTheirDigits) {
  EXPECT_EQ(ExactValueOf(std::numeric_limits<std::int64_t>::min(), ado_type::kBigInt), Number("-9223372036854775808"));
  EXPECT_EQ(ExactValueOf(Decimal{"18446744073709551615"}, ado_type::kUnsignedBigInt), Number("18446744073709551615"));
  EXPECT_EQ(ExactValueOf(Decimal{"1.50"}, ado_type::kNumeric), Number("1.50"));
  EXPECT_EQ(ExactValueOf(std::int32_t{7}, ado_type::kInteger), Number("7"));
  EXPECT_EQ(ExactValueOf(Value("4294967295"), ado_type::kUnsignedInt), Number("4294967295"));
  EXPECT_EQ(ExactValueOf(Value("1.50"), ado_type::kVarChar), Text("1.50"));
  EXPECT_EQ(ExactValueOf(Value("NaN"), ado_type::kNumeric), Number("NaN"));
  EXPECT_EQ(ExactValueOf(Value("abc"), ado_type::kNumeric), Text("abc"));
}

TEST(ExactValue, BooleansAreOneAndZero) {
  EXPECT_EQ(ExactValueOf(true, ado_type::kBoolean), Number("1"));
  EXPECT_EQ(ExactValueOf(false, ado_type::kBoolean), Number("0"));
}

TEST(ExactValue, NullIsNothingElse) {
  EXPECT_TRUE(ExactValueOf(Null{}, ado_type::kVarChar).IsNull());
  EXPECT_EQ(ExactValueOf(Value(""), ado_type::kVarChar), Text(""));
  EXPECT_EQ(ExactValueOf(Bytes{}, ado_type::kVarBinary), (ExactValue{Kind::kBytes, ""}));
  EXPECT_EQ(DisplayText({}), "");
}

TEST(ExactValue, ASingleHasTheFewestDigits) {
  const auto single = [](float number) { return ExactValueOf(static_cast<double>(number), ado_type::kSingle).text; };
  EXPECT_EQ(single(0.1F), "0.1");
  EXPECT_EQ(single(-0.33333334F), "-0.33333334");
  EXPECT_EQ(single(16777216.0F), "16777216");
  EXPECT_EQ(single(std::numeric_limits<float>::max()), "3.4028235E+38");
  EXPECT_EQ(single(std::numeric_limits<float>::denorm_min()), "1E-45");
  EXPECT_EQ(single(-0.0F), "-0");
  EXPECT_EQ(ExactValueOf(static_cast<double>(0.1F), ado_type::kDouble).text, "0.10000000149011612");
  // What a driver only calls a single.
  EXPECT_EQ(ExactValueOf(0.1, ado_type::kSingle).text, "0.1");
  EXPECT_EQ(ExactValueOf(0.30000000000000004, ado_type::kSingle).text, "0.30000000000000004");
  EXPECT_EQ(ExactValueOf(1e300, ado_type::kSingle).text, "1E+300");
}

TEST(ExactValue, WhatIsNoNumberHasItsName) {
  for (const std::int32_t type : {ado_type::kSingle, ado_type::kDouble}) {
    EXPECT_EQ(ExactValueOf(std::nan(""), type), Number("NaN"));
    EXPECT_EQ(ExactValueOf(std::numeric_limits<double>::infinity(), type), Number("Infinity"));
    EXPECT_EQ(DisplayText(ExactValueOf(-std::numeric_limits<double>::infinity(), type)), "-Infinity");
  }
}

TEST(ExactValue, NumbersAreShownAsEverywhere) {
  EXPECT_EQ(DisplayText(Number("1E-05")), "1E-05");
  EXPECT_EQ(DisplayText(Number("1.5E+00")), "1.5");
  EXPECT_EQ(DisplayText(Number("1E+14")), "100000000000000");
  EXPECT_EQ(DisplayText(Number("1.50")), "1.50");
  EXPECT_EQ(DisplayText(Number("123456789012345678901234567890")), "123456789012345678901234567890");
  EXPECT_EQ(DisplayText({Kind::kBytes, std::string("\0\xFF", 2)}), "00FF");
}

TEST(ExactValue, ComesFromTextsThatTellItsKind) {
  EXPECT_TRUE(ExactValueOfQuoted("NULL").IsNull());
  EXPECT_EQ(ExactValueOfQuoted("-9223372036854775808"), Number("-9223372036854775808"));
  EXPECT_EQ(ExactValueOfQuoted("'it''s'"), Text("it's"));
  EXPECT_EQ(ExactValueOfQuoted("''"), Text(""));
  EXPECT_EQ(ExactValueOfQuoted("''''"), Text("'"));
  EXPECT_EQ(ExactValueOfQuoted("X'00FF'"), (ExactValue{Kind::kBytes, std::string("\0\xFF", 2)}));
  EXPECT_EQ(ExactValueOfQuoted("X''"), (ExactValue{Kind::kBytes, ""}));
  EXPECT_EQ(ExactValueOfQuoted("Inf"), Number("Infinity"));
  EXPECT_EQ(ExactValueOfQuoted("-Inf"), Number("-Infinity"));
}

TEST(ExactValue, ARealHasTheFewestDigitsAndAnExponent) {
  EXPECT_EQ(ExactValueOfQuoted("1.0e+00"), Number("1E+00"));
  EXPECT_EQ(ExactValueOfQuoted("1.00000000000000006e-01"), Number("1E-01"));
  EXPECT_EQ(ExactValueOfQuoted("0.0e+00"), Number("0E+00"));
  // The least double there is, by its multiple.
  EXPECT_EQ(ExactValueOfQuoted("S1.01079201038789e-174"), Number("5E-324"));
  EXPECT_EQ(DisplayText(ExactValueOfQuoted("2.5e+00")), "2.5");
}

TEST(ExactValue, ATextComesByItsBytesInTheEncodingOfTheDatabase) {
  EXPECT_EQ(ExactValueOfQuoted("Z5A5A610062"), Text(std::string("a\0b", 3)));
  EXPECT_EQ(ExactValueOfQuoted("Z5A5A"), Text(""));
  EXPECT_EQ(ExactValueOfQuoted("Z5A5A00"), Text(std::string("\0", 1)));
  EXPECT_EQ(ExactValueOfQuoted("Z5A5AFF"), Text("\xFF"));
  EXPECT_EQ(ExactValueOfQuoted("Z5A005A0061000000E9003DD800DE"), Text(std::string("a\0\xC3\xA9\xF0\x9F\x98\x80", 8)));
  EXPECT_EQ(ExactValueOfQuoted("Z005A005A00610000"), Text(std::string("a\0", 2)));
  EXPECT_EQ(ExactValueOfQuoted("Z5A005A003DD86100"), Text("\xEF\xBF\xBD"
                                                          "a"));
}

TEST(ExactValue, OtherTextsAreErrors) {
  for (const char* text :
       {"",  "null", "'",     "X'0'", "X'0G'", "X'",       "Z5A5A6",   "Z61",   "Z",     "Z5A5AXY", "Z5A005A0061",
        "S", "SX",   "1.5.5", "abc",  "-",     "1 OR 1=1", "Infinity", "1e400", "S1e400"}) {
    EXPECT_RAISES(ExactValueOfQuoted(text), error_number::kTypeMismatch, ::testing::_) << text;
  }
}

}  // namespace
}  // namespace ods::test
