// `TableData` for exact paging: every row of any table or view comes exactly once, forwards and backwards.
#pragma once

#include "database/RequestHandler.h"

namespace ods {

/// Answers with the page. An error is raised again with the step it happened in: " TableData[" + step + "]" at the end
/// of its text.
void ExactTableData(const XmlDocument& request, XmlDocument& response, DataSession& session);

}  // namespace ods
