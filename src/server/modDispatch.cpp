#include "server/modDispatch.h"

#include "catalogue/modExactCatalogue.h"
#include "catalogue/modFieldList.h"
#include "catalogue/modKeys.h"
#include "catalogue/modTableList.h"
#include "common/Error.h"
#include "database/Response.h"
#include "tabledata/modExactTableData.h"
#include "tabledata/modTableData.h"
#include "users/modAuthorize.h"
#include "users/modInitialize.h"
#include "users/modUsersAndRoles.h"

namespace ods {

namespace {

struct DispatchEntry {
  std::string_view type;
  RequestHandler handler;
  RequestHandler exactHandler;
};

constexpr DispatchEntry kDispatchTable[] = {
    {"Ping", &Ping, &Ping},
    {"TableList", &ProcessTableList, &ProcessExactTableList},
    {"FieldList", &ProcessFieldList, &ProcessExactFieldList},
    {"KeyList", &ProcessKeyList, &ProcessExactKeyList},
    {"PrimaryKey", &ProcessPrimaryKey, &ProcessExactPrimaryKey},
    {"TableData", &TableData, &ExactTableData},
    {"Initialize", &ProcessInitialize, &ProcessExactInitialize},
    {"Authorize", &ProcessAuthorize, &ProcessAuthorize},
    {"UsersAndRoles", &ProcessUsersAndRoles, &ProcessUsersAndRoles},
};

}  // namespace

RequestHandler FindHandler(std::string_view type, bool exact) {
  for (const DispatchEntry& entry : kDispatchTable) {
    if (entry.type == type) return exact ? entry.exactHandler : entry.handler;
  }
  return nullptr;
}

void Ping(const XmlDocument& /*request*/, XmlDocument& response, DataSession& /*session*/) {
  response.LoadXML("<XML><Ping>OK</Ping></XML>");
}

void DispatchRequest(const std::string& type, const XmlDocument& request, XmlDocument& response, DataSession* session,
                     HandlerLookup findHandler) {
  if (session == nullptr && type != "Status") {
    FillErrorDocument(response, error_number::kOwn,
                      "The database connection is not open. The database configuration may be invalid.");
    return;
  }
  const RequestHandler handler = findHandler(type, session != nullptr && session->exact != nullptr);
  if (handler != nullptr && session != nullptr) {
    handler(request, response, *session);
    return;
  }
  FillErrorDocument(response, error_number::kUnknownMessageType, "");
  response.SelectSingleNode("/XML/Message").SetText("Unknown message type: " + type);
}

void StampResponse(XmlDocument& response, const std::string& sessionId) {
  XmlNode root = response.SelectSingleNode("/XML");
  if (!root) {
    response.LoadXML("<XML/>");
    root = response.DocumentElement();
  }
  XmlNode stamp = root.SelectSingleNode("DataSession");
  if (!stamp) stamp = root.AppendElement("DataSession");
  stamp.SetText(sessionId);
}

}  // namespace ods
