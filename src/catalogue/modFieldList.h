// `FieldList`: the columns of one table or view.
#pragma once

#include <cstdint>
#include <string>

#include "database/RequestHandler.h"

namespace ods {

/// Appends the element of one column to `fields`, and gives it.
/// @param type ADO data type number
XmlNode AppendField(XmlNode& fields, const DataSession& session, const std::string& name, std::int32_t type);

void ProcessFieldList(const XmlDocument& request, XmlDocument& response, DataSession& session);

}  // namespace ods
