// What statements a server runs for a request, looked up in a real one.
#pragma once

#include <string>
#include <vector>

#include "Readers.h"

namespace ods::bench {

/// Has a server of its own answer `requests`, and gives `limit` the statements that it runs for each, and those that
/// set its session up.
void TeachStatements(LimitReader& limit, const std::string& connection, bool exact,
                     const std::vector<std::string>& requests);

}  // namespace ods::bench
