// Whole files.
#pragma once

#include <string>

#include "common/Value.h"

namespace ods {

/// The bytes of a file; none for an empty file. Raises error 1000 "Function ReadFile does not accept an empty file name
/// as parameter." for "", "Function ReadFile was not able to get a free file handle." when the process has no handle
/// left, error 53 when there is no such file, and error 1000 naming the path for anything else.
[[nodiscard]] Bytes ReadFile(const std::string& path);
/// The same as text.
[[nodiscard]] std::string ReadFileText(const std::string& path);

}  // namespace ods
