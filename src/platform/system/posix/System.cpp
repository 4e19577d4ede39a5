#include "platform/system/System.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <iostream>
#include <malloc.h>
#include <pwd.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

#include "common/Error.h"
#include "platform/system/FileHandle.h"
#include "platform/system/posix/Signals.h"

namespace ods {

namespace {

constexpr mode_t kPrivate = S_IRUSR | S_IWUSR;

Date ToLocal(std::time_t time) {
  std::tm parts{};
  if (localtime_r(&time, &parts) == nullptr) return {};
  const int second = parts.tm_sec > 59 ? 59 : parts.tm_sec;  // a leap second is no moment of its own
  return Date::FromParts({.year = parts.tm_year + 1900,
                          .month = parts.tm_mon + 1,
                          .day = parts.tm_mday,
                          .hour = parts.tm_hour,
                          .minute = parts.tm_min,
                          .second = second})
      .value_or(Date{});
}

/// Never through a link that somebody put there, and never waiting for the other end of a pipe.
FileHandle OpenForAppending(const std::string& path) {
  return FileHandle(
      open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY, kPrivate));
}

/// A text of the entry that the system's list of users has for the user of the process; "" when there is none.
std::string UserFact(char* passwd::*text) {
  std::vector<char> buffer(1024);
  passwd entry{};
  passwd* found = nullptr;
  while (getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found) == ERANGE)
    buffer.resize(buffer.size() * 2);
  return found != nullptr ? found->*text : "";
}

}  // namespace

void GiveBackFreeMemory() {
#ifdef __GLIBC__
  malloc_trim(0);
#endif
}

void EndProcessNow(int status) {
  std::cout.flush();
  std::cerr.flush();
  std::fflush(nullptr);
  _exit(status);
}

std::uint32_t CurrentProcessId() { return static_cast<std::uint32_t>(getpid()); }

std::vector<std::string> ProgramArguments(int argc, const char* const* argv) {
  if (argc < 1) return {};
  return {argv + 1, argv + argc};
}

std::optional<std::string> RawCommandLine() { return std::nullopt; }

std::string CurrentUserName() { return UserFact(&passwd::pw_name); }

std::string ComputerName() {
  std::array<char, 256> name{};  // longer than HOST_NAME_MAX, so it is always terminated
  return gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "";
}

std::string ExecutablePath() {
  std::error_code failure;
  const auto path = std::filesystem::read_symlink("/proc/self/exe", failure);
  if (failure) RaiseSystemError("Unable to find the path of the executable", failure);
  return path.string();
}

std::string EnvironmentVariable(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

void SetEnvironmentDefault(const char* name, const char* value) {
  constexpr int kOnlyWhereUnset = 0;
  setenv(name, value, kOnlyWhereUnset);
}

bool HasDisplay() {
  constexpr auto kVariables = std::to_array<const char*>({"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"});
  return std::ranges::any_of(kVariables, [](const char* name) { return !EnvironmentVariable(name).empty(); });
}

std::string HomeFolder() {
  std::string home = EnvironmentVariable("HOME");
  return home.empty() ? UserFact(&passwd::pw_dir) : home;
}

bool IsWritableFolder(const std::string& path) {
  struct stat facts {};
  return stat(path.c_str(), &facts) == 0 && S_ISDIR(facts.st_mode) &&
         faccessat(AT_FDCWD, path.c_str(), W_OK | X_OK, AT_EACCESS) == 0;
}

std::string SystemTempFolder() {
  std::string folder = EnvironmentVariable("TMPDIR");
  return folder.starts_with('/') ? folder : "/tmp";
}

Date LocalNow() { return ToLocal(std::time(nullptr)); }

std::int64_t FileModificationStamp(const std::string& path) {
  struct stat facts {};
  if (stat(path.c_str(), &facts) != 0) return 0;
  // Unsigned, because a file system may hold times that no 64-bit count of nanoseconds reaches.
  const auto stamp = static_cast<std::int64_t>(static_cast<std::uint64_t>(facts.st_mtim.tv_sec) * 1'000'000'000U +
                                               static_cast<std::uint64_t>(facts.st_mtim.tv_nsec));
  return stamp != 0 ? stamp : 1;
}

Date FileModificationTime(const std::string& path) {
  struct stat facts {};
  return stat(path.c_str(), &facts) == 0 ? ToLocal(facts.st_mtim.tv_sec) : Date{};
}

void SleepMilliseconds(int milliseconds) {
  if (milliseconds <= 0) return;
  const timespec time{.tv_sec = milliseconds / 1000, .tv_nsec = milliseconds % 1000 * 1'000'000L};
  nanosleep(&time, nullptr);
}

std::uint64_t AppendToPrivateFile(const std::string& path, std::string_view text) {
  const auto check = [&path](const std::error_code& failure) {
    if (failure) RaiseSystemError("Unable to append to file \"" + path + "\"", failure);
  };
  const FileHandle file = OpenForAppending(path);
  if (!file && (errno == EMFILE || errno == ENFILE)) {
    throw Error(error_number::kOwn, "Unable to get file handle in function PreLog");
  }
  check(file ? std::error_code() : LastSystemError());
  check(WriteAll(file, text));
  struct stat facts {};
  check(fstat(file.Get(), &facts) == 0 ? std::error_code() : LastSystemError());
  return static_cast<std::uint64_t>(facts.st_size);
}

bool CanAppendTo(const std::string& path) { return static_cast<bool>(OpenForAppending(path)); }

void TakeFailuresInsteadOfSignals() {
  for (const int number : kFailureSignals) std::signal(number, SIG_IGN);
}

struct StopSignals::Implementation {
  sigset_t watched{};
  sigset_t before{};
  FileHandle signals;
  bool requested = false;
};

StopSignals::StopSignals() : implementation_(std::make_unique<Implementation>()) {
  Implementation& state = *implementation_;
  sigemptyset(&state.watched);
  sigaddset(&state.watched, SIGTERM);
  sigaddset(&state.watched, SIGINT);
  state.signals = FileHandle(signalfd(-1, &state.watched, SFD_NONBLOCK | SFD_CLOEXEC));
  if (!state.signals) RaiseSystemError("Unable to watch for stop signals", LastSystemError());
  pthread_sigmask(SIG_BLOCK, &state.watched, &state.before);
}

StopSignals::~StopSignals() {
  Implementation& state = *implementation_;
  // A repeated request must not kill the process that is on its way out; a request nobody has seen yet must act.
  signalfd_siginfo signal{};
  while (state.requested && read(state.signals.Get(), &signal, sizeof signal) == sizeof signal) {
  }
  pthread_sigmask(SIG_SETMASK, &state.before, nullptr);
}

bool StopSignals::Requested() {
  signalfd_siginfo signal{};
  if (!implementation_->requested) {
    implementation_->requested = read(implementation_->signals.Get(), &signal, sizeof signal) == sizeof signal;
  }
  return implementation_->requested;
}

}  // namespace ods
