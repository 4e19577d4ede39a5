#include "platform/system/DefaultFolders.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>

#include "common/Files.h"
#include "support/EnvironmentValue.h"
#include "support/TemporaryFolder.h"

namespace ods {
namespace {

using Environment = test::EnvironmentValue;

/// A path of a test with the system's separators.
std::string Native(std::string path) {
  std::ranges::replace(path, '/', kPathSeparator);
  return path;
}

TEST(Folders, TheFolderOfAFileEndsBeforeTheLastSeparator) {
  EXPECT_EQ(FolderOf(Native("/opt/server/bin/program")), Native("/opt/server/bin"));
  EXPECT_EQ(FolderOf(Native("/program")), "");
  EXPECT_EQ(FolderOf("program"), "");
}

TEST(Folders, DataLiesBesideTheProgramAndLogsInIt) {
  const test::TemporaryFolder server;
  EXPECT_EQ(FindDefaultFolders(server.Path()).data, server.Path() + Native("/Data"));
  EXPECT_EQ(FindDefaultFolders(server.Path()).config, "") << "in the data folder";
  EXPECT_EQ(FindDefaultFolders(server.Path()).temp, server.Path() + Native("/Temp"));
  EXPECT_EQ(LogFolder(Native("/data")), Native("/data/Logs"));
}

TEST(Folders, TheTemporaryFolderFollowsTempThenTmp) {
  const Environment temp("TEMP", Native("/t1"));
  const Environment tmp("TMP", Native("/t2"));
  EXPECT_EQ(TempFolder({"", "", Native("/opt/Temp")}), Native("/t1/Korvanta"));
  const Environment noTemp("TEMP", "");
  EXPECT_EQ(TempFolder({"", "", Native("/opt/Temp")}), Native("/t2/Korvanta"));
}

TEST(Folders, WithNeitherVariableQueuesLieBesideTheProgram) {
  const Environment temp("TEMP", "");
  const Environment tmp("TMP", "");
  EXPECT_EQ(TempFolder({"", "", Native("/opt/Temp")}), Native("/opt/Temp"));
  EXPECT_EQ(QueueFolder({"", "", Native("/opt/Temp")}, "7"), Native("/opt/Temp/7/Queue"));
}

TEST(Folders, EveryInstanceHasItsOwnQueues) {
  const Environment temp("TEMP", Native("/t1"));
  EXPECT_EQ(QueueFolder({"", "", Native("/opt/Temp")}, "sales"), Native("/t1/Korvanta/sales/Queue"));
}

}  // namespace
}  // namespace ods
