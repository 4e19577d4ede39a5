// A random table: what is chosen of it, the statements that make it, and the rows as the database itself tells them.
#pragma once

#include <array>
#include <cstddef>
#include <iosfwd>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "exactwalk/Client.h"
#include "exactwalk/Products.h"

namespace ods::test {

inline constexpr std::size_t kMostColumns = 6;

// Choices are small numbers, which are taken modulo what there is to choose from, so that they shrink to the plainest.

struct ColumnChoice {
  unsigned type = 0;
  unsigned name = 0;
  bool nullable = false;
};

struct KeyChoice {
  enum class Kind { kPrimary, kUnique, kNullableUnique, kPartialUnique, kExpressionUnique, kCollatedUnique, kPlain };
  static constexpr unsigned kKinds = 7;
  Kind kind = Kind::kPrimary;
  unsigned firstColumn = 0;
  unsigned columns = 0;  ///< one more than this
};

struct TableChoice {
  enum class Kind { kTable, kDatabaseView, kServerView, kSpecial, kOtherSchema };
  static constexpr unsigned kKinds = 5;
  Kind kind = Kind::kTable;
  bool oddName = false;
  std::vector<ColumnChoice> columns;
  std::vector<KeyChoice> keys;
  unsigned variety = 0;  ///< how many different values a column has, at most
  std::vector<std::array<unsigned, kMostColumns>> rows;
  /// A column is added that numbers the rows and is the primary key.
  bool numbered = false;
};

struct WalkColumn {
  std::string name;
  const ColumnType* type = nullptr;
  bool nullable = true;
};

/// A change to a table between two pages.
struct Change {
  enum class Kind { kDelete, kUpdate, kInsert };
  static constexpr unsigned kKinds = 3;
  Kind kind = Kind::kDelete;
  unsigned row = 0;
  unsigned column = 0;
  unsigned value = 0;  ///< the row whose value it gets
};

/// A table as it is in the database.
class WalkTable {
 public:
  /// Makes it. What a key forbids is left out. `product` and `client` outlive the table. `number` is one that no other
  /// table of the process has.
  WalkTable(const WalkProduct& product, DatabaseClient& client, const TableChoice& choice, int number);
  ~WalkTable();
  WalkTable(const WalkTable&) = delete;
  WalkTable& operator=(const WalkTable&) = delete;
  WalkTable(WalkTable&&) = delete;
  WalkTable& operator=(WalkTable&&) = delete;

  [[nodiscard]] const std::vector<WalkColumn>& Columns() const { return columns_; }
  /// The name of the column that numbers the rows; it is the last one.
  static constexpr const char* kNumberName = "row number";
  [[nodiscard]] const std::string& Identifier() const { return identifier_; }
  /// The identifier and the query of the server-side view that it is, if it is one.
  [[nodiscard]] std::string ServerViewId() const { return serverView_; }
  [[nodiscard]] std::string ServerViewQuery() const { return "SELECT * FROM " + source_; }
  /// What is asked for by FROM.
  [[nodiscard]] const std::string& Source() const { return source_; }
  /// 1 when the last column numbers the rows.
  [[nodiscard]] std::size_t NumberColumns() const { return numbered_ ? 1 : 0; }
  [[nodiscard]] std::string Quoted(std::size_t column) const { return product_.Quoted(columns_[column].name); }
  /// What the product orders by where it is asked to order by a column.
  [[nodiscard]] std::string OrderSql(std::size_t column) const;
  /// What is null where the column is. MariaDB takes a zero date for null where a column that is never null is asked,
  /// so the column is not asked alone.
  [[nodiscard]] std::string NullSql(std::size_t column) const;
  /// The rows that were meant for the table, those that a key forbids too.
  [[nodiscard]] std::size_t MeantRows() const { return meantRows_; }
  /// SQL of the value that the column of a meant row has.
  [[nodiscard]] std::string MeantValue(std::size_t row, std::size_t column) const;
  /// Its text as a page has it; nothing for null.
  [[nodiscard]] std::optional<std::string> MeantText(std::size_t row, std::size_t column) const;

  /// A row as it is in the database.
  struct Row {
    TextRow cells;  ///< by column, as a page has them
    int rank = 0;   ///< by `order`; rows that are equal in it have the same
  };
  /// The rows that meet `condition` ("" for all) in the order of `order` (SQL; "" for none).
  [[nodiscard]] std::vector<Row> Read(const std::string& condition, const std::string& order) const;

  /// The statements that made the table, and the rows that it has, for a report.
  [[nodiscard]] std::string Report() const;

  /// Changes a table with numbered rows. The numbers of the rows that it may concern.
  std::set<std::string> Apply(const Change& change);

 private:
  [[nodiscard]] std::string ColumnSql(std::size_t column) const;
  [[nodiscard]] std::string CellSql(unsigned choice, unsigned variety, const WalkColumn& column) const;
  [[nodiscard]] std::string TextSql(std::size_t column, const std::string& expression) const;
  [[nodiscard]] std::optional<std::string> PageText(std::size_t column, const std::optional<std::string>& text) const;
  [[nodiscard]] bool HasPoint() const;
  void ChooseColumns(const TableChoice& choice);
  void MakeKeys(const TableChoice& choice, std::string& definition, std::string& indexes);
  void Run(std::string& script, const std::string& statement);

  const WalkProduct& product_;
  DatabaseClient& client_;
  std::vector<WalkColumn> columns_;
  std::string name_;
  std::string table_;  ///< the table's name in SQL
  std::string meant_;  ///< the name of the table of all meant rows
  std::string source_;
  std::string identifier_;
  std::string serverView_;
  std::size_t meantRows_ = 0;
  std::string insertList_;  ///< the columns, and those of the meant rows that they are filled from
  std::string meantList_;
  unsigned inserted_ = 0;
  bool hasView_ = false;
  bool numbered_ = false;
  std::string script_;
  mutable std::map<std::size_t, std::vector<std::optional<std::string>>> meantTexts_;  ///< by column
};

std::ostream& operator<<(std::ostream& out, const TableChoice& choice);

/// A row in one text, for comparing and showing.
[[nodiscard]] std::string Joined(const TextRow& row);

}  // namespace ods::test
