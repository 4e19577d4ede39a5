// The full-screen pager of the terminal.
#pragma once

#include "Asking.h"
#include "OdbcDataClient.h"

namespace odbc_data {

/// Pages through the rows of a table until the user ends it.
/// @param atEnd begin with the last page
void RunPager(Client& client, const KnownTable& table, Question question, bool atEnd);

}  // namespace odbc_data
