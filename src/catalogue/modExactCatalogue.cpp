#include "catalogue/modExactCatalogue.h"

#include <string>
#include <string_view>
#include <vector>

#include "catalogue/modFieldList.h"
#include "catalogue/modKeys.h"
#include "catalogue/modTableList.h"
#include "common/Conversions.h"
#include "database/modODBC.h"
#include "database/modSelect.h"
#include "exact/ExactNames.h"
#include "exact/ExactProduct.h"
#include "exact/ExactSession.h"
#include "exact/ExactTable.h"

namespace ods {
namespace {

void AddTable(const DataSession& session, std::string_view kind, const TableName& name, Dictionary& entries) {
  const std::string caption = TableCaption(*session.dialect, name.name);
  const bool bare = name.schema.empty() || name.schema == session.exact->currentSchema;
  entries.Set(ExactIdentifier(session, kind, name), bare ? caption : name.schema + "." + caption);
}

/// What the statement of the product gives.
void AddListed(const DataSession& session, const char* statement, Dictionary& entries) {
  for (const auto rows = ExecuteSQL(session, statement, 0); !rows->AtEnd(); rows->MoveNext()) {
    AddTable(session, kTypeTable, {SafeStr(rows->Item(0)), SafeStr(rows->Item(1))}, entries);
  }
}

/// The sheets of a workbook are tables of the system to its driver.
bool IsOfTheSystem(const Dialect& dialect, std::string_view type) {
  return !dialect.isWorkbook && type.starts_with("SYSTEM ");
}

/// What the driver lists.
void AddByDriver(const DataSession& session, Dictionary& entries) {
  const auto rows = session.connection->OpenSchema(Schema::kTables);
  for (; !rows->AtEnd(); rows->MoveNext()) {
    const std::string type = SafeStr(rows->Item("TABLE_TYPE"));
    const TableName name = {session.exact->hasSchemas ? SafeStr(rows->Item("TABLE_SCHEMA")) : "",
                            SafeStr(rows->Item("TABLE_NAME"))};
    if (!IsListed(session.dialect->listedTables, type, name.schema) || IsOfTheSystem(*session.dialect, type)) continue;
    AddTable(session, kTypeTable, name, entries);
  }
}

std::string_view Flag(bool value) { return value ? "1" : "0"; }

}  // namespace

void ProcessExactTableList(const XmlDocument& request, XmlDocument& response, DataSession& session) {
  // Names in brackets have their schema without more ado.
  if (session.dialect->bracketedNames) {
    ProcessTableList(request, response, session);
    return;
  }
  const auto entries = CreateHalvikDictionary(*session.process->components);
  const char* statement = session.exact->product->listTables;
  if (statement != nullptr) {
    AddListed(session, statement, *entries);
  } else {
    AddByDriver(session, *entries);
  }
  WriteTableList(session, *entries, response);
}

void ProcessExactFieldList(const XmlDocument& request, XmlDocument& response, DataSession& session) {
  const ExactTable& known = LookupExactTable(session, GetNodeText(request, "/XML/TableId"));
  response.LoadXML("<XML><Fields/></XML>");
  XmlNode fields = response.SelectSingleNode("/XML/Fields");
  for (const ExactColumn& column : known.columns) {
    XmlNode field = AppendField(fields, session, column.name, column.adoType);
    field.AppendElement("TypeName", column.typeName);
    field.AppendElement("Size", std::to_string(column.size));
    field.AppendElement("Digits", std::to_string(column.digits));
    field.AppendElement("Nullable", Flag(column.nullable));
  }
}

void ProcessExactKeyList(const XmlDocument& request, XmlDocument& response, DataSession& session) {
  const ExactTable& known = LookupExactTable(session, GetNodeText(request, "/XML/TableId"));
  const ExactKey* best = known.BestKey();
  std::vector<Key> keys;
  for (const ExactKey& key : known.keys) keys.push_back({key.name, key.unique, key.declared, key.fields});
  WriteKeyList(keys, best != nullptr ? best->name : "", best == nullptr, response);
}

void ProcessExactPrimaryKey(const XmlDocument& request, XmlDocument& response, DataSession& session) {
  const ExactKey* best = LookupExactTable(session, GetNodeText(request, "/XML/TableId")).BestKey();
  WritePrimaryKey(best != nullptr ? best->fields : std::vector<std::string>(), best == nullptr, response);
}

}  // namespace ods
