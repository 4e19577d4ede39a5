// What exact paging keeps for a connection.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

#include "database/DataSession.h"
#include "exact/ExactTable.h"

namespace ods {

struct ExactProduct;

/// Where nulls stand in an ascending order; in a descending one they stand at the other end.
enum class NullOrder : std::uint8_t {
  kUnknown,  ///< it could not be told, or is not the other end: orders then say it themselves
  kFirst,
  kLast,
};

struct ExactSession {
  const ExactProduct* product = nullptr;
  NullOrder nullOrder = NullOrder::kUnknown;
  bool hasSchemas = false;                             ///< tables are addressed with their schema
  std::string currentSchema;                           ///< of names without one; "" where it is not known
  std::unordered_map<std::string, ExactTable> tables;  ///< by identifier
};

/// Makes a session that is open an exact one: sets the connection up, and asks it for its order of nulls and its
/// schema. Raises the errors of the set-up; what cannot be asked is unknown.
void OpenExactSession(DataSession& session);

}  // namespace ods
