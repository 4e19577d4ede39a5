// Server-side views: named queries kept in XML files of the configuration folder, read afresh at every use.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/xml/Xml.h"

namespace ods {

/// The query of a view with its attributes.
struct ViewQuery {
  std::string text;
  bool isMacro = false;  ///< fills its own markers instead of standing as a derived table
  std::string top;       ///< the texts in the query that stand for the row limit,
  std::string where;     ///< the condition,
  std::string orderBy;   ///< the ordering
  std::string fields;    ///< and the field list; without it the field list is fixed
};

/// The views of `views.xml` and of every `views/*.xml` (one a file, its identifier the file name) in one document with
/// root `Views`; a file replaces the entry of the same identifier. Raises error 91 naming the file for one without a
/// root.
[[nodiscard]] XmlDocument LoadViews(const std::string& configFolder);

/// The query of the view with an identifier, or nothing.
[[nodiscard]] std::optional<ViewQuery> FindViewQuery(const std::string& configFolder, std::string_view identifier);

}  // namespace ods
