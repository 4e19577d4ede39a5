// The names and the version under which the server appears.
#pragma once

#include <string>

#include "common/ProductName.h"

namespace ods {

inline constexpr const char* kApplicationTitle = "ODBC Data Server";

/// Product name and title: "Korvanta - ODBC Data Server".
[[nodiscard]] std::string FullProductName();
/// Major, minor and revision: "1.0.0".
[[nodiscard]] std::string ProductVersion();
/// The version as the log shows it, in four parts: major, minor, 0, revision.
[[nodiscard]] std::string LoggedVersion();

}  // namespace ods
