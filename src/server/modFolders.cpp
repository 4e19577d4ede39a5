#include "server/modFolders.h"

#include "common/Files.h"
#include "platform/system/System.h"
#include "server/Product.h"

namespace ods {

std::string FolderOf(std::string_view path) {
  const std::size_t separator = path.rfind(kPathSeparator);
  return separator == std::string_view::npos ? "" : std::string(path.substr(0, separator));
}

std::string DefaultDataFolder(const std::string& exeFolder) { return JoinPath(exeFolder, "Data"); }

std::string TempFolder(const std::string& exeFolder) {
  std::string temp = EnvironmentVariable("TEMP");
  if (temp.empty()) temp = EnvironmentVariable("TMP");
  return temp.empty() ? JoinPath(exeFolder, "Temp") : JoinPath(temp, kProductName);
}

std::string QueueFolder(const std::string& exeFolder, const std::string& instance) {
  return JoinPath(JoinPath(TempFolder(exeFolder), instance), "Queue");
}

std::string LogFolder(const std::string& dataFolder) { return JoinPath(dataFolder, "Logs"); }

}  // namespace ods
