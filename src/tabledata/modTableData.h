// `TableData`: paging through a table or view by key, sorted, filtered and searched.
#pragma once

#include "database/RequestHandler.h"

namespace ods {

/// Answers with the page, or with the error document 2 when no primary key is given and none is found. An error is
/// raised again with the step it happened in: " TableData[" + step + "]" at the end of its text.
void TableData(const XmlDocument& request, XmlDocument& response, DataSession& session);

}  // namespace ods
