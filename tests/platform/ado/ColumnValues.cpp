// Every column type of every database, compared with the database's own text of each value. The drivers are not asked
// for that text: the rows are written and their texts read by the databases' own clients (the SQLite library, psql and
// mariadb). Each type has hundreds of rows with nulls in changing places, and is fetched in every way that a record set
// has: in blocks and row by row, alone and among others, with and without a long column beside it.
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <optional>
#include <set>
#include <sqlite3.h>
#include <sstream>

#include "common/Hex.h"
#include "common/Text.h"
#include "platform/ado/Ado.h"
#include "platform/ado/AdoTestSupport.h"
#include "support/EnvironmentValue.h"
#include "support/GatheredRows.h"
#include "support/TemporaryFolder.h"
#include "support/TestSystem.h"

namespace ods {
namespace {

/// What a value of a column is expected to be, given the database's text of it.
enum class Form { kText, kNumber, kSingle, kDouble, kBoolean, kBytes, kDate, kTime, kMoment };

/// A column type.
struct ColumnCase {
  std::string type;                 ///< as a table declares it
  Form form;                        ///< what its values come as
  std::vector<std::string> values;  ///< in the database's SQL: ordinary ones and those at the bounds
  std::string text = "$";           ///< SQL of the database's text of a value; "$" stands for the column
  bool isLong = false;              ///< read in pieces
};

constexpr int kRows = 210;  // three blocks, and a part of one
constexpr const char* kTable = "column_values";

/// The nulls of one reading: which rows have them. `column` shifts some of them, so that columns differ within a row.
struct NullPattern {
  const char* name;
  bool (*isNull)(int row, int column);
};

constexpr NullPattern kNullPatterns[] = {
    {"no nulls", [](int, int) { return false; }},
    {"alternating", [](int row, int) { return row % 2 == 0; }},
    {"alternating from column to column", [](int row, int column) { return (row + column) % 2 == 0; }},
    {"runs across the bounds of blocks", [](int row, int) { return row % 64 >= 58 || row % 64 < 6; }},
    {"values across the bounds of blocks only", [](int row, int) { return row % 64 < 58 && row % 64 >= 6; }},
    {"one block of nulls, one of values", [](int row, int) { return row / 64 % 2 == 0; }},
    {"a third, shifted from column to column", [](int row, int column) { return (row + column) % 3 == 0; }},
};
constexpr int kPatterns = static_cast<int>(std::size(kNullPatterns));

std::string ColumnName(std::size_t column) { return "c" + std::to_string(column); }

/// The texts of a row's cells; nothing for null.
using TextRow = std::vector<std::optional<std::string>>;

/// A cell that `isNull`, or what it holds.
std::string CellSql(const ColumnCase& type, int pattern, int row, int column) {
  if (kNullPatterns[pattern].isNull(row, column)) return "NULL";
  return type.values[static_cast<std::size_t>(row + column) % type.values.size()];
}

/// What a fetched value looks like in the form that the database's text has; what it is in truth when it has another
/// type than its column's.
std::string TextOf(Form form, const Value& value) {
  switch (form) {
    case Form::kText:
      if (const auto* text = value.GetIf<std::string>()) return *text;
      break;
    case Form::kNumber:
      if (value.Is<std::int32_t>() || value.Is<std::int64_t>() || value.Is<Decimal>()) return SafeStr(value);
      if (const auto* text = value.GetIf<std::string>(); text != nullptr && *text == "NaN") return *text;
      break;
    case Form::kSingle:
    case Form::kDouble:
      if (const auto* number = value.GetIf<double>()) {
        std::ostringstream text;
        text.precision(17);
        text << *number;
        return text.str();
      }
      break;
    case Form::kBoolean:
      if (const auto* flag = value.GetIf<bool>()) return *flag ? "1" : "0";
      break;
    case Form::kBytes:
      if (value.Is<Bytes>()) return BytesToHex(value);
      break;
    case Form::kDate:
      if (const auto* date = value.GetIf<Date>()) return FormatDate(*date);
      break;
    case Form::kTime:
      if (const auto* date = value.GetIf<Date>()) return FormatTime(*date);
      break;
    case Form::kMoment:
      if (const auto* date = value.GetIf<Date>()) return FormatMoment(*date);
      break;
  }
  return value.TypeName() + " '" + SafeStr(value) + "'";
}

/// The database's text in the form of `TextOf`: numbers of floating point are read and written again.
std::string Normalised(Form form, const std::string& text) {
  if (form == Form::kSingle) return TextOf(form, static_cast<double>(std::strtof(text.c_str(), nullptr)));
  if (form == Form::kDouble) return TextOf(form, std::strtod(text.c_str(), nullptr));
  return text;
}

/// A database with a table of all column types, and its own client.
class ColumnValues : public ::testing::Test {
 protected:
  /// Runs SQL in the database's client.
  virtual void RunInClient(const std::string& script) = 0;
  /// The rows of a query whose columns are texts of hexadecimal digits, or "-" for null, as the client gives them.
  virtual std::vector<std::vector<std::string>> ReadInClient(const std::string& query) = 0;
  /// SQL of the hexadecimal digits of a text in UTF-8, "-" for null.
  [[nodiscard]] virtual std::string HexSql(const std::string& expression) const = 0;

  [[nodiscard]] std::string CreateTableSql() const {
    std::string sql = std::string("CREATE TABLE ") + kTable + " (pattern int NOT NULL, id int NOT NULL";
    for (std::size_t i = 0; i < types_.size(); ++i) sql += ", " + ColumnName(i) + " " + types_[i].type + " NULL";
    return sql + ", PRIMARY KEY (pattern, id));\n";
  }

  /// Makes the table: a row for every row of every pattern, numbered within the pattern.
  void MakeTable() {
    std::string script = CreateTableSql();
    for (int pattern = 0; pattern < kPatterns; ++pattern) {
      script += std::string("INSERT INTO ") + kTable + " VALUES ";
      for (int row = 0; row < kRows; ++row) {
        script += (row > 0 ? ",\n(" : "\n(") + std::to_string(pattern) + "," + std::to_string(row);
        for (std::size_t i = 0; i < types_.size(); ++i) {
          script += "," + CellSql(types_[i], pattern, row, static_cast<int>(i));
        }
        script += ")";
      }
      script += ";\n";
    }
    RunInClient(script);
    for (int pattern = 0; pattern < kPatterns; ++pattern) ReadTruth(pattern);
  }

  void ReadTruth(int pattern) {
    std::string query = "SELECT ";
    for (std::size_t i = 0; i < types_.size(); ++i) {
      const std::string name = ColumnName(i);
      query += (i > 0 ? ", " : "") + HexSql("CASE WHEN " + name + " IS NULL THEN NULL ELSE " +
                                            ReplaceAll(types_[i].text, "$", name) + " END");
    }
    query += std::string(" FROM ") + kTable + " WHERE pattern=" + std::to_string(pattern) + " ORDER BY id";
    std::vector<TextRow>& rows = truth_.emplace_back();
    for (const std::vector<std::string>& cells : ReadInClient(query)) {
      TextRow& row = rows.emplace_back();
      for (std::size_t i = 0; i < cells.size(); ++i) {
        if (cells[i] == "-") {
          row.emplace_back();
          continue;
        }
        const Bytes bytes = HexToBytes(cells[i]);
        row.emplace_back(Normalised(types_[i].form, std::string(bytes.begin(), bytes.end())));
      }
      ASSERT_EQ(row.size(), types_.size());
    }
    ASSERT_EQ(rows.size(), static_cast<std::size_t>(kRows)) << query;
  }

  [[nodiscard]] std::vector<std::size_t> Columns(bool isLong) const {
    std::vector<std::size_t> columns;
    for (std::size_t i = 0; i < types_.size(); ++i) {
      if (types_[i].isLong == isLong) columns.push_back(i);
    }
    return columns;
  }

  /// Reads columns of the rows from `first` on, at most `most` of them unless that is 0, and compares every cell.
  void Compare(int pattern, const std::vector<std::size_t>& columns, int first = 0, int most = 0) {
    std::string sql = "SELECT id";
    for (const std::size_t column : columns) sql += ", " + ColumnName(column);
    sql += std::string(" FROM ") + kTable + " WHERE pattern=" + std::to_string(pattern) +
           " AND id>=" + std::to_string(first) + " ORDER BY id";
    for (const bool asCells : {false, true}) {
      int row = first;
      for (const std::vector<Value>& values : asCells ? ReadAsCells(sql, most) : ReadAsValues(sql, most)) {
        ASSERT_EQ(SafeLng(values[0]), row);
        for (std::size_t i = 0; i < columns.size(); ++i) {
          const ColumnCase& type = types_[columns[i]];
          const std::optional<std::string>& wanted =
              truth_[static_cast<std::size_t>(pattern)][static_cast<std::size_t>(row)][columns[i]];
          const Value& value = values[i + 1];
          const std::string given = value.IsNull() ? "null" : TextOf(type.form, value);
          if (given == wanted.value_or("null") && value.IsNull() != wanted.has_value()) continue;
          if (++wrong_[type.type] > 3) continue;  // a few tell as much as thousands
          ADD_FAILURE() << type.type << ", " << kNullPatterns[pattern].name << ", row " << row << ", " << columns.size()
                        << " columns, at most " << most << " rows, " << (asCells ? "cells: " : "values: ")
                        << given.substr(0, 80) << " where the database has " << wanted.value_or("null").substr(0, 80);
        }
        ++row;
      }
      EXPECT_EQ(row, most == 0 ? kRows : std::min(kRows, first + most)) << sql;
    }
  }

  [[nodiscard]] std::vector<std::vector<Value>> ReadAsValues(const std::string& sql, int most) const {
    std::vector<std::vector<Value>> rows;
    for (const auto read = connection_->OpenRecordSet(sql, most); !read->AtEnd(); read->MoveNext()) {
      std::vector<Value>& row = rows.emplace_back();
      for (std::size_t i = 0; i < read->Fields().size(); ++i) row.push_back(read->Item(i));
    }
    return rows;
  }

  [[nodiscard]] std::vector<std::vector<Value>> ReadAsCells(const std::string& sql, int most) const {
    const auto rows = std::make_shared<test::GatheredRows>();
    connection_->OpenStream(sql, most, false, rows)->ReadToEnd();
    return std::move(rows->rows);
  }

  void CompareAlone() {
    for (int pattern = 0; pattern < kPatterns; ++pattern) {
      for (std::size_t i = 0; i < types_.size(); ++i) Compare(pattern, {i});
    }
  }
  void CompareTogether() {
    for (int pattern = 0; pattern < kPatterns; ++pattern) Compare(pattern, Columns(false));
  }
  /// A long column, another one for each pattern, before the others and behind them. It keeps a record set from reading
  /// blocks.
  void CompareBesideLong() {
    const std::vector<std::size_t> isLong = Columns(true);
    for (int pattern = 0; pattern < kPatterns; ++pattern) {
      const std::size_t beside = isLong[static_cast<std::size_t>(pattern) % isLong.size()];
      std::vector<std::size_t> columns = Columns(false);
      columns.push_back(beside);
      Compare(pattern, columns);
      columns.pop_back();
      columns.insert(columns.begin(), beside);
      Compare(pattern, columns);
    }
  }
  void CompareAllAtOnce() {
    std::vector<std::size_t> columns(types_.size());
    for (std::size_t i = 0; i < columns.size(); ++i) columns[i] = i;
    for (int pattern = 0; pattern < kPatterns; ++pattern) Compare(pattern, columns);
  }
  /// As pages of ten rows are read, and rows one by one: a block then has eleven rows, and one.
  void CompareInPages() {
    for (int pattern = 0; pattern < kPatterns; ++pattern) {
      for (int first = 0; first < kRows; first += 10) Compare(pattern, Columns(false), first, 11);
    }
    for (int first = 0; first < kRows; first += 3) Compare(first % kPatterns, Columns(false), first, 1);
  }
  /// Every type that the driver says the database has is a column here, by the first word of its declaration.
  void ExpectTypesOfTheDriver() {
    std::set<std::string> declared;
    for (const ColumnCase& type : types_) declared.insert(ToLower(type.type.substr(0, type.type.find_first_of(" ("))));
    for (const auto rows = connection_->OpenSchema(Schema::kProviderTypes); !rows->AtEnd(); rows->MoveNext()) {
      const std::string name = ToLower(SafeStr(rows->Item("TYPE_NAME")));
      EXPECT_TRUE(declared.contains(name) || declared.contains(name.substr(0, name.find_first_of(" (")))) << name;
    }
  }
  void CompareInEveryWay() {
    CompareAlone();
    CompareTogether();
    CompareBesideLong();
    CompareAllAtOnce();
    CompareInPages();
  }

  std::vector<ColumnCase> types_;
  std::vector<std::vector<TextRow>> truth_;  ///< by pattern and row
  std::map<std::string, int> wrong_;
  std::shared_ptr<Connection> connection_ = CreateOdbcConnection();
  test::TemporaryFolder folder_;
};

/// A value of an ODBC connection string without braces.
std::string Setting(const std::string& connectionString, const std::string& name) {
  std::istringstream text(connectionString);
  for (std::string part; std::getline(text, part, ';');) {
    if (part.starts_with(name + "=")) return part.substr(name.size() + 1);
  }
  return "";
}

/// A database whose client is a program that reads SQL from its standard input and writes a row a line.
class ServerColumnValues : public ColumnValues {
 protected:
  void Connect(const char* variable) {
    const char* const text = std::getenv(variable);
    if (text == nullptr) GTEST_SKIP() << variable << " names no server";
    connectionString_ = text;
    connection_->Open(connectionString_);
  }
  [[nodiscard]] std::string Part(const std::string& name) const { return Setting(connectionString_, name); }
  [[nodiscard]] virtual std::string ClientCommand() const = 0;

  void RunInClient(const std::string& script) override { (void)Lines(script); }
  std::vector<std::vector<std::string>> ReadInClient(const std::string& query) override {
    std::vector<std::vector<std::string>> rows;
    for (const std::string& line : Lines(query + ";\n")) {
      std::istringstream cells(line);
      std::vector<std::string>& row = rows.emplace_back();
      for (std::string cell; std::getline(cells, cell, '\t');) row.push_back(cell);
    }
    return rows;
  }

  std::string connectionString_;

 private:
  std::vector<std::string> Lines(const std::string& script) {
    const std::string input = folder_.Path() + "/script.sql";
    const std::string output = folder_.Path() + "/output";
    std::ofstream(input) << Preamble() << script;
    const std::string command = ClientCommand() + " <" + input + " >" + output;
    EXPECT_EQ(std::system(command.c_str()), 0) << command;
    std::vector<std::string> lines;
    std::ifstream text(output);
    for (std::string line; std::getline(text, line);) lines.push_back(line);
    return lines;
  }
  [[nodiscard]] virtual std::string Preamble() const { return ""; }
};

// ---- SQLite ----

class SqliteColumnValues : public ColumnValues {
 protected:
  void SetUp() override {
    ASSERT_EQ(sqlite3_open((folder_.Path() + "/values.db").c_str(), &client_), SQLITE_OK);
    connection_->Open("Driver=SQLite3;Database=" + test::DriverPath(folder_.Path()) + "/values.db");
  }
  void TearDown() override { sqlite3_close(client_); }
  void RunInClient(const std::string& script) override {
    ASSERT_EQ(sqlite3_exec(client_, ("BEGIN;" + script + "COMMIT;").c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
        << sqlite3_errmsg(client_);
  }
  std::vector<std::vector<std::string>> ReadInClient(const std::string& query) override {
    std::vector<std::vector<std::string>> rows;
    const auto addRow = [](void* all, int count, char** texts, char**) {
      static_cast<std::vector<std::vector<std::string>>*>(all)->emplace_back(texts, texts + count);
      return 0;
    };
    EXPECT_EQ(sqlite3_exec(client_, query.c_str(), addRow, &rows, nullptr), SQLITE_OK) << sqlite3_errmsg(client_);
    return rows;
  }
  [[nodiscard]] std::string HexSql(const std::string& expression) const override {
    return "CASE WHEN (" + expression + ") IS NULL THEN '-' ELSE hex(CAST(" + expression + " AS TEXT)) END";
  }

  sqlite3* client_ = nullptr;
};

const std::vector<std::string> kTexts = {
    "'abc'", "''", "'it''s \"quoted\" \\ %_'", "'\xC3\x98resund \xD7\x99 \xE2\x82\xAC \xF0\x9F\x98\x80'", "' blank '",
    "'0'",   "'x'"};

std::vector<std::string> With(std::vector<std::string> values, const std::vector<std::string>& more) {
  values.insert(values.end(), more.begin(), more.end());
  return values;
}

std::vector<ColumnCase> SqliteTypes() {
  const std::vector<std::string> integers = {
      "0", "1", "-1", "2147483647", "-2147483648", "2147483648", "9223372036854775807", "-9223372036854775808"};
  const std::vector<std::string> doubles = {
      "0.0", "1.5", "-2.25", "0.1", "1e300", "-1e-300", "123456789.25", "1.7976931348623157e308", "3.0"};
  const std::vector<std::string> bytes = {"x'00'", "x''", "x'0A1B00FF'", "x'27'", "zeroblob(200)"};
  const std::vector<std::string> dates = {"'2020-02-29'", "'0001-01-01'", "'9999-12-31'", "'1899-12-30'"};
  const std::vector<std::string> times = {"'00:00:00'", "'23:59:59'", "'10:11:12'"};
  const std::vector<std::string> moments = {"'2020-02-29 10:11:12'", "'0001-01-01 00:00:00'", "'9999-12-31 23:59:59'"};
  const std::string fifteen = "printf('%.15g', $)";
  std::vector<ColumnCase> types;
  for (const char* name : {"integer", "int", "tinyint", "smallint", "mediumint", "bigint", "int unsigned"}) {
    types.push_back({name, Form::kNumber, integers});
  }
  for (const char* name : {"float", "real", "double", "numeric(10,2)"}) {
    types.push_back({name, Form::kDouble, doubles, fifteen});
  }
  for (const char* name : {"bit", "boolean", "bool"})
    types.push_back({name, Form::kBoolean, {"0", "1", "1", "0", "1"}});
  for (const char* name : {"varchar(100)", "char(10)", "nvarchar(10)", "nchar(3)", "varchar"}) {
    types.push_back({name, Form::kText, With(kTexts, {"replace(hex(zeroblob(150)),'0','\xE2\x82\xAC')"})});
  }
  for (const char* name : {"text", "longvarchar", "ntext", "clob", "memo"}) {
    types.push_back({name, Form::kText, With(kTexts, {"replace(hex(zeroblob(5000)),'0','\xE2\x82\xAC')"}), "$", true});
  }
  types.push_back({"decimal(10,2)", Form::kText, {"1.5", "-12.25", "0", "99999999.99"}, "$"});
  types.push_back({"varbinary(20)", Form::kBytes, bytes, "hex($)"});
  for (const char* name : {"blob", "longvarbinary"}) {
    types.push_back({name, Form::kBytes, With(bytes, {"zeroblob(20000)"}), "hex($)", true});
  }
  // The driver takes a type that it does not know for a text, and gives bytes in it as a literal.
  for (const char* name : {"binary(16)", "image", "anything"}) {
    types.push_back({name, Form::kText, With(bytes, {"'abc'"}), "CASE typeof($) WHEN 'blob' THEN quote($) ELSE $ END"});
  }
  types.push_back({"date", Form::kDate, dates});
  types.push_back({"time", Form::kTime, times});
  for (const char* name : {"timestamp", "datetime"}) types.push_back({name, Form::kMoment, moments});
  return types;
}

TEST_F(SqliteColumnValues, ComeOutAsTheDatabasesOwnText) {
  types_ = SqliteTypes();
  MakeTable();
  CompareInEveryWay();
}

TEST_F(SqliteColumnValues, CoverTheTypesOfTheDriver) {
  types_ = SqliteTypes();
  ExpectTypesOfTheDriver();
}

// ---- MariaDB ----

class MariaDbColumnValues : public ServerColumnValues {
 protected:
  void SetUp() override {
    Connect("ODS_TEST_MARIADB_SCRATCH");
    if (connectionString_.empty()) return;
    (void)connection_->OpenRecordSet("CREATE DATABASE " + database_ + " CHARACTER SET utf8mb4", 0);
    (void)connection_->OpenRecordSet("USE " + database_, 0);
    (void)connection_->OpenRecordSet("SET time_zone='+05:30'", 0);
  }
  void TearDown() override {
    if (!connectionString_.empty()) (void)connection_->OpenRecordSet("DROP DATABASE IF EXISTS " + database_, 0);
  }
  [[nodiscard]] std::string ClientCommand() const override {
    return "MYSQL_PWD='" + Part("PWD") + "' mariadb --no-defaults --host=" + Part("Server") +
           " --port=" + Part("Port") + " --user=" + Part("UID") +
           " --default-character-set=utf8mb4 --batch --skip-column-names " + database_;
  }
  [[nodiscard]] std::string Preamble() const override {
    return "SET sql_mode='NO_BACKSLASH_ESCAPES', time_zone='+05:30';\n";
  }
  [[nodiscard]] std::string HexSql(const std::string& expression) const override {
    return "COALESCE(HEX(CONVERT(" + expression + " USING utf8mb4)), '-')";
  }

  std::string database_ = UniqueName() + "_values";
};

std::vector<ColumnCase> MariaDbTypes() {
  const std::vector<std::string> bytes = {"x'00'", "x''", "x'0A1B00FF'", "x'27'", "x'FFFFFFFFFF'"};
  const std::vector<std::string> singles = {
      "0", "0.1", "-0.1", "1.5", "16777217", "3.4028234e38", "-1.17549435e-38", "123456.789"};
  const std::vector<std::string> doubles = {
      "0", "0.1", "-2.25", "1e300", "1.7976931348623157e308", "2.2250738585072014e-308", "0.30000000000000004"};
  // Dates and times that are none are null here.
  const std::string date = "IF($ + 0 = 0 OR DAY($) = 0, NULL, CAST($ AS CHAR))";
  const std::string moment = "IF($ + 0 = 0, NULL, LEFT(CAST($ AS CHAR), 19))";
  const std::string time = "IF($ < 0 OR $ >= '24:00:00', NULL, LEFT(CAST($ AS CHAR), 8))";
  const std::vector<std::string> moments = {"'2020-02-29 10:11:12.987654'", "'1970-01-02 06:00:01'",
                                            "'2038-01-19 03:14:07.000001'"};
  const std::vector<std::string> times = {"'00:00:00'", "'23:59:59.999999'", "'10:11:12.5'", "'838:59:59'",
                                          "'-10:00:00'"};
  const std::string asDouble = "CAST($ AS DOUBLE)";
  return {
      {"tinyint", Form::kNumber, {"0", "1", "127", "-128"}},
      {"tinyint unsigned", Form::kNumber, {"0", "1", "255"}},
      {"bool", Form::kNumber, {"true", "false"}},
      {"smallint", Form::kNumber, {"0", "32767", "-32768"}},
      {"smallint unsigned", Form::kNumber, {"0", "65535"}},
      {"mediumint", Form::kNumber, {"0", "8388607", "-8388608"}},
      {"mediumint unsigned", Form::kNumber, {"0", "16777215"}},
      {"int", Form::kNumber, {"0", "2147483647", "-2147483648"}},
      {"integer unsigned", Form::kNumber, {"0", "4294967295"}},
      {"int(5) zerofill", Form::kNumber, {"0", "42", "4294967295"}, "$ + 0"},
      {"bigint", Form::kNumber, {"0", "9223372036854775807", "-9223372036854775808"}},
      {"bigint unsigned", Form::kNumber, {"0", "9223372036854775807", "9223372036854775808", "18446744073709551615"}},
      {"bit(1)", Form::kBoolean, {"0", "1", "1"}, "$ + 0"},
      {"bit(8)", Form::kBytes, {"0", "1", "255"}, "HEX(CAST($ AS BINARY))"},
      {"bit(64)", Form::kBytes, {"0", "1", "18446744073709551615"}, "HEX(CAST($ AS BINARY))"},
      {"decimal(65,30)",
       Form::kNumber,
       {"0", "1.5", "99999999999999999999999999999999999.999999999999999999999999999999",
        "-0.000000000000000000000000000001"}},
      {"decimal(10,2)", Form::kNumber, {"0", "-12.50", "99999999.99", "0.01"}},
      {"decimal(18) unsigned", Form::kNumber, {"0", "999999999999999999"}},
      {"numeric(5,5)", Form::kNumber, {"0.5", "-0.99999"}},
      {"float", Form::kSingle, singles, asDouble},
      {"float unsigned", Form::kSingle, {"0", "0.1", "3.4028234e38"}, asDouble},
      {"float(7,3)", Form::kSingle, {"0", "1234.567", "-0.125"}, asDouble},
      {"double", Form::kDouble, doubles},
      {"double unsigned", Form::kDouble, {"0", "0.1", "1e300"}},
      {"double(15,3)", Form::kDouble, {"0", "123456789012.345", "-0.125"}},
      {"real", Form::kDouble, doubles},
      {"date", Form::kDate, {"'2020-02-29'", "'0001-01-01'", "'9999-12-31'", "'0000-00-00'", "'2020-02-00'"}, date},
      {"time", Form::kTime, times, time},
      {"time(6)", Form::kTime, times, time},
      {"datetime", Form::kMoment, With(moments, {"'0001-01-01'", "'9999-12-31 23:59:59'", "'0000-00-00'"}), moment},
      {"datetime(6)", Form::kMoment, With(moments, {"'9999-12-31 23:59:59.999999'"}), moment},
      {"timestamp", Form::kMoment, With(moments, {"'0000-00-00'"}), moment},
      {"timestamp(6)", Form::kMoment, moments, moment},
      {"year", Form::kNumber, {"1901", "2155", "0", "2020"}, "$ + 0"},
      {"char(50)", Form::kText, kTexts},
      {"char(1)", Form::kText, {"'x'", "''", "'\xF0\x9F\x98\x80'"}},
      {"nchar(50)", Form::kText, {"'abc'", "'\xE2\x82\xAC'"}},
      {"varchar(50)", Form::kText, kTexts},
      {"varchar(4000)", Form::kText, With(kTexts, {"repeat('\xF0\x9F\x98\x80', 4000)"})},
      {"varchar(50) character set latin1", Form::kText, {"'abc'", "'\xC3\x98\xC3\x9B'", "''"}},
      {"nvarchar(50)", Form::kText, {"'abc'", "'\xE2\x82\xAC'"}},
      {"enum('a','\xC3\x98','')", Form::kText, {"'a'", "'\xC3\x98'", "''"}},
      {"set('a','b','\xE2\x82\xAC')", Form::kText, {"'a'", "'a,b,\xE2\x82\xAC'", "''"}},
      {"uuid", Form::kText, {"'a0eebc99-9c0b-4ef8-bb6d-6bb9bd380a11'", "'00000000-0000-0000-0000-000000000000'"}},
      {"inet4", Form::kText, {"'127.0.0.1'", "'255.255.255.255'", "'0.0.0.0'"}},
      {"inet6", Form::kText, {"'::1'", "'ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff'", "'::'"}},
      {"binary(5)", Form::kBytes, bytes, "HEX($)"},
      {"varbinary(50)", Form::kBytes, bytes, "HEX($)"},
      {"varbinary(4000)", Form::kBytes, With(bytes, {"repeat(x'27', 4000)"}), "HEX($)"},
      {"varbinary(5000)", Form::kBytes, With(bytes, {"repeat(x'27', 5000)"}), "HEX($)", true},
      {"varchar(5000)", Form::kText, With(kTexts, {"repeat('\xF0\x9F\x98\x80', 5000)"}), "$", true},
      {"tinyblob", Form::kBytes, bytes, "HEX($)", true},
      {"blob", Form::kBytes, With(bytes, {"repeat(x'00ff', 10000)"}), "HEX($)", true},
      {"mediumblob", Form::kBytes, bytes, "HEX($)", true},
      {"longblob", Form::kBytes, bytes, "HEX($)", true},
      {"tinytext", Form::kText, kTexts, "$", true},
      {"text", Form::kText, With(kTexts, {"repeat('\xE2\x82\xAC', 9000)"}), "$", true},
      {"mediumtext", Form::kText, kTexts, "$", true},
      {"longtext", Form::kText, kTexts, "$", true},
      {"json", Form::kText, {"'{\"a\": 1}'", "'\"\xE2\x82\xAC\"'"}, "$", true},
      {"long varbinary", Form::kBytes, bytes, "HEX($)", true},
      {"long varchar", Form::kText, kTexts, "$", true},
      {"geometry", Form::kBytes, {"ST_GeomFromText('POINT(1 2)')"}, "HEX($)", true},
      {"point", Form::kBytes, {"ST_GeomFromText('POINT(1 2)')"}, "HEX($)", true},
      {"linestring", Form::kBytes, {"ST_GeomFromText('LINESTRING(1 2,3 4)')"}, "HEX($)", true},
      {"polygon", Form::kBytes, {"ST_GeomFromText('POLYGON((0 0,1 0,1 1,0 0))')"}, "HEX($)", true},
      {"multipoint", Form::kBytes, {"ST_GeomFromText('MULTIPOINT(1 2,3 4)')"}, "HEX($)", true},
      {"multilinestring", Form::kBytes, {"ST_GeomFromText('MULTILINESTRING((1 2,3 4))')"}, "HEX($)", true},
      {"multipolygon", Form::kBytes, {"ST_GeomFromText('MULTIPOLYGON(((0 0,1 0,1 1,0 0)))')"}, "HEX($)", true},
      {"geometrycollection", Form::kBytes, {"ST_GeomFromText('GEOMETRYCOLLECTION(POINT(1 2))')"}, "HEX($)", true},
  };
}

TEST_F(MariaDbColumnValues, ComeOutAsTheDatabasesOwnText) {
  types_ = MariaDbTypes();
  MakeTable();
  CompareInEveryWay();
}

TEST_F(MariaDbColumnValues, CoverTheTypesOfTheDriverAndTheServer) {
  types_ = MariaDbTypes();
  ExpectTypesOfTheDriver();
  const auto plugins =
      connection_->OpenRecordSet("SELECT plugin_name FROM information_schema.plugins WHERE plugin_type='DATA TYPE'", 0);
  for (; !plugins->AtEnd(); plugins->MoveNext()) {
    EXPECT_TRUE(std::ranges::count(types_, SafeStr(plugins->Item(0)), &ColumnCase::type)) << SafeStr(plugins->Item(0));
  }
}

// ---- PostgreSQL ----

class PostgreSqlColumnValues : public ServerColumnValues {
 protected:
  /// @param encoding of the client, as the driver takes it from the environment: text comes as UTF-8 where it is that
  explicit PostgreSqlColumnValues(const char* encoding = "UTF8") : encoding_("PGCLIENTENCODING", encoding) {}
  void SetUp() override {
    Connect("ODS_TEST_POSTGRESQL_SCRATCH");
    if (connectionString_.empty()) return;
    (void)connection_->OpenRecordSet("CREATE SCHEMA " + schema_, 0);
    (void)connection_->OpenRecordSet("SET search_path TO " + schema_, 0);
    (void)connection_->OpenRecordSet("SET TIME ZONE 'Asia/Kolkata'", 0);
    RunInClient(
        "CREATE TYPE mood AS ENUM ('sad', 'happy \xE2\x82\xAC'); CREATE DOMAIN posint AS integer CHECK (VALUE > 0);"
        "CREATE TYPE pair AS (a integer, b text);");
  }
  void TearDown() override {
    if (!connectionString_.empty()) {
      (void)connection_->OpenRecordSet("DROP SCHEMA IF EXISTS " + schema_ + " CASCADE", 0);
    }
  }
  [[nodiscard]] std::string ClientCommand() const override {
    return "PGOPTIONS='--client-min-messages=warning' PGCLIENTENCODING=UTF8 PGPASSWORD='" + Part("PWD") +
           "' psql --no-psqlrc --quiet --set=ON_ERROR_STOP=1 --no-align --tuples-only --field-separator='\t' --host=" +
           Part("Server") + " --port=" + Part("Port") + " --username=" + Part("UID") + " " + Part("Database");
  }
  [[nodiscard]] std::string Preamble() const override {
    return "SET search_path TO " + schema_ + "; SET TIME ZONE 'Asia/Kolkata';\n";
  }
  [[nodiscard]] std::string HexSql(const std::string& expression) const override {
    return "coalesce(encode(convert_to((" + expression + ")::text, 'UTF8'), 'hex'), '-')";
  }

  test::EnvironmentValue encoding_;
  std::string schema_ = UniqueName() + "_values";
};

class PostgreSqlColumnValuesInLatin1 : public PostgreSqlColumnValues {
 protected:
  PostgreSqlColumnValuesInLatin1() : PostgreSqlColumnValues("LATIN1") {}
};

std::vector<ColumnCase> PostgreSqlTypes() {
  const std::vector<std::string> doubles = {"0",
                                            "0.1",
                                            "-2.25",
                                            "1e300",
                                            "1.7976931348623157e308",
                                            "2.2250738585072014e-308",
                                            "0.30000000000000004",
                                            "'NaN'",
                                            "'Infinity'",
                                            "'-Infinity'"};
  const std::vector<std::string> singles = {
      "0",          "0.1",   "-0.1",       "1.5",        "16777216", "3.4028235e38", "-1.17549435e-38",
      "123456.789", "'NaN'", "'Infinity'", "'-Infinity'"};
  const std::string moment = "left($::text, 19)";
  std::vector<ColumnCase> types = {
      {"boolean", Form::kText, {"true", "false"}, "CASE $ WHEN true THEN '1' WHEN false THEN '0' END"},
      {"smallint", Form::kNumber, {"0", "32767", "-32768"}},
      {"integer", Form::kNumber, {"0", "2147483647", "-2147483648"}},
      {"bigint", Form::kNumber, {"0", "9223372036854775807", "-9223372036854775808"}},
      {"oid", Form::kNumber, {"0", "4294967295"}},
      {"xid", Form::kNumber, {"'0'", "'4294967295'"}},
      {"numeric",
       Form::kNumber,
       {"0", "1.50", "-0.000000000000000000000000000000000001", "'NaN'", "repeat('9', 300)::numeric"}},
      {"numeric(10,2)", Form::kNumber, {"0", "-12.50", "99999999.99", "0.01", "'NaN'"}},
      {"numeric(30,10)", Form::kNumber, {"0", "12345678901234567890.0123456789", "'NaN'"}},
      {"real", Form::kSingle, singles},
      {"double precision", Form::kDouble, doubles},
      {"money", Form::kDouble, {"0", "'12.5'", "'-92233720368547758.08'", "'92233720368547758.07'"}, "$::numeric"},
      {"date", Form::kDate, {"'2020-02-29'", "'0001-01-01'", "'9999-12-31'"}},
      {"time", Form::kTime, {"'00:00:00'", "'23:59:59.999999'", "'10:11:12.5'"}, "left($::text, 8)"},
      {"time(0)", Form::kTime, {"'00:00:00'", "'23:59:59'"}},
      {"timetz", Form::kText, {"'00:00:00+00'", "'23:59:59.5-10'"}},
      {"timestamp", Form::kMoment, {"'2020-02-29 10:11:12.987654'", "'0001-01-01'", "'9999-12-31 23:59:59'"}, moment},
      {"timestamp(0)", Form::kMoment, {"'2020-02-29 10:11:12'", "'1970-01-01'"}, moment},
      {"timestamptz", Form::kMoment, {"'2020-02-29 10:11:12.987654+02'", "'1970-01-01+00'"}, moment},
      {"char(50)", Form::kText, kTexts, "rpad($::text, 50)"},
      {"char(1)", Form::kText, {"'x'", "'\xF0\x9F\x98\x80'"}},
      {"varchar(50)", Form::kText, kTexts},
      {"varchar(4000)", Form::kText, With(kTexts, {"repeat('\xF0\x9F\x98\x80', 4000)"})},
      {"\"char\"", Form::kText, {"'x'", "'y'"}},
      {"name", Form::kText, kTexts},
      {"uuid",
       Form::kText,
       {"'a0eebc99-9c0b-4ef8-bb6d-6bb9bd380a11'", "'00000000-0000-0000-0000-000000000000'"},
       "'{' || upper($::text) || '}'"},
      {"varchar", Form::kText, With(kTexts, {"repeat('\xE2\x82\xAC', 20000)"}), "$", true},
      {"varchar(5000)", Form::kText, With(kTexts, {"repeat('\xF0\x9F\x98\x80', 5000)"}), "$", true},
      {"text", Form::kText, With(kTexts, {"repeat('\xE2\x82\xAC', 20000)"}), "$", true},
      {"bytea",
       Form::kBytes,
       {"'\\x00'", "''", "'\\x0A1B00FF27'", "decode(repeat('00ff', 10000), 'hex')"},
       "upper(encode($, 'hex'))",
       true},
  };
  // The driver knows nothing of these but that they have a text.
  const std::vector<std::pair<const char*, std::vector<std::string>>> texts = {
      {"bpchar", kTexts},
      {"interval", {"'1 day'", "'-3 years 2 mons 10:11:12.5'", "'0'"}},
      {"json", {"'{\"a\" : 1}'", "('\"' || repeat('\xE2\x82\xAC', 1000) || '\"')::json"}},
      {"jsonb", {"'{\"a\" : 1}'", "'null'"}},
      {"jsonpath", {"'$.a[*]'"}},
      {"xml", {"'<a>\xE2\x82\xAC</a>'", "('<a>' || repeat('b', 3000) || '</a>')::xml"}},
      {"inet", {"'127.0.0.1'", "'::1/64'"}},
      {"cidr", {"'10.0.0.0/8'"}},
      {"macaddr", {"'08:00:2b:01:02:03'"}},
      {"macaddr8", {"'08:00:2b:01:02:03:04:05'"}},
      {"bit(1)", {"B'0'", "B'1'"}},
      {"bit(3)", {"B'010'"}},
      {"varbit", {"B'010'", "B''", "repeat('10', 500)::varbit"}},
      {"point", {"'(1.5,2)'"}},
      {"line", {"'{1,2,3}'"}},
      {"lseg", {"'[(1,2),(3,4)]'"}},
      {"box", {"'(3,4),(1,2)'"}},
      {"path", {"'((1,2),(3,4))'"}},
      {"polygon", {"'((1,2),(3,4),(5,6))'"}},
      {"circle", {"'<(1,2),3>'"}},
      {"tsvector", {"'a b:3 c'"}},
      {"tsquery", {"'a & !b'"}},
      {"xid8", {"'18446744073709551615'"}},
      {"cid", {"'7'"}},
      {"tid", {"'(1,2)'"}},
      {"pg_lsn", {"'16/B374D848'"}},
      {"pg_snapshot", {"'10:20:10,14,15'"}},
      {"txid_snapshot", {"'10:20:10,14,15'"}},
      {"aclitem", {"'sample=r/sample'"}},
      {"refcursor", {"'cursor'"}},
      {"int2vector", {"'1 2 3'"}},
      {"oidvector", {"'1 2 3'"}},
      {"regclass", {"'pg_class'"}},
      {"regproc", {"'now'"}},
      {"regprocedure", {"'now()'"}},
      {"regoper", {"'||/'"}},
      {"regoperator", {"'+(integer,integer)'"}},
      {"regtype", {"'integer'"}},
      {"regrole", {"'sample'"}},
      {"regnamespace", {"'pg_catalog'"}},
      {"regconfig", {"'english'"}},
      {"regdictionary", {"'simple'"}},
      {"regcollation", {"'\"C\"'"}},
      {"int4range", {"'[1,5)'", "'empty'"}},
      {"int8range", {"'[1,)'"}},
      {"numrange", {"'(1.5,2]'"}},
      {"daterange", {"'[2020-01-01,2020-02-01)'"}},
      {"tsrange", {"'[2020-01-01,2020-02-01)'"}},
      {"tstzrange", {"'[2020-01-01,2020-02-01)'"}},
      {"int4multirange", {"'{[1,5),[7,9)}'"}},
      {"int8multirange", {"'{[1,5)}'"}},
      {"nummultirange", {"'{[1,5)}'"}},
      {"datemultirange", {"'{[2020-01-01,2020-02-01)}'"}},
      {"tsmultirange", {"'{[2020-01-01,2020-02-01)}'"}},
      {"tstzmultirange", {"'{[2020-01-01,2020-02-01)}'"}},
      {"integer[]", {"'{1,NULL,3}'", "array_fill(7, ARRAY[500])"}},
      {"text[]", {"'{a,\"b c\",NULL}'"}},
      {"mood", {"'sad'", "'happy \xE2\x82\xAC'"}},
      {"pair", {"'(1,\"b c\")'"}},
  };
  // A cast to text takes blanks from the end of a bpchar, and adds the bits of the network to an inet.
  for (const auto& [name, values] : texts) types.push_back({name, Form::kText, values, "concat($)"});
  types.push_back({"posint", Form::kNumber, {"1", "2147483647"}});
  return types;
}

TEST_F(PostgreSqlColumnValues, ComeOutAsTheDatabasesOwnText) {
  types_ = PostgreSqlTypes();
  MakeTable();
  CompareInEveryWay();
}

TEST_F(PostgreSqlColumnValuesInLatin1, ComeOutAsTheDatabasesOwnText) {
  types_ = PostgreSqlTypes();
  MakeTable();
  CompareInEveryWay();
}

TEST_F(PostgreSqlColumnValues, CoverTheTypesOfTheServer) {
  types_ = PostgreSqlTypes();
  RunInClient(CreateTableSql());
  const auto missing = connection_->OpenRecordSet(
      std::string("SELECT string_agg(typname, ' ' ORDER BY typname) FROM pg_type WHERE typtype IN ('b', 'r', 'm')"
                  " AND typnamespace='pg_catalog'::regnamespace AND typname NOT LIKE '\\_%' AND oid NOT IN"
                  " (SELECT atttypid FROM pg_attribute WHERE attrelid='") +
          kTable + "'::regclass)",
      0);
  // Those that no table can be given values of.
  EXPECT_EQ(SafeStr(missing->Item(0)),
            "gtsvector pg_brin_bloom_summary pg_brin_minmax_multi_summary pg_dependencies pg_mcv_list pg_ndistinct "
            "pg_node_tree");
}

}  // namespace
}  // namespace ods
