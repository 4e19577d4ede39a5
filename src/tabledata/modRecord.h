// One database value as the `V` element of a record.
#pragma once

#include <cstdint>

#include "database/DataSession.h"
#include "platform/xml/Xml.h"

namespace ods {

/// Appends an element with a value to `record` and returns it. A null gets an empty child `Null`. Numbers that can have
/// decimals are multiplied by the decimal factor of the process. A text that XML cannot carry becomes "?"; on a
/// Navision database within Microsoft SQL Server the codes 1 to 7 first become the units of a date formula.
/// @param type ADO data type number of the column
/// Raises error 13 for a value that cannot be in a binary column.
XmlNode AppendFieldValue(XmlNode& record, const char* name, const Value& value, std::int32_t type,
                         const DataSession& session);

}  // namespace ods
