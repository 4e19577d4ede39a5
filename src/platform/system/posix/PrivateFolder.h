// Folders in an open folder.
#pragma once

#include <string>
#include <system_error>

#include "platform/system/FileHandle.h"

namespace ods {

/// Makes a folder in an open folder as `MakePrivateFolder` of a path does.
[[nodiscard]] std::error_code MakePrivateFolder(const FileHandle& parent, const std::string& name);

}  // namespace ods
