#include "ui/windows/modAdministrator.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <gmock/gmock.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <vector>

#include "platform/system/System.h"
#include "support/OdbcFolder.h"
#include "ui/windows/Programs.h"

namespace ods {
namespace {

using test::OdbcFolder;
using test::StayingScript;
using test::TemporaryFolder;
using test::WaitForFile;
using test::WriteProgram;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ModAdministrator : public ::testing::Test {
 protected:
  [[nodiscard]] std::string InPrograms(const std::string& name) const { return programs_.Path() + "/" + name; }
  [[nodiscard]] std::vector<std::string> Found(const std::string& searchPath) const {
    std::vector<std::string> found;
    for (const Administrator& administrator : FindAdministrators(searchPath, "/home/me/.odbc.ini")) {
      std::string line = administrator.program;
      for (const std::string& argument : administrator.arguments) line += " " + argument;
      found.push_back(line);
    }
    return found;
  }

  TemporaryFolder programs_;
  OdbcFolder odbc_;
};

TEST_F(ModAdministrator, NothingIsFoundInFoldersWithoutThem) {
  EXPECT_THAT(Found(programs_.Path()), IsEmpty());
  EXPECT_THAT(Found("/no/such/folder"), IsEmpty());
}

TEST_F(ModAdministrator, WithoutFoldersTheEnvironmentsPathIsNotSearched) {
  const test::EnvironmentValue path("PATH", programs_.Path());
  WriteProgram(InPrograms("ODBCManageDataSourcesQ4"), "");
  EXPECT_THAT(Found(""), IsEmpty());
  EXPECT_THAT(Found("::"), IsEmpty());
}

TEST_F(ModAdministrator, GraphicalManagersComeBeforeTheEditorOfTheUsersFile) {
  for (const char* name : {"xdg-open", "iodbcadm-gtk", "ODBCCreateDataSourceQ4", "ODBCManageDataSourcesQ4", "other"}) {
    WriteProgram(InPrograms(name), "");
  }
  EXPECT_THAT(Found("/no/such/folder:" + programs_.Path()),
              ElementsAre(InPrograms("ODBCManageDataSourcesQ4"), InPrograms("ODBCCreateDataSourceQ4"),
                          InPrograms("iodbcadm-gtk"), InPrograms("xdg-open") + " /home/me/.odbc.ini"));
}

TEST_F(ModAdministrator, WhatCannotBeExecutedIsNoProgram) {
  OdbcFolder::Write(InPrograms("ODBCManageDataSourcesQ4"), "text");
  EXPECT_THAT(Found(programs_.Path()), IsEmpty());
  EXPECT_FALSE(StartAdministrator(programs_.Path()));
}

TEST_F(ModAdministrator, StartsItWithoutWaitingAndLeavesNoChildBehind) {
  const std::string file = InPrograms("started");
  WriteProgram(InPrograms("ODBCManageDataSourcesQ4"), StayingScript(file));
  EXPECT_TRUE(StartAdministrator(programs_.Path()));
  const int pid = std::atoi(WaitForFile(file).c_str());
  ASSERT_GT(pid, 1);
  EXPECT_EQ(kill(pid, 0), 0) << "it still runs";
  EXPECT_EQ(kill(pid, SIGKILL), 0);
  errno = 0;
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD) << "it is nobody's child here";
}

TEST_F(ModAdministrator, WhatItStartsTakesTheSignalsThatTheServerHoldsBack) {
  const StopSignals heldBack;
  const std::string file = InPrograms("started");
  const std::string program = InPrograms("ODBCManageDataSourcesQ4");
  WriteProgram(program, "");
  // No shell script: a shell takes all signals again by itself.
  OdbcFolder::Write(program, "#!/usr/bin/perl\nopen IN, '/proc/self/status'; open OUT, '>', '" + file +
                                 ".new';\nprint OUT grep { /^SigBlk:/ } <IN>; close OUT; rename '" + file + ".new', '" +
                                 file + "';\n");
  EXPECT_TRUE(StartAdministrator(programs_.Path()));
  EXPECT_EQ(WaitForFile(file), "SigBlk:\t0000000000000000\n");
}

TEST_F(ModAdministrator, WhatCannotBeStartedGivesWayToTheNext) {
  const std::string file = InPrograms("started");
  WriteProgram(InPrograms("ODBCManageDataSourcesQ4"), "");
  OdbcFolder::Write(InPrograms("ODBCManageDataSourcesQ4"), "#!/no/such/interpreter\n");
  WriteProgram(InPrograms("ODBCCreateDataSourceQ4"), StayingScript(file));
  EXPECT_TRUE(StartAdministrator(programs_.Path()));
  const int pid = std::atoi(WaitForFile(file).c_str());
  ASSERT_GT(pid, 1);
  EXPECT_EQ(kill(pid, SIGKILL), 0);
}

TEST_F(ModAdministrator, TheUsersFileIsMadeForTheEditorAndHandedToIt) {
  const std::string file = InPrograms("started");
  WriteProgram(InPrograms("xdg-open"), StayingScript(file));
  EXPECT_TRUE(StartAdministrator(programs_.Path()));
  const std::string told = WaitForFile(file);
  const int pid = std::atoi(told.c_str());
  ASSERT_GT(pid, 1);
  EXPECT_EQ(kill(pid, SIGKILL), 0);
  EXPECT_EQ(told, std::to_string(pid) + "\n" + odbc_.UserFile() + "\n");
  EXPECT_TRUE(std::filesystem::exists(odbc_.UserFile()));
}

TEST_F(ModAdministrator, AnOpenerThatOpensNothingIsSeenToFail) {
  WriteProgram(InPrograms("xdg-open"), "exit 4\n");
  const auto started = StartAdministrator(programs_.Path());
  ASSERT_TRUE(started && started->opener);
  std::optional<int> status;
  for (int tries = 0; tries < 3000 && !status; ++tries) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    status = started->opener->FailedStatus();
  }
  EXPECT_EQ(status, 4);
  EXPECT_THAT(OpenerFailedText(4), ::testing::StartsWith("The desktop could not open the file of your ODBC data "
                                                         "sources: xdg-open ended with the status 4.\n\nTo create"));
  EXPECT_THAT(OpenerFailedText(4), ::testing::HasSubstr("edit the file \"" + odbc_.UserFile() + "\""));
}

TEST_F(ModAdministrator, AFileThatCannotBeMadeIsNotHandedToTheEditor) {
  const test::EnvironmentValue userFile("ODBCINI", "/proc/self/odbc.ini");
  WriteProgram(InPrograms("xdg-open"), "");
  EXPECT_FALSE(StartAdministrator(programs_.Path()));
}

TEST_F(ModAdministrator, WithoutAProgramTheTextNamesTheFile) {
  EXPECT_THAT(WithoutAdministratorText(), ::testing::HasSubstr("edit the file \"" + odbc_.UserFile() + "\""));
}

}  // namespace
}  // namespace ods
