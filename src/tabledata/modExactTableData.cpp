#include "tabledata/modExactTableData.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "catalogue/modKeys.h"
#include "common/Conversions.h"
#include "common/Error.h"
#include "common/Text.h"
#include "database/Response.h"
#include "database/modODBC.h"
#include "database/modSelect.h"
#include "exact/ExactProduct.h"
#include "exact/ExactSession.h"
#include "exact/ExactTable.h"
#include "sqlformat/modExactFilter.h"
#include "tabledata/ExactOrder.h"
#include "tabledata/ExactPageSink.h"
#include "tabledata/ExactPosition.h"
#include "tabledata/ExactRanges.h"
#include "tabledata/NameList.h"
#include "tabledata/Navigation.h"
#include "tabledata/OpenPage.h"

namespace ods {
namespace {

/// So many rows that are equal to a position are read once more with the page, to step over them; more of them have a
/// statement of their own, so that no client's count makes the database give rows that are not equal.
constexpr std::uint32_t kMostSteppedOver = 1000;

/// A cell of the select list.
struct SelectedCell {
  std::string expression;  ///< without an alias
  bool plain = false;      ///< the name of a column alone
  ExactCell read;
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
  [[nodiscard]] std::size_t AddCell(SelectedCell cell);
  void MakeFieldList();
  [[nodiscard]] Start StartOf(const Navigation& navigation) const;
  [[nodiscard]] std::vector<OrderRange> Ranges(const Start& start, bool reverse) const;
  [[nodiscard]] std::shared_ptr<ExactPageSink> ReadPage();
  [[nodiscard]] std::shared_ptr<ExactPageSink> NavigateOnce();
  [[nodiscard]] ExactPagePlan Plan(bool reverse) const;
  void ReadRange(const OrderRange& range, std::size_t limit, std::uint32_t stepOver,
                 const std::shared_ptr<ExactPageSink>& page);
  [[nodiscard]] std::string CountRows();
  [[nodiscard]] std::string MakePosition(const ExactPageSink::End& end) const;
  void WritePage(XmlDocument& response, ExactPageSink& page);

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
  std::vector<SelectedCell> cells_;         ///< of the select list: those of the fields first
  std::vector<std::size_t> termCells_;      ///< which cell has the value of each term of the order
  std::string fieldList_;
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
std::size_t ExactRequest::AddCell(SelectedCell cell) {
  const auto same = std::ranges::find_if(cells_, [&](const SelectedCell& each) {
    return each.expression == cell.expression && each.read.style == cell.read.style;
  });
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
                      .read = {.style = column.readStyle, .adoType = column.adoType, .field = column.name}});
  }
  for (const DirectedTerm& each : order_.terms) {
    const OrderTerm& term = each.term;
    const ExactColumn* column = term.field.empty() ? nullptr : known_->Find(term.field);
    termCells_.push_back(AddCell({.expression = term.read,
                                  .plain = column != nullptr && column->plain && term.read == column->read,
                                  .read = {.style = term.readStyle, .adoType = term.adoType, .field = term.field}}));
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
    const SelectedCell& cell = cells_[i];
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

ExactPagePlan ExactRequest::Plan(bool reverse) const {
  ExactPagePlan plan;
  for (const SelectedCell& cell : cells_) plan.cells.push_back(cell.read);
  for (const ExactColumn* field : fields_) plan.fields.push_back(field->valueClass);
  plan.terms = termCells_;
  plan.unique = order_.unique;
  plan.size = pageSize_;
  plan.reverse = reverse;
  if (start_.position != nullptr) plan.start = start_.position->values;
  return plan;
}

void ExactRequest::ReadRange(const OrderRange& range, std::size_t limit, std::uint32_t stepOver,
                             const std::shared_ptr<ExactPageSink>& page) {
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
  page->Expect(limit, stepOver, fieldsFixed);
  const auto rows = OpenPage(session_, sql, top, page, {.exact = true});
  step_ = "Read the records";
  rows->ReadToEnd();
}

std::shared_ptr<ExactPageSink> ExactRequest::NavigateOnce() {
  session_.process->ui->LetEventsRun();
  step_ = "Navigate";
  const Navigation& navigation = FindNavigation(navigate_);
  start_ = StartOf(navigation);
  const std::vector<OrderRange> ranges = Ranges(start_, navigation.reverse);
  // One row more than the page has tells whether there are more.
  const std::size_t wanted = pageSize_ + 1;
  auto page = std::make_shared<ExactPageSink>(Plan(navigation.reverse));
  std::uint32_t stepOver = start_.stepOver;
  for (const OrderRange& range : ranges) {
    const bool alone = &range == &ranges.front() && start_.equalRows == EqualRows::kAlone;
    std::size_t limit = wanted - page->RowCount();
    if (alone && start_.take > 0) limit = std::min<std::size_t>(limit, start_.take);
    ReadRange(range, limit, stepOver, page);
    stepOver = 0;  // rows that are equal are in the first range only
    if (page->MoreRows()) break;
  }
  return page;
}

std::shared_ptr<ExactPageSink> ExactRequest::ReadPage() {
  while (true) {
    std::shared_ptr<ExactPageSink> page = NavigateOnce();
    step_ = "TableData - navigate";
    const std::string_view otherwise = NavigationAfter(navigate_);
    // A page of no rows is empty wherever it is.
    if (page->RowCount() > 0 || otherwise.empty()) return page;
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

/// The position of an end of a page.
std::string ExactRequest::MakePosition(const ExactPageSink::End& end) const {
  ExactPosition position;
  position.table = FingerprintOf(table_);
  position.order = order_.Fingerprint();
  position.values = end.values;
  if (order_.unique) return PositionText(position);

  const bool reverse = FindNavigation(navigate_).reverse;
  std::uint32_t count = end.equal;
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

void ExactRequest::WritePage(XmlDocument& response, ExactPageSink& page) {
  step_ = "Get new outer positions";
  std::string first = MakePosition(page.FirstRead());
  std::string last = MakePosition(page.LastRead());
  if (FindNavigation(navigate_).reverse) std::swap(first, last);
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
  response.SetMarkup(response.SelectSingleNode("/XML/Records"), page.TakeRecords());
}

void ExactRequest::Answer(XmlDocument& response) {
  ReadRequest();
  ReadOrder();
  ReadConditions();
  ReadPositions();
  ReadFields();
  const std::shared_ptr<ExactPageSink> page = ReadPage();
  const std::string total = count_ ? CountRows() : "";

  step_ = "Set the records in the message";
  BeginPage(response, navigate_, page->MoreRows());
  response.DocumentElement().AppendElement("Navigated", FindNavigation(navigate_).name);
  if (count_) response.DocumentElement().AppendElement("Total", total);
  if (page->RowCount() > 0) WritePage(response, *page);
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
