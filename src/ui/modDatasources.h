// Finds the ODBC data sources that the server can serve: those that are registered and whose driver is acceptable.
//
// The keys that this reads are the driver manager's ini files (platform/system/Registry.h). Three things are other than
// with a registry, so that what the driver manager can connect to is what is found:
//
// - Such a file has seldom a section "ODBC Data Sources". Where the section exists it decides, even an empty one; where
//   it does not, every section of the file counts as registered, as in the driver manager's own list, except "ODBC",
//   which holds options of the driver manager.
// - "Driver" of a data source is a file, or the name of an installed driver, which is the usual form. A data source
//   whose "Driver" names an installed driver has that driver, whatever its file is called.
// - Drivers can be installed for one user; the driver manager finds them behind those of the machine.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "common/ComponentRegistry.h"
#include "common/Dictionary.h"

namespace ods {

/// Five dictionaries, each empty where there is nothing to read: "Drivers" (installed drivers by name, those without a
/// "Driver" left out), "System" and "User" (data sources with their values, by name), "SystemDSN" and "UserDSN" (names
/// of the registered data sources). Raises error 429 when the dictionary component is not registered.
[[nodiscard]] std::shared_ptr<Dictionary> GetODBCSettings(const ComponentRegistry& components);

/// The registered data sources by name, each with the dictionary of its values: those of the system in the order of its
/// file, then those of the user. A data source of the user that has the name of one of the system (names are compared
/// without regard to case, as the driver manager does) takes its place, with the values of the user.
///
/// `pattern` is a regular expression (ECMAScript's, case-sensitive, matching anywhere) over the names of drivers; only
/// data sources of drivers that match are listed, all of them when it is empty. When no installed driver matches,
/// `tellNoDriver` is called with the text to show, whose lines end with LF; it may be empty.
///
/// An error is raised again with " GetDatasources[" + step + "]" at the end of its text, the step being one of "init",
/// "Get driver files", "Check driver files", "Add system drivers", "Add user drivers" and "Return". A pattern that is
/// no regular expression raises error 1000 naming it.
[[nodiscard]] std::shared_ptr<Dictionary> GetDatasources(
    const std::string& pattern, const ComponentRegistry& components,
    const std::function<void(const std::string& text)>& tellNoDriver);

/// True when one of the driver files (texts, by the name of the driver) is `path`, or, unless `exact`, contains it.
[[nodiscard]] bool DriverFileListed(std::string_view path, const Dictionary& driverFiles, bool exact);

}  // namespace ods
