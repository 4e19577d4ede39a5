// The folders that a server uses when the command line names none.
#pragma once

#include <string>
#include <string_view>

namespace ods {

/// The folder of a file: everything before the last separator; "" without one.
[[nodiscard]] std::string FolderOf(std::string_view path);

/// "Data" in the folder of the executable.
[[nodiscard]] std::string DefaultDataFolder(const std::string& exeFolder);
/// The product's folder in the folder that the environment variable TEMP names, or TMP when that is empty; "Temp" in
/// the folder of the executable when both are.
[[nodiscard]] std::string TempFolder(const std::string& exeFolder);
/// The parent of an instance's two queues: `TempFolder`, the instance, "Queue".
[[nodiscard]] std::string QueueFolder(const std::string& exeFolder, const std::string& instance);
/// "Logs" in the data folder.
[[nodiscard]] std::string LogFolder(const std::string& dataFolder);

}  // namespace ods
