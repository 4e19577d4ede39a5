#include "platform/system/DefaultFolders.h"

#include "common/Files.h"
#include "common/ProductName.h"
#include "platform/system/System.h"

namespace ods {

std::string FolderOf(std::string_view path) {
  const std::size_t separator = path.find_last_of(kPathSeparators);
  return separator == std::string_view::npos ? "" : std::string(path.substr(0, separator));
}

std::string TempFolder(const DefaultFolders& defaults) {
  std::string temp = EnvironmentVariable("TEMP");
  if (temp.empty()) temp = EnvironmentVariable("TMP");
  return temp.empty() ? defaults.temp : JoinPath(temp, kProductName);
}

std::string QueueFolder(const DefaultFolders& defaults, const std::string& instance) {
  return JoinPath(JoinPath(TempFolder(defaults), instance), "Queue");
}

std::string LogFolder(const std::string& dataFolder) { return JoinPath(dataFolder, "Logs"); }

}  // namespace ods
