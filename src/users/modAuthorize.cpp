#include "users/modAuthorize.h"

#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "common/Conversions.h"
#include "common/Error.h"
#include "common/Files.h"
#include "common/Text.h"
#include "database/modODBC.h"
#include "users/modNavision.h"

namespace ods {

namespace {

constexpr const char* kUsersFile = "users.xml";
/// The group of the users file, and the role of Navision, that make an administrator.
constexpr std::string_view kAdministratorGroup = "Admins";
constexpr std::string_view kAdministratorRole = "SUPER";
constexpr const char* kResponse = "<XML><UserId/><UserName/><Authorized>0</Authorized><Admin>0</Admin><Groups/></XML>";
constexpr const char* kNavisionResponse =
    "<XML xml:space=\"preserve\"><UserId/><UserName/><Authorized>0</Authorized><Admin>0</Admin><Groups/><UserFilter/>"
    "</XML>";

void FillUser(XmlDocument& response, const std::string& id, const std::string& name) {
  response.SelectSingleNode("/XML/UserId").SetText(id);
  response.SelectSingleNode("/XML/UserName").SetText(name);
  response.SelectSingleNode("/XML/Authorized").SetText("1");
}

void AppendGroup(XmlDocument& response, const std::string& id, std::string_view administrator) {
  response.SelectSingleNode("/XML/Groups").AppendElement("Group").AppendElement("Id", id);
  if (id == administrator) response.SelectSingleNode("/XML/Admin").SetText("1");
}

void AuthorizeByFile(const XmlDocument& users, const std::string& userId, XmlDocument& response) {
  const std::string literal = XPathLiteral(userId);
  const XmlNode user = users.SelectSingleNode(("/UserData/Users/User[@Id=" + literal + "]").c_str());
  if (!user) return;
  FillUser(response, user.Attribute("Id"), user.Attribute("Name"));
  const std::string memberships = "/UserData/Groups/Group[Users/User[@Id=" + literal + "]]";
  for (const XmlNode& group : users.SelectNodes(memberships.c_str())) {
    AppendGroup(response, group.Attribute("Id"), kAdministratorGroup);
  }
}

/// What the authorization of one user on Navision shares.
class NavisionUser {
 public:
  NavisionUser(const DataSession& session, const std::string& userId)
      : session_(session), names_(ReadNavisionTables(*session.process->context)), userId_(SqlQuote(userId)) {}

  struct Row {
    std::string userId;
    std::string name;
  };
  /// The user's row; nothing when there is none.
  [[nodiscard]] std::optional<Row> Find() const;
  /// Lets the database compare the password. It stores passwords in a form of its own, which only a write brings
  /// about: so the stored one moves into the name column, and the given one takes its place for the comparison.
  [[nodiscard]] bool HasPassword(const std::string& password, const std::string& originalName) const;
  [[nodiscard]] std::vector<std::string> Roles() const;
  /// The columns of the user's record filter and their values; none when they cannot be had.
  [[nodiscard]] std::vector<std::pair<std::string, std::string>> Filters() const;

 private:
  [[nodiscard]] std::string UpdateText(const std::string& column, const std::string& value) const {
    return "UPDATE " + names_.user.table + " SET " + column + "=" + value + Where();
  }
  [[nodiscard]] std::string Where() const { return " WHERE " + names_.user.userId + "=" + userId_; }
  void Update(const std::string& column, const std::string& value) const {
    (void)ExecuteSQL(session_, UpdateText(column, value), 0);
  }
  [[nodiscard]] bool GivenEqualsStored(const std::string& password) const;
  void Restore(const std::string& originalName) const;

  const DataSession& session_;
  NavisionTables names_;
  std::string userId_;  ///< as a literal
};

std::optional<NavisionUser::Row> NavisionUser::Find() const {
  const auto rows =
      ExecuteSQL(session_,
                 "SELECT " + names_.user.userId + " as userid, " + names_.user.password + " as userpassword, " +
                     names_.user.name + " as username FROM " + names_.user.table + Where(),
                 0);
  if (rows->AtEnd()) return std::nullopt;
  return Row{SafeStr(rows->Item("userid")), SafeStr(rows->Item("username"))};
}

bool NavisionUser::HasPassword(const std::string& password, const std::string& originalName) const {
  Update(names_.user.name, names_.user.password);
  bool equal = false;
  try {
    equal = GivenEqualsStored(password);
  } catch (...) {
    Restore(originalName);
    throw;
  }
  Restore(originalName);
  return equal;
}

bool NavisionUser::GivenEqualsStored(const std::string& password) const {
  const std::string shown = UpdateText(names_.user.password, "'*****'");
  (void)ExecuteSQL(session_, UpdateText(names_.user.password, SqlQuote(password)), 0, {.shownAs = shown});
  const auto rows =
      ExecuteSQL(session_,
                 "SELECT " + names_.user.userId + " AS userid FROM " + names_.user.table + " WHERE " +
                     names_.user.name + "=" + names_.user.password + " AND " + names_.user.userId + "=" + userId_,
                 0);
  return !rows->AtEnd();
}

/// In this order: while the password is not back, the name column holds its only copy.
void NavisionUser::Restore(const std::string& originalName) const {
  Update(names_.user.password, names_.user.name);
  Update(names_.user.name, SqlQuote(originalName));
}

std::vector<std::string> NavisionUser::Roles() const {
  const auto& [table, userId, roleId] = names_.membership;
  const auto rows =
      ExecuteSQL(session_, "SELECT " + roleId + " as roleid FROM " + table + " WHERE " + userId + "=" + userId_, 0);
  std::vector<std::string> roles;
  for (; !rows->AtEnd(); rows->MoveNext()) roles.push_back(SafeStr(rows->Item("roleid")));
  return roles;
}

std::vector<std::pair<std::string, std::string>> NavisionUser::Filters() const {
  const auto& [table, userId] = names_.userFilter;
  std::vector<std::pair<std::string, std::string>> filters;
  try {
    const auto rows = ExecuteSQL(session_, "SELECT * FROM " + table + " WHERE " + userId + "=" + userId_, 0);
    if (rows->AtEnd()) return {};
    for (std::size_t i = 0; i < rows->Fields().size(); ++i) {
      filters.emplace_back(rows->Fields()[i].name, SafeStr(rows->Item(i)));
    }
  } catch (const Error&) {  // traced already: many databases have no such table
    return {};
  }
  return filters;
}

}  // namespace

void ProcessAuthorize(const XmlDocument& request, XmlDocument& response, DataSession& session) {
  std::string userId = GetNodeText(request, "/XML/UserId");
  const std::string authenticatedUser = GetNodeText(request, "/XML/AuthenticatedUser");
  if (session.dialect->usersInDatabase) {
    const std::string password = GetNodeText(request, "/XML/Password");
    response.LoadXML(AuthorizeNavision(session, userId, password, authenticatedUser));
    return;
  }
  if (userId.empty()) userId = authenticatedUser;
  response.LoadXML(kResponse);
  AuthorizeByFile(LoadUsersFile(session.process->programFolder), userId, response);
}

XmlDocument LoadUsersFile(const std::string& programFolder) {
  XmlDocument users;
  users.Load(JoinPath(programFolder, kUsersFile));
  return users;
}

std::string AuthorizeNavision(const DataSession& session, const std::string& userId, const std::string& password,
                              const std::string& authenticatedUser) {
  const NavisionUser user(session, authenticatedUser.empty() ? userId : authenticatedUser);
  XmlDocument response(kNavisionResponse);
  const auto row = user.Find();
  if (!row || (authenticatedUser.empty() && !user.HasPassword(password, row->name))) return response.Xml();
  FillUser(response, row->userId, row->name);
  for (const std::string& role : user.Roles()) AppendGroup(response, role, kAdministratorRole);
  XmlNode filters = response.SelectSingleNode("/XML/UserFilter");
  for (const auto& [column, value] : user.Filters()) {
    XmlNode filter = filters.AppendElement("Filter", value);
    filter.SetAttribute("id", column);
  }
  return response.Xml();
}

}  // namespace ods
