// Table identifiers, and the one builder of every SELECT statement.
//
// A table identifier is what `TableList` hands out: a kind word in brackets ("[TABLE]", "[VIEW]", "[APPVIEW]") and the
// name.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "database/DataSession.h"

namespace ods {

inline constexpr std::string_view kTypeTable = "TABLE";
inline constexpr std::string_view kTypeView = "VIEW";
inline constexpr std::string_view kTypeAppView = "APPVIEW";

/// The text after the first "]"; the whole identifier when it has none.
[[nodiscard]] std::string_view GetBareName(std::string_view identifier);
/// The text between a leading "[" and the first "]" when there is any; otherwise "TABLE".
[[nodiscard]] std::string_view GetTableType(std::string_view identifier);

struct SchemaAndName {
  std::string schema;
  std::string name;
};
/// Schema and name of an identifier. Only bracketed names have a schema; a doubled "]]" stays doubled.
[[nodiscard]] SchemaAndName SplitTableName(std::string_view identifier, const Dialect& dialect);

/// The longest statement, in bytes, that the parts of a request may make: a few of them are worth many of the request's
/// own (search patterns, alternatives, keys of many fields).
inline constexpr std::size_t kMaxStatementBytes = std::size_t{16} << 20U;
/// Raises error 1000, naming the limit, when `bytes` are more than a statement may have.
void RequireStatementSize(std::size_t bytes);

/// `name` in the connection's identifier quotes, every closing quote inside doubled. Where the connection has none, the
/// name stands bare: then error 1000 is raised for one that is empty or holds another ASCII character than letters,
/// digits, "_", "$" and ".".
[[nodiscard]] std::string QuoteIdentifier(const DataSession& session, std::string_view name);
/// The parts of a name that is made of one or two parts in the connection's quotes, joined by ".", every closing quote
/// inside doubled; none for any other name, and where the connection has no quotes.
[[nodiscard]] std::vector<std::string> SplitQuotedName(const DataSession& session, std::string_view name);
/// The name of a table as it stands in a statement. Where the product has bracketed names, one of one to three parts in
/// brackets, joined by ".", each with its "]" doubled, stands as it is; where names have their schema, one of quoted
/// parts; every other name is quoted as one. Raises as `QuoteIdentifier`.
[[nodiscard]] std::string QuoteTableName(const DataSession& session, std::string_view name);

/// What `BuildSelect` puts into a statement besides the table and the row limit. Empty parts are left out.
struct SelectParts {
  std::string_view where;    ///< condition without WHERE
  std::string_view orderBy;  ///< ordering without ORDER BY
  std::string_view fields;   ///< field list
};

/// Builds the SELECT statement over a table or a server-side view.
/// @param top row limit; below 1 it is raised to 1 in the caller's variable. Products without TOP and LIMIT get none.
/// @param fieldsFixed set for a view in macro mode only: true when its field list cannot be chosen.
/// Raises error 1000 "Unable to locate the view with id " + identifier + "." for a view that there is not.
[[nodiscard]] std::string BuildSelect(const DataSession& session, const std::string& table, std::int32_t& top,
                                      const SelectParts& parts, bool& fieldsFixed);
/// The same with the row limit 1.
[[nodiscard]] std::string BuildSelectOne(const DataSession& session, const std::string& table, const SelectParts& parts,
                                         bool& fieldsFixed);

}  // namespace ods
