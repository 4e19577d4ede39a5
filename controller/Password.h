// Passwords from files of their own, and connection strings that carry them.
#pragma once

#include <string>
#include <string_view>

namespace ods::controller {

/// The password in a file: its text without the line end. The file must be a plain one that only its owner may read
/// (no right for group and others), and the owner this user or root. Raises error 1000 that says what is wrong.
[[nodiscard]] std::string ReadPasswordFile(const std::string& path);

/// `connection` with ";keyword=value", the value in braces where it needs them.
[[nodiscard]] std::string WithConnectionValue(std::string connection, std::string_view keyword, std::string_view value);

}  // namespace ods::controller
