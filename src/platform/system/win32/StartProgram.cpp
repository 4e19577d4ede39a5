#include <optional>

#include "platform/system/System.h"
#include "platform/system/win32/Win32.h"

namespace ods {

namespace {

/// ERROR_ELEVATION_REQUIRED, which not every edition of the headers has.
constexpr DWORD kElevationRequired = 740;

/// An argument as CommandLineToArgvW reads it back.
std::wstring Quoted(const std::string& argument) {
  const std::wstring wide = ToWide(argument);
  if (!wide.empty() && wide.find_first_of(L" \t\"") == std::wstring::npos) return wide;
  std::wstring text = L"\"";
  std::size_t backslashes = 0;
  for (const wchar_t letter : wide) {
    // Backslashes count as two in front of a quotation mark only.
    if (letter == L'"') text.append(backslashes + 1, L'\\');
    backslashes = letter == L'\\' ? backslashes + 1 : 0;
    text += letter;
  }
  return text.append(backslashes, L'\\') + L"\"";
}

std::wstring Joined(const std::vector<std::string>& arguments) {
  std::wstring line;
  for (const std::string& argument : arguments) line += (line.empty() ? L"" : L" ") + Quoted(argument);
  return line;
}

/// A program that only an administrator may run: the system asks the user.
FileHandle StartElevated(const std::string& path, const std::vector<std::string>& arguments) {
  const std::wstring file = WidePath(path);
  const std::wstring line = Joined(arguments);
  SHELLEXECUTEINFOW start{};
  start.cbSize = sizeof start;
  start.fMask = SEE_MASK_NOCLOSEPROCESS | SEE_MASK_NOASYNC;
  start.lpVerb = L"runas";
  start.lpFile = file.c_str();
  start.lpParameters = line.c_str();
  start.nShow = SW_SHOWNORMAL;
  return ShellExecuteExW(&start) != 0 ? OwnHandle(start.hProcess) : FileHandle();
}

/// The process, when it could be started. Its standard output is `output`, when there is one.
FileHandle Start(const std::string& path, const std::vector<std::string>& arguments, HANDLE output) {
  std::wstring line = Quoted(path);
  if (!arguments.empty()) line += L" " + Joined(arguments);
  STARTUPINFOW start{};
  start.cb = sizeof start;
  if (output != nullptr) {
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdOutput = output;
    start.hStdError = output;
  }
  PROCESS_INFORMATION process{};
  if (CreateProcessW(WidePath(path).c_str(), line.data(), nullptr, nullptr, output != nullptr ? TRUE : FALSE,
                     DETACHED_PROCESS | CREATE_NEW_PROCESS_GROUP, nullptr, nullptr, &start, &process) == 0) {
    return GetLastError() == kElevationRequired ? StartElevated(path, arguments) : FileHandle();
  }
  CloseHandle(process.hThread);
  return OwnHandle(process.hProcess);
}

class StartedProcess final : public WatchedProgram {
 public:
  explicit StartedProcess(FileHandle process) : process_(std::move(process)) {}

  [[nodiscard]] std::optional<int> FailedStatus() override {
    DWORD status = 0;
    if (WaitForSingleObject(AsHandle(process_), 0) != WAIT_OBJECT_0) return std::nullopt;
    if (GetExitCodeProcess(AsHandle(process_), &status) == 0 || status == 0) return std::nullopt;
    return static_cast<int>(status);
  }

 private:
  FileHandle process_;
};

}  // namespace

bool StartProgram(const std::string& path, const std::vector<std::string>& arguments) {
  return static_cast<bool>(Start(path, arguments, nullptr));
}

std::unique_ptr<WatchedProgram> StartWatchedProgram(const std::string& path,
                                                    const std::vector<std::string>& arguments) {
  const HANDLE errors = GetStdHandle(STD_ERROR_HANDLE);
  FileHandle process = Start(path, arguments, errors == INVALID_HANDLE_VALUE ? nullptr : errors);
  return process ? std::make_unique<StartedProcess>(std::move(process)) : nullptr;
}

}  // namespace ods
