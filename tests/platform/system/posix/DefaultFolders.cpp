#include "platform/system/DefaultFolders.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>

#include "platform/system/System.h"
#include "support/OdbcFolder.h"
#include "support/PlainUser.h"
#include "support/TemporaryFolder.h"

namespace ods {
namespace {

using Environment = test::EnvironmentValue;

/// A folder of programs that a plain user can only read, and that user's home.
class InstalledForEverybody : public ::testing::Test {
 protected:
  InstalledForEverybody() {
    namespace fs = std::filesystem;
    fs::permissions(folder_.Path(), fs::perms(0755));
    fs::create_directory(programs_);
    fs::permissions(programs_, fs::perms(0555));
  }
  void Prepare(const std::string& name) const {
    std::filesystem::permissions(programs_, std::filesystem::perms(0755));
    std::filesystem::create_directory(programs_ + "/" + name);
    std::filesystem::permissions(programs_ + "/" + name, std::filesystem::perms(0777));
    std::filesystem::permissions(programs_, std::filesystem::perms(0555));
  }
  [[nodiscard]] DefaultFolders Found() const {
    const test::PlainUser user;
    return FindDefaultFolders(programs_);
  }

  test::TemporaryFolder folder_;
  std::string programs_ = folder_.Path() + "/bin";
  Environment home_{"HOME", "/home/ann"};
  Environment data_{"XDG_DATA_HOME", ""};
  Environment config_{"XDG_CONFIG_HOME", ""};
};

TEST_F(InstalledForEverybody, AUserHasFoldersOfHisOwn) {
  EXPECT_EQ(Found().data, "/home/ann/.local/share/Korvanta");
  EXPECT_EQ(Found().config, "/home/ann/.config/Korvanta");
  EXPECT_EQ(Found().temp, "/home/ann/.local/share/Korvanta/Temp");
}

TEST_F(InstalledForEverybody, TheEnvironmentSaysWhereTheyAre) {
  const Environment data("XDG_DATA_HOME", "/srv/ann");
  const Environment config("XDG_CONFIG_HOME", "/etc/ann");
  EXPECT_EQ(Found().data, "/srv/ann/Korvanta");
  EXPECT_EQ(Found().config, "/etc/ann/Korvanta");
}

TEST_F(InstalledForEverybody, ARelativePathInTheEnvironmentCountsAsNone) {
  const Environment data("XDG_DATA_HOME", "ann");
  const Environment config("XDG_CONFIG_HOME", "./ann");
  EXPECT_EQ(Found().data, "/home/ann/.local/share/Korvanta");
  EXPECT_EQ(Found().config, "/home/ann/.config/Korvanta");
}

TEST_F(InstalledForEverybody, WithoutAHomeInTheEnvironmentTheSystemKnowsIt) {
  const Environment home("HOME", "");
  const test::PlainUser user;
  EXPECT_EQ(FindDefaultFolders(programs_).data, HomeFolder() + "/.local/share/Korvanta");
}

TEST_F(InstalledForEverybody, FoldersThatWerePreparedBesideTheProgramCount) {
  Prepare("Data");
  EXPECT_EQ(Found().data, programs_ + "/Data");
  EXPECT_EQ(Found().config, "") << "in the data folder";
  EXPECT_EQ(Found().temp, "/home/ann/.local/share/Korvanta/Temp");
  Prepare("Temp");
  EXPECT_EQ(Found().temp, programs_ + "/Temp");
}

}  // namespace
}  // namespace ods
