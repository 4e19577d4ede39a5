// `FieldList`: the columns of one table or view.
#pragma once

#include "database/RequestHandler.h"

namespace ods {

void ProcessFieldList(const XmlDocument& request, XmlDocument& response, DataSession& session);

}  // namespace ods
