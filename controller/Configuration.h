// The configuration file: TOML, read strictly. An unknown key, a value of another kind or out of its range, a password
// file that others may read: each is told with the line on which it stands, all of them at once.
#pragma once

#include <string>

#include "Settings.h"

namespace ods::controller {

/// Reads and checks the file. Raises error 1000 whose text has a line for every problem, "FILE:LINE: problem".
[[nodiscard]] Settings LoadSettings(const std::string& path);
/// The same of a text; `path` is for the messages, and relative paths in the text are relative to its folder.
[[nodiscard]] Settings ParseSettings(const std::string& text, const std::string& path);

}  // namespace ods::controller
