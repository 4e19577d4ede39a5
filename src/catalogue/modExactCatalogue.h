// `TableList`, `FieldList`, `KeyList` and `PrimaryKey` for exact paging: tables with their schemas, columns with all
// that is known of them, and the keys that hold.
#pragma once

#include "database/RequestHandler.h"

namespace ods {

void ProcessExactTableList(const XmlDocument& request, XmlDocument& response, DataSession& session);
void ProcessExactFieldList(const XmlDocument& request, XmlDocument& response, DataSession& session);
void ProcessExactKeyList(const XmlDocument& request, XmlDocument& response, DataSession& session);
void ProcessExactPrimaryKey(const XmlDocument& request, XmlDocument& response, DataSession& session);

}  // namespace ods
