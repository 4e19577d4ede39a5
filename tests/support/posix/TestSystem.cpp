#include "support/TestSystem.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ods::test {

void SetEnvironment(const char* name, const std::string& value) { setenv(name, value.c_str(), 1); }

void UnsetEnvironment(const char* name) { unsetenv(name); }

std::string Native(std::string path) { return path; }

std::string ImpossibleMutexName() { return std::string(300, 'x'); }

bool IsPrivate(const std::string& path) {
  struct stat facts {};
  return stat(path.c_str(), &facts) == 0 && (facts.st_mode & (S_IRWXG | S_IRWXO)) == 0;
}

void SetTime(const std::string& path, std::int64_t seconds, long nanoseconds) {
  const timespec times[2] = {{.tv_sec = seconds, .tv_nsec = nanoseconds}, {.tv_sec = seconds, .tv_nsec = nanoseconds}};
  if (utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW) != 0) {
    throw std::runtime_error("cannot set the time of " + path);
  }
}

std::string DriverPath(const std::string& path) { return path; }

TestProgram::TestProgram(const std::vector<std::string>& arguments) {
  std::vector<char*> pointers;
  for (const char* argument : {"setpriv", "--pdeathsig", "KILL", "--"}) pointers.push_back(const_cast<char*>(argument));
  for (const std::string& argument : arguments) pointers.push_back(const_cast<char*>(argument.c_str()));
  pointers.push_back(nullptr);
  if (posix_spawnp(&pid_, pointers.front(), nullptr, nullptr, pointers.data(), environ) != 0) {
    throw std::runtime_error("cannot start setpriv for " + arguments.front());
  }
}

TestProgram::~TestProgram() {
  if (!IsRunning()) return;
  Kill();
  Wait();
}

bool TestProgram::IsRunning() {
  if (pid_ > 0 && waitpid(pid_, &status_, WNOHANG) == pid_) pid_ = -1;
  return pid_ > 0;
}

void TestProgram::AskToStop() {
  if (IsRunning()) kill(pid_, SIGTERM);
}

void TestProgram::Kill() {
  if (IsRunning()) kill(pid_, SIGKILL);
}

int TestProgram::Wait() {
  if (pid_ > 0) waitpid(pid_, &status_, 0);
  pid_ = -1;
  return WIFEXITED(status_) ? WEXITSTATUS(status_) : -WTERMSIG(status_);
}

int RunProgram(const std::vector<std::string>& arguments) { return TestProgram(arguments).Wait(); }

}  // namespace ods::test
