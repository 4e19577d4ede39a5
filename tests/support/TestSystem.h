// What tests want of the system that they run on, told apart in posix/ and win32/.
#pragma once

#include <cstdint>
#include <string>
#include <sys/types.h>
#include <vector>

namespace ods::test {

/// Sets an environment variable of this process, and takes it away.
void SetEnvironment(const char* name, const std::string& value);
void UnsetEnvironment(const char* name);

/// A path of a test, written with "/", as this system writes it.
[[nodiscard]] std::string Native(std::string path);
/// A name that no mutex can have.
[[nodiscard]] std::string ImpossibleMutexName();
/// True when only this user (and the system itself) may use a file or a folder.
[[nodiscard]] bool IsPrivate(const std::string& path);

/// Gives a file, or the folder or link itself, a modification time: seconds since 1970 and nanoseconds, which the file
/// system may round. Throws std::runtime_error when that cannot be done.
void SetTime(const std::string& path, std::int64_t seconds, long nanoseconds);

/// A path as a database's driver takes it. Under Wine the driver is the host's and does not know of drives.
[[nodiscard]] std::string DriverPath(const std::string& path);

/// A program that a test has started. It ends with the object, by its own process id, and with the test's process, also
/// when that crashes: what is left over would hold the test's output open, and whoever waits for its end would wait for
/// ever.
class TestProgram {
 public:
  /// Starts a program; its path comes first. Throws std::runtime_error when that cannot be done.
  explicit TestProgram(const std::vector<std::string>& arguments);
  ~TestProgram();
  TestProgram(const TestProgram&) = delete;
  TestProgram& operator=(const TestProgram&) = delete;
  TestProgram(TestProgram&&) = delete;
  TestProgram& operator=(TestProgram&&) = delete;

  /// -1 once it has ended.
  [[nodiscard]] pid_t Pid() const { return pid_; }
  [[nodiscard]] bool IsRunning();
  /// Asks it to stop in good order: SIGTERM, or what the server has on Windows.
  void AskToStop();
  void Kill();
  /// Waits for its end, and returns its exit status, or minus the number of the signal that ended it.
  int Wait();

 private:
  pid_t pid_ = -1;
  int status_ = 0;
  void* handle_ = nullptr;  ///< Windows: the process
};

/// Runs a program and returns what `Wait` does.
int RunProgram(const std::vector<std::string>& arguments);

}  // namespace ods::test
