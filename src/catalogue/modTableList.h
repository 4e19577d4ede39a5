// `TableList`: the identifiers and captions of every table and view that a client may browse.
#pragma once

#include "database/RequestHandler.h"

namespace ods {

void ProcessTableList(const XmlDocument& request, XmlDocument& response, DataSession& session);

}  // namespace ods
