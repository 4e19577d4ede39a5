// The folders that a server uses when the command line names none.
#pragma once

#include <string>
#include <string_view>

namespace ods {

/// The folder of a file: everything before the last separator; "" without one.
[[nodiscard]] std::string FolderOf(std::string_view path);

/// Where a server keeps what nobody gave it a folder for.
struct DefaultFolders {
  std::string data;
  std::string config;  ///< the folder of the configuration; "" for its usual place in the data folder
  std::string temp;    ///< without a folder for temporary files in the environment
};

/// "Data" and "Temp" in the folder of the executable. Where that folder cannot be written, because the program is
/// installed for everybody, the user's own folders by the XDG Base Directory Specification: the product's folder in
/// XDG_DATA_HOME (~/.local/share when it is not set), "Temp" in that, and the product's folder in XDG_CONFIG_HOME
/// (~/.config). A "Data" or "Temp" there that can be written counts all the same; a user without a home has no other
/// folders.
[[nodiscard]] DefaultFolders FindDefaultFolders(const std::string& exeFolder);
/// The product's folder in the folder that the environment variable TEMP names, or TMP when that is empty; the default
/// one when both are.
[[nodiscard]] std::string TempFolder(const DefaultFolders& defaults);
/// The parent of an instance's two queues: `TempFolder`, the instance, "Queue".
[[nodiscard]] std::string QueueFolder(const DefaultFolders& defaults, const std::string& instance);
/// The names of the two queues in that folder.
inline constexpr const char* kRequestsFolder = "Requests";
inline constexpr const char* kResultsFolder = "Results";
/// "Logs" in the data folder.
[[nodiscard]] std::string LogFolder(const std::string& dataFolder);

}  // namespace ods
