// Folders of the server's own.
#pragma once

#include <string>
#include <string_view>
#include <system_error>

namespace ods {

/// Makes a folder that only its owner may enter: POSIX mode 0700, whatever the file mode creation mask; on Windows an
/// access list of its own, which lets in this user and the system. file_exists when there is something of that name.
[[nodiscard]] std::error_code MakePrivateFolder(const std::string& path);

/// Makes every missing folder of `path` as a private one. On failure raises error 1000 whose text ends with the step:
/// "Check if '" + folder + "' exists.", "Create folder '" + folder + "'.".
void MkDirRecurse(std::string_view path);

}  // namespace ods
