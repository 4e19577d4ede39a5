#include "common/Conversions.h"

#include <bit>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <locale>
#include <random>

#include "common/Dictionary.h"
#include "common/Text.h"

namespace ods {
namespace {

Value Long(std::int32_t number) { return number; }
Value LongLong(std::int64_t number) { return number; }
Value AnObject() { return std::shared_ptr<Object>(std::make_shared<Dictionary>()); }
Date On(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  return *Date::FromParts({year, month, day, hour, minute, second});
}

TEST(ConversionsTest, WhatCannotBeConvertedIsNeutral) {
  for (const Value& value : {Value(), Value(Null{}), Value("abc"), Value(""), Value(Bytes{1, 2}), AnObject(),
                             Value(std::shared_ptr<Object>())}) {
    EXPECT_EQ(SafeBool(value), false) << value.TypeName();
    EXPECT_EQ(SafeLng(value), 0) << value.TypeName();
    EXPECT_EQ(SafeDbl(value), 0) << value.TypeName();
    EXPECT_EQ(SafeDate(value), Date{}) << value.TypeName();
    if (value.Is<std::string>()) continue;
    EXPECT_EQ(SafeStr(value), "") << value.TypeName();
  }
}

TEST(SafeStrTest, GivesEachTypeItsText) {
  EXPECT_EQ(SafeStr("O'Neil"), "O'Neil");
  EXPECT_EQ(SafeStr(Long(-2147483647 - 1)), "-2147483648");
  EXPECT_EQ(SafeStr(LongLong(std::numeric_limits<std::int64_t>::min())), "-9223372036854775808");
  EXPECT_EQ(SafeStr(2.5), "2.5");
  EXPECT_EQ(SafeStr(Currency{-123400}), "-12.34");
  EXPECT_EQ(SafeStr(Decimal{"-12.3400"}), "-12.3400");
  EXPECT_EQ(SafeStr(On(2009, 3, 5, 7, 8, 9)), "2009-03-05 07:08:09");
  EXPECT_EQ(SafeStr(true), "True");
  EXPECT_EQ(SafeStr(false), "False");
}

TEST(SafeBoolTest, IsTrueForTrueAndForNumbersOtherThanZero) {
  for (const Value& value : {Value("True"), Value("true"), Value(" TRUE "), Value("-1"), Value("0.001"), Value("1e-3"),
                             Long(-1), LongLong(2), Value(0.5), Value(Currency{1}), Value(Decimal{"0.00000000001"}),
                             Value(On(2009, 3, 5)), Value(true)}) {
    EXPECT_TRUE(SafeBool(value)) << SafeStr(value);
  }
}

TEST(SafeBoolTest, IsFalseForEverythingElse) {
  for (const Value& value : {Value("yes"), Value("False"), Value("0"), Value("0.0"), Value("T"), Value("1 1"), Long(0),
                             LongLong(0), Value(0.0), Value(-0.0), Value(std::nan("")), Value(Currency{0}),
                             Value(Decimal{"0.00"}), Value(Date{}), Value(false)}) {
    EXPECT_FALSE(SafeBool(value)) << SafeStr(value);
  }
}

TEST(SafeLngTest, RoundsHalvesToEven) {
  EXPECT_EQ(SafeLng("2.5"), 2);
  EXPECT_EQ(SafeLng("3.5"), 4);
  EXPECT_EQ(SafeLng("2.50000000000000000000000000001"), 3);
  EXPECT_EQ(SafeLng("-2.5"), -2);
  EXPECT_EQ(SafeLng("-3.5"), -4);
  EXPECT_EQ(SafeLng(2.5), 2);
  EXPECT_EQ(SafeLng(3.5), 4);
  EXPECT_EQ(SafeLng(-0.5), 0);
  EXPECT_EQ(SafeLng(-1.5), -2);
  EXPECT_EQ(SafeLng(0.49999999999999994), 0);
  EXPECT_EQ(SafeLng(Currency{25000}), 2);
  EXPECT_EQ(SafeLng(Currency{35000}), 4);
  EXPECT_EQ(SafeLng(Currency{-25000}), -2);
  EXPECT_EQ(SafeLng(Currency{-35001}), -4);
  EXPECT_EQ(SafeLng(Decimal{"2.5"}), 2);
  EXPECT_EQ(SafeLng(Decimal{"2.50000000000000000000000000000000001"}), 3);
  EXPECT_EQ(SafeLng(Decimal{"2.49999999999999999999999999999999999"}), 2);
}

TEST(SafeLngTest, HoldsTheWhole32BitRangeAndNothingBeyond) {
  EXPECT_EQ(SafeLng("2147483647"), 2147483647);
  EXPECT_EQ(SafeLng("-2147483648"), -2147483647 - 1);
  EXPECT_EQ(SafeLng(Decimal{"2147483647.49"}), 2147483647);
  EXPECT_EQ(SafeLng("2147483647.4999999999999"), 2147483647);
  for (const Value& value : {Value("3000000000"), Value("2147483648"), Value("2147483647.5"), Value("-2147483649"),
                             Value("1e10"), Value("99999999999999999999999999"), LongLong(2147483648),
                             Value(2147483647.5), Value(-2147483649.0), Value(1e300), Value(HUGE_VAL), Value(-HUGE_VAL),
                             Value(std::nan("")), Value(Decimal{"2147483647.5"}), Value(Currency{21474836475000})}) {
    EXPECT_EQ(SafeLng(value), 0) << SafeStr(value);
  }
}

TEST(SafeLngTest, TakesBooleansAndDates) {
  EXPECT_EQ(SafeLng(true), -1);
  EXPECT_EQ(SafeLng(false), 0);
  EXPECT_EQ(SafeLng(On(2000, 1, 1)), 36526);
  EXPECT_EQ(SafeLng(On(2000, 1, 1, 12)), 36526);
  EXPECT_EQ(SafeLng(On(2000, 1, 2, 12)), 36528);
}

TEST(SafeDblTest, ReadsNumbers) {
  EXPECT_EQ(SafeDbl(" +12.5 "), 12.5);
  EXPECT_EQ(SafeDbl("-.5"), -0.5);
  EXPECT_EQ(SafeDbl("5."), 5);
  EXPECT_EQ(SafeDbl("1e3"), 1000);
  EXPECT_EQ(SafeDbl(Decimal{"0.1"}), 0.1);
  EXPECT_EQ(SafeDbl(Decimal{"123456789012345678901234567890.12"}), 123456789012345678901234567890.12);
  EXPECT_EQ(SafeDbl(Currency{12345}), 1.2345);
  EXPECT_EQ(SafeDbl(LongLong(1LL << 40)), 1099511627776.0);
  EXPECT_EQ(SafeDbl(true), -1);
  EXPECT_EQ(SafeDbl(On(2000, 1, 1, 6)), 36526.25);
}

TEST(SafeDblTest, NumbersBeyondADoubleAreUnconvertible) {
  for (const Value& value : {Value("1e400"), Value("-1e400"), Value("1e99999999999999999999"),
                             Value(Decimal{std::string(400, '9')}), Value(HUGE_VAL), Value(std::nan(""))}) {
    EXPECT_EQ(SafeDbl(value), 0) << SafeStr(value);
  }
}

TEST(ParseNumberTest, RefusesWhatIsNotANumberAsAWhole) {
  for (const char* text : {"",         " ",    ".",  "+",        "-",     "+-1",  "--1", "1-",  "1,5", "1.2.3",
                           "1 2",      "e5",   "1e", "1e+",      "1e1.5", "0x10", "1f",  "inf", "nan", "NAN",
                           "infinity", "&H10", "$1", "\xD9\xA1", "1\t",   "\t1",  "1\n", "--",  "- 1"}) {
    EXPECT_FALSE(ParseNumber(text)) << text;
  }
  EXPECT_FALSE(ParseNumber(std::string_view("1\0", 2)));
}

TEST(ParseNumberTest, OddTextsNeverHarm) {
  constexpr std::string_view kAlphabet = "0123456789+-.eE  ,xnN";
  std::mt19937 random(20);  // NOLINT(cert-msc51-cpp) the same texts every time
  int numbers = 0;
  for (int i = 0; i < 50000; ++i) {
    std::string text;
    for (auto length = random() % 12; length > 0; --length) text += kAlphabet[random() % kAlphabet.size()];
    const auto number = ParseNumber(text);
    if (!number) continue;
    ++numbers;
    // What counts as a number is what the standard conversion reads as a whole, too.
    char* end = nullptr;
    const std::string trimmed(Trim(text));
    ASSERT_EQ(std::strtod(trimmed.c_str(), &end), *number) << text;
    ASSERT_EQ(*end, '\0') << text;
  }
  EXPECT_GT(numbers, 1000);
}

TEST(FormatDoubleTest, WritesTheFewestDigits) {
  EXPECT_EQ(FormatDouble(0), "0");
  EXPECT_EQ(FormatDouble(-0.0), "0");
  EXPECT_EQ(FormatDouble(0.5), "0.5");
  EXPECT_EQ(FormatDouble(2.5), "2.5");
  EXPECT_EQ(FormatDouble(-1), "-1");
  EXPECT_EQ(FormatDouble(100), "100");
  EXPECT_EQ(FormatDouble(0.1), "0.1");
  EXPECT_EQ(FormatDouble(1.0 / 3), "0.3333333333333333");
  EXPECT_EQ(FormatDouble(123456.789), "123456.789");
  EXPECT_EQ(FormatDouble(0.1 + 0.2), "0.30000000000000004");
}

TEST(FormatDoubleTest, TakesTheExponentFormAtBothEnds) {
  EXPECT_EQ(FormatDouble(0.0001), "0.0001");
  EXPECT_EQ(FormatDouble(0.00012), "0.00012");
  EXPECT_EQ(FormatDouble(0.00001), "1E-05");
  EXPECT_EQ(FormatDouble(0.000012), "1.2E-05");
  EXPECT_EQ(FormatDouble(999999999999999), "999999999999999");
  EXPECT_EQ(FormatDouble(1e14), "100000000000000");
  EXPECT_EQ(FormatDouble(1e15), "1E+15");
  EXPECT_EQ(FormatDouble(1234567890123456), "1.234567890123456E+15");
  EXPECT_EQ(FormatDouble(1e20), "1E+20");
  EXPECT_EQ(FormatDouble(-1.5e300), "-1.5E+300");
  EXPECT_EQ(FormatDouble(5e-324), "5E-324");
}

TEST(FormatDoubleTest, WhatIsNoNumberIsNeutral) {
  EXPECT_EQ(FormatDouble(HUGE_VAL), "0");
  EXPECT_EQ(FormatDouble(-HUGE_VAL), "0");
  EXPECT_EQ(FormatDouble(std::nan("")), "0");
}

TEST(FormatDoubleTest, EveryDoubleReadsBackTheSame) {
  std::mt19937_64 random(7);  // NOLINT(cert-msc51-cpp) the same numbers every time
  for (int i = 0; i < 20000; ++i) {
    const double number = std::bit_cast<double>(random());
    if (!std::isfinite(number)) continue;
    ASSERT_EQ(ParseNumber(FormatDouble(number)), number);
    const double common = static_cast<double>(static_cast<std::int64_t>(random() % 20000000) - 10000000) / 1000;
    ASSERT_EQ(ParseNumber(FormatDouble(common)), common);
  }
}

class DecimalComma : public std::numpunct<char> {
 public:
  DecimalComma() : std::numpunct<char>(1) {}  // owned by the test, not by the locale

 private:
  [[nodiscard]] char do_decimal_point() const override { return ','; }
  [[nodiscard]] char do_thousands_sep() const override { return '.'; }
  [[nodiscard]] std::string do_grouping() const override { return "\3"; }
};

TEST(ConversionsTest, DoNotHearTheLocale) {
  const DecimalComma comma;
  const std::locale before = std::locale::global(std::locale(std::locale(), &comma));
  const std::string number = FormatDouble(12345.5);
  const std::string amount = FormatCurrency({123455000});
  const double read = SafeDbl("12345.5");
  std::locale::global(before);
  EXPECT_EQ(number, "12345.5");
  EXPECT_EQ(amount, "12345.5");
  EXPECT_EQ(read, 12345.5);
}

TEST(FormatCurrencyTest, WritesTheExactDigits) {
  EXPECT_EQ(FormatCurrency({0}), "0");
  EXPECT_EQ(FormatCurrency({1}), "0.0001");
  EXPECT_EQ(FormatCurrency({-1}), "-0.0001");
  EXPECT_EQ(FormatCurrency({50000}), "5");
  EXPECT_EQ(FormatCurrency({1000000}), "100");
  EXPECT_EQ(FormatCurrency({123400}), "12.34");
  EXPECT_EQ(FormatCurrency({std::numeric_limits<std::int64_t>::max()}), "922337203685477.5807");
  EXPECT_EQ(FormatCurrency({std::numeric_limits<std::int64_t>::min()}), "-922337203685477.5808");
}

TEST(FormatDateTest, LeavesTheTimeOutOnlyOfADateOnlyMidnight) {
  Date date = On(2009, 3, 5);
  EXPECT_EQ(FormatDate(date), "2009-03-05 00:00:00");
  date.dateOnly = true;
  EXPECT_EQ(FormatDate(date), "2009-03-05");
  date.seconds += 1;
  EXPECT_EQ(FormatDate(date), "2009-03-05 00:00:01");
  EXPECT_EQ(FormatDate(Date{}), "1899-12-30 00:00:00");
  EXPECT_EQ(FormatDate(On(1, 1, 1)), "0001-01-01 00:00:00");
}

TEST(ParseDateTest, ReadsEveryForm) {
  const struct {
    const char* text;
    Date date;
  } kForms[] = {
      {"2009-03-05", On(2009, 3, 5)},
      {"2009-3-5", On(2009, 3, 5)},
      {" 2009-03-05 ", On(2009, 3, 5)},
      {"2009-03-05T07:08", On(2009, 3, 5, 7, 8)},
      {"2009-03-05T07:08:09", On(2009, 3, 5, 7, 8, 9)},
      {"2009-03-05T07:08:09Z", On(2009, 3, 5, 7, 8, 9)},
      {"2009-03-05T07:08:09.999Z", On(2009, 3, 5, 7, 8, 9)},
      {"2009-03-05 07:08:09.1234567", On(2009, 3, 5, 7, 8, 9)},
      {"2009-03-05  07:08", On(2009, 3, 5, 7, 8)},
      {"2009/03/05", On(2009, 3, 5)},
      {"2009/03/05 07:08:09", On(2009, 3, 5, 7, 8, 9)},
      {"5 March 2009", On(2009, 3, 5)},
      {"5 MARCH 2009 07:08", On(2009, 3, 5, 7, 8)},
      {"05 mar 2009", On(2009, 3, 5)},
      {"5-Mar-2009", On(2009, 3, 5)},
      {"March 5, 2009", On(2009, 3, 5)},
      {"March 5,2009", On(2009, 3, 5)},
      {"Mar 5 2009", On(2009, 3, 5)},
      {"September 30, 1999 23:59:59", On(1999, 9, 30, 23, 59, 59)},
      {"may 1, 2020", On(2020, 5, 1)},
      {"07:08", On(1899, 12, 30, 7, 8)},
      {"7:08:09", On(1899, 12, 30, 7, 8, 9)},
      {"23:59:59.5", On(1899, 12, 30, 23, 59, 59)},
      {"2024-02-29", On(2024, 2, 29)},
      {"0001-01-01", On(1, 1, 1)},
      {"9999-12-31T23:59:59", On(9999, 12, 31, 23, 59, 59)},
  };
  for (const auto& form : kForms) EXPECT_EQ(ParseDate(form.text), form.date) << form.text;
}

TEST(ParseDateTest, RefusesEverythingElse) {
  for (const char* text : {"",
                           " ",
                           "2009",
                           "2009-03",
                           "2009-03-",
                           "2009-13-01",
                           "2009-00-01",
                           "2009-02-29",
                           "2009-02-30",
                           "0000-01-01",
                           "10000-01-01",
                           "09-03-05",
                           "2009-03/05",
                           "2009/03-05",
                           "2009-03-05T",
                           "2009-03-05TT07:08",
                           "2009-03-05T7",
                           "2009-03-05T07:8",
                           "2009-03-05T24:00",
                           "2009-03-05T07:60",
                           "2009-03-05T07:08:60",
                           "2009-03-05T07:08:09.",
                           "2009-03-05T07:08:09+02:00",
                           "2009-03-05T07:08:09ZZ",
                           "2009-03-05x",
                           "2009-03-005",
                           "+2009-03-05",
                           "5-March",
                           "5 March",
                           "5-Mar 2009",
                           "5 Mar-2009",
                           "32 March 2009",
                           "5 Marc 2009",
                           "5 Ma 2009",
                           "5 Martch 2009",
                           "March 2009",
                           "March 5 09",
                           "March5, 2009",
                           "5March2009",
                           "07:08 2009-03-05",
                           "24:00",
                           "7",
                           "7:8",
                           ":08",
                           "07:",
                           "40000",
                           "1.5",
                           "yesterday",
                           "\xE2\x82\xAC",
                           "2009-03-05\t07:08"}) {
    EXPECT_FALSE(ParseDate(text)) << text;
  }
  EXPECT_FALSE(ParseDate(std::string_view("2009-03-05\0", 11)));
}

TEST(ParseDateTest, OddTextsNeverHarm) {
  constexpr std::string_view kPieces[] = {
      "2009", "-",  "/",  ":", "3", "05", "March", "mar", " ", ",", "T", "Z", ".", "0", "9999999999999999999999",
      "\xFF", "12", "31", "59"};
  std::mt19937 random(3);  // NOLINT(cert-msc51-cpp) the same texts every time
  int dates = 0;
  for (int i = 0; i < 100000; ++i) {
    std::string text;
    for (auto count = random() % 8; count > 0; --count) text += kPieces[random() % std::size(kPieces)];
    const auto date = ParseDate(text);
    if (!date) continue;
    ++dates;
    ASSERT_TRUE(date->IsInRange()) << text;
    ASSERT_EQ(ParseDate(FormatDate(*date)), date) << text;
  }
  EXPECT_GT(dates, 20);
}

TEST(SafeDateTest, TakesSerialNumbersAndTexts) {
  EXPECT_EQ(SafeDate(Long(36526)), On(2000, 1, 1));
  EXPECT_EQ(SafeDate(36526.5), On(2000, 1, 1, 12));
  EXPECT_EQ(SafeDate("36526.25"), On(2000, 1, 1, 6));
  EXPECT_EQ(SafeDate(Decimal{"36526.25"}), On(2000, 1, 1, 6));
  EXPECT_EQ(SafeDate("5 March 2009"), On(2009, 3, 5));
  EXPECT_EQ(SafeDate("-1"), On(1899, 12, 29));
  Date day = On(2009, 3, 5);
  day.dateOnly = true;
  EXPECT_EQ(SafeDate(day), day);
}

TEST(SafeDateTest, WhatIsNoDateIsTheZeroDate) {
  for (const Value& value : {Value("2009-02-30"), Value("1e300"), Value(1e300), Value(std::nan(""))}) {
    EXPECT_EQ(SafeDate(value), Date{}) << SafeStr(value);
  }
}

TEST(StrOfTest, ConvertsTheVariableItself) {
  Value number = 2.5;
  EXPECT_EQ(StrOf(number), "2.5");
  EXPECT_EQ(number, Value("2.5"));
  Value null = Null{};
  EXPECT_EQ(StrOf(null), "");
  EXPECT_EQ(null, Value(""));
  Value text = "as it is";
  EXPECT_EQ(&StrOf(text), text.GetIf<std::string>());
  EXPECT_EQ(text, Value("as it is"));
}

TEST(ZeroIfNegativeTest, ReplacesNumbersBelowZeroOnly) {
  EXPECT_EQ(ZeroIfNegative(Long(-5)), Long(0));
  EXPECT_EQ(ZeroIfNegative(Long(0)), Long(0));
  EXPECT_EQ(ZeroIfNegative(Long(120)), Long(120));
  EXPECT_EQ(ZeroIfNegative(-0.5), Long(0));
  EXPECT_EQ(ZeroIfNegative(0.5), Value(0.5));
  EXPECT_EQ(ZeroIfNegative(LongLong(-5)), Long(0));
  EXPECT_EQ(ZeroIfNegative(Currency{-1}), Long(0));
  EXPECT_EQ(ZeroIfNegative(Decimal{"-0.01"}), Long(0));
  EXPECT_EQ(ZeroIfNegative("text"), Value("text"));
  EXPECT_EQ(ZeroIfNegative(Value()), Value());
  EXPECT_EQ(ZeroIfNegative(Null{}), Value(Null{}));
}

TEST(PadNumberTest, PadsOrKeepsTheLastDigits) {
  EXPECT_EQ(PadNumber(5, 2), "05");
  EXPECT_EQ(PadNumber(2009, 4), "2009");
  EXPECT_EQ(PadNumber(12345, 2), "45");
  EXPECT_EQ(PadNumber(0, 3), "000");
  EXPECT_EQ(PadNumber(7, 0), "");
}

}  // namespace
}  // namespace ods
