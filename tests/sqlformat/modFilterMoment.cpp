#include "sqlformat/modFilterMoment.h"

#include <gtest/gtest.h>

namespace ods::test {
namespace {

using Parser = std::optional<FilterMoment> (*)(std::string_view, const MomentRules&);

std::string Parsed(Parser parse, std::string_view text, const MomentRules& rules = {}) {
  const std::optional<FilterMoment> moment = parse(text, rules);
  if (!moment) return "nothing";
  return moment->text + (moment->beyond == 0 ? "" : moment->beyond > 0 ? " above" : " below");
}

constexpr MomentRules kMariaDb = {.zeroDates = true, .longTimes = true, .fractionDigits = 6};
constexpr MomentRules kPostgreSql = {.farDates = true, .zoned = true, .fractionDigits = 6};

TEST(FilterMoment, IsTheCanonicalTextOfADate) {
  EXPECT_EQ(Parsed(ParseFilterDate, "2024-02-29"), "2024-02-29");
  EXPECT_EQ(Parsed(ParseFilterDate, " 0001-01-01 "), "0001-01-01");
  EXPECT_EQ(Parsed(ParseFilterDate, "9999-12-31"), "9999-12-31");
  EXPECT_EQ(Parsed(ParseFilterDate, "2000-02-29T00:00:00.000"), "2000-02-29");
  EXPECT_EQ(Parsed(ParseFilterDate, "2000-02-29 00:00"), "2000-02-29");
}

TEST(FilterMoment, IsNothingForADateThatNoCalendarHas) {
  for (const std::string_view text : {"",
                                      "2023-02-29",
                                      "1900-02-29",
                                      "2024-02-30",
                                      "2024-04-31",
                                      "2024-13-01",
                                      "2024-00-01",
                                      "2024-01-00",
                                      "0000-01-01",
                                      "0000-00-00",
                                      "10000-01-01",
                                      "-0001-01-01",
                                      "2024-1-1",
                                      "24-01-01",
                                      "2024/01/01",
                                      "29.02.2024",
                                      "2024-01-01x",
                                      "2024-01-01T",
                                      "2024-01-01T12:00:00",
                                      "2024-01-01 00:00:00.001",
                                      "2024-01-01 00:00:00Z",
                                      "infinity",
                                      "0044-03-15 BC",
                                      "now",
                                      "2024-01-01' OR 1=1 --",
                                      "\xD9\xA3"}) {
    EXPECT_EQ(Parsed(ParseFilterDate, text), "nothing") << text;
  }
}

TEST(FilterMoment, KeepsEveryDigitOfAFraction) {
  EXPECT_EQ(Parsed(ParseFilterTimeStamp, "2024-02-05T07:08:09.123456789"), "2024-02-05 07:08:09.123456789");
  EXPECT_EQ(Parsed(ParseFilterTimeStamp, "2024-02-05 07:08:09.500"), "2024-02-05 07:08:09.5");
  EXPECT_EQ(Parsed(ParseFilterTimeStamp, "2024-02-05 07:08:09.000"), "2024-02-05 07:08:09");
  EXPECT_EQ(Parsed(ParseFilterTimeStamp, "2024-02-05 07:08:09.500", {.keepsZeros = true}), "2024-02-05 07:08:09.500");
  EXPECT_EQ(Parsed(ParseFilterTimeStamp, "2024-02-05 07:08"), "2024-02-05 07:08:00");
  EXPECT_EQ(Parsed(ParseFilterTimeStamp, "2024-02-05"), "2024-02-05 00:00:00");
  EXPECT_EQ(Parsed(ParseFilterTimeStamp, "2024-02-05 07:08:09.1234567", kPostgreSql),
            "2024-02-05 07:08:09.123456 above");
  EXPECT_EQ(Parsed(ParseFilterTimeStamp, "2024-02-05 07:08:09.1234560", kPostgreSql), "2024-02-05 07:08:09.123456");
  EXPECT_EQ(Parsed(ParseFilterTime, "07:08:09.0000001", kMariaDb), "07:08:09 above");
  EXPECT_EQ(Parsed(ParseFilterTime, "-07:08:09.0000001", kMariaDb), "-07:08:09 below");
}

TEST(FilterMoment, IsNothingForATimeThatNoDayHas) {
  for (const std::string_view text :
       {"", "7:08", "07:8", "24:00:00", "23:60", "23:59:60", "12", "12:00:00.", "12:00.5", "12:00:00.1234567890",
        "-01:00:00", "100:00:00", "12:00:00Z", "12:00:00+02", "12:00:00 PM", "2024-01-01"}) {
    EXPECT_EQ(Parsed(ParseFilterTime, text), "nothing") << text;
    EXPECT_EQ(Parsed(ParseFilterTimeStamp, "2024-01-01 " + std::string(text) + "x"), "nothing") << text;
    if (!text.empty()) {
      EXPECT_EQ(Parsed(ParseFilterTimeStamp, "2024-01-01 " + std::string(text)), "nothing") << text;
    }
  }
  EXPECT_EQ(Parsed(ParseFilterTime, "23:59:59"), "23:59:59");
}

TEST(FilterMoment, HasAZoneWhereTheTypeHas) {
  EXPECT_EQ(Parsed(ParseFilterTimeStamp, "2024-02-05T07:08:09Z", kPostgreSql), "2024-02-05 07:08:09+00");
  EXPECT_EQ(Parsed(ParseFilterTimeStamp, "2024-02-05 07:08:09.5-0330", kPostgreSql), "2024-02-05 07:08:09.5-03:30");
  EXPECT_EQ(Parsed(ParseFilterTimeStamp, "2024-02-05 07:08+05:45", kPostgreSql), "2024-02-05 07:08:00+05:45");
  EXPECT_EQ(Parsed(ParseFilterTime, "07:08:09+02", kPostgreSql), "07:08:09+02");
  EXPECT_EQ(Parsed(ParseFilterTime, "07:08:09+00:19:32", kPostgreSql), "07:08:09+00:19:32");
  for (const std::string_view text : {"07:08:09+2", "07:08:09+16", "07:08:09+02:60", "07:08:09+02:00:00:00",
                                      "07:08:09 CET", "07:08:09++02", "07:08:09+0260", "07:08:09+02x"}) {
    EXPECT_EQ(Parsed(ParseFilterTime, text, kPostgreSql), "nothing") << text;
  }
}

TEST(FilterMoment, HasWhatTheProductHasBesides) {
  EXPECT_EQ(Parsed(ParseFilterDate, "0000-00-00", kMariaDb), "0000-00-00");
  EXPECT_EQ(Parsed(ParseFilterDate, "2024-02-00", kMariaDb), "2024-02-00");
  EXPECT_EQ(Parsed(ParseFilterDate, "2023-02-29", kMariaDb), "nothing");
  EXPECT_EQ(Parsed(ParseFilterDate, "2024-00-32", kMariaDb), "nothing");
  EXPECT_EQ(Parsed(ParseFilterTimeStamp, "0000-00-00 00:00:00", kMariaDb), "0000-00-00 00:00:00");
  EXPECT_EQ(Parsed(ParseFilterTimeStamp, "2024-01-01 -01:00:00", kMariaDb), "nothing");
  EXPECT_EQ(Parsed(ParseFilterTimeStamp, "2024-01-01 100:00:00", kMariaDb), "nothing");
  EXPECT_EQ(Parsed(ParseFilterTime, "-838:59:59.000000", kMariaDb), "-838:59:59");
  EXPECT_EQ(Parsed(ParseFilterTime, "839:00:00", kMariaDb), "nothing");
  EXPECT_EQ(Parsed(ParseFilterDate, "-infinity", kPostgreSql), "-infinity");
  EXPECT_EQ(Parsed(ParseFilterTimeStamp, "Infinity", kPostgreSql), "infinity");
  EXPECT_EQ(Parsed(ParseFilterDate, "0005-02-29 BC", kPostgreSql), "0005-02-29 BC");
  EXPECT_EQ(Parsed(ParseFilterDate, "0004-02-29 BC", kPostgreSql), "nothing");
  EXPECT_EQ(Parsed(ParseFilterDate, "5000-01-01 BC", kPostgreSql), "nothing");
  EXPECT_EQ(Parsed(ParseFilterDate, "5874897-12-31", kPostgreSql), "5874897-12-31");
  EXPECT_EQ(Parsed(ParseFilterTimeStamp, "294276-12-31 23:59:59", kPostgreSql), "294276-12-31 23:59:59");
  EXPECT_EQ(Parsed(ParseFilterTimeStamp, "294277-01-01", kPostgreSql), "nothing");
  EXPECT_EQ(Parsed(ParseFilterTimeStamp, "0044-03-15 12:00:00+00 BC", kPostgreSql), "0044-03-15 12:00:00+00 BC");
  EXPECT_EQ(Parsed(ParseFilterTime, "24:00:00", kPostgreSql), "24:00:00");
  EXPECT_EQ(Parsed(ParseFilterTime, "24:00:01", kPostgreSql), "nothing");
  EXPECT_EQ(Parsed(ParseFilterTimeStamp, "2024-01-01 24:00:00", kPostgreSql), "nothing");
  EXPECT_EQ(Parsed(ParseFilterDate, "0000-01-01", {.zeroYear = true}), "0000-01-01");
}

}  // namespace
}  // namespace ods::test
