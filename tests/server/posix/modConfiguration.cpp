#include "server/modConfiguration.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>

#include "support/MountedFolder.h"
#include "support/TemporaryFolder.h"

namespace ods {
namespace {

TEST(ConfigurationFile, IsReadableByItsOwnerAlone) {
  const test::TemporaryFolder folder;
  const std::string path = folder.Path() + "/dataserver.xml";
  Configuration configuration;
  LoadConfiguration(path, configuration);
  const auto mode = std::filesystem::status(path).permissions();
  EXPECT_EQ(mode, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST(ConfigurationFile, NoEditInPlaceIsMissedHoweverSoonItComes) {
  // A clock that goes in steps of some milliseconds, where the system has such a file system: all of these edits come
  // within a few steps.
  const test::MountedFolder coarse("ramfs", "");
  const std::string path = coarse.Path() + "/dataserver.xml";
  constexpr int kEdits = 5000;
  int missed = 0;
  Configuration configuration;
  const auto take = [&](const std::string& dsn) {
    if (ConfigurationChanged(path, configuration)) LoadConfiguration(path, configuration);
    if (configuration.DSN != dsn) ++missed;
  };
  for (int i = 0; i < kEdits; ++i) {
    const std::string dsn = std::to_string(10000 + i);
    {
      std::ofstream file(path, std::ios::binary | std::ios::trunc);
      // The server reads between the emptying and the writing, or it does not.
      if (i % 2 == 0) take("");
      file << "<Settings><DSN>" + dsn + "</DSN></Settings>";
    }
    take(dsn);
  }
  EXPECT_EQ(missed, 0) << "of " << kEdits << " edits";
}

}  // namespace
}  // namespace ods
