// Handlers, run by tests of their own.
#pragma once

#include <gtest/gtest.h>
#include <string>

#include "database/DataSession.h"
#include "database/RequestHandler.h"
#include "support/MessageSchemas.h"

namespace ods::test {

/// Runs the handler of a type, and holds its response, once it has a data session as every response gets one, against
/// the schemas of docs/schema. What the response holds as markup is a part of its tree then, as for a client. Raises
/// what the handler raises.
inline void RunHandler(const std::string& type, RequestHandler handler, const XmlDocument& request,
                       XmlDocument& response, DataSession& session) {
  handler(request, response, session);
  const std::string stamp = "<DataSession>0A1B2C3D-0000-4000-8000-000000000001</DataSession>";
  const std::string text = response.Xml();
  response.LoadXML(text);
  const std::string stamped =
      text.ends_with("</XML>") ? text.substr(0, text.rfind("</XML>")) + stamp + "</XML>" : "<XML>" + stamp + "</XML>";
  const std::string fault = FaultOfResponse(stamped, type, session.exact != nullptr);
  if (!fault.empty()) ADD_FAILURE() << "The response to a request of the type \"" << type << "\" is " << fault;
}

}  // namespace ods::test
