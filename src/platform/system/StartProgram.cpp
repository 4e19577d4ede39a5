#include <array>
#include <csignal>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/system/FileHandle.h"
#include "platform/system/Signals.h"
#include "platform/system/System.h"

namespace ods {

namespace {

/// What the process between this one and the program does. The windows' library has threads: nothing but
/// async-signal-safe functions may be called here. `failed` is written to when the program cannot be executed, and
/// closed by its start.
[[noreturn]] void StartAndEnd(char* const* arguments, int failed) {
  setsid();
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  for (const int number : kFailureSignals) std::signal(number, SIG_DFL);
  if (const pid_t program = fork(); program != 0) _exit(program < 0 ? 1 : 0);
  execv(arguments[0], arguments);
  const char sign = 1;
  [[maybe_unused]] const ssize_t written = write(failed, &sign, 1);
  _exit(1);
}

}  // namespace

bool StartProgram(const std::string& path, const std::vector<std::string>& arguments) {
  std::vector<std::string> texts = {path};
  texts.insert(texts.end(), arguments.begin(), arguments.end());
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) return false;
  const FileHandle failed(ends[0]);
  FileHandle failing(ends[1]);
  const pid_t between = fork();
  if (between == 0) StartAndEnd(pointers.data(), failing.Get());
  (void)failing.Close();
  int status = -1;
  if (between < 0 || waitpid(between, &status, 0) != between || status != 0) return false;
  char sign = 0;
  return read(failed.Get(), &sign, 1) == 0;
}

}  // namespace ods
