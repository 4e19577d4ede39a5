// Every column type of the three databases as exact paging reads and compares it. What a client sees is compared with
// the text that the database's own client gives; and the literal of every value that was read finds the row again,
// through each expression that rows are ordered and compared by.
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <unistd.h>

#include "common/Conversions.h"
#include "common/Hex.h"
#include "common/Text.h"
#include "database/modODBC.h"
#include "database/modSelect.h"
#include "doubles/FakeSession.h"
#include "exact/ExactLiteral.h"
#include "exact/ExactSession.h"
#include "exact/ExactTable.h"
#include "support/DatabaseClients.h"
#include "support/TestSystem.h"

namespace ods::test {
namespace {

/// How the text that clients see is compared with the database's.
enum class Form { kText, kSingle, kDouble };

struct ColumnCase {
  std::string type;                 ///< as a table declares it
  std::vector<std::string> values;  ///< in the database's SQL
  Form form = Form::kText;
  std::string text = "$";  ///< SQL of the database's text of a value; "$" stands for the column
  bool ordered = true;     ///< the database orders and compares by it
};

constexpr int kRows = 210;  // three blocks, and a part of one

/// Nulls at places that change from row to row and from column to column.
bool IsNullAt(int row, int column) {
  if (row < 60) return false;
  if (row < 130) return (row + column) % 2 == 0;
  return (row + column) % 16 < 8;
}

/// The digits of a number from the first to the last that is not 0.
std::string DigitsOf(const std::string& number) {
  std::string digits;
  for (const char c : number.substr(0, number.find_first_of("eE"))) {
    if (c >= '0' && c <= '9' && (c != '0' || !digits.empty())) digits += c;
  }
  digits.erase(digits.find_last_not_of('0') + 1);
  return digits;
}

/// True when both texts denote the same number of a width, and the one shown has the fewest digits that do.
template <typename Number>
bool SameNumber(const std::string& shown, const std::string& wanted) {
  const auto parsed = [](const std::string& text) {
    Number number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
  };
  const std::optional<Number> number = parsed(shown);
  if (!number || number != parsed(wanted)) return false;
  std::array<char, 64> text{};
  const auto* const end =
      std::to_chars(text.data(), text.data() + text.size(), *number, std::chars_format::scientific).ptr;
  return DigitsOf(shown) == DigitsOf(std::string(text.data(), static_cast<std::size_t>(end - text.data())));
}

bool SameText(Form form, const std::string& shown, const std::string& wanted) {
  if (form == Form::kText || wanted.find_first_of("0123456789") == std::string::npos) return shown == wanted;
  return form == Form::kSingle ? SameNumber<float>(shown, wanted) : SameNumber<double>(shown, wanted);
}

/// A database with a table of all column types, and its own client.
class ExactColumns : public ::testing::Test {
 protected:
  struct Cell {
    std::optional<std::string> text;  ///< the database's; nothing for null
    Form form = Form::kText;
  };

  void Connect(const std::string& connectionString) {
    session_.connection = CreateOdbcConnection();
    session_.connection->Open(connectionString);
    fake_.Use(DatabaseKind::DbUnknown);
    for (const auto rows = session_.connection->OpenSchema(Schema::kDBInfoLiterals); !rows->AtEnd(); rows->MoveNext()) {
      std::string& quote = SafeStr(rows->Item(0)) == "QUOTE" ? session_.QuotePrefix : session_.QuoteSuffix;
      quote = SafeStr(rows->Item(1));
    }
  }

  static std::string ColumnName(std::size_t column) { return "c" + std::to_string(column); }

  void MakeTable() {
    std::string script = "CREATE TABLE t (id int NOT NULL PRIMARY KEY";
    for (std::size_t i = 0; i < types_.size(); ++i) script += ", " + ColumnName(i) + " " + types_[i].type + " NULL";
    script += ");\n";
    for (int row = 0; row < kRows; ++row) {
      script += "INSERT INTO t VALUES (" + std::to_string(row);
      for (std::size_t i = 0; i < types_.size(); ++i) {
        const auto& values = types_[i].values;
        const auto turn = static_cast<std::size_t>(row) + i;
        script += "," + (IsNullAt(row, static_cast<int>(i)) ? "NULL" : values[turn % values.size()]);
      }
      script += ");\n";
    }
    client_->Run("BEGIN;\n" + script + "COMMIT;\n");
  }

  [[nodiscard]] virtual std::vector<std::vector<Cell>> ReadTruth() {
    std::string query = "SELECT id";
    for (std::size_t i = 0; i < types_.size(); ++i) {
      const std::string name = ColumnName(i);
      query += ", " + client_->HexSql("CASE WHEN " + name + " IS NULL THEN NULL ELSE " +
                                      ReplaceAll(types_[i].text, "$", name) + " END");
    }
    std::vector<std::vector<Cell>> rows;
    for (const std::vector<std::string>& texts : client_->Read(query + " FROM t ORDER BY id")) {
      std::vector<Cell>& row = rows.emplace_back();
      for (std::size_t i = 0; i < types_.size(); ++i) {
        Cell& cell = row.emplace_back();
        cell.form = types_[i].form;
        if (texts.at(i + 1) == "-") continue;
        const Bytes bytes = HexToBytes(texts.at(i + 1));
        cell.text = std::string(bytes.begin(), bytes.end());
      }
    }
    return rows;
  }

  static ExactValue Read(const RecordSet& rows, std::size_t index, ReadStyle style, std::int32_t adoType) {
    const Value& value = rows.Item(index);
    return style == ReadStyle::kQuoted && !value.IsNull() ? ExactValueOfQuoted(SafeStr(value))
                                                          : ExactValueOf(value, adoType);
  }

  /// A few failures tell as much as thousands.
  bool IsNew(const std::string& what) { return ++told_[what] <= 2; }

  void CompareTexts(const std::vector<std::vector<Cell>>& truth, const std::vector<std::size_t>& columns,
                    std::int32_t most) {
    const ExactTable& table = Known();
    std::string fields = "id AS x";
    for (const std::size_t i : columns) {
      fields += ", " + table.Require(ColumnName(i), "t").read + " AS x" + std::to_string(i);
    }
    const auto rows =
        ExecuteSQL(session_, "SELECT " + fields + " FROM " + source_ + " ORDER BY id", most, {.exact = true});
    std::size_t row = 0;
    for (; !rows->AtEnd(); rows->MoveNext(), ++row) {
      for (std::size_t i = 0; i < columns.size(); ++i) {
        const ExactColumn& column = table.Require(ColumnName(columns[i]), "t");
        const Cell& wanted = truth.at(row).at(columns[i]);
        const ExactValue value = Read(*rows, i + 1, column.readStyle, column.adoType);
        const std::string shown = DisplayText(value);
        const bool same =
            value.IsNull() == !wanted.text && (value.IsNull() || SameText(wanted.form, shown, *wanted.text));
        if (same || !IsNew(column.name)) continue;
        ADD_FAILURE() << types_[columns[i]].type << ", row " << row << ": "
                      << (value.IsNull() ? "null" : shown.substr(0, 90)) << " where the database has "
                      << wanted.text.value_or("null").substr(0, 90);
      }
    }
    EXPECT_EQ(row, most == 0 ? static_cast<std::size_t>(kRows) : static_cast<std::size_t>(most));
  }

  void CompareTexts() {
    const std::vector<std::vector<Cell>> truth = ReadTruth();
    ASSERT_EQ(truth.size(), static_cast<std::size_t>(kRows));
    std::vector<std::size_t> all;
    for (std::size_t i = 0; i < types_.size(); ++i) {
      CompareTexts(truth, {i}, 0);
      all.push_back(i);
    }
    CompareTexts(truth, all, 0);
    CompareTexts(truth, all, 11);
  }

  /// A value beside the expression that it is compared with.
  struct Comparison {
    std::string column;
    std::string condition;
  };

  [[nodiscard]] bool Finds(int id, const std::string& condition) {
    const auto rows =
        TryStatement("SELECT COUNT(*) FROM " + source_ + " WHERE id=" + std::to_string(id) + " AND " + condition);
    return rows && SafeLng(rows->Item(0)) == 1;
  }
  std::shared_ptr<RecordSet> TryStatement(const std::string& sql) {
    try {
      return ExecuteSQL(session_, sql, 0, {.exact = true});
    } catch (const Error& error) {
      lastError_ = error.Description();
      return nullptr;
    }
  }

  /// Every value of every column that can be compared by finds its row, through the expressions of the order, of the
  /// tie breaker, and of filters. One row in `step` is looked for.
  void FindRows(int step) {
    const ExactTable& table = Known();
    struct Term {
      const ExactColumn* column;
      std::string expression;
      LiteralStyle literal;
      ReadStyle style;
      std::int32_t adoType;
    };
    std::vector<Term> terms;
    std::string fields = "id AS x";
    const auto add = [&](const ExactColumn& column, const OrderTerm& read, const std::string& expression,
                         LiteralStyle literal) {
      fields += ", " + read.read + " AS x" + std::to_string(terms.size());
      terms.push_back({&column, expression, literal, read.readStyle, read.adoType});
    };
    for (const ExactColumn& column : table.columns) {
      if (column.order) add(column, *column.order, column.order->expression, column.order->literal);
      if (column.tieBreaker) {
        add(column, *column.tieBreaker, column.tieBreaker->expression, column.tieBreaker->literal);
      }
      if (column.compared) {
        OrderTerm shown;
        shown.read = column.read;
        shown.readStyle = column.readStyle;
        shown.adoType = column.adoType;
        add(column, shown, column.compared->expression, column.compared->literal);
      }
    }
    std::size_t compared = 0;
    const auto rows =
        ExecuteSQL(session_, "SELECT " + fields + " FROM " + source_ + " ORDER BY id", 0, {.exact = true});
    std::vector<std::pair<int, std::vector<Comparison>>> found;
    for (; !rows->AtEnd(); rows->MoveNext()) {
      auto& [id, comparisons] = found.emplace_back();
      id = SafeLng(rows->Item(0));
      for (std::size_t i = 0; i < terms.size(); ++i) {
        const ExactValue value = Read(*rows, i + 1, terms[i].style, terms[i].adoType);
        const std::string condition = value.IsNull()
                                          ? terms[i].expression + " IS NULL"
                                          : terms[i].expression + "=" + ExactLiteral(session_, terms[i].literal, value);
        comparisons.push_back({terms[i].column->name, condition});
      }
    }
    for (const auto& [id, comparisons] : found) {
      if (id % step != 0) continue;
      compared += comparisons.size();
      std::string all;
      for (const Comparison& each : comparisons) AppendToList(all, " AND ", each.condition);
      if (Finds(id, all)) continue;
      for (const Comparison& each : comparisons) {
        lastError_.clear();
        if (Finds(id, each.condition) || !IsNew("find " + each.column)) continue;
        ADD_FAILURE() << TypeOf(table.Require(each.column, "t")) << ", row " << id << " is not found by "
                      << each.condition.substr(0, 200) << " " << lastError_.substr(0, 200);
      }
    }
    EXPECT_EQ(found.size(), static_cast<std::size_t>(kRows));
    EXPECT_GE(compared, static_cast<std::size_t>(kRows / step) * types_.size() / 2);
  }

  void CompareOrders() {
    const ExactTable& table = Known();
    for (std::size_t i = 0; i < types_.size(); ++i) {
      EXPECT_EQ(table.Require(ColumnName(i), "t").order.has_value(), types_[i].ordered) << types_[i].type;
    }
  }

  /// The database orders rows as it compares them with literals: in front of a row stand as many as are less than it.
  void CompareOrderWithLiterals() {
    const ExactTable& table = Known();
    for (const ExactColumn& column : table.columns) {
      if (!column.order) continue;
      const OrderTerm& first = *column.order;
      const OrderTerm& second = column.tieBreaker ? *column.tieBreaker : first;
      const auto rows =
          ExecuteSQL(session_,
                     "SELECT " + first.read + " AS x1, " + second.read + " AS x2, " + column.read + " AS x3 FROM " +
                         source_ + " WHERE " + first.expression + " IS NOT NULL AND " + second.expression +
                         " IS NOT NULL ORDER BY " + first.expression + ", " + second.expression,
                     0, {.exact = true});
      std::vector<std::pair<ExactValue, ExactValue>> values;
      std::vector<std::string> shown;
      for (; !rows->AtEnd(); rows->MoveNext()) {
        values.emplace_back(Read(*rows, 0, first.readStyle, first.adoType),
                            Read(*rows, 1, second.readStyle, second.adoType));
        shown.push_back(DisplayText(Read(*rows, 2, column.readStyle, column.adoType)));
      }
      std::size_t before = 0;  // of the row's values
      for (std::size_t i = 0; i < values.size(); ++i) {
        if (i > 0 && values[i] == values[i - 1]) {
          if (shown[i] != shown[i - 1] && IsNew("tie " + column.name)) {
            ADD_FAILURE() << TypeOf(column) << ": '" << shown[i - 1].substr(0, 90) << "' and '"
                          << shown[i].substr(0, 90) << "' have one place in the order";
          }
          continue;
        }
        before = i;
        const std::string one = ExactLiteral(session_, first.literal, values[i].first);
        const std::string two = ExactLiteral(session_, second.literal, values[i].second);
        const std::string condition = "(" + first.expression + "<" + one + " OR (" + first.expression + "=" + one +
                                      " AND " + second.expression + "<" + two + "))";
        const auto count = TryStatement("SELECT COUNT(*) FROM " + source_ + " WHERE " + second.expression +
                                        " IS NOT NULL AND " + condition);
        const std::int32_t counted = count ? SafeLng(count->Item(0)) : -1;
        if (counted == static_cast<std::int32_t>(before) || !IsNew("order " + column.name)) continue;
        ADD_FAILURE() << TypeOf(column) << ": " << counted << " rows where " << condition.substr(0, 200)
                      << ", which are " << before << " by their order " << lastError_.substr(0, 200);
      }
    }
  }

  [[nodiscard]] std::string TypeOf(const ExactColumn& column) const {
    return column.name == "id" ? "id" : types_.at(static_cast<std::size_t>(std::atoi(column.name.c_str() + 1))).type;
  }
  [[nodiscard]] const ExactTable& Known() { return LookupExactTable(session_, identifier_); }

  void CheckAs(const std::string& what, const std::string& identifier, const std::string& source) {
    SCOPED_TRACE(what);
    identifier_ = identifier;
    source_ = source;
    told_.clear();
    CompareTexts();
    FindRows(identifier == "[TABLE]t" ? 1 : 5);
    if (identifier != "[VIEW]v") CompareOrderWithLiterals();
    CompareOrders();
  }

  void CheckAll() {
    client_->Run("CREATE VIEW v AS SELECT * FROM t;\n");
    std::ofstream(fake_.state.configFolder + "/views.xml")
        << "<Views><View><Id>s</Id><Query>SELECT * FROM t</Query></View></Views>";
    OpenExactSession(session_);
    CheckAs("table", "[TABLE]t", "t");
    CheckAs("view", "[VIEW]v", "v");
    CheckAs("server-side view", "[APPVIEW]s", "(SELECT * FROM t) AS k");
  }

  FakeSession fake_{DatabaseKind::DbUnknown};
  DataSession& session_ = fake_.session;
  std::unique_ptr<DatabaseClient> client_;
  std::vector<ColumnCase> types_;
  std::map<std::string, int> told_;
  std::string identifier_;
  std::string source_;
  std::string lastError_;
  TemporaryFolder folder_;
};

std::vector<std::string> With(std::vector<std::string> values, const std::vector<std::string>& more) {
  values.insert(values.end(), more.begin(), more.end());
  return values;
}

const std::vector<std::string> kTexts = {"'abc'",
                                         "''",
                                         "'it''s \"quoted\" \\ %_{d'",
                                         "'\xC3\x98resund \xD7\x99 \xE2\x82\xAC \xF0\x9F\x98\x80'",
                                         "' blank '",
                                         "'0'",
                                         "'ABC '",
                                         "'ABC'",
                                         "'12.5'",
                                         "'NULL'",
                                         "'x'"};
const std::vector<std::string> kDoubles = {"0",
                                           "0.1",
                                           "-2.25",
                                           "1e300",
                                           "1.7976931348623157e308",
                                           "2.2250738585072014e-308",
                                           "0.30000000000000004",
                                           "0.3333333333333333",
                                           "-16.18645484129223",
                                           "123456789012345680",
                                           "1e15",
                                           "9007199254740993",
                                           "1e-5"};

// ---- SQLite ----

class SqliteExactColumns : public ExactColumns {
 protected:
  void SetUp() override {
    auto client = std::make_unique<SqliteClient>(folder_.Path() + "/columns.db");
    handle_ = client->Handle();
    client_ = std::move(client);
    SetUpConnection();
  }
  void SetUpConnection() { Connect("Driver=SQLite3;Database=" + test::DriverPath(folder_.Path()) + "/columns.db"); }

  /// What the library gives, without any conversion of its own.
  [[nodiscard]] std::vector<std::vector<Cell>> ReadTruth() override {
    std::vector<std::vector<Cell>> rows;
    sqlite3_stmt* statement = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(handle_, "SELECT * FROM t ORDER BY id", -1, &statement, nullptr), SQLITE_OK);
    while (sqlite3_step(statement) == SQLITE_ROW) {
      std::vector<Cell>& row = rows.emplace_back();
      for (int i = 1; i < sqlite3_column_count(statement); ++i) row.push_back(CellOf(statement, i));
    }
    sqlite3_finalize(statement);
    return rows;
  }

  sqlite3* handle_ = nullptr;

 private:
  static Cell CellOf(sqlite3_stmt* statement, int column) {
    std::array<char, 64> digits{};
    switch (sqlite3_column_type(statement, column)) {
      case SQLITE_INTEGER:
        return {std::to_string(sqlite3_column_int64(statement, column)), Form::kText};
      case SQLITE_FLOAT: {
        const double number = sqlite3_column_double(statement, column);
        if (std::isinf(number)) return {number < 0 ? "-Infinity" : "Infinity", Form::kText};
        return {std::string(digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr),
                Form::kDouble};
      }
      case SQLITE_TEXT:
      case SQLITE_BLOB: {
        const bool isBlob = sqlite3_column_type(statement, column) == SQLITE_BLOB;
        // The bytes of a text in UTF-8, whatever encoding the database has.
        const void* const bytes = isBlob ? sqlite3_column_blob(statement, column)
                                         : static_cast<const void*>(sqlite3_column_text(statement, column));
        const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement, column));
        const std::string text = size == 0 ? "" : std::string(static_cast<const char*>(bytes), size);
        return {isBlob ? BytesToHex(Bytes(text.begin(), text.end())) : text, Form::kText};
      }
      default:
        return {std::nullopt, Form::kText};
    }
  }
};

const std::vector<std::string> kTextsWithNulls = {"'a'||char(0)||'b'", "char(0)", "'1'||char(0)", "char(0,0)||'''x'"};

std::vector<ColumnCase> SqliteTypes() {
  const std::vector<std::string> integers = {
      "0", "1", "-1", "2147483648", "9223372036854775807", "-9223372036854775808", "9007199254740993"};
  const std::vector<std::string> doubles =
      With(kDoubles, {"5e-324*2", "4.94e-322", "9e999", "-9e999", "1e-300", "3.0", "-1.5e-310", "9.419589097850711e-09",
                      "7.22936859411219965e25", "1.7284017644202247e-304", "9.3e18"});
  const std::vector<std::string> blobs = {"x'00'", "x''", "x'0A1B00FF'", "x'27'", "zeroblob(200)"};
  const std::vector<std::string> anything = With(With(With(integers, doubles), With(kTexts, kTextsWithNulls)), blobs);
  std::vector<ColumnCase> types;
  for (const char* name : {"integer", "int", "bigint", "int unsigned", "bit", "boolean"})
    types.push_back({name, integers});
  for (const char* name : {"float", "real", "double", "numeric(10,2)", "decimal(20,10)"})
    types.push_back({name, doubles});
  for (const char* name :
       {"varchar(100)", "char(10)", "text", "clob", "text COLLATE NOCASE", "varchar(5) COLLATE RTRIM"}) {
    types.push_back({name, With(With(kTexts, kTextsWithNulls), {"replace(hex(zeroblob(5000)),'0','\xE2\x82\xAC')"})});
  }
  for (const char* name : {"blob", "varbinary(20)", "image"}) types.push_back({name, With(blobs, {"zeroblob(20000)"})});
  for (const char* name : {"date", "time", "timestamp", "datetime"}) {
    types.push_back(
        {name, {"'2020-02-29'", "'2020-02-29 10:11:12.000001'", "'838:59:59'", "2459000.5", "17", "'0000-00-00'"}});
  }
  // All storage classes, in columns of each affinity.
  for (const char* name : {"", "any", "integer", "numeric", "real", "text", "blob", "date", "varchar(3)", "boolean"}) {
    types.push_back({name, anything});
  }
  return types;
}

TEST_F(SqliteExactColumns, ComeOutAndFindTheirRows) {
  types_ = SqliteTypes();
  MakeTable();
  CheckAll();
}

TEST_F(SqliteExactColumns, ComeOutAndFindTheirRowsInUtf16) {
  client_->Run("PRAGMA encoding='UTF-16'; CREATE TABLE first (a)");
  SetUpConnection();  // which would not see it otherwise
  types_ = {{"text", With(kTexts, kTextsWithNulls)},
            {"", With(kTexts, kTextsWithNulls)},
            {"blob", {"x'D800'", "x''", "'a'"}}};
  MakeTable();
  CheckAll();
}

TEST_F(SqliteExactColumns, TextsThatAreNoTextComeOutAndFindTheirRows) {
  for (const char* name : {"text", "", "blob", "integer"}) {
    types_.push_back(
        {name, {"CAST(x'61FF62' AS TEXT)", "CAST(x'FF' AS TEXT)", "CAST(x'FF0062' AS TEXT)", "'a'", "1", "-3"}});
  }
  MakeTable();
  CheckAll();
}

// ---- MariaDB ----

class MariaDbExactColumns : public ExactColumns {
 protected:
  void SetUp() override {
    const char* const text = std::getenv("ODS_TEST_MARIADB_SCRATCH");
    if (text == nullptr) GTEST_SKIP() << "ODS_TEST_MARIADB_SCRATCH names no server";
    Connect(text);
    Do("CREATE DATABASE " + database_ + " CHARACTER SET utf8mb4");
    made_ = true;
    Do("USE " + database_);
    Do("SET time_zone='+05:30'");
    client_ =
        std::make_unique<MariaDbClient>(text, database_, "SET sql_mode='NO_BACKSLASH_ESCAPES', time_zone='+00:00';\n");
  }
  void TearDown() override {
    if (made_) Do("DROP DATABASE IF EXISTS " + database_);
  }
  void Do(const std::string& sql) { (void)session_.connection->OpenRecordSet(sql, 0); }

  std::string database_ = "exact_test_" + std::to_string(getpid());
  bool made_ = false;
};

std::vector<ColumnCase> MariaDbTypes() {
  const std::vector<std::string> bytes = {"x'00'", "x''", "x'0A1B00FF'", "x'27'", "x'FFFFFFFFFF'"};
  const std::vector<std::string> singles = {"0",          "0.1",          "-0.1",  "1.5",
                                            "16777216",   "3.4028234e38", "1e-45", "1.17549435e-38",
                                            "123456.789", "0.33333333",   "1e10",  "16777220"};
  const std::vector<std::string> doubles = With(kDoubles, {"5e-324", "-0e0"});
  const std::vector<std::string> moments = {"'2020-02-29 10:11:12.987654'", "'1970-01-02 06:00:01'",
                                            "'2038-01-19 03:14:07.000001'", "'2020-01-01 00:00:00.1'"};
  const std::vector<std::string> times = {"'00:00:00'",   "'23:59:59.999999'", "'10:11:12.5'",     "'838:59:59'",
                                          "'-838:59:59'", "'-00:00:01'",       "'00:00:00.000001'"};
  const std::vector<std::string> longTexts = {"concat(repeat('a', 1100), 'c')", "concat(repeat('a', 1100), 'd')",
                                              "concat(repeat('a', 1100), 'e')", "concat(repeat('a', 1100), 'f')",
                                              "concat(repeat('a', 1100), 'g')", "concat(repeat('a', 1100), 'b')",
                                              "concat(repeat('a', 300), 'b')",  "concat(repeat('a', 300), 'B ')",
                                              "repeat('\xE2\x82\xAC', 9000)",   "concat('x', char(0), 'y')"};
  return {
      {"tinyint", {"0", "1", "127", "-128"}},
      {"tinyint unsigned", {"0", "1", "255"}},
      {"bool", {"true", "false"}},
      {"smallint", {"0", "32767", "-32768"}},
      {"mediumint unsigned", {"0", "16777215"}},
      {"int", {"0", "2147483647", "-2147483648"}},
      {"int unsigned", {"0", "4294967295"}},
      {"int(5) zerofill", {"0", "42", "4294967295"}, Form::kText, "$ + 0"},
      {"bigint", {"0", "9223372036854775807", "-9223372036854775808", "9007199254740993"}},
      {"bigint unsigned", {"0", "9223372036854775807", "9223372036854775808", "18446744073709551615"}},
      {"bit(1)", {"0", "1", "1"}, Form::kText, "$ + 0"},
      {"bit(8)", {"0", "1", "255"}, Form::kText, "$ + 0"},
      {"bit(64)", {"0", "1", "9223372036854775808", "18446744073709551615"}, Form::kText, "$ + 0"},
      {"decimal(65,30)",
       {"0", "1.5", "99999999999999999999999999999999999.999999999999999999999999999999",
        "-0.000000000000000000000000000001", "12345678901234567890.123456789012345678901234567890"}},
      {"decimal(38,0)", {"0", "99999999999999999999999999999999999999", "-99999999999999999999999999999999999998"}},
      {"decimal(10,2)", {"0", "-12.50", "99999999.99", "0.01"}},
      {"numeric(5,5)", {"0.5", "-0.99999"}},
      {"float", singles, Form::kSingle, "CAST($ AS DOUBLE)"},
      {"float unsigned", {"0", "0.1", "3.4028234e38"}, Form::kSingle, "CAST($ AS DOUBLE)"},
      {"float(7,3)", {"0", "1234.567", "-0.125"}, Form::kSingle, "CAST($ AS DOUBLE)"},
      {"double", doubles, Form::kDouble},
      {"double(15,3)", {"0", "123456789012.345", "-0.125"}, Form::kDouble},
      {"real", doubles, Form::kDouble},
      {"date", {"'2020-02-29'", "'0001-01-01'", "'9999-12-31'", "'0000-00-00'", "'2020-02-00'", "'0000-01-01'"}},
      {"time", times},
      {"time(6)", times},
      {"time(1)", times},
      {"datetime", With(moments, {"'0001-01-01'", "'9999-12-31 23:59:59'", "'0000-00-00'", "'2020-00-00 10:11:12'"})},
      {"datetime(6)", With(moments, {"'9999-12-31 23:59:59.999999'", "'0000-00-00'", "'0000-00-00 00:00:00.000001'"})},
      {"datetime(3)", moments},
      {"timestamp", With(moments, {"'0000-00-00'"})},
      {"timestamp(6)", With(moments, {"'0000-00-00'"})},
      {"year", {"1901", "2155", "0", "2020"}, Form::kText, "CAST($ AS CHAR)"},
      {"char(50)", kTexts},
      {"char(50) collate utf8mb4_bin", kTexts},
      {"char(50) collate utf8mb4_nopad_bin", kTexts},
      {"nchar(50)", {"'abc'", "'\xE2\x82\xAC'"}},
      {"varchar(50)", With(kTexts, {"concat('x', char(0), 'y')"})},
      {"varchar(50) collate utf8mb4_unicode_ci", With(kTexts, {"'a\xCC\x8A'", "'\xC3\xA5'"})},
      {"varchar(256)", kTexts},
      {"varchar(4000)", With(kTexts, {"repeat('\xF0\x9F\x98\x80', 4000)"})},
      {"varchar(50) character set latin1", {"'abc'", "'\xC3\x98\xC3\x9B'", "''", "'ABC'"}},
      {"varchar(50) character set utf16", {"'abc'", "'\xC3\x98\xF0\x9F\x98\x80'", "''", "'ABC'"}},
      {"enum('z','\xC3\x98','','a')", {"'a'", "'\xC3\x98'", "'z'"}},
      {"set('z','b','\xE2\x82\xAC')", {"'z'", "'z,b,\xE2\x82\xAC'", "''", "'b'"}},
      {"uuid", {"'a0eebc99-9c0b-4ef8-bb6d-6bb9bd380a11'", "'00000000-0000-0000-0000-000000000000'"}},
      {"inet4", {"'127.0.0.1'", "'255.255.255.255'", "'0.0.0.0'"}},
      {"inet6", {"'::1'", "'ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff'", "'::'"}},
      {"binary(5)", bytes, Form::kText, "HEX($)"},
      {"varbinary(50)", bytes, Form::kText, "HEX($)"},
      {"varbinary(4000)", With(bytes, {"repeat(x'27', 4000)", "repeat(x'27', 3999)"}), Form::kText, "HEX($)"},
      {"tinyblob", bytes, Form::kText, "HEX($)"},
      {"blob", With(bytes, {"repeat(x'00ff', 10000)"}), Form::kText, "HEX($)"},
      {"longblob", bytes, Form::kText, "HEX($)"},
      {"tinytext", kTexts},
      {"text", With(kTexts, longTexts)},
      {"longtext", With(kTexts, longTexts)},
      {"json", {"'{\"a\": 1}'", "'\"\xE2\x82\xAC\"'"}},
      {"geometry", {"ST_GeomFromText('POINT(1 2)')", "ST_GeomFromText('POINT(2 1)')"}, Form::kText, "HEX($)"},
      {"point", {"ST_GeomFromText('POINT(1 2)')"}, Form::kText, "HEX($)"},
      {"polygon", {"ST_GeomFromText('POLYGON((0 0,1 0,1 1,0 0))')"}, Form::kText, "HEX($)"},
  };
}

TEST_F(MariaDbExactColumns, ComeOutAndFindTheirRows) {
  types_ = MariaDbTypes();
  MakeTable();
  CheckAll();
}

// ---- PostgreSQL ----

class PostgreSqlExactColumns : public ExactColumns {
 protected:
  void SetUp() override {
    const char* const text = std::getenv("ODS_TEST_POSTGRESQL_SCRATCH");
    if (text == nullptr) GTEST_SKIP() << "ODS_TEST_POSTGRESQL_SCRATCH names no server";
    Connect(text);
    Do("CREATE SCHEMA " + schema_);
    made_ = true;
    Do("SET search_path TO " + schema_);
    // As a database may be set up that was not made for us.
    for (const char* setting : {"TimeZone TO 'Asia/Kolkata'", "DateStyle TO 'German'", "IntervalStyle TO 'iso_8601'",
                                "extra_float_digits TO -3"}) {
      Do(std::string("SET ") + setting);
    }
    client_ = std::make_unique<PostgreSqlClient>(
        text, "SET search_path TO " + schema_ + "; SET TIME ZONE 'UTC'; SET extra_float_digits TO 1;\n");
    client_->Run(
        "CREATE TYPE mood AS ENUM ('sad', 'happy \xE2\x82\xAC'); CREATE DOMAIN posint AS integer CHECK (VALUE > 0);"
        "CREATE DOMAIN tinypos AS posint; CREATE TYPE pair AS (a integer, b text);"
        "CREATE COLLATION folded (provider = icu, locale = 'und-u-ks-level2', deterministic = false);\n");
  }
  void TearDown() override {
    if (made_) Do("DROP SCHEMA IF EXISTS " + schema_ + " CASCADE");
  }
  void Do(const std::string& sql) { (void)session_.connection->OpenRecordSet(sql, 0); }

  std::string schema_ = "exact_test_" + std::to_string(getpid());
  bool made_ = false;
};

std::vector<ColumnCase> PostgreSqlTypes() {
  const std::vector<std::string> names = {"'NaN'", "'Infinity'", "'-Infinity'"};
  const std::vector<std::string> doubles = With(With(kDoubles, names), {"5e-324", "'-0'"});
  const std::vector<std::string> singles = With({"0", "0.1", "-0.1", "1.5", "16777216", "3.4028235e38", "1e-45",
                                                 "1.17549435e-38", "123456.789", "0.33333334", "1e10", "'-0'"},
                                                names);
  const std::vector<std::string> dates = {"'2020-02-29'", "'0001-01-01'",    "'9999-12-31'", "'infinity'",
                                          "'-infinity'",  "'0044-03-15 BC'", "'12345-06-07'"};
  const std::vector<std::string> moments = {"'2020-02-29 10:11:12.987654'",
                                            "'0001-01-01'",
                                            "'9999-12-31 23:59:59'",
                                            "'infinity'",
                                            "'-infinity'",
                                            "'0044-03-15 10:11:12.5 BC'",
                                            "'2020-01-01 00:00:00.000001'",
                                            "'294276-12-31 23:59:59.999999'"};
  const std::vector<std::string> anyTexts = With(kTexts, {"repeat('\xE2\x82\xAC', 20000)"});
  std::vector<ColumnCase> types = {
      {"boolean", {"true", "false"}, Form::kText, "CASE $ WHEN true THEN '1' WHEN false THEN '0' END"},
      {"smallint", {"0", "32767", "-32768"}},
      {"integer", {"0", "2147483647", "-2147483648"}},
      {"bigint", {"0", "9223372036854775807", "-9223372036854775808", "9007199254740993"}},
      {"oid", {"0", "4294967295"}},
      {"xid", {"'0'", "'4294967295'"}, Form::kText, "$", false},
      {"numeric",
       With(names, {"0", "1.50", "1.5", "-0.000000000000000000000000000000000001", "repeat('9', 300)::numeric",
                    "123456789012345678901234567890.123456789012345678901234567890"})},
      {"numeric(10,2)", {"0", "-12.50", "99999999.99", "0.01", "'NaN'"}},
      {"numeric(60,20)", {"0", "1234567890123456789012345678901234567890.01234567890123456789", "'NaN'"}},
      {"real", singles, Form::kSingle},
      {"double precision", doubles, Form::kDouble},
      {"money", {"0", "'12.5'", "'-92233720368547758.08'", "'92233720368547758.07'"}, Form::kText, "$::numeric"},
      {"date", dates},
      {"time", {"'00:00:00'", "'23:59:59.999999'", "'10:11:12.5'", "'24:00:00'", "'00:00:00.000001'"}},
      {"time(0)", {"'00:00:00'", "'23:59:59'"}},
      {"timetz", {"'00:00:00+00'", "'23:59:59.5-10'", "'10:00:00+05:30'", "'24:00:00-15:59'"}},
      {"timestamp", moments},
      {"timestamp(0)", {"'2020-02-29 10:11:12'", "'infinity'", "'0044-03-15 10:11:12 BC'"}},
      {"timestamptz", With(moments, {"'2020-02-29 10:11:12.987654+05:30'"})},
      {"interval",
       {"'1 day'", "'24 hours'", "'-3 years 2 mons 10:11:12.5'", "'0'", "'1 mon'", "'30 days'", "'-00:00:00.000001'"}},
      {"char(50)", kTexts, Form::kText, "rpad($::text, 50)"},
      {"bpchar", {"'abc'", "'abc  '", "''", "'x'"}, Form::kText, "concat($)"},
      {"varchar(50)", kTexts},
      {"varchar(50) COLLATE folded", kTexts},
      {"text COLLATE \"C\"", anyTexts},
      {"text COLLATE folded", anyTexts},
      {"\"char\"", {"'x'", "'y'", "''"}},
      {"name", kTexts},
      {"uuid",
       {"'a0eebc99-9c0b-4ef8-bb6d-6bb9bd380a11'", "'00000000-0000-0000-0000-000000000000'"},
       Form::kText,
       "'{' || upper($::text) || '}'"},
      {"varchar", anyTexts},
      {"text", anyTexts},
      {"bytea",
       {"'\\x00'", "''", "'\\x0A1B00FF27'", "decode(repeat('00ff', 10000), 'hex')"},
       Form::kText,
       "upper(encode($, 'hex'))"},
      {"posint", {"1", "2147483647"}},
      {"tinypos", {"1", "2147483647"}},
  };
  struct Other {
    const char* name;
    std::vector<std::string> values;
    bool ordered = true;
  };
  const std::vector<Other> others = {
      {"json", {"'{\"a\" : 1}'", "('\"' || repeat('\xE2\x82\xAC', 1000) || '\"')::json"}, false},
      {"jsonb", {"'{\"a\" : 1}'", "'{\"a\" : 1.0}'", "'null'"}},
      {"jsonpath", {"'$.a[*]'"}, false},
      {"xml", {"'<a>\xE2\x82\xAC</a>'", "('<a>' || repeat('b', 3000) || '</a>')::xml"}, false},
      {"inet", {"'127.0.0.1'", "'::1/64'", "'127.0.0.1/8'"}},
      {"cidr", {"'10.0.0.0/8'"}},
      {"macaddr", {"'08:00:2b:01:02:03'"}},
      {"macaddr8", {"'08:00:2b:01:02:03:04:05'"}},
      {"bit(1)", {"B'0'", "B'1'"}},
      {"bit(3)", {"B'010'"}},
      {"varbit", {"B'010'", "B''", "repeat('10', 500)::varbit"}},
      {"point", {"'(1.5,2)'"}, false},
      {"line", {"'{1,2,3}'"}, false},
      {"lseg", {"'[(1,2),(3,4)]'"}, false},
      {"box", {"'(3,4),(1,2)'"}, false},
      {"path", {"'((1,2),(3,4))'"}, false},
      {"polygon", {"'((1,2),(3,4),(5,6))'"}, false},
      {"circle", {"'<(1,2),3>'"}, false},
      {"tsvector", {"'a b:3 c'"}},
      {"tsquery", {"'a & !b'"}},
      {"xid8", {"'18446744073709551615'"}},
      {"cid", {"'7'"}, false},
      {"tid", {"'(1,2)'"}},
      {"pg_lsn", {"'16/B374D848'"}},
      {"int2vector", {"'1 2 3'"}},
      {"oidvector", {"'1 2 3'"}},
      {"regclass", {"'pg_class'"}},
      {"regtype", {"'integer'"}},
      {"int4range", {"'[1,5)'", "'empty'"}},
      {"numrange", {"'(1.5,2]'", "'(1.50,2]'"}},
      {"tsrange", {"'[2020-01-01,2020-02-01)'"}},
      {"int4multirange", {"'{[1,5),[7,9)}'"}},
      {"integer[]", {"'{1,NULL,3}'", "array_fill(7, ARRAY[500])"}},
      {"text[]", {"'{a,\"b c\",NULL}'"}},
      {"numeric[]", {"'{1.0,2}'", "'{1,2.00}'"}},
      {"json[]", {"'{1}'"}, false},
      {"mood", {"'sad'", "'happy \xE2\x82\xAC'"}},
      {"pair", {"'(1,\"b c\")'"}},
  };
  for (const Other& other : others)
    types.push_back({other.name, other.values, Form::kText, "concat($)", other.ordered});
  return types;
}

TEST_F(PostgreSqlExactColumns, ComeOutAndFindTheirRows) {
  types_ = PostgreSqlTypes();
  MakeTable();
  CheckAll();
}

}  // namespace
}  // namespace ods::test
