#include "common/Files.h"

#include "common/Text.h"

namespace ods {

std::filesystem::path PathOf(std::string_view text) { return {std::u8string(text.begin(), text.end())}; }

std::string TextOf(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return {text.begin(), text.end()};
}

std::string JoinPath(std::string_view folder, std::string_view name) {
  std::string path;
  path.reserve(folder.size() + 1 + name.size());
  return path.append(folder).append(1, kPathSeparator).append(name);
}

bool IsAbsolutePath(std::string_view path) {
  if (path.starts_with('/') || path.starts_with("\\\\")) return true;
  return path.size() >= 3 && path[1] == ':' && (path[2] == '\\' || path[2] == '/');
}

std::vector<std::string> FolderLevels(std::string_view path, char separator) {
  const std::string_view one(&separator, 1);
  const std::string prepared = separator == '\\' ? ReplaceAll(path, "/", one) : std::string(path);
  const bool isNetworkPath = prepared.starts_with(std::string(2, separator));
  std::size_t namesToSkip = isNetworkPath ? 2 : 0;
  std::string level = isNetworkPath ? std::string(one) : "";
  if (prepared.starts_with(separator)) level += separator;

  std::vector<std::string> levels;
  for (const std::string& name : Split(prepared, one)) {
    if (name.empty()) continue;
    if (!level.empty() && level.back() != separator) level += separator;
    const bool isDrive = separator == '\\' && level.empty() && name.size() == 2 && name[1] == ':';
    level += name;
    if (namesToSkip > 0) {
      --namesToSkip;
    } else if (!isDrive) {
      levels.push_back(level);
    }
  }
  return levels;
}

}  // namespace ods
