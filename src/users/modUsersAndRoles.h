// `UsersAndRoles`: all users and all roles of a Navision database, each role with its members.
#pragma once

#include <string>

#include "database/RequestHandler.h"

namespace ods {

/// Leaves the response empty for every database but a Navision one. Raises as `GetNavisionUsersAndRoles`.
void ProcessUsersAndRoles(const XmlDocument& request, XmlDocument& response, DataSession& session);

/// The text of the response; "" for every database but a Navision one. Raises the driver's errors, and error 91 for a
/// membership in a role that is not in the role table.
[[nodiscard]] std::string GetNavisionUsersAndRoles(const DataSession& session);

}  // namespace ods
