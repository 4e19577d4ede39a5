// What the products' forms of columns have in common.
//
// Internal to this folder.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "database/DataSession.h"
#include "exact/ExactTable.h"

namespace ods {

/// What a client's text must be for a column of an ADO data type.
[[nodiscard]] ValueClass ValueClassOf(std::int32_t adoType);

/// The term of a column that is read, ordered and compared by its name alone.
[[nodiscard]] OrderTerm TermOf(const ExactColumn& column, const std::string& expression, LiteralStyle literal);
/// The same with another expression for reading, and the type that this has.
[[nodiscard]] OrderTerm TermOf(const ExactColumn& column, const std::string& expression, LiteralStyle literal,
                               std::string read, std::int32_t adoType);

/// `pattern` with `expression` in the place of each "$".
[[nodiscard]] std::string Filled(std::string_view pattern, std::string_view expression);

/// A text in apostrophes, for statements to the catalogue. Raises error 1000 for a text with a null character.
[[nodiscard]] std::string CatalogueText(const DataSession& session, std::string_view text);

/// Runs a statement whose failure tells something: it is traced as a warning. nullptr when it fails. Raises the errors
/// of a connection that is lost.
[[nodiscard]] std::shared_ptr<RecordSet> TrySQL(const DataSession& session, const std::string& sql);

}  // namespace ods
