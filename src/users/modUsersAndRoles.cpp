#include "users/modUsersAndRoles.h"

#include <array>

#include "common/Conversions.h"
#include "common/Error.h"
#include "common/Text.h"
#include "database/modODBC.h"
#include "users/modNavision.h"

namespace ods {

namespace {

/// Whether the user table can be read decides nothing: the statement that reads it tells. The probe leaves the first
/// word on it in the log.
void ProbeUserTable(const DataSession& session, const NavisionTables& names) {
  constexpr std::array kExpected = {error_number::kGeneralFailure};
  try {
    (void)ExecuteSQL(session, "SELECT " + names.user.userId + " FROM " + names.user.table + " WHERE 1=2", 0,
                     {.expectedErrors = kExpected});
  } catch (const Error&) {  // traced already
  }
}

/// Appends an element `element` with `Id` and `Name` to `list` for every row of a statement.
void AppendRows(RecordSet& rows, XmlNode list, const char* element, const char* idColumn, const char* nameColumn) {
  if (rows.AtEnd()) return;
  const std::size_t id = rows.IndexOf(idColumn);
  const std::size_t name = rows.IndexOf(nameColumn);
  for (; !rows.AtEnd(); rows.MoveNext()) {
    XmlNode node = list.AppendElement(element);
    node.AppendElement("Id", SafeStr(rows.Item(id)));
    node.AppendElement("Name", SafeStr(rows.Item(name)));
  }
}

void AppendMember(const XmlDocument& document, const std::string& roleId, const std::string& userId) {
  XmlNode group = document.SelectSingleNode(("/XML/Groups/Group[Id=" + XPathLiteral(roleId) + "]").c_str());
  if (!group) {
    throw Error(error_number::kObjectMissing,
                "The role '" + roleId + "' of user '" + userId + "' is not in the role table.");
  }
  XmlNode users = group.SelectSingleNode("Users");
  if (!users) users = group.AppendElement("Users");
  users.AppendElement("User").AppendElement("Id", userId);
}

void AppendMembers(RecordSet& rows, const XmlDocument& document) {
  if (rows.AtEnd()) return;
  const std::size_t user = rows.IndexOf("userid");
  const std::size_t role = rows.IndexOf("roleid");
  for (; !rows.AtEnd(); rows.MoveNext()) AppendMember(document, SafeStr(rows.Item(role)), SafeStr(rows.Item(user)));
}

}  // namespace

void ProcessUsersAndRoles(const XmlDocument& /*request*/, XmlDocument& response, DataSession& session) {
  response.LoadXML(GetNavisionUsersAndRoles(session));
}

std::string GetNavisionUsersAndRoles(const DataSession& session) {
  if (!session.dialect->usersInDatabase) return "";
  const NavisionTables names = ReadNavisionTables(*session.process->context);
  const XmlDocument document("<XML><Users/><Groups/></XML>");
  ProbeUserTable(session, names);
  const auto& [userTable, userId, password, userName] = names.user;
  AppendRows(*ExecuteSQL(session, "SELECT " + userId + " AS userid, " + userName + " as username FROM " + userTable, 0),
             document.SelectSingleNode("/XML/Users"), "User", "userid", "username");
  const auto& [roleTable, roleId, roleName] = names.role;
  AppendRows(*ExecuteSQL(session, "SELECT " + roleId + " AS roleid, " + roleName + " as rolename FROM " + roleTable, 0),
             document.SelectSingleNode("/XML/Groups"), "Group", "roleid", "rolename");
  const auto& [membershipTable, memberId, memberRole] = names.membership;
  AppendMembers(
      *ExecuteSQL(session, "SELECT " + memberId + " AS userid, " + memberRole + " as roleid FROM " + membershipTable,
                  0),
      document);
  return document.Xml();
}

}  // namespace ods
