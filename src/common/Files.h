// Whole files and path texts.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "common/Value.h"

namespace ods {

/// The separator between folder and file on this system.
#ifdef _WIN32
inline constexpr char kPathSeparator = '\\';
#else
inline constexpr char kPathSeparator = '/';
#endif

/// `folder` + separator + `name`.
[[nodiscard]] std::string JoinPath(std::string_view folder, std::string_view name);
/// A path that starts with "/", a drive path (second and third characters ":\" or ":/") or a network path ("\\").
[[nodiscard]] bool IsAbsolutePath(std::string_view path);

/// The cumulative folders of `path` that `MkDirRecurse` tests and creates, from the top down. With the separator "\"
/// every "/" counts as one too. A trailing separator is dropped. Of a network path, which begins with two separators,
/// the server and the share are left out. The root itself ("/"; with the separator "\" a drive as "C:") is not a level.
[[nodiscard]] std::vector<std::string> FolderLevels(std::string_view path, char separator = kPathSeparator);

/// The bytes of a file; none for an empty file. Raises error 1000 "Function ReadFile does not accept an empty file name
/// as parameter." for "", "Function ReadFile was not able to get a free file handle." when the process has no handle
/// left, error 53 when there is no such file, and error 1000 naming the path for anything else.
[[nodiscard]] Bytes ReadFile(const std::string& path);
/// The same as text.
[[nodiscard]] std::string ReadFileText(const std::string& path);

}  // namespace ods
