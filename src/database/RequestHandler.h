// The shape of a request handler.
#pragma once

#include "database/DataSession.h"
#include "platform/xml/Xml.h"

namespace ods {

/// Fills the empty response document from the request and the database. Reports failure by raising an error.
using RequestHandler = void (*)(const XmlDocument& request, XmlDocument& response, DataSession& session);

}  // namespace ods
