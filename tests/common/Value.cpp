#include "common/Value.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

#include "common/Dictionary.h"
#include "common/Error.h"

namespace ods {
namespace {

TEST(SecondOfDay, CountsFromMidnightBeforeTheZeroDateToo) {
  EXPECT_EQ((Date{0}).SecondOfDay(), 0);
  EXPECT_EQ(Date::FromParts({2024, 2, 29, 23, 59, 59})->SecondOfDay(), 86399);
  EXPECT_EQ(Date::FromParts({2024, 3, 1, 0, 0, 0})->SecondOfDay(), 0);
  EXPECT_EQ(Date::FromParts({1753, 1, 1, 1, 2, 3})->SecondOfDay(), 3723);
  EXPECT_EQ((Date{-1}).SecondOfDay(), 86399);
}

TEST(ValueTest, NamesItsType) {
  EXPECT_EQ(Value().TypeName(), "Empty");
  EXPECT_EQ(Value(Null{}).TypeName(), "Null");
  EXPECT_EQ(Value(std::int32_t{1}).TypeName(), "Long");
  EXPECT_EQ(Value(std::int64_t{1}).TypeName(), "LongLong");
  EXPECT_EQ(Value(1.0).TypeName(), "Double");
  EXPECT_EQ(Value(Currency{1}).TypeName(), "Currency");
  EXPECT_EQ(Value(Decimal{"1"}).TypeName(), "Decimal");
  EXPECT_EQ(Value(Date{}).TypeName(), "Date");
  EXPECT_EQ(Value("1").TypeName(), "String");
  EXPECT_EQ(Value(true).TypeName(), "Boolean");
  EXPECT_EQ(Value(Bytes{}).TypeName(), "Byte()");
  EXPECT_EQ(Value(std::shared_ptr<Object>()).TypeName(), "Nothing");
  EXPECT_EQ(Value(std::shared_ptr<Object>(std::make_shared<Dictionary>())).TypeName(), "IHalvikDictionary");
}

TEST(ValueTest, EqualMeansSameTypeAndSameValue) {
  EXPECT_EQ(Value("a"), Value(std::string("a")));
  EXPECT_NE(Value(std::int32_t{1}), Value(std::int64_t{1}));
  EXPECT_NE(Value(), Value(Null{}));
  const std::shared_ptr<Object> one = std::make_shared<Dictionary>();
  EXPECT_EQ(Value(one), Value(one));
  EXPECT_NE(Value(one), Value(std::shared_ptr<Object>(std::make_shared<Dictionary>())));
}

TEST(DateTest, CountsFromTheZeroDate) {
  EXPECT_EQ(Date::FromParts({}), Date{});
  EXPECT_EQ(Date::FromParts({1899, 12, 31, 0, 0, 1})->seconds, 86401);
  EXPECT_EQ(Date::FromParts({1899, 12, 29, 23, 59, 59})->seconds, -1);
  EXPECT_EQ(Date::FromParts({2000, 1, 1, 0, 0, 0})->Serial(), 36526.0);
  EXPECT_EQ(Date::FromParts({2000, 1, 1, 12, 0, 0})->Serial(), 36526.5);
}

TEST(DateTest, KnowsLeapYears) {
  for (const int year : {4, 1904, 2000, 2024, 9996}) EXPECT_TRUE(Date::FromParts({year, 2, 29})) << year;
  for (const int year : {1, 1900, 2023, 2100, 9999}) EXPECT_FALSE(Date::FromParts({year, 2, 29})) << year;
}

TEST(DateTest, RefusesPartsThatNameNoMoment) {
  for (const DateParts& parts :
       {DateParts{0, 1, 1, 0, 0, 0}, DateParts{10000, 1, 1, 0, 0, 0}, DateParts{2000, 0, 1, 0, 0, 0},
        DateParts{2000, 13, 1, 0, 0, 0}, DateParts{2000, 1, 0, 0, 0, 0}, DateParts{2000, 1, 32, 0, 0, 0},
        DateParts{2000, 4, 31, 0, 0, 0}, DateParts{2000, 1, 1, 24, 0, 0}, DateParts{2000, 1, 1, -1, 0, 0},
        DateParts{2000, 1, 1, 0, 60, 0}, DateParts{2000, 1, 1, 0, 0, 60}, DateParts{2000, -2147483647, 1, 0, 0, 0}}) {
    EXPECT_FALSE(Date::FromParts(parts)) << parts.year << '-' << parts.month << '-' << parts.day;
  }
}

TEST(DateTest, PartsAndSecondsAgreeOverTheWholeRange) {
  const Date first = *Date::FromParts({1, 1, 1, 0, 0, 0});
  const Date last = *Date::FromParts({9999, 12, 31, 23, 59, 59});
  constexpr std::int64_t kStep = 86400 * 97 + 12345;
  for (Date date = first; date.seconds <= last.seconds; date.seconds += kStep) {
    ASSERT_TRUE(date.IsInRange());
    ASSERT_EQ(Date::FromParts(date.Parts()), date);
    ASSERT_EQ(Date::FromSerial(date.Serial()), date);
  }
  EXPECT_FALSE((Date{first.seconds - 1}).IsInRange());
  EXPECT_FALSE((Date{last.seconds + 1}).IsInRange());
}

TEST(DateTest, PartsOutOfRangeAreThoseOfTheNearestMoment) {
  EXPECT_EQ((Date{std::numeric_limits<std::int64_t>::max()}).Parts().year, 9999);
  EXPECT_EQ((Date{std::numeric_limits<std::int64_t>::min()}).Parts().year, 1);
}

TEST(DateTest, SerialNumbersAreRoundedToTheSecond) {
  EXPECT_EQ(Date::FromSerial(1.5)->seconds, 86400 + 43200);
  EXPECT_EQ(Date::FromSerial(0.4 / 86400)->seconds, 0);
  EXPECT_EQ(Date::FromSerial(-0.6 / 86400)->seconds, -1);
}

TEST(DateTest, SerialNumbersOutOfRangeAreNoDates) {
  for (const double days : {-693594.0, 2958466.0, 1e300, -1e300, HUGE_VAL, -HUGE_VAL, std::nan("")}) {
    EXPECT_FALSE(Date::FromSerial(days)) << days;
  }
  EXPECT_TRUE(Date::FromSerial(-693593.0));
  EXPECT_TRUE(Date::FromSerial(2958465.0));
}

TEST(ErrorTest, ShowsNumbersInUnsignedHexadecimal) {
  EXPECT_EQ(ErrorNumberHex(-2147217865), "80040E37");
  EXPECT_EQ(ErrorNumberHex(13), "D");
  EXPECT_EQ(ErrorNumberHex(error_number::kGeneralFailure), "80004005");
}

}  // namespace
}  // namespace ods
