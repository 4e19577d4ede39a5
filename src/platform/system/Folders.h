// Folders of the server's own.
#pragma once

#include <string>
#include <string_view>

#include "platform/system/FileHandle.h"

namespace ods {

/// Makes a folder that only its owner may enter (mode 0700), whatever the file mode creation mask. Gives the system's
/// error number, 0 when it was made, EEXIST when there is something of that name.
[[nodiscard]] int MakePrivateFolder(const std::string& path);
/// The same in an open folder.
[[nodiscard]] int MakePrivateFolder(const FileHandle& parent, const std::string& name);

/// Makes every missing folder of `path` as a private one. On failure raises error 1000 whose text ends with the step:
/// "Check if '" + folder + "' exists.", "Create folder '" + folder + "'.".
void MkDirRecurse(std::string_view path);

}  // namespace ods
