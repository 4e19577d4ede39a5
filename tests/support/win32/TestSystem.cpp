#include "support/TestSystem.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

#include "platform/system/win32/Win32.h"

namespace ods::test {

namespace {

/// What a killed process ends with, so that it is told from one that ended by itself: minus the number of SIGKILL.
constexpr UINT kKilled = static_cast<UINT>(-9);

/// An argument as the C library of the program reads it.
std::wstring Quoted(const std::string& argument) {
  if (!argument.empty() && argument.find_first_of(" \t\"") == std::string::npos) return ToWide(argument);
  std::string text = "\"";
  std::size_t backslashes = 0;
  for (const char c : argument) {
    if (c == '"') text.append(backslashes + 1, '\\');
    backslashes = c == '\\' ? backslashes + 1 : 0;
    text += c;
  }
  return ToWide(text.append(backslashes, '\\') + '"');
}

/// All programs that this process starts end with it.
HANDLE Job() {
  static const HANDLE job = [] {
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    const HANDLE made = CreateJobObjectW(nullptr, nullptr);
    SetInformationJobObject(made, JobObjectExtendedLimitInformation, &limits, sizeof limits);
    return made;
  }();
  return job;
}

}  // namespace

void SetEnvironment(const char* name, const std::string& value) {
  _wputenv_s(ToWide(name).c_str(), ToWide(value).c_str());
}

void UnsetEnvironment(const char* name) { _wputenv_s(ToWide(name).c_str(), L""); }

std::string Native(std::string path) {
  std::ranges::replace(path, '/', '\\');
  return path;
}

std::string ImpossibleMutexName() { return "no\\such\\place"; }

bool IsPrivate(const std::string& path) {
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  PACL list = nullptr;
  if (GetNamedSecurityInfoW(WidePath(path).data(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, &list,
                            nullptr, &descriptor) != ERROR_SUCCESS) {
    return false;
  }
  const LocalMemory<void> owned(descriptor);
  return list != nullptr && list->AceCount == 2;  // this user and the system
}

void SetTime(const std::string& path, std::int64_t seconds, long nanoseconds) {
  constexpr std::int64_t kTicksPerSecond = 10'000'000;
  constexpr std::int64_t kSecondsTo1970 = 11'644'473'600;
  const auto ticks = static_cast<std::uint64_t>((seconds + kSecondsTo1970) * kTicksPerSecond + nanoseconds / 100);
  const FILETIME time{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32U)};
  const FileHandle file =
      OwnHandle(CreateFileW(WidePath(path).c_str(), FILE_WRITE_ATTRIBUTES, kShareAll, nullptr, OPEN_EXISTING,
                            FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
  if (!file || SetFileTime(AsHandle(file), nullptr, &time, &time) == 0) {
    throw std::runtime_error("cannot set the time of " + path);
  }
}

std::string DriverPath(const std::string& path) {
  using UnixName = char*(__cdecl*)(const wchar_t*);
  // Wine's own, which no Windows has.
  const auto unixName = reinterpret_cast<UnixName>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "wine_get_unix_file_name")));
  if (unixName == nullptr) return path;
  char* name = unixName(WidePath(path).c_str());
  std::string text = name != nullptr ? name : path;
  HeapFree(GetProcessHeap(), 0, name);
  return text;
}

TestProgram::TestProgram(const std::vector<std::string>& arguments) {
  std::wstring line;
  for (const std::string& argument : arguments) line += (line.empty() ? L"" : L" ") + Quoted(argument);
  STARTUPINFOW start{};
  start.cb = sizeof start;
  PROCESS_INFORMATION process{};
  if (CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, CREATE_NEW_PROCESS_GROUP | CREATE_SUSPENDED,
                     nullptr, nullptr, &start, &process) == 0) {
    throw std::runtime_error("cannot start " + arguments.front());
  }
  AssignProcessToJobObject(Job(), process.hProcess);
  ResumeThread(process.hThread);
  CloseHandle(process.hThread);
  handle_ = process.hProcess;
  pid_ = static_cast<pid_t>(process.dwProcessId);
}

TestProgram::~TestProgram() {
  Kill();
  Wait();
  CloseHandle(handle_);
}

bool TestProgram::IsRunning() {
  if (pid_ > 0 && WaitForSingleObject(handle_, 0) == WAIT_OBJECT_0) pid_ = -1;
  return pid_ > 0;
}

void TestProgram::AskToStop() {
  const std::wstring name = L"odbc-data-server-stop-" + std::to_wstring(pid_);
  while (IsRunning()) {
    const FileHandle stop = OwnHandle(OpenEventW(EVENT_MODIFY_STATE, FALSE, name.c_str()));
    if (stop) {
      SetEvent(AsHandle(stop));
      return;
    }
    Sleep(5);  // it starts just now
  }
}

void TestProgram::Kill() {
  if (IsRunning()) TerminateProcess(handle_, kKilled);
}

int TestProgram::Wait() {
  WaitForSingleObject(handle_, INFINITE);
  DWORD code = 0;
  GetExitCodeProcess(handle_, &code);
  pid_ = -1;
  return static_cast<int>(code);
}

int RunProgram(const std::vector<std::string>& arguments) { return TestProgram(arguments).Wait(); }

}  // namespace ods::test
