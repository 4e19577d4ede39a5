// Rewrites the few constructs of the system's SQL that a known product does not understand into the product's own.
//
// The system writes one SQL for all products: a record limit that travels beside the statement, UCASE(), and binary
// literals as 0x.... Three products need more: PostgreSQL's driver does not hand the limit on, MariaDB's appends it
// even to a statement that has its own, neither PostgreSQL nor SQLite has UCASE(), and 0x0A1B is an integer there or
// nothing at all. A product without a native form gets a statement as it is, byte for byte.
#pragma once

#include <cstdint>
#include <string>

#include "platform/ado/OdbcRules.h"

namespace ods {

/// `sql` in a product's native form. `maxRecords` is the number of records that the caller will read, 0 or less for all
/// of them; a statement that has a limit of its own keeps that alone. Literals, quoted names and comments are never
/// touched, and what is not terminated is left as it is. Takes one pass over the text.
[[nodiscard]] std::string NativeStatement(const odbc::NativeForm& form, std::string sql, std::int32_t maxRecords);

}  // namespace ods
