#include "platform/system/System.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iostream>
#include <malloc.h>

#include "common/Error.h"
#include "platform/system/FileFacts.h"
#include "platform/system/win32/Win32.h"

namespace ods {

namespace {

Date ToDate(const SYSTEMTIME& time) {
  return Date::FromParts({.year = time.wYear,
                          .month = time.wMonth,
                          .day = time.wDay,
                          .hour = time.wHour,
                          .minute = time.wMinute,
                          .second = time.wSecond > 59 ? 59 : time.wSecond})
      .value_or(Date{});
}

/// Calls `get(buffer, size)`, which gives the length of the text, and a larger one than `size` allows where it does not
/// fit, until it does; 0 gives "".
template <typename Get>
std::string GrowingText(Get get) {
  std::wstring text(MAX_PATH, L'\0');
  while (true) {
    const DWORD size = get(text.data(), static_cast<DWORD>(text.size()));
    if (size < text.size()) return FromWide(std::wstring_view(text).substr(0, size));
    text.resize(text.size() * 2);
  }
}

std::string WithoutLast(std::string folder) {
  if (folder.ends_with('\\')) folder.pop_back();
  return folder;
}

/// Never through a link, and to a plain file only.
OpenedFile OpenForAppending(const std::string& path) {
  PrivateSecurity security;
  FileHandle file = OwnHandle(CreateFileW(WidePath(path).c_str(), FILE_APPEND_DATA | FILE_READ_ATTRIBUTES | SYNCHRONIZE,
                                          kShareAll, security.Attributes(), OPEN_ALWAYS,
                                          FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
  if (!file) return {FileHandle(), LastSystemError()};
  if (!FactsOf(file).plain) return {FileHandle(), SystemError(ERROR_CANT_ACCESS_FILE)};
  return {std::move(file), {}};
}

}  // namespace

void GiveBackFreeMemory() { _heapmin(); }

void EndProcessNow(int status) {
  std::cout.flush();
  std::cerr.flush();
  std::fflush(nullptr);
  TerminateProcess(GetCurrentProcess(), static_cast<UINT>(status));
  for (;;) Sleep(INFINITE);
}

std::uint32_t CurrentProcessId() { return GetCurrentProcessId(); }

std::optional<std::string> RawCommandLine() {
  // The program's name ends at the first blank outside of quotation marks; nothing escapes one in it.
  std::wstring_view line = GetCommandLineW();
  bool quoted = false;
  while (!line.empty() && (quoted || (line.front() != L' ' && line.front() != L'\t'))) {
    if (line.front() == L'"') quoted = !quoted;
    line.remove_prefix(1);
  }
  line.remove_prefix(std::min(line.find_first_not_of(L" \t"), line.size()));
  return FromWide(line);
}

std::vector<std::string> ProgramArguments(int argc, const char* const* argv) {
  int count = 0;
  const LocalMemory<wchar_t*> wide(CommandLineToArgvW(GetCommandLineW(), &count));
  std::vector<std::string> arguments;
  if (wide) {
    for (int i = 1; i < count; ++i) arguments.push_back(FromWide(wide.get()[i]));
  } else if (argc > 0) {
    arguments.assign(argv + 1, argv + argc);
  }
  return arguments;
}

std::string CurrentUserName() {
  std::array<wchar_t, 257> name{};  // UNLEN and the terminating zero
  auto size = static_cast<DWORD>(name.size());
  return GetUserNameW(name.data(), &size) != 0 ? FromWide(name.data()) : "";
}

std::string ComputerName() {
  std::array<wchar_t, MAX_COMPUTERNAME_LENGTH + 1> name{};
  auto size = static_cast<DWORD>(name.size());
  return GetComputerNameW(name.data(), &size) != 0 ? FromWide(name.data()) : "";
}

std::string ExecutablePath() {
  std::string path = GrowingText([](wchar_t* text, DWORD size) { return GetModuleFileNameW(nullptr, text, size); });
  if (path.empty()) RaiseSystemError("Unable to find the path of the executable", LastSystemError());
  return path;
}

std::string EnvironmentVariable(const char* name) {
  const std::wstring wide = ToWide(name);
  return GrowingText([&](wchar_t* text, DWORD size) { return GetEnvironmentVariableW(wide.c_str(), text, size); });
}

void SetEnvironmentDefault(const char* name, const char* value) {
  // Through the C library, which hands it to the system too: a driver may ask either.
  if (EnvironmentVariable(name).empty()) _wputenv_s(ToWide(name).c_str(), ToWide(value).c_str());
}

bool HasDisplay() { return true; }

std::string HomeFolder() { return EnvironmentVariable("USERPROFILE"); }

bool IsWritableFolder(const std::string& path) {
  return static_cast<bool>(OwnHandle(CreateFileW(WidePath(path).c_str(), FILE_ADD_FILE, kShareAll, nullptr,
                                                 OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr)));
}

std::string SystemTempFolder() {
  return WithoutLast(GrowingText([](wchar_t* text, DWORD size) { return GetTempPathW(size, text); }));
}

Date LocalNow() {
  SYSTEMTIME now{};
  GetLocalTime(&now);
  return ToDate(now);
}

std::int64_t FileModificationStamp(const std::string& path) {
  WIN32_FILE_ATTRIBUTE_DATA facts{};
  if (GetFileAttributesExW(WidePath(path).c_str(), GetFileExInfoStandard, &facts) == 0) return 0;
  const std::uint64_t high = facts.ftLastWriteTime.dwHighDateTime;
  const auto stamp = static_cast<std::int64_t>((high << 32U) | facts.ftLastWriteTime.dwLowDateTime);
  return stamp != 0 ? stamp : 1;
}

Date FileModificationTime(const std::string& path) {
  WIN32_FILE_ATTRIBUTE_DATA facts{};
  SYSTEMTIME universal{};
  SYSTEMTIME local{};
  const bool known = GetFileAttributesExW(WidePath(path).c_str(), GetFileExInfoStandard, &facts) != 0 &&
                     FileTimeToSystemTime(&facts.ftLastWriteTime, &universal) != 0 &&
                     SystemTimeToTzSpecificLocalTime(nullptr, &universal, &local) != 0;
  return known ? ToDate(local) : Date{};
}

void SleepMilliseconds(int milliseconds) {
  if (milliseconds <= 0) return;
  const auto time = static_cast<DWORD>(milliseconds);
  if (StopEvent() == nullptr || WaitForSingleObject(StopEvent(), time) == WAIT_FAILED) Sleep(time);
}

std::uint64_t AppendToPrivateFile(const std::string& path, std::string_view text) {
  const auto check = [&path](const std::error_code& failure) {
    if (failure) RaiseSystemError("Unable to append to file \"" + path + "\"", failure);
  };
  const OpenedFile opened = OpenForAppending(path);
  if (opened.failure == std::errc::too_many_files_open) {
    throw Error(error_number::kOwn, "Unable to get file handle in function PreLog");
  }
  check(opened.failure);
  check(WriteAll(opened.file, text));
  LARGE_INTEGER size{};
  check(GetFileSizeEx(AsHandle(opened.file), &size) != 0 ? std::error_code() : LastSystemError());
  return static_cast<std::uint64_t>(size.QuadPart);
}

bool CanAppendTo(const std::string& path) { return static_cast<bool>(OpenForAppending(path)); }

// No box of the system waits for somebody to read that a disk is missing: the call fails.
void TakeFailuresInsteadOfSignals() { SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX); }

}  // namespace ods
