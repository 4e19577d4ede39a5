#include "sqlformat/modFilterNumber.h"

#include <gtest/gtest.h>

namespace ods::test {
namespace {

std::string Scanned(std::string_view text, std::int64_t mostPlain = 40) {
  const std::optional<DecimalNumber> number = ScanDecimal(text);
  return number ? LayOut(*number, mostPlain) : "nothing";
}

TEST(FilterNumber, KeepsEveryDigitAndNothingElse) {
  EXPECT_EQ(Scanned("42"), "42");
  EXPECT_EQ(Scanned(" -007.50 "), "-7.5");
  EXPECT_EQ(Scanned("+.5"), "0.5");
  EXPECT_EQ(Scanned("5."), "5");
  EXPECT_EQ(Scanned("-0.00"), "0");
  EXPECT_EQ(Scanned("1E-05"), "0.00001");
  EXPECT_EQ(Scanned("1.25e+20"), "125000000000000000000");
  EXPECT_EQ(Scanned("18446744073709551615"), "18446744073709551615");
  EXPECT_EQ(Scanned("12345678901234567890.12345678901234567890"), "12345678901234567890.1234567890123456789");
  EXPECT_EQ(Scanned("0.00120"), "0.0012");
  EXPECT_EQ(Scanned("0e99"), "0");
}

TEST(FilterNumber, TakesTheExponentFormWhereThePlainOneIsLong) {
  EXPECT_EQ(Scanned("125", 2), "1.25E+2");
  EXPECT_EQ(Scanned("0.00125", 4), "1.25E-3");
  EXPECT_EQ(Scanned("0.00125", 5), "0.00125");
  EXPECT_EQ(Scanned("-7e300"), "-7E+300");
  EXPECT_EQ(Scanned("1e-400"), "1E-400");
  EXPECT_EQ(Scanned("1e99999999999999999999"), "1E+1000000000");
  EXPECT_EQ(Scanned("1e-99999999999999999999"), "1E-1000000000");
}

TEST(FilterNumber, IsNothingForAnyOtherText) {
  for (const std::string_view text : {"", " ", ".", "-", "+", "e5", "1e", "1e+", "1,5", "1.2.3", "0x10", "1 2", "--1",
                                      "NaN", "inf", "1_000", "\xD9\xA3", "7 OR 1=1", "1e5.0"}) {
    EXPECT_EQ(Scanned(text), "nothing") << text;
  }
}

std::string Cut(std::string_view text, const NumberLimits& limits) {
  DecimalNumber number = ScanDecimal(text).value();
  const int beyond = CutToLimits(number, limits);
  return LayOut(number, 100) + (beyond == 0 ? "" : beyond > 0 ? " above" : " below");
}

TEST(FilterNumber, IsCutTowardsZeroToItsLimits) {
  constexpr NumberLimits kLimits = {.before = 5, .behind = 3, .digits = 6};
  EXPECT_EQ(Cut("12345", kLimits), "12345");
  EXPECT_EQ(Cut("123456", kLimits), "99999 above");
  EXPECT_EQ(Cut("-123456", kLimits), "-99999 below");
  EXPECT_EQ(Cut("1.125", kLimits), "1.125");
  EXPECT_EQ(Cut("1.1259", kLimits), "1.125 above");
  EXPECT_EQ(Cut("-1.1259", kLimits), "-1.125 below");
  EXPECT_EQ(Cut("12345.67", kLimits), "12345.6 above");
  EXPECT_EQ(Cut("0.0005", kLimits), "0 above");
  EXPECT_EQ(Cut("-1e-99999", kLimits), "0 below");
  EXPECT_EQ(Cut("1e99999", kLimits), "99999 above");
  EXPECT_EQ(Cut("1.1000000000", kLimits), "1.1");
  EXPECT_EQ(Cut("100.0009", kLimits), "100 above");
}

template <typename Routine>
std::string CutToFloat(Routine routine, std::string_view text) {
  DecimalNumber number = ScanDecimal(text).value();
  const int beyond = routine(number);
  return LayOut(number, 19) + (beyond == 0 ? "" : beyond > 0 ? " above" : " below");
}

TEST(FilterNumber, IsCutToWhatFloatingPointNumbersComeTo) {
  EXPECT_EQ(CutToFloat(CutToDouble, "0.1"), "0.1");
  EXPECT_EQ(CutToFloat(CutToDouble, "0"), "0");
  EXPECT_EQ(CutToFloat(CutToDouble, "1.7976931348623157e308"), "1.7976931348623157E+308");
  EXPECT_EQ(CutToFloat(CutToDouble, "1e309"), "1.7976931348623157E+308 above");
  EXPECT_EQ(CutToFloat(CutToDouble, "-1e400"), "-1.7976931348623157E+308 below");
  EXPECT_EQ(CutToFloat(CutToDouble, "4.9e-324"), "4.9E-324");
  EXPECT_EQ(CutToFloat(CutToDouble, "1e-310"), "1E-310");
  EXPECT_EQ(CutToFloat(CutToDouble, "1e-400"), "0 above");
  EXPECT_EQ(CutToFloat(CutToDouble, "-1e-999999"), "0 below");
  EXPECT_EQ(CutToFloat(CutToSingle, "0.1"), "0.1");
  EXPECT_EQ(CutToFloat(CutToSingle, "1e-40"), "1E-40");
  EXPECT_EQ(CutToFloat(CutToSingle, "1e39"), "3.4028234663852886E+38 above");
  EXPECT_EQ(CutToFloat(CutToSingle, "-1e-60"), "0 below");
  EXPECT_EQ(CutToFloat(CutToDouble, "1" + std::string(5000, '0')), "1.7976931348623157E+308 above");
  EXPECT_EQ(CutToFloat(CutToDouble, "0." + std::string(5000, '3')).size(), 1000U + 1 + 3);
}

}  // namespace
}  // namespace ods::test
