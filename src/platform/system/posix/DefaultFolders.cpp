#include "platform/system/DefaultFolders.h"

#include <filesystem>
#include <system_error>

#include "common/Files.h"
#include "common/ProductName.h"
#include "platform/system/System.h"

namespace ods {

namespace {

bool IsFolder(const std::string& path) {
  std::error_code ignored;
  return std::filesystem::is_directory(path, ignored);
}

/// A folder of the user's own, from the environment, or else at its usual place in the home folder; "" without a home.
/// By the XDG Base Directory Specification a relative path counts as none.
std::string UserFolder(const char* variable, const char* usualPlace) {
  std::string named = EnvironmentVariable(variable);
  if (IsAbsolutePath(named)) return named;
  const std::string home = HomeFolder();
  return home.empty() ? "" : JoinPath(home, usualPlace);
}

}  // namespace

DefaultFolders FindDefaultFolders(const std::string& exeFolder) {
  DefaultFolders beside = {JoinPath(exeFolder, "Data"), "", JoinPath(exeFolder, "Temp")};
  if (!IsFolder(exeFolder) || IsWritableFolder(exeFolder)) return beside;
  const std::string dataHome = UserFolder("XDG_DATA_HOME", ".local/share");
  const std::string configHome = UserFolder("XDG_CONFIG_HOME", ".config");
  if (dataHome.empty() || configHome.empty()) return beside;
  DefaultFolders own = {JoinPath(dataHome, kProductName), JoinPath(configHome, kProductName), ""};
  own.temp = IsWritableFolder(beside.temp) ? beside.temp : JoinPath(own.data, "Temp");
  return IsWritableFolder(beside.data) ? DefaultFolders{beside.data, "", own.temp} : own;
}

}  // namespace ods
