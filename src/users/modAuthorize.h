// `Authorize`: who a user is and what he may do, by the users file in the program's folder or, on a Navision database,
// by the database's own users and roles.
//
// The password counts on Navision only. It reaches neither log nor answer. Testing it there changes the user's row for
// the length of five statements and restores it: the one thing that the server ever writes to a database.
#pragma once

#include <string>

#include "database/RequestHandler.h"

namespace ods {

/// A user who is not known is an answer, not an error. Raises the driver's errors on a Navision database.
void ProcessAuthorize(const XmlDocument& request, XmlDocument& response, DataSession& session);

/// The users file, users.xml in `programFolder`, as it is now; an empty document when it is missing or does not load.
[[nodiscard]] XmlDocument LoadUsersFile(const std::string& programFolder);

/// The text of the response for a Navision database. `authenticatedUser`, when not empty, takes the place of `userId`
/// and needs no password. Raises the driver's errors; once the password test has begun, the row is restored first,
/// as far as the database lets it.
[[nodiscard]] std::string AuthorizeNavision(const DataSession& session, const std::string& userId,
                                            const std::string& password, const std::string& authenticatedUser);

}  // namespace ods
