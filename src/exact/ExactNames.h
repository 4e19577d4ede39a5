// Names of tables with their schemas.
//
// Where a product has schemas, the identifier of a table is "[TABLE]" and the quoted parts of its name joined by ".":
// [TABLE]"sales"."order". A name without parts in quotes is one of the current schema.
#pragma once

#include <string>
#include <string_view>

#include "database/DataSession.h"
#include "exact/ExactProduct.h"

namespace ods {

/// The parts of an identifier's name. A name that is not made of one or two parts in the connection's quotes, each
/// quote inside doubled, is one part itself.
[[nodiscard]] TableName SplitExactName(const DataSession& session, std::string_view identifier);

/// The identifier of a table.
[[nodiscard]] std::string ExactIdentifier(const DataSession& session, std::string_view kind, const TableName& name);

}  // namespace ods
