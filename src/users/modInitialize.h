// `Initialize`: what this server can do. A client opens its conversation with it, and so starts a new data session.
#pragma once

#include "database/RequestHandler.h"

namespace ods {

/// Gives the responses a new data-session id from this one on, and tells name, user management and filter operators.
/// Users are counted only when the request's `UserMode` is "DATASERVER" or "DETECT". Raises as
/// `GetNavisionUsersAndRoles`.
void ProcessInitialize(const XmlDocument& request, XmlDocument& response, DataSession& session);
/// The same for exact paging, which it says, with the operators that this adds.
void ProcessExactInitialize(const XmlDocument& request, XmlDocument& response, DataSession& session);

}  // namespace ods
