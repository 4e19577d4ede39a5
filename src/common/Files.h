// Path texts, which are UTF-8.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace ods {

/// The separator between folder and file on this system, and all that count as one in a path.
inline constexpr auto kPathSeparator = static_cast<char>(std::filesystem::path::preferred_separator);
inline constexpr std::string_view kPathSeparators = kPathSeparator == '\\' ? "\\/" : "/";

/// A path text as the library's path, and back. Never by that class's own conversion: where its paths are UTF-16 it
/// takes a text for something else than UTF-8.
[[nodiscard]] std::filesystem::path PathOf(std::string_view text);
[[nodiscard]] std::string TextOf(const std::filesystem::path& path);

/// `folder` + separator + `name`.
[[nodiscard]] std::string JoinPath(std::string_view folder, std::string_view name);
/// A path that starts with "/", a drive path (second and third characters ":\" or ":/") or a network path ("\\").
[[nodiscard]] bool IsAbsolutePath(std::string_view path);

/// The cumulative folders of `path` that `MkDirRecurse` tests and creates, from the top down. With the separator "\"
/// every "/" counts as one too. A trailing separator is dropped. Of a network path, which begins with two separators,
/// the server and the share are left out. The root itself ("/"; with the separator "\" a drive as "C:") is not a level.
[[nodiscard]] std::vector<std::string> FolderLevels(std::string_view path, char separator = kPathSeparator);

}  // namespace ods
