#include "tabledata/modTableData.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "catalogue/modKeys.h"
#include "common/Conversions.h"
#include "common/Error.h"
#include "common/Hex.h"
#include "common/Text.h"
#include "database/Response.h"
#include "database/modODBC.h"
#include "database/modSelect.h"
#include "sqlformat/modSafeFilter.h"
#include "sqlformat/modSafeVal.h"
#include "tabledata/ExactPosition.h"
#include "tabledata/NameList.h"
#include "tabledata/Navigation.h"
#include "tabledata/PageSizeGuard.h"
#include "tabledata/modDecimalFactor.h"
#include "tabledata/modKeyCondition.h"
#include "tabledata/modRecord.h"

namespace ods {
namespace {

/// The rows of one page, in reading order, and what the record set told besides.
struct Page {
  std::vector<std::vector<Value>> rows;
  std::vector<std::int32_t> types;  ///< ADO type of each select-list field
  bool moreRows = false;
};

/// One `TableData` request on its way. `Answer` runs it; `Step` tells where it stands.
class TableDataRequest {
 public:
  TableDataRequest(const XmlDocument& request, DataSession& session)
      : session_(session), root_(request.SelectSingleNode("/XML")) {}

  void Answer(XmlDocument& response);
  [[nodiscard]] const std::string& Step() const { return step_; }

 private:
  [[nodiscard]] std::string Text(const char* field) const { return GetNodeText(root_, field); }
  [[nodiscard]] std::string PositionField(const char* field) const;
  void ReadRequest();
  bool FindPrimaryKey();
  void CalculateTotalKey();
  void ReadConditions();
  void ReadPositions();
  void ReadFields();
  void ResolveColumns(const NameList& fields);
  Page ReadPage();
  Page NavigateOnce();
  [[nodiscard]] std::string KeyCondition(const Navigation& navigation);
  [[nodiscard]] std::string OrderBy(bool reverse) const;
  [[nodiscard]] static std::string Where(const std::string& filter, const std::string& keyCondition);
  [[nodiscard]] Page ReadRows(RecordSet& rows, bool fieldsFixed);
  void WritePage(XmlDocument& response, Page& page);
  [[nodiscard]] std::string MakePosition(const std::vector<Value>& row) const;

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
  const TableKeys keys = GetTableKeys(session_, table_);
  const Key* primary = keys.PrimaryKey.empty() ? nullptr : keys.Find(keys.PrimaryKey);
  if (primary == nullptr) return false;
  primaryKey_ = primary->fields;
  return true;
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

/// Some drivers hand out an empty text as the single character with code 2.
Value Cleaned(const Value& value) {
  const auto* text = value.GetIf<std::string>();
  return text != nullptr && *text == "\x02" ? Value(std::string()) : value;
}

/// How many bytes a value takes at least when it is written.
std::size_t LeastLength(const Value& value) {
  if (const auto* text = value.GetIf<std::string>()) return text->size();
  if (const auto* bytes = value.GetIf<Bytes>()) return 2 * bytes->size();
  return 1;
}

Page TableDataRequest::ReadRows(RecordSet& rows, bool fieldsFixed) {
  step_ = "Read the records";
  Page page;
  PageSizeGuard guard;
  std::vector<std::size_t> columns(fields_.size());
  for (std::size_t i = 0; i < columns.size(); ++i) {
    columns[i] = fieldsFixed ? rows.IndexOf(fields_[i]) : i;
    page.types.push_back(rows.Fields().at(columns[i]).type);
  }
  for (std::int32_t count = 0; count < pageSize_ && !rows.AtEnd(); ++count, rows.MoveNext()) {
    std::vector<Value>& row = page.rows.emplace_back();
    row.reserve(columns.size());
    for (std::size_t i = 0; i < columns.size(); ++i) {
      const Value& value = rows.Item(columns[i]);
      guard.Add(fields_[i], LeastLength(value));
      row.push_back(Cleaned(value));
    }
  }
  page.moreRows = !rows.AtEnd();
  return page;
}

Page TableDataRequest::NavigateOnce() {
  session_.process->ui->LetEventsRun();
  step_ = "Navigate";
  const Navigation& navigation = FindNavigation(navigate_);
  const std::string keyCondition = KeyCondition(navigation);
  step_ = "Order by";
  const std::string orderBy = OrderBy(navigation.reverse);
  step_ = "Assemble the sql statement";
  const std::string where = Where(filter_, keyCondition);
  std::int32_t limit = pageSize_ + 1;
  bool fieldsFixed = false;
  const std::string sql =
      BuildSelect(session_, table_, limit, {.where = where, .orderBy = orderBy, .fields = fieldList_}, fieldsFixed);
  step_ = "Execute SQL: " + sql;
  const auto rows = ExecuteSQL(session_, sql, limit);
  SettleDecimalFactor(session_);
  return ReadRows(*rows, fieldsFixed);
}

Page TableDataRequest::ReadPage() {
  while (true) {
    Page page = NavigateOnce();
    step_ = "TableData - navigate";
    const std::string_view otherwise = NavigationAfter(navigate_);
    if (!page.rows.empty() || otherwise.empty()) return page;
    navigate_ = otherwise;
  }
}

std::string TableDataRequest::MakePosition(const std::vector<Value>& row) const {
  const auto position = CreateHalvikDictionary(*session_.process->components);
  for (const std::size_t field : positionFields_) position->Set(fields_[field], row[field]);
  return BytesToHex(position->marshalldictionary());
}

void TableDataRequest::WritePage(XmlDocument& response, Page& page) {
  if (FindNavigation(navigate_).reverse) std::ranges::reverse(page.rows);

  step_ = "Get new outer positions";
  response.SelectSingleNode("/XML/FirstPosition").SetText(MakePosition(page.rows.front()));
  response.SelectSingleNode("/XML/LastPosition").SetText(MakePosition(page.rows.back()));

  step_ = "Column info";
  XmlNode columns = response.SelectSingleNode("/XML/Columns");
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    XmlNode column = columns.AppendElement("Column");
    column.AppendElement("Id", fields_[i]);
    column.AppendElement("DataType", std::to_string(page.types[i]));
  }

  step_ = "Column data";
  XmlNode records = response.SelectSingleNode("/XML/Records");
  for (const std::vector<Value>& row : page.rows) {
    XmlNode record = records.AppendElement("R");
    for (std::size_t i = 0; i < fields_.size(); ++i) {
      try {
        AppendFieldValue(record, "V", row[i], page.types[i], session_).SetAttribute("Id", fields_[i]);
      } catch (const Error&) {
        step_ = "Get data for field " + std::to_string(i + 1) + " \"" + fields_[i] + "\"";
        throw;
      }
    }
  }
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
  Page page = ReadPage();

  step_ = "Set the records in the message";
  BeginPage(response, navigate_, page.moreRows);
  if (!page.rows.empty()) WritePage(response, page);
}

}  // namespace

void TableData(const XmlDocument& request, XmlDocument& response, DataSession& session) {
  TableDataRequest tableData(request, session);
  try {
    tableData.Answer(response);
  } catch (const Error& error) {
    throw Error(error.Number(), error.Description() + " TableData[" + tableData.Step() + "]");
  }
}

}  // namespace ods
