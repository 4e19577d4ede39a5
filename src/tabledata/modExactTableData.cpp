#include "tabledata/modExactTableData.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "catalogue/modKeys.h"
#include "common/Conversions.h"
#include "common/Error.h"
#include "common/Hex.h"
#include "common/Text.h"
#include "database/Response.h"
#include "database/modODBC.h"
#include "database/modSelect.h"
#include "exact/ExactProduct.h"
#include "exact/ExactSession.h"
#include "exact/ExactTable.h"
#include "sqlformat/modExactFilter.h"
#include "tabledata/ExactOrder.h"
#include "tabledata/ExactPosition.h"
#include "tabledata/ExactRanges.h"
#include "tabledata/NameList.h"
#include "tabledata/Navigation.h"
#include "tabledata/PageSizeGuard.h"
#include "tabledata/modDecimalFactor.h"

namespace ods {
namespace {

/// So many rows that are equal to a position are read once more with the page, to step over them; more of them have a
/// statement of their own, so that no client's count makes the database give rows that are not equal.
constexpr std::uint32_t kMostSteppedOver = 1000;

/// A cell of the select list.
struct Cell {
  std::string expression;  ///< without an alias
  bool plain = false;      ///< the name of a column alone
  ReadStyle style = ReadStyle::kDriver;
  std::int32_t adoType = ado_type::kEmpty;
  std::string field;  ///< the column that it is of, for the size of a page and for errors
};

using Row = std::vector<ExactValue>;

/// The rows of one page in reading order, and where they begin.
struct Page {
  std::vector<Row> rows;
  bool moreRows = false;
};

/// Where reading begins: behind a row or at one.
struct Start {
  const ExactPosition* position = nullptr;  ///< nullptr for an end of the order
  EqualRows equalRows = EqualRows::kNone;
  std::uint32_t stepOver = 0;  ///< so many equal rows come before the page
  std::uint32_t take = 0;      ///< with `kAlone`, unless rows are to be stepped over: so many belong to the page
};

/// One `TableData` request on its way. `Answer` runs it; `Step` tells where it stands.
class ExactRequest {
 public:
  ExactRequest(const XmlDocument& request, DataSession& session)
      : session_(session), root_(request.SelectSingleNode("/XML")) {}

  void Answer(XmlDocument& response);
  [[nodiscard]] const std::string& Step() const { return step_; }

 private:
  [[nodiscard]] std::string Text(const char* field) const { return GetNodeText(root_, field); }
  void ReadRequest();
  void ReadOrder();
  [[nodiscard]] std::vector<SortColumn> ReadSort() const;
  void ReadConditions();
  [[nodiscard]] std::optional<ExactPosition> ReadPosition(const char* field) const;
  void ReadPositions();
  void ReadFields();
  [[nodiscard]] std::size_t AddCell(Cell cell);
  void MakeFieldList();
  [[nodiscard]] Start StartOf(const Navigation& navigation) const;
  [[nodiscard]] std::vector<OrderRange> Ranges(const Start& start, bool reverse) const;
  Page ReadPage();
  Page NavigateOnce();
  void ReadRange(const OrderRange& range, std::size_t limit, std::uint32_t& stepOver, Page& page);
  [[nodiscard]] Row ReadRow(RecordSet& rows, const std::vector<std::size_t>& columns);
  [[nodiscard]] ExactValue ReadCell(const Cell& cell, const Value& value) const;
  [[nodiscard]] bool IsAt(const Row& row, const std::vector<ExactValue>& values) const;
  [[nodiscard]] std::string CountRows();
  [[nodiscard]] std::string MakePosition(const Page& page, std::size_t index) const;
  void WritePage(XmlDocument& response, Page& page);
  void WriteValue(XmlNode& record, const ExactColumn& column, const ExactValue& value) const;

  DataSession& session_;
  XmlNode root_;
  std::string step_ = "Initialize";

  std::string table_;
  std::string navigate_;
  std::size_t pageSize_ = 0;
  bool count_ = false;
  std::string searchString_;
  const ExactTable* known_ = nullptr;
  ExactOrder order_;
  std::vector<std::string> orderFields_;  ///< that the client gets with the page, since the order is theirs
  std::string filter_;
  std::optional<ExactPosition> firstPosition_;
  std::optional<ExactPosition> lastPosition_;
  std::vector<const ExactColumn*> fields_;  ///< of the response
  std::vector<Cell> cells_;                 ///< of the select list: those of the fields first
  std::vector<std::size_t> termCells_;      ///< which cell has the value of each term of the order
  std::string fieldList_;
  PageSizeGuard guard_;
  Start start_;  ///< of the page that was read
};

void ExactRequest::ReadRequest() {
  table_ = Text("TableId");
  navigate_ = Text("Navigate");
  const std::int32_t pageSize = SafeLng(Text("PageSize"));
  if (pageSize == std::numeric_limits<std::int32_t>::max()) throw Error(error_number::kOverflow, "Overflow");
  pageSize_ = static_cast<std::size_t>(std::max(pageSize, 0));
  count_ = SafeBool(Text("Count"));
  searchString_ = Text("SearchString");
  step_ = "Get table information";
  known_ = &LookupExactTable(session_, table_);
}

std::vector<SortColumn> ExactRequest::ReadSort() const {
  std::vector<SortColumn> sort;
  for (const XmlNode& column : root_.SelectNodes("Sort/Column")) {
    const std::string direction = GetNodeText(column, "Direction");
    sort.push_back({.field = GetNodeText(column, "Id"), .descending = direction == "desc"});
    if (direction != "desc" && direction != "asc" && !direction.empty()) {
      throw Error(error_number::kOwn, "The direction '" + direction + "' of the sort column '" + sort.back().field +
                                          "' is neither 'asc' nor 'desc'.");
    }
  }
  if (sort.empty() && !Text("SortColumn").empty()) {
    sort.push_back({.field = Text("SortColumn"), .descending = Text("SortDirection") == "desc"});
  }
  return sort;
}

void ExactRequest::ReadOrder() {
  step_ = "Get primary key";
  WantedOrder wanted;
  wanted.primaryKey = TextToKey(Text("PrimaryKey"));
  step_ = "Get selected key";
  wanted.selectedKey = TextToKey(Text("Key"));
  step_ = "Calc total key";
  wanted.sort = ReadSort();
  order_ = MakeExactOrder(session_, table_, *known_, wanted);
  for (const SortColumn& column : wanted.sort) orderFields_.push_back(column.field);
  for (const auto* key : {&wanted.selectedKey, &wanted.primaryKey}) {
    orderFields_.insert(orderFields_.end(), key->begin(), key->end());
  }
  if (const ExactKey* key = known_->BestKey()) {
    orderFields_.insert(orderFields_.end(), key->fields.begin(), key->fields.end());
  }
  if (order_.terms.empty()) {
    throw Error(error_number::kOwn,
                "The table '" + table_ + "' has no field by which the database could order its rows.");
  }
}

void ExactRequest::ReadConditions() {
  step_ = "Read filter";
  filter_ = BuildExactFilter(session_, table_, root_, step_);
  step_ = "Read filter";
  if (searchString_.empty()) return;
  const std::string search = BuildExactSearch(session_, table_, root_, searchString_);
  if (!search.empty()) AppendToList(filter_, " AND ", search);
}

std::optional<ExactPosition> ExactRequest::ReadPosition(const char* field) const {
  const std::string text = Text(field);
  if (text.empty()) return std::nullopt;
  ExactPosition position = ParsePosition(text);
  const auto refuse = [](const char* what) {
    throw Error(error_number::kTypeMismatch, std::string("Type mismatch: the position is one of another ") + what);
  };
  if (position.table != FingerprintOf(table_)) refuse("table.");
  const bool fits = position.order == order_.Fingerprint() && position.values.size() == order_.terms.size();
  if (!fits) refuse("order: sort columns and keys stay the same from page to page.");
  return position;
}

void ExactRequest::ReadPositions() {
  step_ = "Get positions";
  firstPosition_ = ReadPosition("FirstPos");
  lastPosition_ = ReadPosition("LastPos");
  step_ = "Validate navigation request";
  if (LacksPosition(navigate_, firstPosition_.has_value(), lastPosition_.has_value())) navigate_ = kGoToFirst;
}

/// The index of the cell, which is added unless there is such a one.
std::size_t ExactRequest::AddCell(Cell cell) {
  const auto same = std::ranges::find_if(
      cells_, [&](const Cell& each) { return each.expression == cell.expression && each.style == cell.style; });
  if (same != cells_.end()) return static_cast<std::size_t>(same - cells_.begin());
  cells_.push_back(std::move(cell));
  return cells_.size() - 1;
}

void ExactRequest::ReadFields() {
  step_ = "Get fields from form definition";
  NameList names;
  for (const XmlNode& field : root_.SelectNodes("Fields/Field")) names.Add(GetNodeText(field, "Id"));
  if (names.Names().empty()) throw Error(error_number::kOwn, "No fields specified on this form");
  step_ = "Add fields from the total key";
  names.Add(orderFields_);
  step_ = "Make field list for the select statement";
  for (const std::string& name : names.Names()) {
    const ExactColumn& column = known_->Require(name, table_);
    fields_.push_back(&column);
    // A cell for each field, in order, whatever the others are.
    cells_.push_back({.expression = column.read,
                      .plain = column.plain,
                      .style = column.readStyle,
                      .adoType = column.adoType,
                      .field = column.name});
  }
  for (const DirectedTerm& each : order_.terms) {
    const OrderTerm& term = each.term;
    const ExactColumn* column = term.field.empty() ? nullptr : known_->Find(term.field);
    termCells_.push_back(AddCell({.expression = term.read,
                                  .plain = column != nullptr && column->plain && term.read == column->read,
                                  .style = term.readStyle,
                                  .adoType = term.adoType,
                                  .field = term.field}));
  }
  MakeFieldList();
}

/// Expressions get names that are no column's: a product may otherwise take the name of a column in the ordering for
/// the expression, which has another order.
void ExactRequest::MakeFieldList() {
  std::string prefix = "x";
  const auto isTaken = [&](const ExactColumn& column) { return ToLower(column.name).starts_with(prefix); };
  while (std::ranges::any_of(known_->columns, isTaken)) prefix += 'x';
  for (std::size_t i = 0; i < cells_.size(); ++i) {
    const Cell& cell = cells_[i];
    std::string text = cell.expression;
    if (!cell.plain) text += " AS " + QuoteIdentifier(session_, prefix + std::to_string(i));
    AppendToList(fieldList_, ",", text);
  }
}

Start ExactRequest::StartOf(const Navigation& navigation) const {
  if (navigation.from == Navigation::From::kNone) return {};
  Start start;
  start.position = navigation.from == Navigation::From::kFirst ? &*firstPosition_ : &*lastPosition_;
  if (order_.unique) {
    start.equalRows = navigation.inclusive ? EqualRows::kFirst : EqualRows::kNone;
    return start;
  }
  // `count` rows from the end of the order that they are counted from up to the row of the position, itself among them.
  const bool fromBehind = (start.position->from == CountedFrom::kFront) == navigation.reverse;
  const std::uint32_t count = start.position->count;
  if (fromBehind) {
    // Of the rows that are equal, those of the page are known by their number.
    start.take = navigation.inclusive ? count : count - 1;
    start.equalRows = start.take == 0 ? EqualRows::kNone : EqualRows::kAlone;
  } else {
    start.stepOver = navigation.inclusive ? count - 1 : count;
    start.equalRows = start.stepOver > kMostSteppedOver ? EqualRows::kAlone : EqualRows::kFirst;
  }
  return start;
}

std::vector<OrderRange> ExactRequest::Ranges(const Start& start, bool reverse) const {
  if (start.position == nullptr) return {WholeOrder(order_, reverse)};
  return RangesBehind(session_, order_, start.position->values, reverse, start.equalRows);
}

bool ExactRequest::IsAt(const Row& row, const std::vector<ExactValue>& values) const {
  for (std::size_t i = 0; i < termCells_.size(); ++i) {
    if (row[termCells_[i]] != values[i]) return false;
  }
  return true;
}

ExactValue ExactRequest::ReadCell(const Cell& cell, const Value& value) const {
  if (cell.style == ReadStyle::kQuoted) return ExactValueOfQuoted(SafeStr(value));
  ExactValue exact = ExactValueOf(value, cell.adoType);
  const double factor = session_.process->decimalFactor;
  if (factor == kScaledDecimalFactor && HasDecimals(cell.adoType) && exact.kind == ExactValue::Kind::kNumber) {
    exact.text = ScaledNumber(value, factor);
  }
  return exact;
}

Row ExactRequest::ReadRow(RecordSet& rows, const std::vector<std::size_t>& columns) {
  Row row;
  row.reserve(cells_.size());
  for (std::size_t i = 0; i < cells_.size(); ++i) {
    row.push_back(ReadCell(cells_[i], rows.Item(columns[i])));
    guard_.Add(cells_[i].field, row.back().text.size());
  }
  return row;
}

void ExactRequest::ReadRange(const OrderRange& range, std::size_t limit, std::uint32_t& stepOver, Page& page) {
  step_ = "Assemble the sql statement";
  std::string where;
  if (!filter_.empty()) where = "(" + filter_ + ")";
  if (!range.where.empty()) AppendToList(where, " AND ", "(" + range.where + ")");
  constexpr auto kMost = static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max());
  auto top = static_cast<std::int32_t>(std::min(limit + stepOver, kMost));
  bool fieldsFixed = false;
  const std::string sql =
      BuildSelect(session_, table_, top, {.where = where, .orderBy = range.orderBy, .fields = fieldList_}, fieldsFixed);
  step_ = "Execute SQL: " + sql;
  const auto rows = ExecuteSQL(session_, sql, top, {.exact = true});
  SettleDecimalFactor(session_);

  step_ = "Read the records";
  std::vector<std::size_t> columns(cells_.size());
  for (std::size_t i = 0; i < columns.size(); ++i) columns[i] = fieldsFixed ? rows->IndexOf(cells_[i].field) : i;
  for (std::size_t count = 0; count < limit && !rows->AtEnd(); rows->MoveNext()) {
    Row row = ReadRow(*rows, columns);
    if (stepOver > 0 && IsAt(row, start_.position->values)) {
      --stepOver;
      continue;
    }
    stepOver = 0;  // a row that is not equal: those that are have become fewer
    ++count;
    page.rows.push_back(std::move(row));
  }
}

Page ExactRequest::NavigateOnce() {
  session_.process->ui->LetEventsRun();
  step_ = "Navigate";
  const Navigation& navigation = FindNavigation(navigate_);
  start_ = StartOf(navigation);
  const std::vector<OrderRange> ranges = Ranges(start_, navigation.reverse);
  // One row more than the page has tells whether there are more.
  const std::size_t wanted = pageSize_ + 1;
  Page page;
  std::uint32_t stepOver = start_.stepOver;
  for (const OrderRange& range : ranges) {
    const bool alone = &range == &ranges.front() && start_.equalRows == EqualRows::kAlone;
    std::size_t limit = wanted - page.rows.size();
    if (alone && start_.take > 0) limit = std::min<std::size_t>(limit, start_.take);
    ReadRange(range, limit, stepOver, page);
    stepOver = 0;  // rows that are equal are in the first range only
    if (page.rows.size() >= wanted) break;
  }
  page.moreRows = page.rows.size() >= wanted;
  if (page.moreRows) page.rows.pop_back();
  return page;
}

Page ExactRequest::ReadPage() {
  while (true) {
    Page page = NavigateOnce();
    step_ = "TableData - navigate";
    const std::string_view otherwise = NavigationAfter(navigate_);
    // A page of no rows is empty wherever it is.
    if (!page.rows.empty() || otherwise.empty()) return page;
    navigate_ = otherwise;
  }
}

std::string ExactRequest::CountRows() {
  step_ = "Count the rows";
  const std::string where = filter_.empty() ? "" : "(" + filter_ + ")";
  bool fieldsFixed = false;
  const std::string sql =
      BuildSelectOne(session_, table_, {.where = where, .orderBy = "", .fields = "COUNT(*)"}, fieldsFixed);
  if (fieldsFixed) {
    throw Error(error_number::kOwn, "The rows of the view '" + table_ + "' cannot be counted: its fields are fixed.");
  }
  const auto rows = ExecuteSQL(session_, sql, 1, {.exact = true});
  return ExactValueOf(rows->Item(0), ado_type::kBigInt).text;
}

/// The position of a row of a page in reading order.
std::string ExactRequest::MakePosition(const Page& page, std::size_t index) const {
  ExactPosition position;
  position.table = FingerprintOf(table_);
  position.order = order_.Fingerprint();
  for (const std::size_t cell : termCells_) position.values.push_back(page.rows[index][cell]);
  if (order_.unique) return PositionText(position);

  const bool reverse = FindNavigation(navigate_).reverse;
  std::size_t first = index;
  while (first > 0 && IsAt(page.rows[first - 1], position.values)) --first;
  auto count = static_cast<std::uint32_t>(index - first + 1);
  bool fromFront = !reverse;
  if (start_.position != nullptr && position.values == start_.position->values) {
    if (start_.take > 0) {
      // These rows are known by how many of them there still are.
      count = start_.take - count + 1;
      fromFront = reverse;
    } else {
      count += start_.stepOver;
    }
  }
  position.from = fromFront ? CountedFrom::kFront : CountedFrom::kBack;
  position.count = count;
  return PositionText(position);
}

void ExactRequest::WriteValue(XmlNode& record, const ExactColumn& column, const ExactValue& value) const {
  XmlNode element = record.AppendElement("V");
  element.SetAttribute("Id", column.name);
  if (value.IsNull()) {
    element.AppendElement("Null");
    return;
  }
  const bool isBytes = value.kind == ExactValue::Kind::kBytes;
  std::string text = DisplayText(value);
  if (isBytes ? column.valueClass != ValueClass::kBytes : !IsXmlText(text)) {
    element.SetAttribute("Encoding", "hex");
    if (!isBytes) text = BytesToHex(Bytes(text.begin(), text.end()));
  }
  element.SetText(text);
}

void ExactRequest::WritePage(XmlDocument& response, Page& page) {
  step_ = "Get new outer positions";
  const bool reverse = FindNavigation(navigate_).reverse;
  std::string first = MakePosition(page, 0);
  std::string last = MakePosition(page, page.rows.size() - 1);
  if (reverse) {
    std::swap(first, last);
    std::ranges::reverse(page.rows);
  }
  response.SelectSingleNode("/XML/FirstPosition").SetText(first);
  response.SelectSingleNode("/XML/LastPosition").SetText(last);

  step_ = "Column info";
  XmlNode columns = response.SelectSingleNode("/XML/Columns");
  for (const ExactColumn* field : fields_) {
    XmlNode column = columns.AppendElement("Column");
    column.AppendElement("Id", field->name);
    column.AppendElement("DataType", std::to_string(field->adoType));
  }

  step_ = "Column data";
  XmlNode records = response.SelectSingleNode("/XML/Records");
  for (const Row& row : page.rows) {
    XmlNode record = records.AppendElement("R");
    for (std::size_t i = 0; i < fields_.size(); ++i) WriteValue(record, *fields_[i], row[i]);
  }
}

void ExactRequest::Answer(XmlDocument& response) {
  ReadRequest();
  ReadOrder();
  ReadConditions();
  ReadPositions();
  ReadFields();
  Page page = ReadPage();
  const std::string total = count_ ? CountRows() : "";

  step_ = "Set the records in the message";
  BeginPage(response, navigate_, page.moreRows);
  response.DocumentElement().AppendElement("Navigated", FindNavigation(navigate_).name);
  if (count_) response.DocumentElement().AppendElement("Total", total);
  if (!page.rows.empty()) WritePage(response, page);
}

}  // namespace

void ExactTableData(const XmlDocument& request, XmlDocument& response, DataSession& session) {
  ExactRequest tableData(request, session);
  try {
    tableData.Answer(response);
  } catch (const Error& error) {
    throw Error(error.Number(), error.Description() + " TableData[" + tableData.Step() + "]");
  }
}

}  // namespace ods
