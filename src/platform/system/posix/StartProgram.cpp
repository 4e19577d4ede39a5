#include <array>
#include <charconv>
#include <csignal>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

#include "platform/system/FileHandle.h"
#include "platform/system/System.h"
#include "platform/system/posix/Signals.h"

namespace ods {

namespace {

constexpr int kNoHandle = -1;

/// What the process between this one and the program does. The windows' library has threads: nothing but
/// async-signal-safe functions may be called here. `failed` is written to when the program cannot be executed, and
/// closed by its start. The program's standard output becomes `output`, unless that is none.
[[noreturn]] void StartAndEnd(char* const* arguments, int failed, int output) {
  setsid();
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  for (const int number : kFailureSignals) std::signal(number, SIG_DFL);
  if (const pid_t program = fork(); program != 0) _exit(program < 0 ? 1 : 0);
  if (output == kNoHandle || dup2(output, STDOUT_FILENO) == STDOUT_FILENO) execv(arguments[0], arguments);
  const char sign = 1;
  [[maybe_unused]] const ssize_t written = write(failed, &sign, 1);
  _exit(1);
}

/// Both ends of a pipe that other programs do not inherit.
struct Pipe {
  Pipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) return;
    reading = FileHandle(ends[0]);
    writing = FileHandle(ends[1]);
  }
  FileHandle reading;
  FileHandle writing;
};

/// Starts a program by its path and arguments; false when it cannot be executed.
bool Start(std::vector<std::string> command, int output) {
  std::vector<char*> pointers;
  pointers.reserve(command.size() + 1);
  for (std::string& text : command) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  Pipe failure;
  if (!failure.reading) return false;
  const pid_t between = fork();
  if (between == 0) StartAndEnd(pointers.data(), failure.writing.Get(), output);
  (void)failure.writing.Close();
  int status = -1;
  if (between < 0 || waitpid(between, &status, 0) != between || status != 0) return false;
  char sign = 0;
  return read(failure.reading.Get(), &sign, 1) == 0;
}

/// A program that a shell waits for, which writes the status of a failure into a pipe. So it is nobody's child here,
/// and leaves nothing behind when nobody looks any more.
class ProgramOfShell final : public WatchedProgram {
 public:
  explicit ProgramOfShell(FileHandle status) : status_(std::move(status)) {}

  [[nodiscard]] std::optional<int> FailedStatus() override {
    std::array<char, 8> text{};
    const ssize_t count = read(status_.Get(), text.data(), text.size());
    int number = 0;
    if (count > 0 && std::from_chars(text.data(), text.data() + count, number).ec == std::errc()) failed_ = number;
    return failed_;
  }

 private:
  FileHandle status_;
  std::optional<int> failed_;
};

std::vector<std::string> WithArguments(std::vector<std::string> command, const std::vector<std::string>& arguments) {
  command.insert(command.end(), arguments.begin(), arguments.end());
  return command;
}

}  // namespace

bool StartProgram(const std::string& path, const std::vector<std::string>& arguments) {
  return Start(WithArguments({path}, arguments), kNoHandle);
}

std::unique_ptr<WatchedProgram> StartWatchedProgram(const std::string& path,
                                                    const std::vector<std::string>& arguments) {
  Pipe status;
  if (!status.reading || fcntl(status.reading.Get(), F_SETFL, O_NONBLOCK) != 0) return nullptr;
  const std::vector<std::string> shell = {"/bin/sh", "-c", R"("$@" >&2 || echo $?)", "sh", path};
  if (!Start(WithArguments(shell, arguments), status.writing.Get())) return nullptr;
  return std::make_unique<ProgramOfShell>(std::move(status.reading));
}

}  // namespace ods
