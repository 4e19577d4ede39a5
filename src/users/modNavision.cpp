#include "users/modNavision.h"

#include "common/Text.h"

namespace ods {

namespace {

/// The numbers of the tables in Navision.
constexpr const char* kUserTable = "2000000002";
constexpr const char* kMembershipTable = "2000000003";
constexpr const char* kRoleTable = "2000000004";
constexpr const char* kUserFilterTable = "UserFilter";

std::string TablePath(const std::string& id) { return "/Context/Users/Table[@id='" + id + "']"; }

std::string TableName(const XmlDocument& context, const char* id) {
  return NavQuoteName(GetNodeText(context, (TablePath(id) + "/TableName").c_str()));
}

std::string FieldName(const XmlDocument& context, const char* id, const std::string& field) {
  return NavQuoteName(GetNodeText(context, (TablePath(id) + "/Field[@id='" + field + "']").c_str()));
}

}  // namespace

std::string SqlQuote(std::string_view text) { return "'" + ReplaceAll(text, "'", "''") + "'"; }

std::string NavQuoteName(std::string_view name) { return "\"" + ReplaceAll(name, "\"", "\"\"") + "\""; }

NavisionTables ReadNavisionTables(const XmlDocument& context) {
  NavisionTables tables;
  tables.user = {TableName(context, kUserTable), FieldName(context, kUserTable, "1"),
                 FieldName(context, kUserTable, "2"), FieldName(context, kUserTable, "3")};
  tables.membership = {TableName(context, kMembershipTable), FieldName(context, kMembershipTable, "1"),
                       FieldName(context, kMembershipTable, "3")};
  tables.role = {TableName(context, kRoleTable), FieldName(context, kRoleTable, "1"),
                 FieldName(context, kRoleTable, "2")};
  tables.userFilter = {TableName(context, kUserFilterTable), FieldName(context, kUserFilterTable, "UserId")};
  return tables;
}

}  // namespace ods
