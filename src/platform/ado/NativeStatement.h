// Rewrites the few constructs of the system's SQL that a known product does not understand into the product's own.
//
// The system writes one SQL for all products: a record limit that travels beside the statement, UCASE(), and binary
// literals as 0x.... Three products need more: PostgreSQL's driver does not hand the limit on, MariaDB's appends it
// even to a statement that has its own, neither PostgreSQL nor SQLite has UCASE(), and 0x0A1B is an integer there or
// nothing at all. A statement for any other product stays as it is, byte for byte.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace ods {

/// `sql` in the form that the product called `dbmsName` (the "DBMS Name" property) understands. `maxRecords` is the
/// number of records that the caller will read, 0 or less for all of them. Literals, quoted names and comments are
/// never touched, and what is not terminated is left as it is. Takes one pass over the text.
[[nodiscard]] std::string NativeStatement(std::string_view dbmsName, std::string sql, std::int32_t maxRecords);

/// True when the limit of the product called `dbmsName` is written into the statement, so that its driver must not be
/// told of it. A statement that has a limit of its own keeps that alone.
[[nodiscard]] bool TakesLimitInText(std::string_view dbmsName);

}  // namespace ods
