// The files of an open folder. Names are looked up in the folder itself and never through a link, so nobody can lead
// the work elsewhere by exchanging the folder's path or a file.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <system_error>

#include "platform/system/FileFacts.h"
#include "platform/system/FileHandle.h"

namespace ods {

/// The facts of a name in a folder (of a link itself); nothing when there is none.
[[nodiscard]] std::optional<FileFacts> FactsOf(const FileHandle& folder, const std::string& name);
/// Opens a file of a folder for reading; never follows a link and never waits.
[[nodiscard]] OpenedFile OpenForReading(const FileHandle& folder, const std::string& name);
/// Calls `visit` for every name in a folder, "." and ".." left out. Raises error 1000.
void ForEachName(const FileHandle& folder, const std::function<void(const std::string&)>& visit);
/// Moves a file and never overwrites one: file_exists then.
[[nodiscard]] std::error_code MoveFile(const FileHandle& from, const std::string& name, const FileHandle& to,
                                       const std::string& newName);
/// Makes a folder in a folder as `MakePrivateFolder` does.
[[nodiscard]] std::error_code MakePrivateFolder(const FileHandle& parent, const std::string& name);

}  // namespace ods
