#include "catalogue/modTableList.h"

#include <string>
#include <string_view>

#include "common/Conversions.h"
#include "common/Text.h"
#include "database/modSelect.h"
#include "database/modViews.h"

namespace ods {
namespace {

std::string Identifier(std::string_view type, std::string_view name) {
  return "[" + std::string(type) + "]" + std::string(name);
}

struct Entry {
  std::string identifier;
  std::string caption;
};

Entry BracketedEntry(const std::string& type, const std::string& schema, const std::string& name) {
  return {Identifier(type == kTypeView ? kTypeView : kTypeTable,
                     "[" + ReplaceAll(schema, "]", "]]") + "].[" + ReplaceAll(name, "]", "]]") + "]"),
          ToLower(schema) == "dbo" ? name : schema + "." + name};
}

void AddTables(const DataSession& session, Dictionary& entries) {
  const auto rows = session.connection->OpenSchema(Schema::kTables);
  if (rows->AtEnd()) return;
  const std::size_t typeColumn = rows->IndexOf("TABLE_TYPE");
  const std::size_t schemaColumn = rows->IndexOf("TABLE_SCHEMA");
  const std::size_t nameColumn = rows->IndexOf("TABLE_NAME");
  for (; !rows->AtEnd(); rows->MoveNext()) {
    const std::string type = SafeStr(rows->Item(typeColumn));
    const std::string schema = SafeStr(rows->Item(schemaColumn));
    const std::string name = SafeStr(rows->Item(nameColumn));
    if (!IsListed(session.dialect->listedTables, type, schema)) continue;
    const Entry entry = session.dialect->bracketedNames
                            ? BracketedEntry(type, schema, name)
                            : Entry{Identifier(kTypeTable, name), TableCaption(*session.dialect, name)};
    entries.Set(entry.identifier, entry.caption);
  }
}

void AddViews(const DataSession& session, Dictionary& entries) {
  const XmlDocument views = LoadViews(session.process->configFolder);
  for (const XmlNode& view : views.SelectNodes("//View")) {
    entries.Set(Identifier(kTypeAppView, GetNodeText(view, "Id")), GetNodeText(view, "Name"));
  }
}

}  // namespace

bool IsListed(ListedTables listed, const std::string& type, const std::string& schema) {
  switch (listed) {
    case ListedTables::kTablesAndUserViews:
      if (type == kTypeTable) return true;
      return type == kTypeView && ToLower(schema) != "sys" && ToUpper(schema) != "INFORMATION_SCHEMA";
    case ListedTables::kAllButSystemTables:
      return type != "SYSTEM TABLE";
    case ListedTables::kAll:
      break;
  }
  return true;
}

std::string TableCaption(const Dialect& dialect, const std::string& name) {
  if (dialect.underscoresAreDots) return ReplaceAll(name, "_", ".");
  return dialect.namesEndInDollar && name.ends_with('$') ? name.substr(0, name.size() - 1) : name;
}

void WriteTableList(const DataSession& session, Dictionary& entries, XmlDocument& response) {
  AddViews(session, entries);
  SortDictionary(entries);

  response.LoadXML("<XML><Tables/></XML>");
  XmlNode tables = response.SelectSingleNode("/XML/Tables");
  for (const auto& [identifier, caption] : entries.Entries()) {
    XmlNode table = tables.AppendElement("Table");
    table.AppendElement("Id", identifier);
    table.AppendElement("Caption", SafeStr(caption));
  }
}

void ProcessTableList(const XmlDocument& /*request*/, XmlDocument& response, DataSession& session) {
  const auto entries = CreateHalvikDictionary(*session.process->components);
  AddTables(session, *entries);
  WriteTableList(session, *entries, response);
}

}  // namespace ods
