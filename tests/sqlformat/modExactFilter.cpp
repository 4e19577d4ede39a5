#include "sqlformat/modExactFilter.h"

#include <gtest/gtest.h>

#include "doubles/FakeSession.h"
#include "exact/ExactProduct.h"
#include "exact/ExactSession.h"
#include "sqlformat/FilterTexts.h"
#include "support/RaisedErrors.h"

namespace ods::test {
namespace {

struct Shape {
  const char* name;
  ValueClass valueClass;
  LiteralStyle literal;
  std::int32_t adoType = ado_type::kVarWChar;
  const char* typeName = "";
  std::int64_t size = 0;
};

/// Columns as they are made for a product that brings texts into the column's type.
const std::vector<Shape> kTypedColumns = {
    {"Id", ValueClass::kInteger, LiteralStyle::kQuoted},
    {"Amount", ValueClass::kDecimal, LiteralStyle::kQuoted},
    {"Weight", ValueClass::kFloat, LiteralStyle::kQuoted, ado_type::kDouble},
    {"Share", ValueClass::kFloat, LiteralStyle::kQuoted, ado_type::kSingle},
    {"Blocked", ValueClass::kBoolean, LiteralStyle::kQuoted},
    {"Born", ValueClass::kDate, LiteralStyle::kQuoted},
    {"Lunch", ValueClass::kTime, LiteralStyle::kQuoted, ado_type::kDBTime, "time"},
    {"Changed", ValueClass::kTimeStamp, LiteralStyle::kQuoted, ado_type::kDBTimeStamp, "timestamp"},
    {"Zoned", ValueClass::kTimeStamp, LiteralStyle::kQuoted, ado_type::kDBTimeStamp, "timestamptz"},
    {"Uuid", ValueClass::kGuid, LiteralStyle::kQuoted},
    {"Code", ValueClass::kBytes, LiteralStyle::kBytes},
    {"Name", ValueClass::kText, LiteralStyle::kQuoted},
    {"Net", ValueClass::kOther, LiteralStyle::kQuoted},
};
/// The same for one that takes numbers as digits.
const std::vector<Shape> kPlainColumns = {
    {"Id", ValueClass::kInteger, LiteralStyle::kNumber},
    {"Amount", ValueClass::kDecimal, LiteralStyle::kNumber, ado_type::kNumeric, "decimal", 65},
    {"Weight", ValueClass::kFloat, LiteralStyle::kNumber, ado_type::kDouble},
    {"Share", ValueClass::kFloat, LiteralStyle::kSingle, ado_type::kSingle},
    {"Blocked", ValueClass::kBoolean, LiteralStyle::kNumber},
    {"Born", ValueClass::kDate, LiteralStyle::kDate},
    {"Lunch", ValueClass::kTime, LiteralStyle::kTime},
    {"Changed", ValueClass::kTimeStamp, LiteralStyle::kTimeStamp},
    {"Name", ValueClass::kText, LiteralStyle::kQuoted},
};
/// The same for one whose columns hold anything.
const std::vector<Shape> kLooseColumns = {
    {"Id", ValueClass::kInteger, LiteralStyle::kByKind},
    {"Amount", ValueClass::kDecimal, LiteralStyle::kByKind},
    {"Weight", ValueClass::kFloat, LiteralStyle::kByKind},
    {"Blocked", ValueClass::kBoolean, LiteralStyle::kByKind},
    {"Born", ValueClass::kDate, LiteralStyle::kByKind},
    {"Lunch", ValueClass::kTime, LiteralStyle::kByKind},
    {"Changed", ValueClass::kTimeStamp, LiteralStyle::kByKind},
    {"Code", ValueClass::kBytes, LiteralStyle::kByKind},
    {"Name", ValueClass::kText, LiteralStyle::kByKind},
    {"Any", ValueClass::kOther, LiteralStyle::kByKind},
};

class ExactFilter : public ::testing::Test {
 protected:
  void SetUp() override { Use(kTypedColumns, "PostgreSQL"); }

  void Use(const std::vector<Shape>& columns, const char* product, DatabaseKind kind = DatabaseKind::DbUnknown) {
    fake_ = std::make_unique<FakeSession>(kind);
    fake_->session.exact = std::make_shared<ExactSession>();
    fake_->session.exact->product = &ExactProductOf(product);
    ExactTable& table = fake_->session.exact->tables[kFilteredTable];
    for (const Shape& shape : columns) {
      ExactColumn column;
      column.name = shape.name;
      column.adoType = shape.adoType;
      column.typeName = shape.typeName;
      column.size = shape.size;
      column.valueClass = shape.valueClass;
      const std::string quoted = fake_->session.QuotePrefix + shape.name + fake_->session.QuoteSuffix;
      column.read = quoted;
      column.text = shape.valueClass == ValueClass::kText ? quoted : "TEXT(" + quoted + ")";
      OrderTerm& order = column.order.emplace();
      order.expression = order.read = quoted;
      order.literal = shape.literal;
      table.columns.push_back(std::move(column));
    }
  }
  [[nodiscard]] ExactColumn& Column(const std::string& name) {
    for (ExactColumn& column : fake_->session.exact->tables[kFilteredTable].columns) {
      if (column.name == name) return column;
    }
    throw std::logic_error(name);
  }

  [[nodiscard]] std::string Where(const std::string& conditions) {
    const XmlDocument request("<XML><Filter>" + conditions + "</Filter></XML>");
    std::string step;
    return BuildExactFilter(fake_->session, kFilteredTable, request.DocumentElement(), step);
  }
  [[nodiscard]] static std::string Element(const std::string& field, const std::string& op, const std::string& more) {
    return "<Condition><FieldId>" + field + "</FieldId><FilterOp>" + op + "</FilterOp>" + more + "</Condition>";
  }
  /// A condition with `Filter`, without the parentheses around it.
  [[nodiscard]] std::string Ask(const std::string& field, const std::string& op, const std::string& filter) {
    return Bare(Where(Element(field, op, "<Filter>" + filter + "</Filter>")));
  }
  /// The same with `Value` elements.
  [[nodiscard]] std::string AskValues(const std::string& field, const std::string& op,
                                      const std::vector<std::string>& values) {
    std::string more = "<Filter>passed over</Filter>";
    for (const std::string& value : values) more += "<Value>" + value + "</Value>";
    return Bare(Where(Element(field, op, more)));
  }
  [[nodiscard]] std::string Search(const std::string& fields, const std::string& text) {
    const XmlDocument request("<XML><SearchFields>" + fields + "</SearchFields></XML>");
    return BuildExactSearch(fake_->session, kFilteredTable, request.DocumentElement(), text);
  }
  /// "no value" when the text is refused with the error that says so.
  [[nodiscard]] std::string Refused(const std::string& field, const std::string& value, const std::string& type) {
    const std::string wanted =
        "The value \"" + value + "\" of the filter on field \"" + field + "\" is not a value of the type " + type + ".";
    try {
      return AskValues(field, "eq", {EscapeXml(value)});
    } catch (const Error& error) {
      return error.Number() == 1000 && error.Description() == wanted ? "no value" : error.Description();
    }
  }

  static std::string Bare(const std::string& condition) {
    EXPECT_TRUE(condition.starts_with('(') && condition.ends_with(')')) << condition;
    return condition.substr(1, condition.size() - 2);
  }

  std::unique_ptr<FakeSession> fake_;
};

TEST_F(ExactFilter, IsEmptyWithoutConditions) { EXPECT_EQ(Where(""), ""); }

TEST_F(ExactFilter, WritesEveryOperator) {
  EXPECT_EQ(Ask("Name", "eq", "Ann"), R"("Name" = 'Ann')");
  EXPECT_EQ(Ask("Name", "", "Ann|Bob"), R"("Name" IN ('Ann', 'Bob'))");
  EXPECT_EQ(Ask("Name", "lt", "A|B"), R"("Name" < 'A' OR "Name" < 'B')");
  EXPECT_EQ(Ask("Name", "gt", "A"), R"("Name" > 'A')");
  EXPECT_EQ(Ask("Name", "lteq", "A"), R"("Name" <= 'A')");
  EXPECT_EQ(Ask("Name", "gteq", "A"), R"("Name" >= 'A')");
  EXPECT_EQ(Ask("Name", "not", "Ann"), R"("Name" <> 'Ann')");
  EXPECT_EQ(Ask("Name", "not", "Ann|Bob"), R"("Name" NOT IN ('Ann', 'Bob'))");
  EXPECT_EQ(Ask("Name", "like", "A%|B_"), R"("Name" LIKE 'A%' OR "Name" LIKE 'B_')");
  EXPECT_EQ(Ask("Name", "null", ""), R"("Name" IS NULL)");
  EXPECT_EQ(Ask("Name", "notnull", "whatever"), R"("Name" IS NOT NULL)");
  EXPECT_EQ(Ask("Name", "between", "a|b"), R"("Name" >= 'a' AND "Name" <= 'b')");
  EXPECT_EQ(Ask("Name", "contains", "a|b"), R"("Name" LIKE '%a%' ESCAPE '!' OR "Name" LIKE '%b%' ESCAPE '!')");
  EXPECT_EQ(Ask("Name", "startswith", "a"), R"("Name" LIKE 'a%' ESCAPE '!')");
  EXPECT_EQ(Ask("Name", "endswith", "a"), R"("Name" LIKE '%a' ESCAPE '!')");
}

TEST_F(ExactFilter, JoinsConditionsWithAnd) {
  EXPECT_EQ(Where(Element("Id", "gt", "<Filter>1</Filter>") + Element("Name", "", "<Value>x</Value>")),
            R"(("Id" > 1) AND ("Name" = 'x'))");
}

TEST_F(ExactFilter, TakesEachValueElementAsItIs) {
  EXPECT_EQ(AskValues("Name", "eq", {"a|b"}), R"("Name" = 'a|b')");
  EXPECT_EQ(AskValues("Name", "eq", {"a|b", "", "c"}), R"("Name" IN ('a|b', '', 'c'))");
  EXPECT_EQ(AskValues("Name", "eq", {""}), R"("Name" = '')");
  EXPECT_EQ(AskValues("Name", "eq", {" "}), R"("Name" = ' ')");
  EXPECT_EQ(AskValues("Id", "not", {"1", "2"}), R"("Id" NOT IN (1, 2))");
  EXPECT_EQ(AskValues("Name", "between", {"a|b", "c|d"}), R"("Name" >= 'a|b' AND "Name" <= 'c|d')");
  EXPECT_EQ(AskValues("Name", "contains", {"a|b"}), R"("Name" LIKE '%a|b%' ESCAPE '!')");
}

TEST_F(ExactFilter, SplitsFilterForEveryClassOfType) {
  EXPECT_EQ(Ask("Id", "eq", "1|2|3"), R"("Id" IN (1, 2, 3))");
  EXPECT_EQ(Ask("Born", "eq", "2009-03-05|2009-03-06"), R"("Born" IN ('2009-03-05', '2009-03-06'))");
  EXPECT_EQ(Ask("Code", "eq", "0a1b|FF"), R"("Code" IN (0x0A1B, 0xFF))");
  EXPECT_EQ(Ask("Name", "eq", "a||b"), R"("Name" IN ('a', '', 'b'))");
  EXPECT_EQ(Ask("Name", "eq", ""), R"("Name" = '')");
}

TEST_F(ExactFilter, WritesNumbersAsDigitsWhereTextsTakeTheTypeOfTheColumn) {
  EXPECT_EQ(Ask("Id", "eq", "99999999999"), R"("Id" = 99999999999)");
  EXPECT_EQ(Ask("Id", "lt", " -007 "), R"("Id" < -7)");
  EXPECT_EQ(Ask("Id", "eq", "18446744073709551616"), R"("Id" = 18446744073709551616)");
  EXPECT_EQ(Ask("Amount", "eq", "12345678901234567890.12345678901234567890"),
            R"("Amount" = 12345678901234567890.1234567890123456789)");
  EXPECT_EQ(Ask("Amount", "eq", "1E-05"), R"("Amount" = 0.00001)");
  EXPECT_EQ(Ask("Amount", "eq", "NaN|-Infinity"), R"("Amount" IN ('NaN', '-Infinity'))");
  EXPECT_EQ(Ask("Weight", "eq", "1E-05|0.1"), R"("Weight" IN ('0.00001', '0.1'))");
  EXPECT_EQ(Ask("Weight", "eq", "nan"), R"("Weight" = 'NaN')");
  EXPECT_EQ(Ask("Weight", "eq", "1e20"), R"("Weight" = '1E+20')");
  EXPECT_EQ(Ask("Share", "eq", "0.1"), R"("Share" = '0.1')");
}

TEST_F(ExactFilter, ANumberThatNoColumnHoldsIsEqualToNoneAndStillCompared) {
  EXPECT_EQ(Ask("Weight", "eq", "1e400"), "1=0");
  EXPECT_EQ(Ask("Weight", "eq", "1e400|2"), R"("Weight" = '2')");
  EXPECT_EQ(Ask("Weight", "not", "1e400"), R"("Weight" IS NOT NULL)");
  EXPECT_EQ(Ask("Weight", "lt", "1e400"), R"("Weight" <= '1.7976931348623157E+308')");
  EXPECT_EQ(Ask("Weight", "lteq", "1e400"), R"("Weight" <= '1.7976931348623157E+308')");
  EXPECT_EQ(Ask("Weight", "gt", "1e400"), R"("Weight" > '1.7976931348623157E+308')");
  EXPECT_EQ(Ask("Weight", "gteq", "1e400"), R"("Weight" > '1.7976931348623157E+308')");
  EXPECT_EQ(Ask("Weight", "lt", "-1e400"), R"("Weight" < '-1.7976931348623157E+308')");
  EXPECT_EQ(Ask("Weight", "gteq", "-1e400"), R"("Weight" >= '-1.7976931348623157E+308')");
  EXPECT_EQ(Ask("Weight", "gt", "1e-400"), R"("Weight" > '0')");
  EXPECT_EQ(Ask("Weight", "gteq", "1e-400"), R"("Weight" > '0')");
  EXPECT_EQ(Ask("Weight", "lteq", "1e-400"), R"("Weight" <= '0')");
  EXPECT_EQ(Ask("Weight", "lt", "-1e-400"), R"("Weight" < '0')");
  EXPECT_EQ(Ask("Weight", "between", "-1e400|1e400"),
            R"("Weight" >= '-1.7976931348623157E+308' AND "Weight" <= '1.7976931348623157E+308')");
  EXPECT_EQ(Ask("Share", "lt", "1e39"), R"("Share" <= '3.4028234663852886E+38')");
  EXPECT_EQ(Ask("Amount", "eq", "1e999999|1e-999999"), "1=0");
  EXPECT_EQ(Ask("Changed", "eq", "2024-02-05 07:08:09.1234567"), "1=0");
  EXPECT_EQ(Ask("Changed", "lt", "2024-02-05 07:08:09.1234567"), R"("Changed" <= '2024-02-05 07:08:09.123456')");
}

TEST_F(ExactFilter, RefusesWhatCannotBeAValueOfTheColumn) {
  for (const char* text : {"", " ", "abc", "1.5", "1e5", "1,5", "0x10", "1 OR 1=1", "NaN", "--1", "\xD9\xA3"}) {
    EXPECT_EQ(Refused("Id", text, "integer"), "no value") << text;
  }
  for (const char* text : {"", "abc", "1.2.3", "1e", "1,5", "0x1F", "1)--"}) {
    EXPECT_EQ(Refused("Amount", text, "decimal"), "no value") << text;
    EXPECT_EQ(Refused("Weight", text, "float"), "no value") << text;
  }
  for (const char* text : {"", "yes", "2", "-1"}) {
    EXPECT_EQ(Refused("Blocked", text, "boolean"), "no value") << text;
  }
  for (const char* text : {"", "2023-02-29", "2024-02-05 07:08:09", "abc", "45000", "12:00:00"}) {
    EXPECT_EQ(Refused("Born", text, "date"), "no value") << text;
  }
  for (const char* text : {"", "25:00", "12:00:00+02", "noon", "2024-02-05"}) {
    EXPECT_EQ(Refused("Lunch", text, "time"), "no value") << text;
  }
  for (const char* text :
       {"", "2023-02-29 12:00:00", "2024-01-01 12:00:00Z", "2024-01-01 12:00:00+02", "now()", "12:00"}) {
    EXPECT_EQ(Refused("Changed", text, "timestamp"), "no value") << text;
  }
  for (const char* text : {"", "0a1b2c3d-0000-4000-8000-00000000000", "0a1b2c3d-0000-4000-8000-00000000000g",
                           "{0a1b2c3d-0000-4000-8000-000000000001", "0a1b2c3d00004000800000000000001", "x"}) {
    EXPECT_EQ(Refused("Uuid", text, "guid"), "no value") << text;
  }
  for (const char* text : {"0", "0G", "0x0A", "A B", "'"}) {
    EXPECT_EQ(Refused("Code", text, "binary"), "no value") << text;
  }
}

TEST_F(ExactFilter, RefusesOneBadValueAmongGoodOnes) {
  EXPECT_RAISES(Ask("Id", "eq", "1|x|3"), 1000,
                "The value \"x\" of the filter on field \"Id\" is not a value of the type integer.");
  EXPECT_RAISES(Ask("Id", "between", "1|"), 1000,
                "The value \"\" of the filter on field \"Id\" is not a value of the type integer.");
  EXPECT_RAISES(Ask("Id", "lt", "1|2|3|4|five"), 1000,
                "The value \"five\" of the filter on field \"Id\" is not a value of the type integer.");
}

TEST_F(ExactFilter, ShowsTheBeginningOfALongValueInWholeCharacters) {
  std::string text = "x";
  for (int i = 0; i < 200; ++i) text += "\xC3\x98";
  const std::string shown = text.substr(0, 199);
  EXPECT_RAISES(AskValues("Id", "eq", {text}), 1000,
                "The value \"" + shown + "...\" of the filter on field \"Id\" is not a value of the type integer.");
}

TEST_F(ExactFilter, TakesTheFormsOfEveryClass) {
  EXPECT_EQ(Ask("Blocked", "eq", "1|0|true|FALSE"), R"("Blocked" IN ('1', '0', '1', '0'))");
  EXPECT_EQ(Ask("Born", "gteq", "2024-02-29"), R"("Born" >= '2024-02-29')");
  EXPECT_EQ(Ask("Lunch", "eq", "12:30|12:30:00.250"), R"("Lunch" IN ('12:30:00', '12:30:00.25'))");
  EXPECT_EQ(Ask("Changed", "eq", "2024-02-05|2024-02-05T07:08:09.5"),
            R"("Changed" IN ('2024-02-05 00:00:00', '2024-02-05 07:08:09.5'))");
  EXPECT_EQ(Ask("Zoned", "eq", "2024-02-05T07:08:09Z|2024-02-05 07:08:09+02|2024-02-05 07:08:09"),
            R"("Zoned" IN ('2024-02-05 07:08:09+00', '2024-02-05 07:08:09+02', '2024-02-05 07:08:09'))");
  EXPECT_EQ(Ask("Uuid", "eq", "{0A1B2C3D-0000-4000-8000-000000000001}"),
            R"("Uuid" = '0A1B2C3D-0000-4000-8000-000000000001')");
  EXPECT_EQ(Ask("Code", "eq", "00fF27"), R"("Code" = 0x00FF27)");
  EXPECT_EQ(Ask("Code", "eq", ""), R"("Code" = '')");
  EXPECT_EQ(Ask("Net", "eq", "10.0.0.0/8"), R"("Net" = '10.0.0.0/8')");
  EXPECT_EQ(Ask("Born", "eq", "infinity|0044-03-15 BC"), R"("Born" IN ('infinity', '0044-03-15 BC'))");
}

TEST_F(ExactFilter, WritesTheLiteralsOfOtherProducts) {
  Use(kPlainColumns, "", DatabaseKind::DbSqlServer);
  EXPECT_EQ(Ask("Id", "eq", "9223372036854775807"), "[Id] = 9223372036854775807");
  EXPECT_EQ(Ask("Id", "lt", std::string(60, '9')), "[Id] <= " + std::string(38, '9'));
  EXPECT_EQ(Ask("Amount", "eq", std::string(65, '9')), "[Amount] = " + std::string(65, '9'));
  EXPECT_EQ(Ask("Amount", "gt", std::string(66, '9')), "[Amount] > " + std::string(65, '9'));
  EXPECT_EQ(Ask("Amount", "eq", "1." + std::string(39, '3')), "1=0");
  EXPECT_EQ(Ask("Amount", "lt", "-1." + std::string(39, '3')), "[Amount] < -1." + std::string(38, '3'));
  EXPECT_EQ(Ask("Weight", "eq", "0.1|1e300"), "[Weight] IN (0.1, 1E+300)");
  EXPECT_EQ(Ask("Weight", "gt", "1e309"), "[Weight] > 1.7976931348623157E+308");
  EXPECT_EQ(Refused("Weight", "NaN", "float"), "no value");
  EXPECT_EQ(Refused("Amount", "Infinity", "decimal"), "no value");
  EXPECT_EQ(Ask("Blocked", "eq", "true"), "[Blocked] = 1");
  EXPECT_EQ(Ask("Born", "eq", "2024-02-05"), "[Born] = {d '2024-02-05'}");
  EXPECT_EQ(Ask("Lunch", "eq", "12:30"), "[Lunch] = {t '12:30:00'}");
  EXPECT_EQ(Ask("Changed", "gt", "2024-02-05T07:08:09.1234567"), "[Changed] > {ts '2024-02-05 07:08:09.1234567'}");
  EXPECT_EQ(Refused("Born", "0000-00-00", "date"), "no value");
  EXPECT_EQ(Refused("Lunch", "-01:00:00", "time"), "no value");
}

TEST_F(ExactFilter, TakesTheOddDatesOfMariaDb) {
  Use({{"Born", ValueClass::kDate, LiteralStyle::kQuoted},
       {"Lunch", ValueClass::kTime, LiteralStyle::kQuoted},
       {"Changed", ValueClass::kTimeStamp, LiteralStyle::kQuoted}},
      "MariaDB", DatabaseKind::DbMySql);
  EXPECT_EQ(Ask("Born", "eq", "0000-00-00"), "`Born` = '0000-00-00'");
  EXPECT_EQ(Ask("Lunch", "gt", "-838:59:59"), "`Lunch` > '-838:59:59'");
  EXPECT_EQ(Ask("Changed", "eq", "2024-00-00 00:00:00.5"), "`Changed` = '2024-00-00 00:00:00.5'");
  EXPECT_EQ(Refused("Born", "2023-02-29", "date"), "no value");
  EXPECT_EQ(Refused("Born", "infinity", "date"), "no value");
}

TEST_F(ExactFilter, ComparesColumnsThatHoldAnythingWithWhatTheTextMayBe) {
  Use(kLooseColumns, "SQLite");
  EXPECT_EQ(Ask("Id", "eq", "5|-9223372036854775808"), R"("Id" IN (5, -9223372036854775808))");
  EXPECT_EQ(Ask("Id", "eq", "1.5"), R"("Id" = 1.5000000000000000e+00)") << "which an integer column may hold";
  EXPECT_EQ(Refused("Id", "abc", "integer"), "no value");
  EXPECT_EQ(Refused("Weight", "NaN", "float"), "no value");
  EXPECT_EQ(Ask("Weight", "eq", "-Infinity"), R"("Weight" = -9e999)");
  EXPECT_EQ(Ask("Id", "gt", "1e400"), R"("Id" > 1.7976931348623157e+308)");
  EXPECT_EQ(Ask("Blocked", "eq", "true"), R"("Blocked" = 1)");
  EXPECT_EQ(Ask("Code", "eq", "00ff"), R"("Code" = X'00FF')");
  EXPECT_EQ(Ask("Name", "eq", "5"), R"("Name" = '5')");
  EXPECT_EQ(Ask("Any", "eq", "5"), R"("Any" IN (5, '5'))");
  EXPECT_EQ(Ask("Any", "not", "x"), R"("Any" <> 'x')");
  // A date is a text there: as it is written canonically, and as the client has it.
  EXPECT_EQ(Ask("Born", "eq", "2024-02-05"), R"("Born" = '2024-02-05')");
  EXPECT_EQ(Ask("Born", "eq", "2024-02-05 07:08:09"), R"("Born" = '2024-02-05 07:08:09')");
  EXPECT_EQ(Ask("Changed", "eq", "2024-02-05T07:08:09.500"),
            R"("Changed" IN ('2024-02-05 07:08:09.500', '2024-02-05T07:08:09.500'))");
  EXPECT_EQ(Ask("Changed", "not", "2024-02-05"), R"("Changed" NOT IN ('2024-02-05 00:00:00', '2024-02-05'))");
  EXPECT_EQ(Ask("Changed", "lt", "2024-02-05T07:08"), R"("Changed" < '2024-02-05 07:08:00')");
  EXPECT_EQ(Ask("Changed", "eq", "1707116889"), R"("Changed" = 1707116889)");
  EXPECT_EQ(Refused("Changed", "2023-02-29", "timestamp"), "no value");
  EXPECT_EQ(Ask("Lunch", "eq", "12:30:00"), R"("Lunch" = '12:30:00')");
}

TEST_F(ExactFilter, ComparesWithWhatIsMeantForConditions) {
  Column("Name").order->expression = R"(("Name"+0))";
  Column("Name").order->literal = LiteralStyle::kNumber;
  Column("Name").compared = Operand{R"("Name")", LiteralStyle::kQuoted};
  EXPECT_EQ(Ask("Name", "lt", "large"), R"("Name" < 'large')");
  EXPECT_EQ(Ask("Name", "eq", "small|large"), R"("Name" IN ('small', 'large'))");
  // Without an order there is the text.
  Column("Net").order.reset();
  EXPECT_EQ(Ask("Net", "eq", "{}"), R"(TEXT("Net") = '{}')");
  EXPECT_EQ(Ask("Net", "null", ""), R"("Net" IS NULL)");
}

TEST_F(ExactFilter, LooksForPatternsInTheTextsOfAllColumns) {
  EXPECT_EQ(Ask("Id", "like", "1%"), R"(TEXT("Id") LIKE '1%')");
  EXPECT_EQ(Ask("Born", "startswith", "2024-"), R"(TEXT("Born") LIKE '2024-%' ESCAPE '!')");
  EXPECT_EQ(Ask("Id", "contains", "abc"), R"(TEXT("Id") LIKE '%abc%' ESCAPE '!')");
}

TEST_F(ExactFilter, TakesWildcardsInAValueForCharacters) {
  EXPECT_EQ(AskValues("Name", "contains", {"50%_!|[x]\\'"}), R"("Name" LIKE '%50!%!_!!|[x]\''%' ESCAPE '!')");
  EXPECT_EQ(Ask("Name", "startswith", ""), R"("Name" LIKE '%' ESCAPE '!')");
  Use(kPlainColumns, "", DatabaseKind::DbSqlServer);
  EXPECT_EQ(Ask("Name", "endswith", "[x]%"), "[Name] LIKE '%![x]!%' ESCAPE '!'");
}

TEST_F(ExactFilter, AsksTheTextOfAColumnThatIsNeverNull) {
  Column("Born").nullable = false;
  EXPECT_EQ(Ask("Born", "null", ""), R"(TEXT("Born") IS NULL)");
  EXPECT_EQ(Ask("Born", "notnull", ""), R"(TEXT("Born") IS NOT NULL)");
}

TEST_F(ExactFilter, NamesWhatIsWrong) {
  EXPECT_RAISES(Ask("Name", "EQ", "a"), 1000, "There is no filter operator \"EQ\".");
  EXPECT_RAISES(Ask("Name", "flowfilter", "a"), 1000, "There is no filter operator \"flowfilter\".");
  EXPECT_RAISES(Ask("Missing", "eq", "a"), 1000,
                "Unable to get information about field 'Missing' in table '[TABLE]Customer'. Please make sure that the "
                "field exist.");
  EXPECT_RAISES(Ask("Name", "between", "a"), 1000,
                "The filter on field \"Name\" has 1 values: the operator \"between\" takes two.");
  EXPECT_RAISES(AskValues("Name", "between", {"a", "b", "c"}), 1000,
                "The filter on field \"Name\" has 3 values: the operator \"between\" takes two.");
}

TEST_F(ExactFilter, KeepsHostileTextInsideItsLiteral) {
  EXPECT_EQ(Ask("Name", "eq", "x'; DROP TABLE c; --"), R"("Name" = 'x''; DROP TABLE c; --')");
  EXPECT_EQ(Ask("Name", "like", "'"), R"("Name" LIKE '''')");
  EXPECT_EQ(Ask("Name", "contains", "' ESCAPE '"), R"("Name" LIKE '%'' ESCAPE ''%' ESCAPE '!')");
  EXPECT_EQ(Ask("Net", "eq", "'::inet OR 1=1 --"), R"("Net" = '''::inet OR 1=1 --')");
}

TEST_F(ExactFilter, WritesTheFlowFilterEscapeWhereTheProductHasIt) {
  Use(kPlainColumns, "", DatabaseKind::DbNavision);
  EXPECT_EQ(Ask("Location Filter", "flowfilter", "A|{B'"),
            "{pred SetFlowFilter, 'Customer', 'Location Filter', 'A'} OR "
            "{pred SetFlowFilter, 'Customer', 'Location Filter', '{'+'B'''}");
  EXPECT_EQ(AskValues("Location Filter", "flowfilter", {"A|B"}),
            "{pred SetFlowFilter, 'Customer', 'Location Filter', 'A|B'}");
}

TEST_F(ExactFilter, SearchesInTheFoldedTextsOfAllColumns) {
  EXPECT_EQ(Search("<Field><Id>Name</Id><SearchString>%{0}%</SearchString></Field>"
                   "<Field><Id>Id</Id><SearchString>{0}{0}</SearchString></Field>"
                   "<Field><Id>Missing</Id><SearchString/></Field>",
                   "o'x"),
            R"(((UCASE("Name") LIKE UCASE('%o''x%')) OR (UCASE(TEXT("Id")) LIKE UCASE('o''xo''x'))))");
  EXPECT_EQ(Search("", "x"), "");
  EXPECT_EQ(Search("<Field><Id>Name</Id><SearchString/></Field>", "x"), "");
  EXPECT_RAISES(Search("<Field><Id>Missing</Id><SearchString>{0}</SearchString></Field>", "x"), 1000, ::testing::_);
  Use(kPlainColumns, "", DatabaseKind::DbUnnamed);
  EXPECT_EQ(Search("<Field><Id>Name</Id><SearchString>{0}</SearchString></Field>", "a"), R"((("Name" LIKE 'a')))");
}

TEST_F(ExactFilter, IsBounded) {
  EXPECT_RAISES(Ask("Name", "eq", Repeat("abcd|", 3'000'000)), 1000, kTooLong);
  EXPECT_RAISES(Ask("Name", "lt", Repeat("|", 2'000'000)), 1000, kTooLong);
  EXPECT_RAISES(Ask("Name", "contains", Repeat("%", 10'000'000)), 1000, kTooLong);
  EXPECT_RAISES(Where(Repeat(Element("Name", "", "<Value>" + Repeat("x", 1'000'000) + "</Value>"), 17)), 1000,
                kTooLong);
  EXPECT_RAISES(Search("<Field><Id>Name</Id><SearchString>" + Repeat("{0}", 1'000'000) + "</SearchString></Field>",
                       Repeat("x", 1'000'000)),
                1000, kTooLong);
  EXPECT_NO_THROW(static_cast<void>(Ask("Name", "eq", Repeat("|", 100'000))));
  EXPECT_NO_THROW(static_cast<void>(Ask("Id", "eq", Repeat("1|", 100'000) + "1")));
}

}  // namespace
}  // namespace ods::test
