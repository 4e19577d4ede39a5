// How the paths of the registry are taken apart on every system.
//
// Internal to this folder.
#pragma once

#include <cstddef>
#include <string_view>

namespace ods {

/// A path split into the key and what follows the last "\".
struct RegistryPath {
  std::string_view key;
  std::string_view last;
};

inline RegistryPath SplitAtLast(std::string_view path) {
  const std::size_t end = path.rfind('\\');
  if (end == std::string_view::npos) return {path, {}};
  return {path.substr(0, end), path.substr(end + 1)};
}

}  // namespace ods
