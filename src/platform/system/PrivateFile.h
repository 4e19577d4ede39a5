// Files that hold a secret.
#pragma once

#include <string>

namespace ods {

/// The text of a plain file of at most 64 KiB that only its owner may read or write (mode 0600 or less), and whose
/// owner is the user of the process or root; root reads those of all. Raises error 1000, `what` + " \"path\" " + what
/// is wrong with it.
[[nodiscard]] std::string ReadPrivateFile(const std::string& path, const std::string& what);

/// The password in a file: its text without the line end. The file must be a plain one that only its owner may read
/// (no right for group and others), and the owner this user or root. Raises error 1000 that says what is wrong.
[[nodiscard]] std::string ReadPasswordFile(const std::string& path);

}  // namespace ods
