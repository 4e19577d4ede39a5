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

#include "platform/xml/Xml.h"

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

/// A program that answers the messages of two queue folders, in a temporary folder of its own; stopped by SIGTERM.
class QueueProcess {
 public:
  QueueProcess() {
    std::string name = (std::filesystem::temp_directory_path() / "ods-bench-XXXXXX").string();
    if (mkdtemp(name.data()) != nullptr) folder_ = name;
  }
  virtual ~QueueProcess() {
    Stop();
    std::error_code ignored;
    if (!folder_.empty()) std::filesystem::remove_all(folder_, ignored);
  }
  QueueProcess(const QueueProcess&) = delete;
  QueueProcess& operator=(const QueueProcess&) = delete;
  QueueProcess(QueueProcess&&) = delete;
  QueueProcess& operator=(QueueProcess&&) = delete;

  /// Starts the program of these arguments, which stay for the next `Start`.
  void Start(std::vector<std::string> arguments) {
    arguments_ = std::move(arguments);
    Start();
  }
  void Start() {
    if (!folder_.empty()) process_ = StartProgram(arguments_);
  }
  /// Ends the process, if there is one, and waits for its end. The folder stays.
  void Stop() {
    if (process_ <= 0) return;
    kill(process_, SIGTERM);
    waitpid(process_, nullptr, 0);
    process_ = -1;
  }

  [[nodiscard]] bool Runs() const { return process_ > 0; }
  [[nodiscard]] pid_t Process() const { return process_; }
  [[nodiscard]] const std::string& Folder() const { return folder_; }
  [[nodiscard]] std::string Requests() const { return folder_ + "/Requests"; }
  [[nodiscard]] std::string Results() const { return folder_ + "/Results"; }

 private:
  std::string folder_;
  std::vector<std::string> arguments_;
  pid_t process_ = -1;
};

/// A server.
class RunningServer : public QueueProcess {
 public:
  enum class Windows { kHidden, kShown };

  /// On an empty SQLite database.
  explicit RunningServer(const std::string& program, Windows windows = Windows::kHidden) {
    Serve(program, "Driver=SQLite3;Database=" + Folder() + "/bench.db",
          windows == Windows::kHidden ? std::vector<std::string>{"/hidden"} : std::vector<std::string>{});
  }
  /// On the database of an ODBC connection string, with more parameters; run by the program of `runner`, where there is
  /// one, with its own arguments before the server's.
  RunningServer(const std::string& program, const std::string& connection, std::vector<std::string> parameters,
                const std::vector<std::string>& runner = {}) {
    Serve(program, connection, std::move(parameters), runner);
  }

 private:
  void Serve(const std::string& program, const std::string& connection, std::vector<std::string> parameters,
             const std::vector<std::string>& runner = {}) {
    if (Folder().empty()) return;
    XmlDocument settings("<Settings><ConnectionString/></Settings>");
    settings.SelectSingleNode("/Settings/ConnectionString").SetText(connection);
    std::filesystem::create_directories(Folder() + "/config");
    std::ofstream(Folder() + "/config/dataserver.xml") << settings.Xml();
    parameters.insert(parameters.begin(), {program, "/instance=bench", "/datafolder=" + Folder(),
                                           "/inqueue=" + Requests(), "/outqueue=" + Results()});
    parameters.insert(parameters.begin(), runner.begin(), runner.end());
    Start(std::move(parameters));
  }
};

}  // namespace ods::bench
