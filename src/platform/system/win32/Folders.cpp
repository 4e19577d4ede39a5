#include "platform/system/Folders.h"

#include "platform/system/win32/Win32.h"

namespace ods {

std::error_code MakePrivateFolder(const std::string& path) {
  PrivateSecurity security;
  return CreateDirectoryW(WidePath(path).c_str(), security.Attributes()) != 0 ? std::error_code() : LastSystemError();
}

}  // namespace ods
