#include "server/modFolders.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <optional>
#include <string>

#include "platform/system/System.h"

namespace ods {
namespace {

/// Sets an environment variable for as long as the object lives.
class Environment {
 public:
  Environment(const char* name, const char* value) : name_(name), before_(EnvironmentVariable(name)) {
    setenv(name, value, 1);
  }
  ~Environment() {
    if (before_.empty()) {
      unsetenv(name_);
    } else {
      setenv(name_, before_.c_str(), 1);
    }
  }
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;
  Environment(Environment&&) = delete;
  Environment& operator=(Environment&&) = delete;

 private:
  const char* name_;
  std::string before_;
};

TEST(Folders, TheFolderOfAFileEndsBeforeTheLastSeparator) {
  EXPECT_EQ(FolderOf("/opt/server/bin/program"), "/opt/server/bin");
  EXPECT_EQ(FolderOf("/program"), "");
  EXPECT_EQ(FolderOf("program"), "");
}

TEST(Folders, DataLiesBesideTheProgramAndLogsInIt) {
  EXPECT_EQ(DefaultDataFolder("/opt/server"), "/opt/server/Data");
  EXPECT_EQ(LogFolder("/data"), "/data/Logs");
}

TEST(Folders, TheTemporaryFolderFollowsTempThenTmp) {
  const Environment temp("TEMP", "/t1");
  const Environment tmp("TMP", "/t2");
  EXPECT_EQ(TempFolder("/opt"), "/t1/Korvanta");
  const Environment noTemp("TEMP", "");
  EXPECT_EQ(TempFolder("/opt"), "/t2/Korvanta");
}

TEST(Folders, WithNeitherVariableQueuesLieBesideTheProgram) {
  const Environment temp("TEMP", "");
  const Environment tmp("TMP", "");
  EXPECT_EQ(TempFolder("/opt"), "/opt/Temp");
  EXPECT_EQ(QueueFolder("/opt", "7"), "/opt/Temp/7/Queue");
}

TEST(Folders, EveryInstanceHasItsOwnQueues) {
  const Environment temp("TEMP", "/t1");
  EXPECT_EQ(QueueFolder("/opt", "sales"), "/t1/Korvanta/sales/Queue");
}

}  // namespace
}  // namespace ods
