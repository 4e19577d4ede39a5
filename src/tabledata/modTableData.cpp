#include "tabledata/modTableData.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "catalogue/modKeys.h"
#include "common/Attempt.h"
#include "common/Conversions.h"
#include "common/Error.h"
#include "common/Hex.h"
#include "common/Text.h"
#include "database/Response.h"
#include "database/modSelect.h"
#include "sqlformat/modSafeFilter.h"
#include "sqlformat/modSafeVal.h"
#include "tabledata/ExactPosition.h"
#include "tabledata/NameList.h"
#include "tabledata/Navigation.h"
#include "tabledata/OpenPage.h"
#include "tabledata/PageSink.h"
#include "tabledata/modKeyCondition.h"

namespace ods {
namespace {

/// One `TableData` request on its way. `Answer` runs it; `Step` tells where it stands.
class TableDataRequest {
 public:
  TableDataRequest(const XmlDocument& request, DataSession& session)
      : session_(session), root_(request.SelectSingleNode("/XML")) {}

  void Answer(XmlDocument& response);
  [[nodiscard]] const std::string& Step() const { return step_; }
  /// True when the request was answered by a key that was found earlier, and the table has another one by now.
  [[nodiscard]] bool KeyHasChanged();

 private:
  [[nodiscard]] std::string Text(const char* field) const { return GetNodeText(root_, field); }
  [[nodiscard]] std::string PositionField(const char* field) const;
  void ReadRequest();
  bool FindPrimaryKey();
  [[nodiscard]] std::vector<std::string> DetectPrimaryKey();
  void CalculateTotalKey();
  void ReadConditions();
  void ReadPositions();
  void ReadFields();
  void ResolveColumns(const NameList& fields);
  [[nodiscard]] std::shared_ptr<PageSink> ReadPage();
  [[nodiscard]] std::shared_ptr<PageSink> NavigateOnce();
  [[nodiscard]] std::string KeyCondition(const Navigation& navigation);
  [[nodiscard]] std::string OrderBy(bool reverse) const;
  [[nodiscard]] static std::string Where(const std::string& filter, const std::string& keyCondition);
  [[nodiscard]] PagePlan Plan(bool reverse, bool fieldsFixed) const;
  void ReadRows(RowStream& rows);
  void WritePage(XmlDocument& response, PageSink& page);
  [[nodiscard]] std::string MakePosition(const std::vector<Value>& values) const;

  DataSession& session_;
  XmlNode root_;
  std::string step_ = "Initialize";

  std::string table_;
  std::string navigate_;
  std::int32_t pageSize_ = 0;
  std::string sortColumn_;
  bool descending_ = false;
  std::string searchString_;
  std::vector<std::string> primaryKey_;
  bool keyIsKept_ = false;  ///< the key was found for an earlier request
  std::vector<std::string> totalKey_;
  std::string filter_;
  std::shared_ptr<Dictionary> firstPosition_;
  std::shared_ptr<Dictionary> lastPosition_;
  std::vector<std::string> fields_;  ///< of the select list: those asked for, then the rest of the total key
  std::vector<Column> columns_;      ///< the same, resolved
  ColumnList primaryColumns_;
  ColumnList totalColumns_;
  std::vector<std::size_t> positionFields_;  ///< which of the fields a position holds
  std::string fieldList_;
};

void TableDataRequest::ReadRequest() {
  table_ = Text("TableId");
  navigate_ = Text("Navigate");
  pageSize_ = SafeLng(Text("PageSize"));
  sortColumn_ = Text("SortColumn");
  descending_ = Text("SortDirection") == "desc";
  searchString_ = Text("SearchString");
  if (pageSize_ == std::numeric_limits<std::int32_t>::max()) throw Error(error_number::kOverflow, "Overflow");
}

/// False when no primary key is given and none can be detected.
bool TableDataRequest::FindPrimaryKey() {
  step_ = "Get primary key";
  if (const std::string text = Text("PrimaryKey"); !text.empty()) {
    primaryKey_ = TextToKey(text);
    return true;
  }
  step_ = "Detect primary key";
  const auto kept = session_.keyCache.find(table_);
  keyIsKept_ = kept != session_.keyCache.end();
  primaryKey_ = keyIsKept_ ? kept->second : DetectPrimaryKey();
  return !primaryKey_.empty();
}

/// The fields of the key, which is kept with the connection; none where there is none.
std::vector<std::string> TableDataRequest::DetectPrimaryKey() {
  constexpr std::size_t kMostKept = 1000;
  const TableKeys keys = GetTableKeys(session_, table_);
  const Key* primary = keys.PrimaryKey.empty() ? nullptr : keys.Find(keys.PrimaryKey);
  if (primary == nullptr) return {};
  if (session_.keyCache.size() >= kMostKept) session_.keyCache.clear();
  return session_.keyCache[table_] = primary->fields;
}

bool TableDataRequest::KeyHasChanged() {
  if (!keyIsKept_ || session_.connection->IsLost()) return false;
  session_.keyCache.erase(table_);
  std::vector<std::string> now;
  const auto failure = Attempt([&] { now = DetectPrimaryKey(); });
  return !failure && !now.empty() && now != primaryKey_;
}

void TableDataRequest::CalculateTotalKey() {
  step_ = "Get selected key";
  const std::vector<std::string> selectedKey = TextToKey(Text("Key"));
  step_ = "Calc total key";
  NameList total;
  if (!sortColumn_.empty()) total.Add(sortColumn_);
  total.Add(selectedKey);
  total.Add(primaryKey_);
  totalKey_ = total.Names();
}

void TableDataRequest::ReadConditions() {
  step_ = "Read filter";
  filter_ = BuildFilter(session_, table_, root_, step_);
  step_ = "Read filter";
  if (searchString_.empty()) return;
  AppendToList(filter_, " AND ", BuildSearch(session_, table_, root_, searchString_));
}

std::string TableDataRequest::PositionField(const char* field) const {
  std::string text = Text(field);
  if (text.starts_with(kExactPositionMark)) {
    throw Error(error_number::kTypeMismatch,
                "Type mismatch: the position was made with exact paging, which this server does not use.");
  }
  return text;
}

void TableDataRequest::ReadPositions() {
  step_ = "Get positions";
  const ComponentRegistry& components = *session_.process->components;
  firstPosition_ = UnmarshalDictionary(components, PositionField("FirstPos"));
  lastPosition_ = UnmarshalDictionary(components, PositionField("LastPos"));

  step_ = "Validate navigation request";
  if (LacksPosition(navigate_, firstPosition_ != nullptr, lastPosition_ != nullptr)) navigate_ = kGoToFirst;
}

void TableDataRequest::ReadFields() {
  step_ = "Get fields from form definition";
  NameList fields;
  for (const XmlNode& field : root_.SelectNodes("Fields/Field")) fields.Add(GetNodeText(field, "Id"));
  if (fields.Names().empty()) throw Error(error_number::kOwn, "No fields specified on this form");
  step_ = "Add fields from the total key";
  fields.Add(totalKey_);
  fields_ = fields.Names();
  step_ = "Make field list for the select statement";
  ResolveColumns(fields);
}

/// What the statements and the positions need of the fields, so that nothing is looked up by its name again.
void TableDataRequest::ResolveColumns(const NameList& fields) {
  columns_.reserve(fields_.size());
  ColumnList all;
  for (const std::string& field : fields_) all.push_back(&columns_.emplace_back(session_, table_, field));
  fieldList_ = QuotedFieldList(all);
  for (const std::string& field : totalKey_) totalColumns_.push_back(all[fields.IndexOf(field)]);
  if (!sortColumn_.empty()) positionFields_.push_back(fields.IndexOf(sortColumn_));
  for (const std::string& field : primaryKey_) {
    positionFields_.push_back(fields.IndexOf(field));
    primaryColumns_.push_back(all[positionFields_.back()]);
  }
}

std::string TableDataRequest::KeyCondition(const Navigation& navigation) {
  const bool fromFirst = navigation.from == Navigation::From::kFirst;
  if (navigation.from == Navigation::From::kNone) return "";
  const KeyComparison comparison = {.greater = navigation.reverse == descending_, .inclusive = navigation.inclusive};
  return BuildKeyCondition(session_, table_, fromFirst ? *firstPosition_ : *lastPosition_, primaryColumns_,
                           totalColumns_, comparison);
}

std::string TableDataRequest::OrderBy(bool reverse) const {
  const std::string direction = descending_ != reverse ? " DESC" : "";
  std::string ordering;
  // The sort column, when there is one, is the first field of the total key.
  for (Column* column : totalColumns_) AppendToList(ordering, ", ", column->Expression() + direction);
  return ordering;
}

std::string TableDataRequest::Where(const std::string& filter, const std::string& keyCondition) {
  std::string where;
  if (!filter.empty()) where = "(" + filter + ")";
  if (!keyCondition.empty()) where += std::string(where.empty() ? "" : " AND") + " (" + keyCondition + ")";
  return where;
}

PagePlan TableDataRequest::Plan(bool reverse, bool fieldsFixed) const {
  return {.fields = fields_,
          .position = positionFields_,
          .byName = fieldsFixed,
          .size = static_cast<std::size_t>(std::max(pageSize_, 0)),
          .reverse = reverse,
          .rules = {.spellsDateFormulas = session_.navisionOnSqlServer == "1", .ui = session_.process->ui}};
}

void TableDataRequest::ReadRows(RowStream& rows) {
  step_ = "Read the records";
  try {
    rows.ReadToEnd();
  } catch (const FieldError& error) {
    step_ = "Get data for field " + std::to_string(error.Field() + 1) + " \"" + fields_[error.Field()] + "\"";
    throw;
  }
}

std::shared_ptr<PageSink> TableDataRequest::NavigateOnce() {
  session_.process->ui->LetEventsRun();
  step_ = "Navigate";
  const Navigation& navigation = FindNavigation(navigate_);
  const std::string keyCondition = KeyCondition(navigation);
  step_ = "Order by";
  const std::string orderBy = OrderBy(navigation.reverse);
  step_ = "Assemble the sql statement";
  const std::string where = Where(filter_, keyCondition);
  bool fieldsFixed = false;
  std::int32_t limit = pageSize_ + 1;
  const std::string sql =
      BuildSelect(session_, table_, limit, {.where = where, .orderBy = orderBy, .fields = fieldList_}, fieldsFixed);
  step_ = "Execute SQL: " + sql;
  auto page = std::make_shared<PageSink>(Plan(navigation.reverse, fieldsFixed));
  const auto rows = OpenPage(session_, sql, limit, page);
  ReadRows(*rows);
  return page;
}

std::shared_ptr<PageSink> TableDataRequest::ReadPage() {
  while (true) {
    std::shared_ptr<PageSink> page = NavigateOnce();
    step_ = "TableData - navigate";
    const std::string_view otherwise = NavigationAfter(navigate_);
    if (page->RowCount() > 0 || otherwise.empty()) return page;
    navigate_ = otherwise;
  }
}

std::string TableDataRequest::MakePosition(const std::vector<Value>& values) const {
  const auto position = CreateHalvikDictionary(*session_.process->components);
  for (std::size_t i = 0; i < values.size(); ++i) position->Set(fields_[positionFields_[i]], values[i]);
  return BytesToHex(position->marshalldictionary());
}

void TableDataRequest::WritePage(XmlDocument& response, PageSink& page) {
  step_ = "Get new outer positions";
  response.SelectSingleNode("/XML/FirstPosition").SetText(MakePosition(page.First()));
  response.SelectSingleNode("/XML/LastPosition").SetText(MakePosition(page.Last()));

  step_ = "Column info";
  XmlNode columns = response.SelectSingleNode("/XML/Columns");
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    XmlNode column = columns.AppendElement("Column");
    column.AppendElement("Id", fields_[i]);
    column.AppendElement("DataType", std::to_string(page.Types()[i]));
  }

  step_ = "Column data";
  response.SetMarkup(response.SelectSingleNode("/XML/Records"), page.TakeRecords());
}

void TableDataRequest::Answer(XmlDocument& response) {
  ReadRequest();
  if (!FindPrimaryKey()) {
    FillErrorDocument(response, error_number::kNoPrimaryKey, "No primary key defined");
    return;
  }
  CalculateTotalKey();
  ReadConditions();
  ReadPositions();
  ReadFields();
  const std::shared_ptr<PageSink> page = ReadPage();

  step_ = "Set the records in the message";
  BeginPage(response, navigate_, page->MoreRows());
  if (page->RowCount() > 0) WritePage(response, *page);
}

}  // namespace

void TableData(const XmlDocument& request, XmlDocument& response, DataSession& session) {
  for (bool again = false;; again = true) {
    TableDataRequest tableData(request, session);
    try {
      tableData.Answer(response);
      return;
    } catch (const Error& error) {
      if (!again && tableData.KeyHasChanged()) continue;
      throw Error(error.Number(), error.Description() + " TableData[" + tableData.Step() + "]");
    }
  }
}

}  // namespace ods
