// Navision's own tables of users, memberships and roles: what they are called in this database, and the texts that
// statements on them are made of.
//
// The names stand in the context document, under the tables' numbers. A name that it lacks is empty; the statement that
// needs it is then refused by the database.
#pragma once

#include <string>
#include <string_view>

#include "platform/xml/Xml.h"

namespace ods {

/// A text as an SQL literal: in apostrophes, those inside doubled.
[[nodiscard]] std::string SqlQuote(std::string_view text);
/// A name of a table or field: in double quotes, those inside doubled.
[[nodiscard]] std::string NavQuoteName(std::string_view name);

/// Names of tables and fields, all of them in the form of `NavQuoteName`.
struct NavisionTables {
  struct {
    std::string table, userId, password, name;
  } user;
  struct {
    std::string table, userId, roleId;
  } membership;
  struct {
    std::string table, roleId, name;
  } role;
  /// The record filters of a user.
  struct {
    std::string table, userId;
  } userFilter;
};

/// The names that the context document gives.
[[nodiscard]] NavisionTables ReadNavisionTables(const XmlDocument& context);

}  // namespace ods
