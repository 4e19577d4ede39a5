// A server process for benchmarks, and other programs.
#pragma once

#include <filesystem>
#include <fstream>
#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <string>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

namespace ods::bench {

/// Starts a program, looked for in the path; its process id, or -1.
inline pid_t StartProgram(std::vector<std::string> arguments) {
  std::vector<char*> pointers;
  pointers.reserve(arguments.size() + 1);
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  pid_t process = -1;
  return posix_spawnp(&process, pointers[0], nullptr, nullptr, pointers.data(), environ) == 0 ? process : -1;
}

/// True when a program ended with the status 0.
inline bool RunProgram(std::vector<std::string> arguments) {
  int status = -1;
  const pid_t process = StartProgram(std::move(arguments));
  return process > 0 && waitpid(process, &status, 0) == process && status == 0;
}

/// A server process in a folder of its own; stopped by SIGTERM.
class RunningServer {
 public:
  enum class Windows { kHidden, kShown };

  explicit RunningServer(const std::string& program, Windows windows = Windows::kHidden) {
    std::string name = (std::filesystem::temp_directory_path() / "ods-ping-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) return;
    folder_ = name;
    std::filesystem::create_directories(folder_ + "/config");
    std::ofstream(folder_ + "/config/dataserver.xml")
        << "<Settings><ConnectionString>Driver=SQLite3;Database=" << folder_
        << "/bench.db</ConnectionString></Settings>";
    std::vector<std::string> arguments = {program, "/instance=bench", "/datafolder=" + folder_,
                                          "/inqueue=" + Requests(), "/outqueue=" + Results()};
    if (windows == Windows::kHidden) arguments.emplace_back("/hidden");
    process_ = StartProgram(std::move(arguments));
  }
  ~RunningServer() {
    if (process_ > 0) {
      kill(process_, SIGTERM);
      waitpid(process_, nullptr, 0);
    }
    std::error_code ignored;
    if (!folder_.empty()) std::filesystem::remove_all(folder_, ignored);
  }
  RunningServer(const RunningServer&) = delete;
  RunningServer& operator=(const RunningServer&) = delete;
  RunningServer(RunningServer&&) = delete;
  RunningServer& operator=(RunningServer&&) = delete;

  [[nodiscard]] bool Runs() const { return process_ > 0; }
  [[nodiscard]] pid_t Process() const { return process_; }
  [[nodiscard]] std::string Requests() const { return folder_ + "/Requests"; }
  [[nodiscard]] std::string Results() const { return folder_ + "/Results"; }

 private:
  std::string folder_;
  pid_t process_ = -1;
};

}  // namespace ods::bench
