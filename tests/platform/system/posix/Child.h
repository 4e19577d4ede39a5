// Child processes that a test ends again, and the modes of files.
#pragma once

#include <array>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ods::testing {

inline mode_t ModeOf(const std::string& path) {
  struct stat facts {};
  return lstat(path.c_str(), &facts) == 0 ? facts.st_mode & 07777U : 0;
}

/// A child process that runs a routine and reports by a pipe; killed when the object ends.
class Child {
 public:
  /// `run` gets the writing end of the pipe; the child ends when it returns.
  template <typename Routine>
  explicit Child(Routine run) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) ADD_FAILURE() << "no pipe";
    pid_ = fork();
    if (pid_ == 0) {
      close(ends[0]);
      run(ends[1]);
      _exit(0);
    }
    close(ends[1]);
    reports_ = ends[0];
  }
  ~Child() {
    if (pid_ > 0) End(SIGKILL);
    close(reports_);
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;
  Child(Child&&) = delete;
  Child& operator=(Child&&) = delete;

  [[nodiscard]] pid_t Pid() const { return pid_; }
  /// The next line the child reports; what came when it ends without a line end.
  [[nodiscard]] std::string Line() const {
    std::string line;
    char letter = 0;
    while (read(reports_, &letter, 1) == 1 && letter != '\n') line += letter;
    return line;
  }
  /// Sends a signal (0: none) and waits for the end; gives the status of waitpid.
  int End(int signal) {
    if (signal != 0) kill(pid_, signal);
    int status = 0;
    waitpid(pid_, &status, 0);
    pid_ = -1;
    return status;
  }

 private:
  pid_t pid_ = -1;
  int reports_ = -1;
};

/// What a child reports to its parent.
inline void Report(int pipe, const std::string& line) {
  const std::string text = line + "\n";
  if (write(pipe, text.data(), text.size()) != static_cast<ssize_t>(text.size())) _exit(9);
}

}  // namespace ods::testing
