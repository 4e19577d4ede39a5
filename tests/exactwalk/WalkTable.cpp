#include "exactwalk/WalkTable.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <ostream>
#include <set>
#include <stdexcept>
#include <unistd.h>

#include "common/Conversions.h"
#include "common/Hex.h"
#include "common/Text.h"
#include "exactwalk/Pager.h"
#include "platform/xml/Xml.h"

namespace ods::test {
namespace {

constexpr std::array<unsigned, 4> kVarieties = {1000, 6, 3, 2};
constexpr const char* kRowNumber = "rownumber";  // of the meant rows

std::string MeantColumn(std::size_t column) { return "c" + std::to_string(column); }

std::string LayOut(Form form, const std::string& text) {
  if (form == Form::kText || text.find_first_of("IN") != std::string::npos) return text;  // Infinity, NaN
  double number = std::strtod(text.c_str(), nullptr);
  if (form == Form::kSingle) {
    std::array<char, 64> digits = {};
    const auto [end, error] =
        std::to_chars(digits.data(), digits.data() + digits.size(), std::strtof(text.c_str(), nullptr));
    number = std::strtod(std::string(digits.data(), end).c_str(), nullptr);
  }
  // Zero keeps its sign.
  return text == "-0" ? text : FormatDouble(number);
}

const ColumnType kNumberType = {.declaration = "integer", .values = {"1"}};

}  // namespace

std::string Joined(const TextRow& row) {
  std::string text;
  for (const auto& cell : row) {
    text += (text.empty() ? "" : " \x1F ");
    text += cell ? "'" + *cell + "'" : "null";
  }
  return text;
}

WalkTable::WalkTable(const WalkProduct& product, DatabaseClient& client, const TableChoice& choice, int number)
    : product_(product), client_(client), meantRows_(choice.rows.size()), numbered_(choice.numbered) {
  const std::string plainName = "walk_" + std::to_string(getpid()) + "_" + std::to_string(number);
  name_ = choice.oddName && !product.onlyTables ? "Walk \"" + plainName + "\" it's [a] `b`" : plainName;
  TableChoice::Kind kind = choice.kind;
  if (kind == TableChoice::Kind::kOtherSchema && product.otherSchema.empty()) kind = TableChoice::Kind::kTable;
  if (product.onlyTables) kind = TableChoice::Kind::kTable;
  table_ = product.Quoted(product.namePrefix + name_);
  identifier_ = product.identifierBefore + name_ + product.identifierAfter;
  if (kind == TableChoice::Kind::kOtherSchema) {
    table_ = product.Quoted(product.otherSchema) + "." + table_;
    identifier_ = "[TABLE]" + table_;
  }
  meant_ = plainName + "_meant";
  ChooseColumns(choice);

  std::string definition;
  std::string meantDefinition = std::string("(") + kRowNumber + " integer";
  std::string& list = insertList_;
  std::string& meantList = meantList_;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    definition += (i > 0 ? ", " : "(") + ColumnSql(i) + (columns_[i].nullable ? " NULL" : " NOT NULL");
    if (numbered_ && i + 1 == columns_.size()) {
      definition += " PRIMARY KEY";
    } else {
      meantDefinition += ", " + MeantColumn(i) + " " + columns_[i].type->declaration + " NULL";
    }
    list += (i > 0 ? ", " : "") + Quoted(i);
    meantList += (i > 0 ? ", " : "") + (numbered_ && i + 1 == columns_.size() ? kRowNumber : MeantColumn(i));
  }
  std::string indexes;
  MakeKeys(choice, definition, indexes);
  const bool hasPrimary = definition.find("PRIMARY KEY") != std::string::npos;
  const bool special = kind == TableChoice::Kind::kSpecial && (hasPrimary || !product.specialNeedsKey);
  client_.Run("CREATE TABLE " + meant_ + " " + meantDefinition + ")" + product.meantTable + ";");
  Run(script_, "CREATE TABLE " + table_ + " " + definition + ")" + (special ? product.specialTable : ""));
  Run(script_, indexes);

  const unsigned variety = kVarieties[choice.variety % kVarieties.size()];
  std::string values;
  for (std::size_t row = 0; row < choice.rows.size(); ++row) {
    values += (row > 0 ? ",\n (" : " (") + std::to_string(row);
    for (std::size_t i = 0; i < columns_.size() - (numbered_ ? 1 : 0); ++i) {
      values += ", " + CellSql(choice.rows[row].at(i), variety, columns_[i]);
    }
    values += ")";
  }
  if (!values.empty()) {
    client_.Run("INSERT INTO " + meant_ + " VALUES" + values + ";");
    client_.Run(product.insert + " " + table_ + " (" + list + ") SELECT " + meantList + " FROM " + meant_ +
                " ORDER BY " + kRowNumber + product.insertEnd + ";");
    script_ += "rows meant for it (each with its number first):\n" + values + "\n";
  }
  source_ = table_;
  if (kind == TableChoice::Kind::kDatabaseView) {
    hasView_ = true;
    source_ = product.Quoted(name_ + " view");
    identifier_ = "[TABLE]" + name_ + " view";
    Run(script_, "CREATE VIEW " + source_ + " AS SELECT * FROM " + table_);
  }
  if (kind == TableChoice::Kind::kServerView && !(product.viewsCutNames && HasPoint())) {
    serverView_ = plainName;
    identifier_ = "[APPVIEW]" + serverView_;
  }
}

WalkTable::~WalkTable() {
  try {
    if (hasView_) client_.Run("DROP VIEW " + source_ + ";");
    client_.Run("DROP TABLE " + table_ + "; DROP TABLE " + meant_ + ";");
  } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch)
    // The database goes with the tests.
  }
}

bool WalkTable::HasPoint() const {
  return std::ranges::any_of(columns_,
                             [](const WalkColumn& column) { return column.name.find('.') != std::string::npos; });
}

void WalkTable::Run(std::string& script, const std::string& statement) {
  if (statement.empty()) return;
  client_.Run(statement + ";");
  script += statement + ";\n";
}

void WalkTable::ChooseColumns(const TableChoice& choice) {
  std::set<std::string> taken;
  for (const ColumnChoice& each : choice.columns) {
    WalkColumn column;
    column.type = &product_.types[each.type % product_.types.size()];
    column.nullable = each.nullable;
    const std::vector<std::string>& names = product_.columnNames;
    for (std::size_t i = each.name % names.size();; i = (i + 1) % names.size()) {
      // Two names that differ in their case only are two where the product says so.
      if (!taken.insert(product_.otherSchema.empty() ? ToLower(names[i]) : names[i]).second) continue;
      column.name = names[i];
      break;
    }
    columns_.push_back(column);
  }
  // A table with nothing to order by has no pages.
  if (std::ranges::none_of(columns_, [](const WalkColumn& column) { return column.type->ordered; })) {
    columns_[0].type = product_.types.data();
  }
  if (numbered_) columns_.push_back({.name = kNumberName, .type = &kNumberType, .nullable = false});
}

void WalkTable::MakeKeys(const TableChoice& choice, std::string& definition, std::string& indexes) {
  bool hasPrimary = numbered_;
  int count = 0;
  for (const KeyChoice& key : choice.keys) {
    const std::size_t given = choice.columns.size();
    std::vector<std::size_t> columns;
    for (unsigned i = 0; i <= key.columns; ++i) {
      const std::size_t column = (key.firstColumn + i) % given;
      if (columns_[column].type->keyable && std::ranges::find(columns, column) == columns.end())
        columns.push_back(column);
    }
    if (columns.empty()) continue;
    using Kind = KeyChoice::Kind;
    const bool allSet = std::ranges::none_of(columns, [this](std::size_t i) { return columns_[i].nullable; });
    Kind kind = key.kind;
    if (kind == Kind::kPrimary && (hasPrimary || (!allSet && !product_.nullablePrimaryKeys))) kind = Kind::kUnique;
    if (kind == Kind::kPartialUnique && !product_.partialIndexes) kind = Kind::kPlain;
    if (kind == Kind::kExpressionUnique && product_.indexExpression.empty()) kind = Kind::kPlain;
    std::string list;
    for (const std::size_t i : columns) {
      std::string column = Quoted(i);
      if (kind == Kind::kExpressionUnique) column = ReplaceAll(product_.indexExpression, "$", column);
      if (kind == Kind::kCollatedUnique) column += product_.indexCollation;
      list += (list.empty() ? "" : ", ") + column;
    }
    if (kind == Kind::kPrimary) {
      hasPrimary = true;
      definition += ", PRIMARY KEY (" + list + ")";
      if (product_.nullablePrimaryKeys) continue;
      for (const std::size_t i : columns) columns_[i].nullable = false;
      continue;
    }
    const std::string index = product_.Quoted("index " + std::to_string(count++) + " of " + name_);
    if (!indexes.empty()) indexes += ";\n";
    indexes += std::string("CREATE ") + (kind == Kind::kPlain ? "" : "UNIQUE ") + "INDEX " + index + " ON " + table_ +
               " (" + list + ")";
    if (kind == Kind::kPartialUnique) indexes += " WHERE " + Quoted(0) + " IS NULL";
  }
}

std::string WalkTable::OrderSql(std::size_t column) const {
  const ColumnType& type = *columns_[column].type;
  const bool ofView = !serverView_.empty() && !type.viewOrder.empty();
  return ReplaceAll(ofView ? type.viewOrder : type.order, "$", Quoted(column));
}

std::set<std::string> WalkTable::Apply(const Change& change) {
  constexpr unsigned kFirstInserted = 1000;
  const auto rows = static_cast<unsigned>(meantRows_);
  const std::string row = std::to_string(change.row % rows);
  const std::size_t column = change.column % (columns_.size() - 1);
  const std::string number = Quoted(columns_.size() - 1);
  switch (change.kind) {
    case Change::Kind::kDelete:
      Run(script_, "DELETE FROM " + table_ + " WHERE " + number + "=" + row);
      return {row};
    case Change::Kind::kUpdate:
      if (columns_[column].nullable || MeantText(change.value % rows, column)) {
        Run(script_, "UPDATE " + table_ + " SET " + Quoted(column) + "=" + MeantValue(change.value % rows, column) +
                         " WHERE " + number + "=" + row);
      }
      return {row};
    default: {
      const std::string fresh = std::to_string(kFirstInserted + inserted_++);
      Run(script_, product_.insert + " " + table_ + " (" + insertList_ + ") SELECT " +
                       ReplaceAll(meantList_, kRowNumber, fresh) + " FROM " + meant_ + " WHERE " + kRowNumber + "=" +
                       row + product_.insertEnd);
      return {fresh};
    }
  }
}

std::string WalkTable::ColumnSql(std::size_t column) const {
  return Quoted(column) + " " + columns_[column].type->declaration;
}

std::string WalkTable::CellSql(unsigned choice, unsigned variety, const WalkColumn& column) const {
  constexpr unsigned kEveryNull = 8;
  const std::vector<std::string>& values = column.type->values;
  const unsigned value = choice % variety;
  if (value % kEveryNull == 0) return column.nullable ? "NULL" : values[0];
  if (value < values.size() || column.type->more.empty()) return values[value % values.size()];
  return ReplaceAll(column.type->more, "$", std::to_string(value));
}

std::string WalkTable::TextSql(std::size_t column, const std::string& expression) const {
  const std::string text = ReplaceAll(columns_[column].type->text, "$", expression);
  // The cast of a null is null; and of a composite all of whose parts are null PostgreSQL says that it is null.
  return text == expression || text.starts_with("CAST(")
             ? text
             : "CASE WHEN " + expression + " IS NULL THEN NULL ELSE " + text + " END";
}

std::string WalkTable::NullSql(std::size_t column) const {
  const std::string name = Quoted(column);
  const std::string text = ReplaceAll(columns_[column].type->text, "$", name);
  return text.starts_with("CAST(") ? text : "COALESCE(" + name + ", " + name + ")";
}

std::optional<std::string> WalkTable::PageText(std::size_t column, const std::optional<std::string>& text) const {
  if (!text) return std::nullopt;
  const std::string bytesMark = kBytesMark;
  if (text->starts_with(bytesMark)) {
    return (columns_[column].type->binary ? "" : kHexMark) + text->substr(bytesMark.size());
  }
  if (!IsXmlText(*text)) return kHexMark + BytesToHex(Bytes(text->begin(), text->end()));
  return LayOut(columns_[column].type->form, *text);
}

std::string WalkTable::MeantValue(std::size_t row, std::size_t column) const {
  return "(SELECT " + MeantColumn(column) + " FROM " + meant_ + " WHERE " + kRowNumber + "=" + std::to_string(row) +
         ")";
}

std::optional<std::string> WalkTable::MeantText(std::size_t row, std::size_t column) const {
  std::vector<std::optional<std::string>>& texts = meantTexts_[column];
  if (texts.empty()) {
    for (const TextRow& cells :
         client_.Read({TextSql(column, MeantColumn(column))}, "FROM " + meant_ + " ORDER BY " + kRowNumber)) {
      texts.push_back(PageText(column, cells.at(0)));
    }
  }
  return texts.at(row);
}

std::vector<WalkTable::Row> WalkTable::Read(const std::string& condition, const std::string& order) const {
  std::vector<std::string> expressions;
  for (std::size_t i = 0; i < columns_.size(); ++i) expressions.push_back(TextSql(i, Quoted(i)));
  // The rank is made before the texts, of the columns alone.
  expressions.emplace_back("walk_rank");
  const std::string rank = order.empty() ? "1" : "RANK() OVER (ORDER BY " + order + ")";
  std::vector<Row> rows;
  for (TextRow& cells : client_.Read(expressions, "FROM (SELECT " + source_ + ".*, " + rank + " AS walk_rank FROM " +
                                                      source_ + (condition.empty() ? "" : " WHERE " + condition) +
                                                      ") walked ORDER BY walk_rank")) {
    Row& row = rows.emplace_back();
    row.rank = std::atoi(cells.back()->c_str());
    cells.pop_back();
    for (std::size_t i = 0; i < cells.size(); ++i) row.cells.push_back(PageText(i, cells[i]));
  }
  return rows;
}

std::string WalkTable::Report() const { return script_; }

std::ostream& operator<<(std::ostream& out, const TableChoice& choice) {
  return out << choice.columns.size() << " columns, " << choice.keys.size() << " keys, " << choice.rows.size()
             << " rows";
}

}  // namespace ods::test
