#include "platform/ado/OdbcTypes.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

#include "platform/ado/AdoTestSupport.h"
#include "platform/ado/OdbcDiagnostics.h"
#include "platform/ado/OdbcText.h"

namespace ods::odbc {
namespace {

Value OfText(CellKind kind, std::string_view text) { return CellValue(kind, 0, std::as_bytes(std::span(text))); }

template <typename T>
Value OfStruct(CellKind kind, const T& value, std::int32_t adoType = 0) {
  return CellValue(kind, adoType, std::as_bytes(std::span(&value, 1)));
}

TEST(OdbcTypes, EveryOdbcTypeHasItsAdoType) {
  struct Case {
    SQLSMALLINT odbc;
    std::int32_t ado;
    std::int32_t unsignedAdo;
  };
  const Case cases[] = {{SQL_CHAR, 129, 129},
                        {SQL_VARCHAR, 200, 200},
                        {SQL_LONGVARCHAR, 201, 201},
                        {SQL_WCHAR, 130, 130},
                        {SQL_WVARCHAR, 202, 202},
                        {SQL_WLONGVARCHAR, 203, 203},
                        {SQL_DECIMAL, 131, 131},
                        {SQL_NUMERIC, 131, 131},
                        {SQL_SMALLINT, 2, 18},
                        {SQL_INTEGER, 3, 19},
                        {SQL_BIGINT, 20, 21},
                        {SQL_TINYINT, 16, 17},
                        {SQL_REAL, 4, 4},
                        {SQL_FLOAT, 5, 5},
                        {SQL_DOUBLE, 5, 5},
                        {SQL_BIT, 11, 11},
                        {SQL_BINARY, 128, 128},
                        {SQL_VARBINARY, 204, 204},
                        {SQL_LONGVARBINARY, 205, 205},
                        {SQL_TYPE_DATE, 133, 133},
                        {SQL_TYPE_TIME, 134, 134},
                        {SQL_TYPE_TIMESTAMP, 135, 135},
                        {SQL_GUID, 72, 72},
                        {SQL_INTERVAL_DAY, 12, 12},
                        {-154, 134, 134},
                        {-155, 135, 135},
                        {-152, 203, 203},
                        {-150, 12, 12},
                        {-151, 12, 12},
                        {SQL_UNKNOWN_TYPE, 12, 12}};
  for (const Case& c : cases) {
    EXPECT_EQ(FindColumnType(c.odbc).adoType, c.ado) << c.odbc;
    EXPECT_EQ(FindColumnType(c.odbc).unsignedAdoType, c.unsignedAdo) << c.odbc;
  }
}

TEST(OdbcTypes, IntegersAreAsWideAsTheirTypeAndNeverCutOff) {
  for (const std::int32_t type : {2, 3, 16, 17, 18}) {
    EXPECT_EQ(OfStruct(CellKind::kInteger, std::int64_t{-7}, type), Value(-7));
    EXPECT_EQ(OfStruct(CellKind::kInteger, std::int64_t{2147483647}, type), Value(2147483647));
    EXPECT_EQ(OfStruct(CellKind::kInteger, std::int64_t{2147483648}, type), Value(std::int64_t{2147483648}));
  }
  for (const std::int32_t type : {19, 20}) {
    EXPECT_EQ(OfStruct(CellKind::kInteger, std::int64_t{7}, type), Value(std::int64_t{7}));
  }
}

TEST(OdbcTypes, AnUnsignedBigIntegerBeyond63BitsIsADecimal) {
  const auto kind = CellKind::kUnsignedBigInteger;
  EXPECT_EQ(OfText(kind, "0"), Value(std::int64_t{0}));
  EXPECT_EQ(OfText(kind, "9223372036854775807"), Value(std::int64_t{9223372036854775807}));
  EXPECT_EQ(OfText(kind, "9223372036854775808"), Value(Decimal{"9223372036854775808"}));
  EXPECT_EQ(OfText(kind, "18446744073709551615"), Value(Decimal{"18446744073709551615"}));
  EXPECT_EQ(OfText(kind, "-5"), Value(std::int64_t{-5}));
}

TEST(OdbcTypes, DecimalsKeepTheirScaleInOneForm) {
  const std::pair<const char*, const char*> cases[] = {{"12.50", "12.50"}, {".5", "0.5"}, {"-.50", "-0.50"},
                                                       {"+3", "3"},        {"5.", "5"},   {" 1.0 ", "1.0"},
                                                       {"1,5", "1.5"},     {"-0", "-0"},  {"000.10", "000.10"}};
  for (const auto& [text, digits] : cases) {
    EXPECT_EQ(OfText(CellKind::kDecimal, text), Value(Decimal{digits})) << text;
  }
  for (const char* text : {"NaN", "Infinity", "", "-", ".", "1.2.3", "1E5"}) {
    EXPECT_EQ(OfText(CellKind::kDecimal, text), Value(text)) << text;
  }
}

TEST(OdbcTypes, FloatingPointAndBoolean) {
  constexpr auto kLargestSingle = static_cast<double>(std::numeric_limits<float>::max());
  EXPECT_EQ(OfStruct(CellKind::kSingle, 0.1), Value(static_cast<double>(0.1F)));
  EXPECT_EQ(OfStruct(CellKind::kSingle, static_cast<double>(0.1F)), Value(static_cast<double>(0.1F)));
  EXPECT_EQ(OfStruct(CellKind::kSingle, 3.4028235e38), Value(kLargestSingle));
  EXPECT_EQ(OfStruct(CellKind::kSingle, -3.4028235e38), Value(-kLargestSingle));
  EXPECT_EQ(OfStruct(CellKind::kSingle, 1e39), Value(1e39));
  EXPECT_EQ(OfStruct(CellKind::kSingle, HUGE_VAL), Value(HUGE_VAL));
  EXPECT_TRUE(std::isnan(*OfStruct(CellKind::kSingle, std::nan("")).GetIf<double>()));
  EXPECT_EQ(OfStruct(CellKind::kDouble, 1e300), Value(1e300));
  EXPECT_TRUE(std::isnan(*OfStruct(CellKind::kDouble, std::nan("")).GetIf<double>()));
  EXPECT_EQ(OfStruct(CellKind::kBoolean, std::uint8_t{1}), Value(true));
  EXPECT_EQ(OfStruct(CellKind::kBoolean, std::uint8_t{0}), Value(false));
}

TEST(OdbcTypes, DatesThatAreNoneAreNull) {
  EXPECT_EQ(OfStruct(CellKind::kDate, SQL_DATE_STRUCT{2020, 2, 29}), Value(DateOf({2020, 2, 29}, true)));
  EXPECT_EQ(OfStruct(CellKind::kDate, SQL_DATE_STRUCT{0, 0, 0}), Value(Null{}));
  EXPECT_EQ(OfStruct(CellKind::kDate, SQL_DATE_STRUCT{2021, 2, 29}), Value(Null{}));
  EXPECT_EQ(OfStruct(CellKind::kDate, SQL_DATE_STRUCT{2021, 0, 1}), Value(Null{}));
  EXPECT_EQ(OfStruct(CellKind::kTimeStamp, SQL_TIMESTAMP_STRUCT{2020, 1, 2, 23, 59, 59, 999999999}),
            Value(DateOf({2020, 1, 2, 23, 59, 59})));
  EXPECT_EQ(OfStruct(CellKind::kTimeStamp, SQL_TIMESTAMP_STRUCT{0, 0, 0, 0, 0, 0, 0}), Value(Null{}));
}

TEST(OdbcTypes, TimesStandOnTheZeroDate) {
  EXPECT_EQ(OfText(CellKind::kTime, "10:11:12"), Value(DateOf({1899, 12, 30, 10, 11, 12})));
  EXPECT_EQ(OfText(CellKind::kTime, "10:11:12.75"), Value(DateOf({1899, 12, 30, 10, 11, 12})));
  for (const char* text : {"24:00:00", "838:59:59", "-10:00:00", "10:60:00", "10:11", "", "1a:00:00", "10-11-12"}) {
    EXPECT_EQ(OfText(CellKind::kTime, text), Value(Null{})) << text;
  }
}

TEST(OdbcTypes, AMomentWithAnOffsetIsThatMomentInUniversalTime) {
  const auto kind = CellKind::kTextTimeStamp;
  EXPECT_EQ(OfText(kind, "2020-02-29 00:30:12.1234567 +01:00"), Value(DateOf({2020, 2, 28, 23, 30, 12})));
  EXPECT_EQ(OfText(kind, "2020-02-29 10:11:12 -05:30"), Value(DateOf({2020, 2, 29, 15, 41, 12})));
  EXPECT_EQ(OfText(kind, "2020-02-29 10:11:12+00:00"), Value(DateOf({2020, 2, 29, 10, 11, 12})));
  EXPECT_EQ(OfText(kind, "2020-02-29 10:11:12.5"), Value(DateOf({2020, 2, 29, 10, 11, 12})));
  EXPECT_EQ(OfText(kind, "0001-01-01 14:00:00 +14:00"), Value(DateOf({1, 1, 1})));
  for (const char* text :
       {"", "2020-02-29", "2020-02-30 10:11:12 +00:00", "2020-02-29 10:11:12 +1", "rubbish", "0044-03-15 10:00:00 BC",
        "2020-02-29 10:11:12 +01:00 BC", "0001-01-01 00:00:00 +14:00", "9999-12-31 23:59:59 -00:01"}) {
    EXPECT_EQ(OfText(kind, text), Value(Null{})) << text;
  }
}

TEST(OdbcTypes, ADateAsTextIsADateOrNull) {
  EXPECT_EQ(OfText(CellKind::kTextDate, "2020-02-29"), Value(DateOf({2020, 2, 29}, true)));
  for (const char* text : {"", "0000-00-00", "2021-02-29", "infinity", "0044-03-15 BC", "12345-01-01", "2020-02-2x"}) {
    EXPECT_EQ(OfText(CellKind::kTextDate, text), Value(Null{})) << text;
  }
}

TEST(OdbcTypes, GuidsAreUpperCaseInBraces) {
  const Value guid("{A0EEBC99-9C0B-4EF8-BB6D-6BB9BD380A11}");
  EXPECT_EQ(OfText(CellKind::kGuid, "a0eebc99-9c0b-4ef8-bb6d-6bb9bd380a11"), guid);
  EXPECT_EQ(OfText(CellKind::kGuid, "{A0EEBC99-9C0B-4EF8-BB6D-6BB9BD380A11}"), guid);
}

TEST(OdbcTypes, NarrowTextThatIsNoUtf8IsRepaired) {
  EXPECT_EQ(OfText(CellKind::kNarrowText, "\xC3\xA4"), Value("\xC3\xA4"));
  EXPECT_EQ(OfText(CellKind::kNarrowText, "a\xE4z"), Value("a\xEF\xBF\xBDz"));
}

TEST(OdbcText, Utf8AndUtf16GoThereAndBack) {
  for (const std::string text : {"", "abc", "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", "\xEF\xBF\xBF", "\xED\x9F\xBF"}) {
    EXPECT_EQ(ToUtf8(ToUtf16(text)), text);
  }
  const std::vector<SQLWCHAR> emoji = {0xD83D, 0xDE00};
  EXPECT_EQ(ToUtf16("\xF0\x9F\x98\x80"), emoji);
}

TEST(OdbcText, WhatIsMalformedBecomesTheReplacementCharacter) {
  const std::string replacement = "\xEF\xBF\xBD";
  EXPECT_EQ(ToUtf8(std::vector<SQLWCHAR>{'a', 0xD83D}), "a" + replacement);
  EXPECT_EQ(ToUtf8(std::vector<SQLWCHAR>{0xD83D, 'a'}), replacement + "a");
  EXPECT_EQ(ToUtf8(std::vector<SQLWCHAR>{0xDE00, 0xD83D}), replacement + replacement);
  EXPECT_EQ(ToUtf8(ToUtf16("a\xFFz")), "a" + replacement + "z");
  EXPECT_EQ(ToUtf8(ToUtf16("\xC3")), replacement);
  EXPECT_EQ(ToUtf8(ToUtf16("\xC0\x80")), replacement + replacement);
  EXPECT_EQ(ToUtf8(ToUtf16("\xED\xA0\x80")), replacement + replacement + replacement);
  EXPECT_EQ(ToUtf8(ToUtf16("\xF4\x90\x80\x80")), Repeat(replacement, 4));
}

TEST(OdbcErrors, NumbersFollowTheSqlState) {
  const std::pair<const char*, std::uint32_t> cases[] = {
      {"42S02", 0x80040E37}, {"42000", 0x80040E14}, {"42P01", 0x80040E14}, {"42S22", 0x80040E14}, {"28000", 0x80040E4D},
      {"23505", 0x80040E2F}, {"22012", 0x80040E07}, {"HYT00", 0x80040E31}, {"HYT01", 0x80040E31}, {"HYT02", 0x80004005},
      {"HY000", 0x80004005}, {"08001", 0x80004005}, {"", 0x80004005}};
  for (const auto& [state, number] : cases) EXPECT_EQ(ErrorNumberOfState(state), Hex(number)) << state;
}

}  // namespace
}  // namespace ods::odbc
