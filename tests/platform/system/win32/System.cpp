#include "platform/system/System.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <string>

#include "common/Error.h"
#include "platform/system/COpSysInfo.h"
#include "platform/system/DefaultFolders.h"
#include "platform/system/Module.h"
#include "platform/system/TestFolder.h"
#include "platform/system/win32/Win32.h"
#include "support/RaisedErrors.h"

namespace ods {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using testing::TestFolder;

TEST(WindowsProcess, KnowsItselfAndItsSurroundings) {
  EXPECT_EQ(CurrentProcessId(), GetCurrentProcessId());
  EXPECT_THAT(ExecutablePath(), EndsWith("\\test-platform-system.exe"));
  EXPECT_NE(CurrentUserName(), "");
  EXPECT_NE(ComputerName(), "");
  EXPECT_TRUE(HasDisplay());
  EXPECT_TRUE(IsWritableFolder(SystemTempFolder()));
  EXPECT_FALSE(SystemTempFolder().ends_with('\\'));
  EXPECT_EQ(HomeFolder(), EnvironmentVariable("USERPROFILE"));
}

TEST(WindowsProcess, KnowsItsCommandLine) {
  ASSERT_TRUE(RawCommandLine());
  EXPECT_EQ(RawCommandLine()->find("test-platform-system"), std::string::npos) << *RawCommandLine();
  EXPECT_EQ(ProgramArguments(0, nullptr).empty(), RawCommandLine()->empty());
}

TEST(WindowsFolders, LieBesideTheProgramAlsoWhereNobodyMayWrite) {
  EXPECT_EQ(FindDefaultFolders("C:\\no such folder").data, "C:\\no such folder\\Data");
  EXPECT_EQ(FindDefaultFolders("C:\\no such folder").temp, "C:\\no such folder\\Temp");
  EXPECT_EQ(FolderOf("C:\\a/b.exe"), "C:\\a");
}

TEST(WindowsInfo, TellsTheVersion) {
  const COpSysInfo info;
  EXPECT_EQ(info.Name(), kWindowsName);
  EXPECT_GE(info.MajorVersion(), 6);
  EXPECT_TRUE(info.NeedsElevation());
  EXPECT_NE(info.Machine(), "");
}

TEST(WindowsModule, GivesFunctionsAndTellsWhatIsMissing) {
  const auto ticks = reinterpret_cast<ULONGLONG(WINAPI*)()>(FunctionOfModule("kernel32.dll", "GetTickCount64"));
  EXPECT_GT(ticks(), 0U);
  EXPECT_RAISES(FunctionOfModule("kernel32.dll", "no_such_function"), error_number::kOwn,
                HasSubstr("no_such_function"));
  EXPECT_RAISES(FunctionOfModule("C:\\no\\module.dll", "f"), error_number::kOwn, HasSubstr("C:\\no\\module.dll"));
}

TEST(WindowsStart, RunsAProgramAndTellsItsFailure) {
  const std::string shell = EnvironmentVariable("COMSPEC");
  const auto failed = StartWatchedProgram(shell, {"/c", "exit 3"});
  ASSERT_NE(failed, nullptr);
  std::optional<int> status;
  for (int tries = 0; tries < 1000 && !status; ++tries) {
    SleepMilliseconds(10);
    status = failed->FailedStatus();
  }
  EXPECT_EQ(status, 3);
  EXPECT_EQ(StartWatchedProgram("C:\\no\\program.exe", {}), nullptr);
  EXPECT_FALSE(StartProgram("C:\\no\\program.exe", {}));
}

TEST(WindowsStop, IsAskedForByTheNamedEvent) {
  StopSignals signals;
  EXPECT_FALSE(signals.Requested());
  const std::wstring name = L"odbc-data-server-stop-" + std::to_wstring(GetCurrentProcessId());
  const FileHandle event = OwnHandle(OpenEventW(EVENT_MODIFY_STATE, FALSE, name.c_str()));
  ASSERT_TRUE(event);
  SetEvent(AsHandle(event));
  EXPECT_TRUE(signals.Requested());
  EXPECT_TRUE(signals.Requested()) << "and stays so";
  SleepMilliseconds(3'600'000);  // ends at once
  ResetEvent(AsHandle(event));   // for what runs in this process afterwards
}

TEST(WindowsStop, ComesWithTheEndOfTheSession) {
  StopSignals signals;
  const HWND window = FindWindowW(L"odbc-data-server-session", nullptr);
  if (window == nullptr) GTEST_SKIP() << "the system makes no windows here";
  SendMessageW(window, WM_ENDSESSION, FALSE, 0);
  EXPECT_FALSE(signals.Requested()) << "somebody has kept the session from ending";
  PostMessageW(window, WM_ENDSESSION, TRUE, 0);
  for (int tries = 0; tries < 1000 && !signals.Requested(); ++tries) Sleep(10);
  EXPECT_TRUE(signals.Requested());
  ResetEvent(StopEvent());
}

}  // namespace
}  // namespace ods
