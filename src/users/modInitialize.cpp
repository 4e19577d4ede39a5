#include "users/modInitialize.h"

#include <cstddef>
#include <string>
#include <string_view>

#include "exact/ExactOperators.h"
#include "platform/system/System.h"
#include "users/modUsersAndRoles.h"

namespace ods {

namespace {

constexpr std::string_view kFilterOperators = "eq,lt,gt,lteq,gteq,not,like";
constexpr std::string_view kFlowFilterOperator = ",flowfilter";

struct UserManagement {
  bool active = false;
  std::size_t users = 0;
};

UserManagement FindUserManagement(const XmlDocument& request, const DataSession& session) {
  const std::string mode = GetNodeText(request, "/XML/UserMode");
  if (mode != "DATASERVER" && mode != "DETECT") return {};
  const std::string list = GetNavisionUsersAndRoles(session);
  if (list.empty()) return {};
  const XmlDocument document(list);
  return {.active = true, .users = document.SelectNodes("/XML/Users/User").size()};
}

std::string FilterOperators(const Dialect& dialect) {
  std::string operators(kFilterOperators);
  if (dialect.flowFilters) operators += kFlowFilterOperator;
  return operators;
}

}  // namespace

void ProcessInitialize(const XmlDocument& request, XmlDocument& response, DataSession& session) {
  session.process->ServerSessionId = NewGuidText();
  response.LoadXML(
      "<XML><Authorization/><Name/><ColumnSorting/><IdIsCaption/><UserManagement/><UserCount/><FilterOperators/></"
      "XML>");
  const UserManagement management = FindUserManagement(request, session);
  const auto set = [&](const char* element, std::string_view text) {
    response.DocumentElement().SelectSingleNode(element).SetText(text);
  };
  set("UserManagement", management.active ? "1" : "0");
  set("Name", "Generic ODBC");
  set("ColumnSorting", "1");
  set("IdIsCaption", "1");
  set("UserCount", std::to_string(management.users));
  set("FilterOperators", FilterOperators(*session.dialect));
}

void ProcessExactInitialize(const XmlDocument& request, XmlDocument& response, DataSession& session) {
  ProcessInitialize(request, response, session);
  XmlNode operators = response.SelectSingleNode("/XML/FilterOperators");
  operators.SetText(operators.Text() + "," + std::string(kExactOperators));
  response.DocumentElement().AppendElement("Exact", "1");
}

}  // namespace ods
