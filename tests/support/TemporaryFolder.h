// A temporary folder that goes with its object, unless ODS_TEST_KEEP in the environment says that it is to be kept.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>
#include <system_error>

namespace ods::test {

class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "ods-test-XXXXXX").string();
    path_ = mkdtemp(pattern.data());
  }
  ~TemporaryFolder() {
    if (const char* keep = std::getenv("ODS_TEST_KEEP"); keep != nullptr && *keep != '\0') {
      std::cerr << "Kept " << path_.string() << '\n';
      return;
    }
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  TemporaryFolder(TemporaryFolder&&) = delete;
  TemporaryFolder& operator=(TemporaryFolder&&) = delete;

  [[nodiscard]] std::string Path() const { return path_.string(); }

 private:
  std::filesystem::path path_;
};

}  // namespace ods::test
