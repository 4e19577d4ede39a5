#include "exact/ExactLiteral.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <sqlite3.h>

#include "common/Error.h"
#include "doubles/FakeSession.h"
#include "exact/ExactProduct.h"
#include "exact/ExactSession.h"
#include "support/RaisedErrors.h"

namespace ods::test {
namespace {

using Kind = ExactValue::Kind;
using ::testing::_;
using ::testing::HasSubstr;

class Literals : public ::testing::Test {
 protected:
  Literals() { Use("SQLite"); }
  void Use(std::string_view dbmsName) {
    fake_.session.exact = std::make_shared<ExactSession>();
    fake_.session.exact->product = &ExactProductOf(dbmsName);
  }
  [[nodiscard]] std::string Number(LiteralStyle style, const std::string& text) const {
    return ExactLiteral(fake_.session, style, {Kind::kNumber, text});
  }
  [[nodiscard]] std::string Text(LiteralStyle style, const std::string& text) const {
    return ExactLiteral(fake_.session, style, {Kind::kText, text});
  }
  [[nodiscard]] std::string OfBytes(LiteralStyle style, const std::string& bytes) const {
    return ExactLiteral(fake_.session, style, {Kind::kBytes, bytes});
  }

  FakeSession fake_{DatabaseKind::DbUnknown};
};

/// Texts that would be something else than a literal if they came into a statement as they are.
const std::vector<std::string> kHostile = {"",
                                           "1 OR 1=1",
                                           "1;",
                                           "1--",
                                           "1/*",
                                           "'",
                                           "1'",
                                           "0x1F",
                                           "1e",
                                           "NaN",
                                           "Infinity",
                                           "1\n2",
                                           std::string("1\0", 2),
                                           "1E5E5",
                                           "(1)",
                                           "-",
                                           "--1",
                                           "1-1",
                                           "$1",
                                           "?",
                                           "{fn now()}",
                                           "1,2",
                                           "\xC2\xA0"
                                           "1",
                                           "1 ",
                                           "2020-01-01'",
                                           "\xFF"};

TEST_F(Literals, ANumberIsItsDigits) {
  EXPECT_EQ(Number(LiteralStyle::kNumber, "18446744073709551615"), "18446744073709551615");
  EXPECT_EQ(Number(LiteralStyle::kNumber, "-12.50"), "-12.50");
  EXPECT_EQ(Text(LiteralStyle::kNumber, "1E+300"), "1E+300");
}

TEST_F(Literals, ASingleIsTheDoubleThatItIs) {
  EXPECT_EQ(Number(LiteralStyle::kSingle, "0.1"), "1.0000000149011612e-01");
  EXPECT_EQ(Number(LiteralStyle::kSingle, "16777217"), "1.6777216000000000e+07");
  EXPECT_EQ(Number(LiteralStyle::kSingle, "3.4028235E+38"), "3.4028234663852886e+38");
  EXPECT_EQ(Number(LiteralStyle::kSingle, "1E+39"), "1E+39");
}

TEST_F(Literals, NothingButANumberStandsForOne) {
  for (const std::string& text : kHostile) {
    for (const LiteralStyle style : {LiteralStyle::kNumber, LiteralStyle::kSingle}) {
      EXPECT_RAISES(Number(style, text), error_number::kTypeMismatch, _) << text;
      EXPECT_RAISES(Text(style, text), error_number::kTypeMismatch, _) << text;
    }
    EXPECT_RAISES(OfBytes(LiteralStyle::kNumber, "1"), error_number::kTypeMismatch, _);
    if (text == "Infinity") continue;
    EXPECT_RAISES(Number(LiteralStyle::kByKind, text), error_number::kTypeMismatch, _) << text;
  }
}

TEST_F(Literals, AQuotedTextHasItsApostrophesDoubled) {
  EXPECT_EQ(Text(LiteralStyle::kQuoted, "it's \\ \"x\" {d"), "'it''s \\ \"x\" {d'");
  EXPECT_EQ(Number(LiteralStyle::kQuoted, "12.50"), "'12.50'");
  EXPECT_EQ(Text(LiteralStyle::kQuoted, ""), "''");
  fake_.Use(DatabaseKind::DbNavision);
  EXPECT_EQ(Text(LiteralStyle::kQuoted, "{d"), "'{'+'d'");
}

TEST_F(Literals, ATextBeyondAsciiIsANationalOneOfMicrosoftSqlServer) {
  Use("Microsoft SQL Server");
  EXPECT_EQ(Text(LiteralStyle::kQuoted, "it's"), "'it''s'");
  EXPECT_EQ(Text(LiteralStyle::kQuoted, "\xC3\xA9's"), "N'\xC3\xA9''s'");
  Use("PostgreSQL");
  EXPECT_EQ(Text(LiteralStyle::kQuoted, "\xC3\xA9"), "'\xC3\xA9'");
}

TEST_F(Literals, AQuotedTextIsWhatAStatementCanCarry) {
  EXPECT_RAISES(Text(LiteralStyle::kQuoted, std::string("a\0b", 3)), error_number::kOwn, HasSubstr("NUL"));
  EXPECT_RAISES(Text(LiteralStyle::kQuoted, "a\xFF"), error_number::kTypeMismatch, _);
  EXPECT_RAISES(OfBytes(LiteralStyle::kQuoted, "a"), error_number::kTypeMismatch, _);
  Use("MariaDB");
  EXPECT_EQ(Text(LiteralStyle::kQuoted, std::string("a\0'", 3)), "_utf8mb4 0x610027");
}

TEST_F(Literals, BytesAreHexadecimalDigits) {
  const std::string bytes("\0'\xFF", 3);
  EXPECT_EQ(OfBytes(LiteralStyle::kBytes, bytes), "0x0027FF");
  EXPECT_EQ(OfBytes(LiteralStyle::kHexText, bytes), "'0027FF'");
  EXPECT_EQ(OfBytes(LiteralStyle::kByKind, bytes), "X'0027FF'");
  EXPECT_EQ(OfBytes(LiteralStyle::kBytes, ""), "0x");
  for (const char* product : {"MariaDB", "PostgreSQL"}) {
    Use(product);
    EXPECT_EQ(OfBytes(LiteralStyle::kBytes, ""), "''");
  }
  for (const LiteralStyle style : {LiteralStyle::kBytes, LiteralStyle::kHexText}) {
    EXPECT_RAISES(Text(style, "00"), error_number::kTypeMismatch, _);
    EXPECT_RAISES(Number(style, "00"), error_number::kTypeMismatch, _);
  }
}

TEST_F(Literals, DatesAndTimesAreEscapes) {
  EXPECT_EQ(Text(LiteralStyle::kDate, "2020-02-29"), "{d '2020-02-29'}");
  EXPECT_EQ(Text(LiteralStyle::kTime, "10:11:12"), "{t '10:11:12'}");
  EXPECT_EQ(Text(LiteralStyle::kTime, "10:11:12.5"), "{t '10:11:12.5'}");
  EXPECT_EQ(Text(LiteralStyle::kTimeStamp, "2020-02-29 10:11:12"), "{ts '2020-02-29 10:11:12'}");
  EXPECT_EQ(Text(LiteralStyle::kTimeStamp, "2020-02-29 10:11:12.000001"), "{ts '2020-02-29 10:11:12.000001'}");
}

TEST_F(Literals, NothingButADateStandsForOne) {
  std::vector<std::string> texts = kHostile;
  for (const char* each : {"2020-02-29 ", "2020-2-29", "2020-02-29'}", "02020-02-29", "10:11:12.", "10:11:12.5'",
                           "10:11:12.5 ", "10:11", "2020-02-29 10:11:12.", "2020-02-29T10:11:12",
                           "2020-02-29 10:11:12.1.1", "2020-02-29 10:11:12 +00:00", "-020-02-29"}) {
    texts.emplace_back(each);
  }
  for (const std::string& text : texts) {
    for (const LiteralStyle style : {LiteralStyle::kDate, LiteralStyle::kTime, LiteralStyle::kTimeStamp}) {
      EXPECT_RAISES(Text(style, text), error_number::kTypeMismatch, _) << text;
    }
  }
  EXPECT_RAISES(Number(LiteralStyle::kDate, "2020-02-29"), error_number::kTypeMismatch, _);
}

TEST_F(Literals, NullHasNone) {
  for (int style = 0; style <= static_cast<int>(LiteralStyle::kByKind); ++style) {
    EXPECT_RAISES(ExactLiteral(fake_.session, static_cast<LiteralStyle>(style), {}), error_number::kTypeMismatch, _);
  }
}

TEST_F(Literals, AnErrorNamesTheValueButNotAllOfALongOne) {
  EXPECT_RAISES(Number(LiteralStyle::kNumber, "12x"), error_number::kTypeMismatch, HasSubstr("'12x'"));
  const auto error = ErrorOf([&] { (void)Number(LiteralStyle::kNumber, std::string(10000, 'x')); });
  ASSERT_TRUE(error);
  EXPECT_LT(error->Description().size(), 200U);
}

// ---- SQLite ----

TEST_F(Literals, OfSqliteAreOfTheKindOfTheValue) {
  EXPECT_EQ(Number(LiteralStyle::kByKind, "1"), "1");
  EXPECT_EQ(Number(LiteralStyle::kByKind, "-9223372036854775808"), "-9223372036854775808");
  EXPECT_EQ(Number(LiteralStyle::kByKind, "1E+00"), "1.0000000000000000e+00");
  EXPECT_EQ(Number(LiteralStyle::kByKind, "9223372036854775808"), "9.2233720368547758e+18");
  EXPECT_EQ(Number(LiteralStyle::kByKind, "Infinity"), "9e999");
  EXPECT_EQ(Number(LiteralStyle::kByKind, "-Infinity"), "-9e999");
  EXPECT_EQ(Text(LiteralStyle::kByKind, "1"), "'1'");
  EXPECT_EQ(Text(LiteralStyle::kByKind, std::string("a\0'\0", 4)), "('a'||char(0)||''''||char(0)||'')");
  EXPECT_EQ(Text(LiteralStyle::kByKind, std::string("'\xFF\0", 3)), "(''||CAST(X'27FF00' AS TEXT))");
  EXPECT_RAISES(Number(LiteralStyle::kByKind, "NaN"), error_number::kTypeMismatch, _);
}

/// A double of any bits that is a number.
double AnyDouble(std::mt19937_64& random) {
  double number = 0;
  do {
    const std::uint64_t bits = random();
    std::memcpy(&number, &bits, sizeof number);
  } while (!std::isfinite(number));
  return number;
}

TEST_F(Literals, OfRealsAreReadBySqliteAsTheSame) {
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open(":memory:", &database), SQLITE_OK);
  const auto evaluate = [&](const std::string& expression) {
    sqlite3_stmt* statement = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(database, ("SELECT " + expression).c_str(), -1, &statement, nullptr), SQLITE_OK)
        << expression;
    EXPECT_EQ(sqlite3_step(statement), SQLITE_ROW);
    EXPECT_EQ(sqlite3_column_type(statement, 0), SQLITE_FLOAT) << expression;
    const double number = sqlite3_column_double(statement, 0);
    sqlite3_finalize(statement);
    return number;
  };
  std::mt19937_64 random(20240101);
  std::uniform_real_distribution<double> ordinary(-1000, 1000);
  int wrong = 0;
  for (int i = 0; i < 40000 && wrong < 5; ++i) {
    const double number = i % 2 == 0 ? AnyDouble(random) : ordinary(random);
    const ExactValue value = ExactValueOf(number, ado_type::kDouble);
    // As SQLite's columns are read: with an exponent, which tells a real.
    const bool real = value.text.find_first_of(".E") != std::string::npos;
    const double read = evaluate(Number(LiteralStyle::kByKind, real ? value.text : value.text + "E+00"));
    if (read == number) continue;
    ++wrong;
    ADD_FAILURE() << value.text << " is read as " << ExactValueOf(read, ado_type::kDouble).text;
  }
  sqlite3_close(database);
}

}  // namespace
}  // namespace ods::test
