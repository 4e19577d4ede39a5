#include "sqlformat/modSafeVal.h"

#include <clocale>
#include <gtest/gtest.h>
#include <locale>

#include "doubles/FakeSession.h"
#include "support/RaisedErrors.h"

namespace ods::test {
namespace {

using ::testing::_;

const std::string kTypedTable = "[TABLE]t";

/// The literal of a value for a column of a type on a product.
std::string Literal(DatabaseKind kind, std::int32_t type, const Value& value) {
  FakeSession fake(kind);
  fake.Describe(kTypedTable, {{"f", type, 16, 0}});
  return SafeVal(fake.session, kTypedTable, "f", value);
}

std::string Literal(std::int32_t type, const Value& value) { return Literal(DatabaseKind::DbSqlServer, type, value); }

Date Moment() { return *Date::FromParts({2009, 3, 5, 14, 7, 9}); }

struct LiteralCase {
  std::int32_t type;
  Value value;
  std::string literal;
};

TEST(SafeVal, WritesEveryTypeOfColumn) {
  const LiteralCase cases[] = {
      {ado_type::kBoolean, true, "1"},
      {ado_type::kLongVarWChar, "a{b", "'a{b'"},
      {ado_type::kGUID, "{0A}", "'{0A}'"},
      {ado_type::kChar, 12, "'12'"},
      {ado_type::kInteger, "42", "42"},
      {ado_type::kSmallInt, "-7", "-7"},
      {ado_type::kInteger, "abc", "0"},
      {ado_type::kInteger, "2.5", "2"},
      {ado_type::kInteger, "1; DROP TABLE x", "0"},
      {ado_type::kSingle, 1e-7, "1E-07"},
      {ado_type::kNumeric, Decimal{"12.50"}, "12.5"},
      {ado_type::kNumeric, "1 OR 1=1", "0"},
      {ado_type::kDBDate, "no date", "{d '1899-12-30'}"},
      {ado_type::kDBTime, "", "{t '00:00:00'}"},
      {ado_type::kDBTimeStamp, "2009-03-05T14:07:09.75", "{ts '2009-03-05 14:07:09'}"},
      {ado_type::kDBTimeStamp, *Date::FromParts({33, 1, 2, 3, 4, 5}), "{ts '0033-01-02 03:04:05'}"},
      {ado_type::kBinary, Bytes{0x0A, 0x1B}, "0x0A1B"},
      {ado_type::kLongVarBinary, "", "0x"},
      {ado_type::kVarBinary, Bytes{}, "0x"},
  };
  for (const LiteralCase& expected : cases) {
    EXPECT_EQ(Literal(expected.type, expected.value), expected.literal) << "type " << expected.type;
  }
}

TEST(SafeVal, DoublesTheApostrophesOfText) {
  EXPECT_EQ(Literal(ado_type::kVarChar, "O'Brien"), "'O''Brien'");
  EXPECT_EQ(Literal(ado_type::kVarWChar, "''"), "''''''");
}

TEST(SafeVal, AnEmptyValueOfATextColumnIsTheEmptyText) {
  for (const Value& empty : {Value(), Value(Null()), Value("")}) {
    EXPECT_EQ(Literal(ado_type::kVarWChar, empty), "''");
  }
}

TEST(SafeVal, AnIntegerBeyondThirtyTwoBitsIsZeroInEveryIntegerColumn) {
  for (const std::int32_t type : {ado_type::kInteger, ado_type::kBigInt, ado_type::kUnsignedBigInt}) {
    EXPECT_EQ(Literal(type, std::int64_t{5'000'000'000}), "0");
    EXPECT_EQ(Literal(type, "5000000000"), "0");
    EXPECT_EQ(Literal(type, std::int64_t{2147483648LL}), "0");
    EXPECT_EQ(Literal(type, std::int64_t{2147483647LL}), "2147483647");
    EXPECT_EQ(Literal(type, std::int64_t{-2147483648LL}), "-2147483648");
    EXPECT_EQ(Literal(type, std::int64_t{-2147483649LL}), "0");
  }
}

/// A comma as decimal separator, for C++ always and for C where the system has such a locale.
class DecimalComma {
 public:
  DecimalComma() : before_(std::locale::global(std::locale(std::locale::classic(), &punctuation_))) {
    for (const char* name : {"de_DE.UTF-8", "fr_FR.UTF-8", "da_DK.UTF-8"}) {
      if (std::setlocale(LC_NUMERIC, name) != nullptr) break;
    }
  }
  ~DecimalComma() {
    std::locale::global(before_);
    std::setlocale(LC_NUMERIC, "C");
  }
  DecimalComma(const DecimalComma&) = delete;
  DecimalComma& operator=(const DecimalComma&) = delete;
  DecimalComma(DecimalComma&&) = delete;
  DecimalComma& operator=(DecimalComma&&) = delete;

 private:
  struct Punctuation final : std::numpunct<char> {
    Punctuation() : std::numpunct<char>(1) {}  // a facet that its locales leave alone
    [[nodiscard]] char do_decimal_point() const override { return ','; }
    [[nodiscard]] std::string do_grouping() const override { return "\3"; }
  };
  Punctuation punctuation_;
  std::locale before_;
};

TEST(SafeVal, AFloatHasADecimalPointWhateverTheSystemsSeparator) {
  const DecimalComma comma;
  EXPECT_EQ(Literal(ado_type::kDouble, 2.5), "2.5");
  EXPECT_EQ(Literal(ado_type::kDouble, "2.5"), "2.5");
  EXPECT_EQ(Literal(ado_type::kDouble, 1250000.25), "1250000.25");
  EXPECT_EQ(Literal(ado_type::kDouble, 1e20), "1E+20");
  EXPECT_EQ(Literal(ado_type::kDouble, "1E20"), "1E+20");
}

TEST(SafeVal, ABooleanTextIsTrueOrZero) {
  EXPECT_EQ(Literal(ado_type::kBoolean, "True"), "1");
  for (const char* text : {"yes", "", "False", "0"}) EXPECT_EQ(Literal(ado_type::kBoolean, text), "0") << text;
}

TEST(SafeVal, AMomentIsADateATimeOrBothByTheColumn) {
  EXPECT_EQ(Literal(ado_type::kDBTimeStamp, Moment()), "{ts '2009-03-05 14:07:09'}");
  EXPECT_EQ(Literal(ado_type::kDate, Moment()), "{d '2009-03-05'}");
  EXPECT_EQ(Literal(ado_type::kDBDate, Moment()), "{d '2009-03-05'}");
  EXPECT_EQ(Literal(ado_type::kDBTime, Moment()), "{t '14:07:09'}");
}

TEST(SafeVal, HexadecimalTextOfABinaryColumnIsWrittenInUpperCase) {
  EXPECT_EQ(Literal(ado_type::kVarBinary, "0a1b"), "0x0A1B");
}

TEST(SafeVal, KeepsBracesApartOnNavision) {
  EXPECT_EQ(Literal(DatabaseKind::DbNavision, ado_type::kVarChar, "{x}"), "'{'+'x}'");
  EXPECT_EQ(Literal(DatabaseKind::DbNavision, ado_type::kVarChar, "a{b"), "'a{'+'b'");
  EXPECT_EQ(Literal(DatabaseKind::DbNavision, ado_type::kVarChar, "'{'"), "'''{'+''''");
}

TEST(SafeVal, OnPervasiveOnlyTheFixedBinaryTypeStandsInApostrophes) {
  EXPECT_EQ(Literal(DatabaseKind::DbPervasive, ado_type::kBinary, "0a1b"), "'0A1B'");
  EXPECT_EQ(Literal(DatabaseKind::DbPervasive, ado_type::kVarBinary, "0a1b"), "0x0A1B");
  EXPECT_EQ(Literal(DatabaseKind::DbPervasive, ado_type::kLongVarBinary, "0a1b"), "0x0A1B");
}

TEST(SafeVal, ANumberForABinaryColumnIsNotAnArray) {
  EXPECT_RAISES(Literal(ado_type::kVarBinary, 7), 1000,
                "SafeVal_Binary: Value is not an array. Type is Long. Value is 7");
  EXPECT_RAISES(Literal(ado_type::kVarBinary, "0g"), error_number::kTypeMismatch, _);
}

TEST(SafeVal, AColumnOfTypeZeroIsAnUnsupportedDatatype) {
  EXPECT_RAISES(Literal(ado_type::kEmpty, "x"), 1000, "Unsupported datatype in SafeVal funciton: Empty");
}

TEST(SafeVal, NamesTheTypeThatTheTypeTableLacks) {
  EXPECT_RAISES(Literal(ado_type::kVariant, "x"), _, "The data type 12 is not in the type table.");
}

TEST(SafeVal, RefusesTextThatNoStatementCanCarry) {
  EXPECT_RAISES(Literal(ado_type::kVarChar, std::string("a\0b", 3)), 1000, _);
}

TEST(SafeVal, FailsForAnUnknownField) {
  FakeSession fake;
  fake.Describe(kTypedTable, {{"f", ado_type::kInteger, 4, 0}});
  EXPECT_RAISES(SafeVal(fake.session, kTypedTable, "g", 1), error_number::kObjectMissing, _);
}

std::string Column(DatabaseKind kind, std::int32_t type, std::int64_t size = 16) {
  FakeSession fake(kind);
  fake.Describe(kTypedTable, {{"a]\"`", type, size, 0}});
  return SafeQuote(fake.session, kTypedTable, "a]\"`");
}

TEST(SafeQuote, QuotesTheNameAsTheProductWants) {
  EXPECT_EQ(Column(DatabaseKind::DbSqlServer, ado_type::kVarChar), "[a]]\"`]");
  EXPECT_EQ(Column(DatabaseKind::DbMySql, ado_type::kInteger), "`a]\"```");
  EXPECT_EQ(Column(DatabaseKind::DbUnknown, ado_type::kDouble), "\"a]\"\"`\"");
}

TEST(SafeQuote, TrimsTextOnConcordeOnly) {
  EXPECT_EQ(Column(DatabaseKind::DbConcorde, ado_type::kVarChar), "RTRIM(LTRIM(\"a]\"\"`\"))");
  EXPECT_EQ(Column(DatabaseKind::DbConcorde, ado_type::kInteger), "\"a]\"\"`\"");
}

TEST(SafeQuote, CastsIdentifiersOfSixteenBytesOnPervasiveOnly) {
  EXPECT_EQ(Column(DatabaseKind::DbPervasive, ado_type::kBinary), "CAST(\"a]\"\"`\" AS BINARY(16))");
  EXPECT_EQ(Column(DatabaseKind::DbPervasive, ado_type::kVarBinary, 17), "\"a]\"\"`\"");
  EXPECT_EQ(Column(DatabaseKind::DbUnknown, ado_type::kBinary), "\"a]\"\"`\"");
}

TEST(SafeQuote, NamesTheFieldThatTheTableLacks) {
  FakeSession fake;
  fake.Describe(kTypedTable, {{"f", ado_type::kInteger, 4, 0}});
  EXPECT_RAISES(
      SafeQuote(fake.session, kTypedTable, "g'--"), 1000,
      "Unable to get information about field 'g'--' in table '[TABLE]t'. Please make sure that the field exist.");
}

TEST(SafeQuote, RefusesColumnsWithoutLiterals) {
  EXPECT_RAISES(Column(DatabaseKind::DbSqlServer, ado_type::kEmpty), 1000,
                "Unknown datatype in SafeQuote function: Empty");
}

}  // namespace
}  // namespace ods::test
