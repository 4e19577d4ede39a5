// From a request's type to its handler, and what the server adds to every response.
#pragma once

#include <string>
#include <string_view>

#include "database/RequestHandler.h"

namespace ods {

/// How the handler of a message type is found; nullptr when there is none.
using HandlerLookup = RequestHandler (*)(std::string_view type, bool exact);

/// The dispatch table. Types compare exactly.
/// @param exact the handler for exact paging
[[nodiscard]] RequestHandler FindHandler(std::string_view type, bool exact);

/// Tells that the server lives.
void Ping(const XmlDocument& request, XmlDocument& response, DataSession& session);

/// Fills `response` by the handler of `type`, or with the error document 1 for a type that has none. Without a session
/// every type but "Status" gets the error document 1000. Raises what the handler raises.
void DispatchRequest(const std::string& type, const XmlDocument& request, XmlDocument& response, DataSession* session,
                     HandlerLookup findHandler);

/// Sets /XML/DataSession. A response without the root `XML` becomes one with nothing else.
void StampResponse(XmlDocument& response, const std::string& sessionId);

}  // namespace ods
