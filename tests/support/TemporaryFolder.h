// A temporary folder that goes with its object, unless ODS_TEST_KEEP in the environment says that it is to be kept.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <random>
#include <string>
#include <system_error>

#include "common/Files.h"

namespace ods::test {

class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::random_device random;
    do {
      path_ = std::filesystem::temp_directory_path() / ("ods-test-" + std::to_string(random()));
    } while (!std::filesystem::create_directory(path_));
    std::filesystem::permissions(path_, std::filesystem::perms::owner_all);
  }
  ~TemporaryFolder() {
    if (const char* keep = std::getenv("ODS_TEST_KEEP"); keep != nullptr && *keep != '\0') {
      std::cerr << "Kept " << Path() << '\n';
      return;
    }
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  TemporaryFolder(TemporaryFolder&&) = delete;
  TemporaryFolder& operator=(TemporaryFolder&&) = delete;

  [[nodiscard]] std::string Path() const { return TextOf(path_); }

 private:
  std::filesystem::path path_;
};

}  // namespace ods::test
