// A folder of a test's own.
#pragma once

#include <fstream>
#include <iterator>
#include <string>

#include "common/Files.h"
#include "support/TemporaryFolder.h"

namespace ods::testing {

/// A temporary folder whose files are named by the system's separator.
class TestFolder : public test::TemporaryFolder {
 public:
  [[nodiscard]] std::string operator/(const std::string& name) const { return JoinPath(Path(), name); }
};

inline std::string ReadText(const std::string& path) {
  std::ifstream file(PathOf(path), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

inline void WriteText(const std::string& path, const std::string& text) {
  std::ofstream(PathOf(path), std::ios::binary) << text;
}

}  // namespace ods::testing
