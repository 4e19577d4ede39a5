// Filters of exact paging on real databases: every operator on every type finds the rows that the database finds by a
// statement of the test's own, in which the value is cast to the type, and patterns are cut out of the text.
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

#include "common/Conversions.h"
#include "common/Text.h"
#include "e2e/ServerProcess.h"
#include "platform/ado/Ado.h"

namespace ods::test {
namespace {

using Texts = std::vector<std::string>;

/// A type, values of it, and what is asked for.
struct TypeCase {
  const char* type;
  Texts rows;   ///< as the product's own literals
  Texts asked;  ///< as a client writes them, in their order
  /// The value in the test's statement: "{}" is what the client writes.
  const char* value = "'{}'";
  const char* compared = "v";  ///< what it is compared with
  const char* text = nullptr;  ///< the column as a text, where that is not the product's usual
};

struct Product {
  const char* name;
  const char* variable;  ///< of the scratch database; nullptr for a file of the test's own
  const char* text;      ///< the column as a text
  const char* fold;      ///< what LIKE does to both sides
  const char* position;  ///< function for the place of a text in another
  const char* length;    ///< function for the number of characters
  std::vector<TypeCase> types;
};

const Product kPostgreSql = {
    .name = "PostgreSQL",
    .variable = "ODS_TEST_POSTGRESQL_SCRATCH",
    .text = "CAST(v AS text)",
    .fold = "",
    .position = "strpos",
    .length = "length",
    .types =
        {
            {"smallint",
             {"-32768", "0", "7", "32767"},
             {"-99999999999999999999999999", "-32768", "0", "7", "32767", "32768", "99999999999999999999"},
             "CAST('{}' AS numeric)"},
            {"integer",
             {"-2147483648", "0", "7", "2147483647"},
             {"-2147483649", "7", "2147483647", "99999999999"},
             "CAST('{}' AS numeric)"},
            {"bigint",
             {"-9223372036854775808", "9007199254740993", "9223372036854775807"},
             {"-9223372036854775809", "9007199254740992", "9007199254740993", "9223372036854775807",
              "1" + std::string(50, '0')},
             "CAST('{}' AS numeric)"},
            {"oid",
             {"0", "5", "4294967295"},
             {"-1", "0", "5", "4294967295", "99999999999"},
             "CAST('{}' AS numeric)",
             "CAST(CAST(v AS bigint) AS numeric)"},
            {"numeric(20, 10)",
             {"-1.5", "0.0000000001", "1234567890.0123456789", "1"},
             {"-1.5", "0", "1E-10", "0.00000000015", "1.00", "1234567890.0123456789", "1E+99"},
             "CAST('{}' AS numeric)"},
            {"numeric",
             {"12345678901234567890123456789012345678901234567890.12345678901234567890", "0.1", "'NaN'", "'Infinity'",
              "'-Infinity'", "1e1000"},
             {"-Infinity", "0.1", "12345678901234567890123456789012345678901234567890.12345678901234567890",
              "12345678901234567890123456789012345678901234567890.12345678901234567891", "1E+1000", "Infinity", "NaN"},
             "CAST('{}' AS numeric)"},
            {"real",
             {"0.1", "-0.1", "'NaN'", "'Infinity'", "3.4028235e38", "1e-45", "16777217"},
             {"-0.1", "1E-45", "0.1", "0.10000000149011612", "16777216", "3.4028235E+38", "Infinity", "NaN"},
             "CAST('{}' AS real)"},
            {"double precision",
             {"0.1", "-1e308", "'NaN'", "'-Infinity'", "5e-324", "123456789.12345678"},
             {"-Infinity", "-1E+308", "5E-324", "0.1", "0.1000000000000000055511", "123456789.12345678", "NaN"},
             "CAST('{}' AS double precision)"},
            {"boolean",
             {"true", "false"},
             {"0", "1", "true", "FALSE"},
             "CAST('{}' AS boolean)",
             "v",
             "CAST(CAST(v AS int) AS text)"},
            {"date",
             {"'2024-02-29'", "'0044-03-15 BC'", "'infinity'", "'9999-12-31'", "'20240-01-01'"},
             {"0044-03-15 BC", "2024-02-29", "2024-02-29T00:00:00", "9999-12-31", "20240-01-01", "infinity"},
             "CAST('{}' AS date)"},
            {"time",
             {"'12:30:00'", "'00:00:00'", "'23:59:59.999999'", "'24:00:00'"},
             {"00:00", "12:30", "12:30:00.000001", "23:59:59.999999", "24:00:00"},
             "CAST('{}' AS time)"},
            {"timetz",
             {"'12:30:00+02'", "'10:30:00+00'", "'12:30:00-05:30'"},
             {"12:30:00+02", "10:30:00Z", "12:30-05:30"},
             "CAST('{}' AS timetz)"},
            {"timestamp",
             {"'2024-02-29 12:30:00.123456'", "'2024-02-29 00:00:00'", "'-infinity'", "'0001-01-01 00:00:00 BC'"},
             {"-infinity", "0001-01-01 00:00:00 BC", "2024-02-29", "2024-02-29T12:30:00.123456",
              "2024-02-29 12:30:00.123457"},
             "CAST('{}' AS timestamp)"},
            {"timestamptz",
             {"'2024-02-29 12:30:00.5+02'", "'2024-02-29 00:00:00+00'", "'2024-03-31 01:30:00+00'"},
             {"2024-02-29", "2024-02-29T12:30:00.5+02", "2024-02-29 10:30:00.5Z", "2024-03-31 03:30:00+0200"},
             "CAST('{}' AS timestamptz)",
             "v",
             "CAST(v AS text)"},
            {"interval",
             {"'1 day'", "'24 hours'", "'-1 month'"},
             {"-1 month", "1 day", "24:00:00"},
             "CAST('{}' AS interval)"},
            {"uuid",
             {"'0a1b2c3d-0000-4000-8000-000000000001'", "'ffffffff-ffff-4fff-8fff-ffffffffffff'"},
             {"0A1B2C3D-0000-4000-8000-000000000001", "{ffffffff-ffff-4fff-8fff-ffffffffffff}"},
             "CAST('{}' AS uuid)"},
            {"bytea",
             {"decode('00FF27','hex')", "decode('','hex')", "decode('5C41','hex')"},
             {"", "00FF27", "00ff28", "5C41"},
             "decode('{}','hex')",
             "v",
             "upper(encode(v,'hex'))"},
            {"varchar(40)",
             {"'Ann'", "'ann'", "''", "'50% of_it'", "'a|b!c'", "'it''s \\'", "'\u00D8\u2603'", "'[x]'"},
             {"", "50% of_it", "Ann", "a|b!c", "it's \\", "\u00D8\u2603", "[x]"}},
            {"text", {"'Ann'", "' Ann'", "'n'"}, {" ", "Ann", "n"}},
            {"char(5)", {"'ab'", "'abc'", "'ab  x'"}, {"ab", "abc", "b"}, "CAST('{}' AS char(5))"},
            {"money",
             {"1.5", "-1234.56"},
             {"-1234.56", "1.50", "1.505"},
             "CAST('{}' AS numeric)",
             "CAST(v AS numeric)"},
            {"inet",
             {"'10.0.0.1'", "'10.0.0.0/8'", "'::1'"},
             {"10.0.0.0/8", "10.0.0.1", "::1"},
             "CAST('{}' AS inet)",
             "v",
             "CASE WHEN v IS NOT NULL THEN concat(v) END"},
            {"json", {"'{\"a\": 1}'", "'[1]'"}, {"[1]", "{\"a\": 1}"}, "'{}'", "CAST(v AS text)"},
            {"integer[]", {"'{1,2}'", "'{}'"}, {"{1,2}", "{2}"}, "CAST('{}' AS integer[])"},
            {"bit varying(9)", {"B'101'", "B''"}, {"101", "11"}, "CAST('{}' AS bit varying)"},
        },
};

const Product kMariaDb = {
    .name = "MariaDB",
    .variable = "ODS_TEST_MARIADB_SCRATCH",
    .text = "CAST(v AS CHAR)",
    .fold = "lower",
    .position = "instr",
    .length = "char_length",
    .types =
        {
            {"tinyint unsigned", {"0", "200", "255"}, {"-1", "0", "200", "256", "99999999999999999999"}, "{}"},
            {"bigint unsigned",
             {"0", "9007199254740993", "18446744073709551615"},
             {"-1", "9007199254740992", "9007199254740993", "18446744073709551615", "18446744073709551616"},
             "{}"},
            {"bigint",
             {"-9223372036854775808", "9223372036854775807"},
             {"-9223372036854775809", "-9223372036854775808", "9223372036854775807", "9223372036854775808"},
             "{}"},
            {"decimal(65, 30)",
             {"12345678901234567890123456789012345.123456789012345678901234567891", "-0.000000000000000000000000000001",
              "1.5"},
             {"-1E-30", "-1E-31", "0", "1.50", "12345678901234567890123456789012345.123456789012345678901234567890",
              "12345678901234567890123456789012345.123456789012345678901234567891"},
             "CAST('{}' AS decimal(65,30))"},
            {"decimal(12, 2)",
             {"-1.5", "1234567890.12"},
             {"-1.5", "1.505", "1234567890.12"},
             "CAST('{}' AS decimal(65,30))"},
            {"float",
             {"0.1", "-0.1", "3.4e38", "16777216"},
             {"-0.1", "0.1", "16777216", "3.4E+38"},
             "CAST('{}' AS float)"},
            {"double",
             {"0.1", "-1e308", "123456789.12345678"},
             {"-1E+308", "0.1", "0.1000000000000000055511", "123456789.12345678"},
             "CAST('{}' AS double)"},
            {"bit(1)", {"0", "1"}, {"0", "1"}, "{}", "(v+0)", "CAST((v+0) AS CHAR)"},
            {"bit(9)", {"0", "5", "511"}, {"0", "5", "511", "512"}, "{}", "(v+0)", "CAST((v+0) AS CHAR)"},
            {"year",
             {"1999", "2024", "1901"},
             {"0", "99", "1999", "2024", "9999"},
             "{}",
             "CAST(CAST(v AS CHAR) AS SIGNED)"},
            {"date",
             {"'2024-02-29'", "'0000-00-00'", "'9999-12-31'"},
             {"0000-00-00", "2024-02-00", "2024-02-29", "2024-02-29 00:00:00", "9999-12-31"},
             "CAST('{}' AS date)"},
            {"time(6)",
             {"'12:30:00'", "'-838:59:59'", "'838:59:59.5'", "'-00:00:01'"},
             {"-838:59:59", "-00:00:01", "12:30", "12:30:00.000001", "838:59:59"},
             "CAST('{}' AS time(6))"},
            {"datetime(6)",
             {"'2024-02-29 12:30:00.123456'", "'2024-02-29 00:00:00'", "'0000-00-00 00:00:00'"},
             {"0000-00-00", "2024-02-29", "2024-02-29T12:30:00.123456", "2024-02-29 12:30:00.123457"},
             "CAST('{}' AS datetime(6))"},
            {"timestamp(3) NULL",
             {"'2024-02-29 12:30:00.123'", "'1970-01-01 00:00:01'"},
             {"1970-01-01 00:00:01", "2024-02-29 12:30:00.123", "2024-02-29 12:30:00.1235"},
             "CAST('{}' AS datetime(6))"},
            {"enum('small','large','a|b')",
             {"'small'", "'large'", "'a|b'"},
             {"", "a|b", "large", "small", "2"},
             "'{}'",
             "CAST(v AS CHAR)"},
            {"set('x','y')", {"'x'", "'y'", "'x,y'", "''"}, {"", "x", "x,y", "y"}, "'{}'", "CAST(v AS CHAR)"},
            {"uuid",
             {"'0a1b2c3d-0000-4000-8000-000000000001'"},
             {"0A1B2C3D-0000-4000-8000-000000000001", "{ffffffff-ffff-4fff-8fff-ffffffffffff}"},
             "CAST(TRIM(BOTH '}' FROM TRIM(BOTH '{' FROM '{}')) AS uuid)"},
            {"varbinary(8)",
             {"0x00FF27", "''", "0x5C41"},
             {"", "00FF27", "00ff28", "5C41"},
             "UNHEX('{}')",
             "v",
             "HEX(v)"},
            {"blob", {"0x00FF27", "0x5C41"}, {"00FF27", "5C41"}, "UNHEX('{}')", "v", "HEX(v)"},
            {"varchar(40)",
             {"'Ann'", "'ann'", "''", "'50% of_it'", "'a|b!c'", "'it''s \\'", "'\u00D8\u2603'", "'[x]'"},
             {"", "50% of_it", "Ann", "a|b!c", "it's \\", "\u00D8\u2603", "[x]"}},
            {"longtext",
             {"'Ann'", "REPEAT('x',300)", "CONCAT(REPEAT('x',300),'y')"},
             {"Ann", std::string(300, 'x'), "y"}},
            {"char(5)", {"'ab'", "'abc'"}, {"ab", "abc", "b"}},
        },
};

const Product kSqlite = {
    .name = "SQLite",
    .variable = nullptr,
    .text = "CAST(v AS TEXT)",
    .fold = "lower",
    .position = "instr",
    .length = "length",
    .types =
        {
            {"INTEGER",
             {"-9223372036854775807-1", "7", "9007199254740993", "9223372036854775807", "1.5"},
             {"-9223372036854775808", "1.5", "7", "9007199254740992", "9007199254740993", "9223372036854775807"},
             "{}"},
            {"DECIMAL(12, 2)", {"1.5", "-0.25", "7"}, {"-0.25", "1.50", "7", "7.0"}, "{}"},
            {"REAL",
             {"0.1", "1e300", "-5e-324", "9e999", "-9e999", "0.30000000000000004"},
             {"-1E+300", "0.1", "0.3", "0.30000000000000004", "1E+300"},
             "{}"},
            {"BOOLEAN", {"0", "1"}, {"0", "1"}, "{}"},
            {"DATE",
             {"'2024-02-29'", "'2024-03-01'", "45000"},
             {"45000", "2024-02-29", "2024-03-01"},
             "CASE WHEN '{}' = '45000' THEN 45000 ELSE '{}' END"},
            {"TIMESTAMP",
             {"'2024-02-29 12:30:00'", "'2024-02-29 12:30:00.500'"},
             {"2024-02-29 12:30:00", "2024-02-29 12:30:00.500"}},
            {"TIME", {"'12:30:00'", "'07:00:00'"}, {"07:00:00", "12:30:00"}},
            {"VARCHAR(40)",
             {"'Ann'", "'ann'", "''", "'50% of_it'", "'a|b!c'", "'it''s \\'", "'\u00D8\u2603'", "'[x]'", "5"},
             {"", "5", "50% of_it", "Ann", "a|b!c", "it's \\", "\u00D8\u2603", "[x]"}},
            {"VARCHAR(40) COLLATE NOCASE", {"'Ann'", "'ann'", "'Bob'"}, {"ANN", "bob"}},
            {"BLOB",
             {"X'00FF27'", "X''", "X'5C41'"},
             {"", "00FF27", "00ff28", "5C41"},
             "CASE '{}' WHEN '' THEN X'' WHEN '00FF27' THEN X'00FF27' WHEN '00ff28' THEN X'00FF28' ELSE X'5C41' END",
             "v",
             "CASE WHEN v IS NOT NULL THEN hex(v) END"},
            {"UUID", {"'0a1b2c3d-0000-4000-8000-000000000001'"}, {"0a1b2c3d-0000-4000-8000-000000000001"}},
        },
};

class ExactFilters : public ::testing::TestWithParam<const Product*> {
 protected:
  void SetUp() override {
    const Product& product = *GetParam();
    const char* const place = product.variable == nullptr ? nullptr : std::getenv(product.variable);
    if (product.variable != nullptr && place == nullptr) GTEST_SKIP() << product.variable << " is not set";
    const std::string connectionString =
        place != nullptr ? place : "Driver=SQLite3;Database=" + DriverPath(folders_.Root()) + "/filters.db";
    direct_ = CreateOdbcConnection();
    direct_->Open(connectionString);
    folders_.Configure(connectionString);
    server_ = std::make_unique<ServerProcess>(folders_, Texts{"/exact"});
    client_ = std::make_unique<QueueClient>(folders_);
  }
  void TearDown() override {
    if (direct_ && !table_.empty()) Run("DROP TABLE " + table_);
    if (server_) {
      EXPECT_EQ(server_->Stop(), 0);
    }
  }

  void Run(const std::string& sql) { (void)direct_->OpenRecordSet(sql, 0); }
  /// A table of the type's rows and one without a value.
  void MakeTable(const TypeCase& type, std::size_t number) {
    if (!table_.empty()) Run("DROP TABLE " + table_);
    table_ = "filters_" + std::to_string(getpid()) + "_" + std::to_string(number);
    Run("CREATE TABLE " + table_ + " (id INTEGER NOT NULL PRIMARY KEY, v " + type.type + ")");
    int id = 0;
    for (const std::string& row : type.rows) {
      Run("INSERT INTO " + table_ + " VALUES (" + std::to_string(++id) + ", " + row + ")");
    }
    Run("INSERT INTO " + table_ + " VALUES (" + std::to_string(++id) + ", NULL)");
  }
  /// The rows that the database finds.
  [[nodiscard]] std::string Found(const std::string& condition) {
    std::string ids;
    for (const auto rows =
             direct_->OpenRecordSet("SELECT id FROM " + table_ + " WHERE " + condition + " ORDER BY id", 0);
         !rows->AtEnd(); rows->MoveNext()) {
      AppendToList(ids, " ", SafeStr(rows->Item(0)));
    }
    return ids;
  }
  /// The rows that the server finds.
  [[nodiscard]] std::string Answered(const std::string& op, const std::string& values) {
    const XmlDocument page = client_->AskDocument(Request(
        "TableData", "<TableId>[TABLE]" + table_ +
                         "</TableId><PageSize>100</PageSize><Filter><Condition><FieldId>v</FieldId><FilterOp>" + op +
                         "</FilterOp>" + values + "</Condition></Filter><Fields><Field><Id>id</Id></Field></Fields>"));
    if (const std::string error = GetNodeText(page, "/XML/Message"); !error.empty()) return error;
    std::string ids;
    for (const XmlNode& value : page.SelectNodes("/XML/Records/R/V[@Id='id']")) AppendToList(ids, " ", value.Text());
    return ids;
  }
  static std::string ValueElement(const std::string& text) { return "<Value>" + EscapeXml(text) + "</Value>"; }
  static std::string Sql(const char* pattern, const std::string& text) {
    return ReplaceAll(pattern, "{}", ReplaceAll(text, "'", "''"));
  }
  void Expect(const std::string& op, const std::string& values, const std::string& condition) {
    ++compared_;
    const std::string found = Found(condition);
    matched_ += found.empty() ? 0 : 1;
    EXPECT_EQ(Answered(op, values), found) << op << " " << values << "\n" << condition;
  }
  void ExpectComparisons(const TypeCase& type);
  void ExpectPatterns(const TypeCase& type);

  ServerFolders folders_;
  std::shared_ptr<Connection> direct_;
  std::unique_ptr<ServerProcess> server_;
  std::unique_ptr<QueueClient> client_;
  std::string table_;
  std::size_t compared_ = 0;
  std::size_t matched_ = 0;
};

void ExactFilters::ExpectComparisons(const TypeCase& type) {
  constexpr const char* kOperators[][2] = {{"eq", "="}, {"not", "<>"},  {"lt", "<"},
                                           {"gt", ">"}, {"lteq", "<="}, {"gteq", ">="}};
  const std::string compared = type.compared;
  std::string all;
  std::string any;
  std::string none;
  for (std::size_t i = 0; i < type.asked.size(); ++i) {
    const std::string& text = type.asked[i];
    const std::string value = Sql(type.value, text);
    for (const auto& [op, sql] : kOperators) Expect(op, ValueElement(text), compared + " " + sql + " " + value);
    for (std::size_t j = 0; j < type.asked.size(); ++j) {
      Expect("between", ValueElement(text) + ValueElement(type.asked[j]),
             compared + " >= " + value + " AND " + compared + " <= " + Sql(type.value, type.asked[j]));
    }
    all += ValueElement(text);
    AppendToList(any, " OR ", compared + " = " + value);
    AppendToList(none, " AND ", compared + " <> " + value);
  }
  Expect("eq", all, any);
  Expect("not", all, none);
  Expect("null", "", "v IS NULL");
  Expect("notnull", "", "v IS NOT NULL");
}

void ExactFilters::ExpectPatterns(const TypeCase& type) {
  const Product& product = *GetParam();
  const std::string text = type.text != nullptr ? type.text : product.text;
  const auto folded = [&](const std::string& expression) { return std::string(product.fold) + "(" + expression + ")"; };
  const std::string position = product.position;
  const std::string length = product.length;
  const std::string whole = length + "(" + text + ")";
  Texts pieces = {"", "0", "-", "%", "_", "!"};
  for (const std::string& asked : type.asked) {
    pieces.push_back(asked);
    if (asked.size() > 2 && AsciiPrefix(asked) == asked.size()) {
      pieces.push_back(asked.substr(0, 2));
      pieces.push_back(asked.substr(asked.size() - 2));
    }
  }
  for (const std::string& piece : pieces) {
    const std::string quoted = folded(Sql("'{}'", piece));
    const std::string characters = length + "(" + quoted + ")";
    Expect("contains", ValueElement(piece), position + "(" + folded(text) + ", " + quoted + ") > 0");
    Expect("startswith", ValueElement(piece), folded("substr(" + text + ", 1, " + characters + ")") + " = " + quoted);
    Expect("endswith", ValueElement(piece),
           whole + " >= " + characters + " AND " +
               folded("substr(" + text + ", " + whole + " - " + characters + " + 1)") + " = " + quoted);
  }
  Expect("like", ValueElement("%0%"), position + "(" + text + ", '0') > 0");
}

TEST_P(ExactFilters, FindWhatTheDatabaseFinds) {
  std::size_t number = 0;
  for (const TypeCase& type : GetParam()->types) {
    SCOPED_TRACE(type.type);
    MakeTable(type, ++number);
    ExpectComparisons(type);
    ExpectPatterns(type);
  }
  std::cout << compared_ << " filters compared, of which " << matched_ << " have rows\n";
  RecordProperty("filters", std::to_string(compared_));
  EXPECT_GT(matched_, compared_ / 3);
}

INSTANTIATE_TEST_SUITE_P(Databases, ExactFilters, ::testing::Values(&kPostgreSql, &kMariaDb, &kSqlite),
                         [](const auto& product) { return product.param->name; });

}  // namespace
}  // namespace ods::test
