#include "platform/ado/OdbcDatabase.h"

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "common/Conversions.h"
#include "common/Error.h"
#include "common/Text.h"
#include "platform/ado/NativeStatement.h"

namespace ods::odbc {

namespace {

constexpr const char* kDbmsName = "DBMS Name";
constexpr const char* kCurrentCatalog = "Current Catalog";

struct InfoProperty {
  const char* name;
  SQLUSMALLINT infoType;
};

/// The properties in their order, the product's name first. The catalogue is asked for in its own way.
constexpr std::array<InfoProperty, 10> kInfoProperties = {{
    {kDbmsName, SQL_DBMS_NAME},
    {"DBMS Version", SQL_DBMS_VER},
    {kCurrentCatalog, SQL_DATABASE_NAME},
    {"Data Source Name", SQL_DATA_SOURCE_NAME},
    {"Driver Name", SQL_DRIVER_NAME},
    {"Driver Version", SQL_DRIVER_VER},
    {"Driver ODBC Version", SQL_DRIVER_ODBC_VER},
    {"Server Name", SQL_SERVER_NAME},
    {"User Name", SQL_USER_NAME},
    {"Identifier Quote Character", SQL_IDENTIFIER_QUOTE_CHAR},
}};

/// A column of a schema rowset: its ADO name and where the ODBC result has it.
struct SchemaColumn {
  const char* name;
  std::size_t source;  ///< from 0
};

/// What a schema column is restricted to: the position of the restriction and of the ODBC column it must equal.
struct SchemaFilter {
  std::size_t restriction;
  std::size_t source;
};

constexpr std::array<SchemaColumn, 4> kTablesColumns = {{
    {"TABLE_CATALOG", 0},
    {"TABLE_SCHEMA", 1},
    {"TABLE_NAME", 2},
    {"TABLE_TYPE", 3},
}};
constexpr std::array<SchemaFilter, 4> kTablesFilters = {{{0, 0}, {1, 1}, {2, 2}, {3, 3}}};

/// Columns of SQLStatistics.
namespace statistics {
constexpr std::size_t kCatalog = 0;
constexpr std::size_t kSchema = 1;
constexpr std::size_t kTable = 2;
constexpr std::size_t kNonUnique = 3;
constexpr std::size_t kIndexName = 5;
constexpr std::size_t kType = 6;
constexpr std::size_t kOrdinal = 7;
constexpr std::size_t kColumn = 8;
constexpr std::size_t kFilterCondition = 12;
}  // namespace statistics

constexpr std::array<SchemaFilter, 5> kIndexesFilters = {{{0, statistics::kCatalog},
                                                          {1, statistics::kSchema},
                                                          {2, statistics::kIndexName},
                                                          {3, statistics::kType},
                                                          {4, statistics::kTable}}};

/// The text of a restriction; "" where there is none.
std::string RestrictionText(const std::vector<Value>& restrictions, std::size_t index) {
  return index < restrictions.size() ? SafeStr(restrictions[index]) : std::string();
}

/// True when the current row has what the restrictions ask for, compared exactly.
template <std::size_t kCount>
bool Passes(const RecordSet& rows, const std::vector<Value>& restrictions,
            const std::array<SchemaFilter, kCount>& filters) {
  return std::all_of(filters.begin(), filters.end(), [&](const SchemaFilter& filter) {
    const std::string wanted = RestrictionText(restrictions, filter.restriction);
    return wanted.empty() || SafeStr(rows.Item(filter.source)) == wanted;
  });
}

/// `name` as a search pattern that matches it alone. Without an escape character the pattern may match more names, so
/// the caller filters.
std::string EscapedPattern(const std::string& name, const std::string& escape) {
  if (escape.empty()) return name;
  std::string pattern = ReplaceAll(name, escape, escape + escape);
  pattern = ReplaceAll(pattern, "%", escape + "%");
  return ReplaceAll(pattern, "_", escape + "_");
}

/// How many bytes a statement may have on a session. A server that does not tell has no bound.
std::size_t LongestStatement(const std::shared_ptr<Session>& session, const ProductRule& rule) {
  constexpr std::size_t kUnbounded = std::numeric_limits<std::size_t>::max();
  constexpr std::int32_t kMessageHead = 64;  // far more than the message has besides the statement
  if (rule.longestMessage == nullptr) return kUnbounded;
  try {
    auto statement = std::make_unique<Statement>(session);
    statement->Execute(rule.longestMessage);
    const OdbcRecordSet rows(std::move(statement), 1);
    const std::int32_t bytes = rows.AtEnd() ? 0 : SafeLng(rows.Item(0));
    return bytes > kMessageHead ? static_cast<std::size_t>(bytes - kMessageHead) : kUnbounded;
  } catch (const Error&) {
    return kUnbounded;
  }
}

/// Whether text that is fetched in bytes comes as UTF-8, beyond the basic plane too.
bool GivesUtf8(const std::shared_ptr<Session>& session) {
  const std::string text = "Zo\xC3\xAB \xC3\x98 \xE2\x82\xAC \xF0\x9F\x98\x80";
  try {
    std::array<char, 64> given{};
    SQLLEN length = 0;
    const Statement statement(session);  // freed first, since the driver holds pointers to what is above
    statement.Execute("SELECT '" + text + "'");
    statement.Check(SQLBindCol(statement.Get(), 1, SQL_C_CHAR, given.data(), given.size(), &length));
    statement.Check(SQLFetch(statement.Get()));
    return length == static_cast<SQLLEN>(text.size()) && text == given.data();
  } catch (const Error&) {
    return false;
  }
}

}  // namespace

OdbcDatabase::OdbcDatabase(const std::string& connectionString, const DriverLimits& limits)
    : session_(std::make_shared<Session>(connectionString, limits)) {
  properties_.reserve(kInfoProperties.size());
  for (const InfoProperty& property : kInfoProperties) {
    const bool catalog = property.infoType == SQL_DATABASE_NAME;
    properties_.push_back(
        {property.name, catalog ? session_->CurrentCatalog() : session_->InfoText(property.infoType)});
  }
  driverRule_ = &RuleOfDriver(session_->InfoText(SQL_DRIVER_NAME));
  if (driverRule_->formatsErrors) session_->PrepareStatements();
  if (driverRule_->inventsDates) session_->UseTextDates();
  productRule_ = &RuleOfProduct(properties_.front().value);
  if (productRule_->miscountsWideCells) session_->UseNarrowCells();
  if (productRule_->sessionStatement != nullptr) Statement(session_).Execute(productRule_->sessionStatement);
  longestStatement_ = LongestStatement(session_, *productRule_);
  if (driverRule_->mayGiveUtf8 && GivesUtf8(session_)) session_->UseNarrowCells();
}

std::string OdbcDatabase::Property(std::string_view name) const { return PropertyOf(properties_, name); }

std::unique_ptr<Statement> OdbcDatabase::NewStatement(Canceller& canceller) const {
  auto statement = std::make_unique<Statement>(session_);
  canceller.Set(statement->Canceller());
  return statement;
}

std::unique_ptr<OdbcRecordSet> OdbcDatabase::OpenRecordSet(const std::string& sql, std::int32_t maxRecords,
                                                           Canceller& canceller, ReadForm form,
                                                           OdbcRecordSet::Rows rows) const {
  std::unique_ptr<Statement> statement = NewStatement(canceller);
  // A driver that takes the text as null-terminated would run only the part before it.
  if (sql.find('\0') != std::string::npos) {
    throw Error(error_number::kGeneralFailure, "The statement contains a null character.");
  }
  // Forward-only and read-only is what every driver can do best; one that refuses the attributes does it unasked.
  statement->SetAttribute(SQL_ATTR_CURSOR_TYPE, SQL_CURSOR_FORWARD_ONLY);
  statement->SetAttribute(SQL_ATTR_CONCURRENCY, SQL_CONCUR_READ_ONLY);
  if (maxRecords > 0 && productRule_->native.limitClause.empty()) {
    statement->SetAttribute(SQL_ATTR_MAX_ROWS, static_cast<SQLULEN>(maxRecords));
  }
  const std::string native = NativeStatement(productRule_->native, sql, maxRecords);
  if (native.size() > longestStatement_) {
    throw Error(error_number::kGeneralFailure, "The statement has " + std::to_string(native.size()) +
                                                   " bytes; the database takes at most " +
                                                   std::to_string(longestStatement_) + ".");
  }
  statement->Execute(native);
  return std::make_unique<OdbcRecordSet>(std::move(statement), maxRecords, form, rows);
}

std::shared_ptr<RecordSet> OdbcDatabase::OpenSchema(Schema schema, const std::vector<Value>& restrictions,
                                                    Canceller& canceller) const {
  switch (schema) {
    case Schema::kTables:
      return OpenTables(restrictions, canceller);
    case Schema::kIndexes:
      return OpenIndexes(restrictions, false, canceller);
    case Schema::kFilteredIndexes:
      return OpenIndexes(restrictions, true, canceller);
    case Schema::kProviderTypes:
      return OpenProviderTypes(canceller);
    case Schema::kDBInfoLiterals:
      return OpenLiterals();
  }
  throw Error(error_number::kGeneralFailure,
              "There is no schema rowset number " + std::to_string(static_cast<std::int32_t>(schema)) + ".");
}

std::shared_ptr<RecordSet> OdbcDatabase::OpenTables(const std::vector<Value>& restrictions,
                                                    Canceller& canceller) const {
  std::unique_ptr<Statement> statement = NewStatement(canceller);
  const std::string escape = session_->InfoText(SQL_SEARCH_PATTERN_ESCAPE);
  // Drivers disagree whether a catalogue is a pattern; unescaped it matches itself either way.
  std::string catalog = RestrictionText(restrictions, 0);
  if (catalog.empty() && productRule_->listsAllDatabases) catalog = session_->CurrentCatalog();
  statement->Tables({.catalog = std::move(catalog),
                     .schema = EscapedPattern(RestrictionText(restrictions, 1), escape),
                     .table = EscapedPattern(RestrictionText(restrictions, 2), escape),
                     .type = RestrictionText(restrictions, 3)});
  OdbcRecordSet source(std::move(statement), 0);

  std::vector<Field> fields;
  for (const SchemaColumn& column : kTablesColumns) {
    fields.push_back(source.Fields().at(column.source));
    fields.back().name = column.name;
  }
  std::vector<std::vector<Value>> rows;
  for (; !source.AtEnd(); source.MoveNext()) {
    if (!Passes(source, restrictions, kTablesFilters)) continue;
    std::vector<Value>& row = rows.emplace_back();
    for (const SchemaColumn& column : kTablesColumns) row.push_back(source.Item(column.source));
  }
  return std::make_shared<MemoryRecordSet>(std::move(fields), std::move(rows));
}

std::shared_ptr<RecordSet> OdbcDatabase::OpenIndexes(const std::vector<Value>& restrictions, bool withFilter,
                                                     Canceller& canceller) const {
  std::unique_ptr<Statement> statement = NewStatement(canceller);
  const CatalogNames names = {.catalog = RestrictionText(restrictions, 0),
                              .schema = RestrictionText(restrictions, 1),
                              .table = RestrictionText(restrictions, 4),
                              .type = ""};
  if (names.table.empty()) throw Error(error_number::kGeneralFailure, "The schema of indexes needs a table name.");
  if (names.table.size() > driverRule_->longestName) {
    throw Error(error_number::kGeneralFailure, "The name of the table is longer than any can be: it has " +
                                                   std::to_string(names.table.size()) + " bytes.");
  }
  statement->Statistics(names);
  OdbcRecordSet source(std::move(statement), 0);

  namespace s = statistics;
  const Field text = source.Fields().at(s::kIndexName);
  const auto named = [](Field field, const char* name) {
    field.name = name;
    return field;
  };
  const Field boolean = {.name = "", .type = ado_type::kBoolean, .definedSize = 2};
  std::vector<Field> fields = {
      named(text, "INDEX_NAME"),
      named(boolean, "UNIQUE"),
      named(source.Fields().at(s::kType), "TYPE"),
      named(source.Fields().at(s::kOrdinal), "ORDINAL_POSITION"),
      named(source.Fields().at(s::kColumn), "COLUMN_NAME"),
      named(boolean, "PRIMARY_KEY"),
      named(source.Fields().at(s::kSchema), "TABLE_SCHEMA"),
      named(source.Fields().at(s::kTable), "TABLE_NAME"),
  };
  if (withFilter) fields.push_back(named(source.Fields().at(s::kFilterCondition), "FILTER_CONDITION"));
  std::vector<std::vector<Value>> rows;
  for (; !source.AtEnd(); source.MoveNext()) {
    const std::int32_t type = SafeLng(source.Item(s::kType));
    if (type == SQL_TABLE_STAT || !Passes(source, restrictions, kIndexesFilters)) continue;
    const Value& nonUnique = source.Item(s::kNonUnique);
    const bool unique = !nonUnique.IsNull() && SafeLng(nonUnique) == SQL_FALSE;
    rows.push_back({source.Item(s::kIndexName), unique, type, source.Item(s::kOrdinal), source.Item(s::kColumn), Null{},
                    source.Item(s::kSchema), source.Item(s::kTable)});
    if (withFilter) rows.back().push_back(source.Item(s::kFilterCondition));
  }
  return std::make_shared<MemoryRecordSet>(std::move(fields), std::move(rows));
}

std::shared_ptr<RecordSet> OdbcDatabase::OpenProviderTypes(Canceller& canceller) const {
  std::unique_ptr<Statement> statement = NewStatement(canceller);
  statement->TypeInfo();
  OdbcRecordSet source(std::move(statement), 0);
  std::vector<std::vector<Value>> rows;
  for (; !source.AtEnd(); source.MoveNext()) {
    std::vector<Value>& row = rows.emplace_back();
    for (std::size_t i = 0; i < source.Fields().size(); ++i) row.push_back(source.Item(i));
  }
  return std::make_shared<MemoryRecordSet>(source.Fields(), std::move(rows));
}

std::shared_ptr<RecordSet> OdbcDatabase::OpenLiterals() const {
  std::string prefix(productRule_->quotePrefix);
  std::string suffix(productRule_->quoteSuffix);
  if (prefix.empty()) prefix = suffix = Trim(Property("Identifier Quote Character"));
  std::vector<std::vector<Value>> rows;
  if (!prefix.empty()) rows = {{"QUOTE", std::move(prefix)}, {"QUOTE_SUFFIX", std::move(suffix)}};
  std::vector<Field> fields = {{.name = "LiteralName", .type = ado_type::kVarWChar, .definedSize = 128},
                               {.name = "LiteralValue", .type = ado_type::kVarWChar, .definedSize = 128}};
  return std::make_shared<MemoryRecordSet>(std::move(fields), std::move(rows));
}

}  // namespace ods::odbc
