#include "exact/ExactNames.h"

#include <utility>
#include <vector>

#include "common/Text.h"
#include "database/modSelect.h"

namespace ods {

TableName SplitExactName(const DataSession& session, std::string_view identifier) {
  if (session.namesWithSchema) {
    std::vector<std::string> parts = SplitQuotedName(session, GetBareName(identifier));
    if (parts.size() == 2) return {std::move(parts[0]), std::move(parts[1])};
    if (parts.size() == 1) return {"", std::move(parts[0])};
  }
  const SchemaAndName name = SplitTableName(identifier, *session.dialect);
  if (name.schema.empty()) return {"", name.name};
  return {ReplaceAll(name.schema, "]]", "]"), ReplaceAll(name.name, "]]", "]")};
}

std::string ExactIdentifier(const DataSession& session, std::string_view kind, const TableName& name) {
  const std::string word = "[" + std::string(kind) + "]";
  if (session.dialect->bracketedNames) {
    return word + "[" + ReplaceAll(name.schema, "]", "]]") + "].[" + ReplaceAll(name.name, "]", "]]") + "]";
  }
  if (!session.namesWithSchema) return word + name.name;
  if (!name.schema.empty()) {
    return word + QuoteIdentifier(session, name.schema) + "." + QuoteIdentifier(session, name.name);
  }
  // A name that looks like quoted parts would be taken for them.
  const bool looksQuoted = !SplitQuotedName(session, name.name).empty();
  return word + (looksQuoted ? QuoteIdentifier(session, name.name) : name.name);
}

}  // namespace ods
