// The type table, the field cache, and the two catalogue look-ups that are read once per connection.
#pragma once

#include <memory>
#include <string>

#include "database/DataSession.h"

namespace ods {

/// The type table of a product. Empty for a number outside the known kinds.
[[nodiscard]] TypeTable CreateTypeTable(DatabaseKind kind);

/// The columns of a table or view, from a statement that returns no rows.
[[nodiscard]] TableFields GetTableFields(DataSession& session, const std::string& table);

/// The provider-types schema rowset: a dictionary by `TYPE_NAME` of dictionaries by column name.
[[nodiscard]] std::shared_ptr<Dictionary> GetProviderTypes(const DataSession& session);
/// The literals schema rowset: a dictionary by `LiteralName` of dictionaries by column name.
[[nodiscard]] std::shared_ptr<Dictionary> GetLiterals(const DataSession& session);

/// The description of a field, from the field cache (filled at the first use of the table), or nullptr when the table
/// has no such field. Raises what the statement for a new table raises; nothing is cached then.
[[nodiscard]] const FieldDescription* LookupField(DataSession& session, const std::string& table,
                                                  const std::string& field);

/// The entry of a column type. Raises error 1000 naming the type when the table has none.
[[nodiscard]] const TypeEntry& GetTypeEntry(const DataSession& session, std::int32_t type);

}  // namespace ods
