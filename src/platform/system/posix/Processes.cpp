#include "platform/system/Processes.h"

#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstddef>
#include <poll.h>
#include <string_view>
#include <sys/signalfd.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>
#include <utility>

#include "common/Attempt.h"
#include "common/Text.h"
#include "platform/system/ReadFile.h"

namespace ods {

namespace {

// By number: the C library of Debian 12 declares the two calls in a way that C++ cannot link.

FileHandle OpenProcess(int pid) { return FileHandle(static_cast<int>(syscall(SYS_pidfd_open, pid, 0))); }

void SendSignal(const FileHandle& process, int number) {
  (void)syscall(SYS_pidfd_send_signal, process.Get(), number, nullptr, 0);
}

sigset_t WatchedSignals() {
  sigset_t watched;
  sigemptyset(&watched);
  for (const int number : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&watched, number);
  return watched;
}

std::string ProcessText(int pid, const char* what) {
  std::string text;
  if (Attempt([&] { text = ReadFileText("/proc/" + std::to_string(pid) + "/" + what); })) return "";
  return text;
}

/// The number in a field, 0 when there is none.
std::uint64_t NumberAt(const std::vector<std::string>& fields, std::size_t index) {
  std::uint64_t number = 0;
  if (index < fields.size()) {
    const std::string& text = fields[index];
    std::from_chars(text.data(), text.data() + text.size(), number);
  }
  return number;
}

}  // namespace

std::optional<ProcessHandle> ProcessHandle::Open(int pid) {
  FileHandle handle = OpenProcess(pid);
  if (handle) return ProcessHandle(pid, std::move(handle));
  if (errno == ESRCH) return std::nullopt;
  RaiseSystemError("Unable to watch process " + std::to_string(pid), LastSystemError());
}

bool ProcessHandle::HasEnded() {
  if (ended_) return true;
  pollfd look{.fd = handle_.Get(), .events = POLLIN, .revents = 0};
  ended_ = poll(&look, 1, 0) > 0;
  siginfo_t how{};
  if (ended_ && waitid(P_PIDFD, static_cast<id_t>(handle_.Get()), &how, WEXITED | WNOHANG) == 0 && how.si_pid != 0) {
    how_ = (how.si_code == CLD_EXITED ? "status " : "signal ") + std::to_string(how.si_status);
  }
  return ended_;
}

void ProcessHandle::Terminate() const { SendSignal(handle_, SIGTERM); }

void ProcessHandle::Kill() const { SendSignal(handle_, SIGKILL); }

std::optional<ProcessFacts> FactsOfProcess(int pid) {
  const std::string stat = ProcessText(pid, "stat");
  // The name, in parentheses, may hold anything; the fields behind it begin with the third (proc(5)).
  const std::size_t name = stat.rfind(") ");
  if (name == std::string::npos) return std::nullopt;
  const std::vector<std::string> fields = Split(std::string_view(stat).substr(name + 2), " ");
  constexpr std::size_t kStartTime = 22 - 3;
  constexpr std::size_t kResidentPages = 24 - 3;
  timespec now{};
  clock_gettime(CLOCK_BOOTTIME, &now);
  const double started = static_cast<double>(NumberAt(fields, kStartTime)) / static_cast<double>(sysconf(_SC_CLK_TCK));
  const double uptime = static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9 - started;
  return ProcessFacts{
      .uptime = uptime > 0 ? uptime : 0,
      .residentBytes = NumberAt(fields, kResidentPages) * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE))};
}

std::vector<std::string> CommandLineOf(int pid) {
  const std::string text = ProcessText(pid, "cmdline");
  if (text.empty()) return {};
  std::vector<std::string> arguments = Split(text, std::string_view("\0", 1));
  arguments.pop_back();  // each argument is ended by the zero
  return arguments;
}

ServiceSignals::ServiceSignals() {
  const sigset_t watched = WatchedSignals();
  signals_ = FileHandle(signalfd(-1, &watched, SFD_NONBLOCK | SFD_CLOEXEC));
  if (!signals_) RaiseSystemError("Unable to watch for signals", LastSystemError());
  pthread_sigmask(SIG_BLOCK, &watched, nullptr);
}

ServiceSignals::~ServiceSignals() {
  Read();  // a repeated request must not kill the process that is on its way out
  const sigset_t watched = WatchedSignals();
  pthread_sigmask(SIG_UNBLOCK, &watched, nullptr);
}

void ServiceSignals::Read() {
  signalfd_siginfo signal{};
  while (read(signals_.Get(), &signal, sizeof signal) == sizeof signal) {
    (signal.ssi_signo == SIGHUP ? reload_ : stop_) = true;
  }
}

bool ServiceSignals::StopRequested() {
  Read();
  return stop_;
}

bool ServiceSignals::ReloadRequested() {
  Read();
  return std::exchange(reload_, false);
}

void WaitForAny(const std::vector<int>& descriptors, int milliseconds) {
  std::vector<pollfd> waited;
  waited.reserve(descriptors.size());
  for (const int descriptor : descriptors) waited.push_back({.fd = descriptor, .events = POLLIN, .revents = 0});
  (void)poll(waited.data(), waited.size(), milliseconds);
}

}  // namespace ods
