#include "desktop/XServer.h"

#include <array>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "common/Error.h"
#include "support/OdbcFolder.h"

namespace ods::test {

namespace {

/// Starts a program of the path with nothing on its standard output and error; its process id, or -1.
pid_t Start(std::vector<std::string> arguments) {
  std::vector<char*> pointers;
  pointers.reserve(arguments.size() + 1);
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t process = -1;
  if (posix_spawnp(&process, pointers[0], &actions, nullptr, pointers.data(), environ) != 0) process = -1;
  posix_spawn_file_actions_destroy(&actions);
  return process;
}

bool Succeeds(pid_t process) {
  int status = -1;
  return process > 0 && waitpid(process, &status, 0) == process && status == 0;
}

void End(pid_t process) {
  if (process <= 0) return;
  kill(process, SIGTERM);
  waitpid(process, nullptr, 0);
}

}  // namespace

XServer::XServer() {
  StartServer();
  StartWindowManager();
}

XServer::~XServer() {
  End(windowManager_);
  End(server_);
}

/// The server chooses a free display and writes its number into the pipe as soon as it takes connections.
void XServer::StartServer() {
  std::array<int, 2> ends{};
  if (pipe(ends.data()) != 0) throw Error(error_number::kOwn, "No pipe for Xvfb");
  server_ = Start({"Xvfb", "-displayfd", std::to_string(ends[1]), "-screen", "0", "1280x1024x24", "-nolisten", "tcp"});
  close(ends[1]);
  std::string number;
  for (char digit = 0; server_ > 0 && read(ends[0], &digit, 1) == 1 && digit != '\n';) number += digit;
  close(ends[0]);
  if (number.empty()) throw Error(error_number::kOwn, "Xvfb does not start");
  display_ = ":" + number;
}

/// A window that is mapped before the manager is there may never get the keyboard. One that does not come up, as
/// happens once in some thousand times, is started again.
void XServer::StartWindowManager() {
  const EnvironmentValue display("DISPLAY", display_);
  constexpr int kStarts = 3;
  constexpr int kTries = 300;
  for (int start = 0; start < kStarts; ++start) {
    windowManager_ = Start({"openbox"});
    for (int i = 0; windowManager_ > 0 && i < kTries; ++i) {
      if (Succeeds(Start({"xdotool", "get_num_desktops"}))) return;
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    End(windowManager_);
    windowManager_ = -1;
  }
  End(server_);
  throw Error(error_number::kOwn, "openbox does not start");
}

}  // namespace ods::test
