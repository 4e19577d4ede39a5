// The real executable on a real database, talked to through its queue folders only.
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/queue/Queue.h"
#include "platform/xml/Xml.h"
#include "support/MessageWatch.h"
#include "support/TemporaryFolder.h"
#include "support/TestSystem.h"

namespace ods::test {

/// The folders of one server instance, all in a temporary folder of its own.
class ServerFolders {
 public:
  ServerFolders();

  [[nodiscard]] std::string Root() const { return root_.Path(); }
  [[nodiscard]] std::string Config() const { return Root() + "/data/config"; }
  [[nodiscard]] std::string Requests() const { return Root() + "/requests"; }
  [[nodiscard]] std::string Results() const { return Root() + "/results"; }
  [[nodiscard]] std::string AliveFile() const { return Root() + "/alive.xml"; }
  [[nodiscard]] std::string MessageFile() const { return Root() + "/message.xml"; }

  /// Writes the configuration file. Paths in the folders are named as the driver knows them.
  void Configure(const std::string& connectionString) const;
  /// All log files of the instance, one after the other.
  [[nodiscard]] std::string LogText() const;
  /// What looks at the messages in the queues, on behalf of all their clients.
  [[nodiscard]] MessageWatch& Watch() const { return *watch_; }

 private:
  TemporaryFolder root_;
  std::shared_ptr<MessageWatch> watch_ = std::make_shared<MessageWatch>();
};

void WriteTextFile(const std::string& path, const std::string& text);

/// A running server. It is ended, by its own process id, with the object.
class ServerProcess {
 public:
  /// Starts the server hidden on the folders, with more arguments when given, maybe from a copy of the executable.
  explicit ServerProcess(const ServerFolders& folders, const std::vector<std::string>& moreArguments = {},
                         const std::string& program = ODS_SERVER_PROGRAM);
  /// Starts a server by a command line of its own; the program comes first.
  explicit ServerProcess(const std::vector<std::string>& commandLine);
  ~ServerProcess();
  ServerProcess(const ServerProcess&) = delete;
  ServerProcess& operator=(const ServerProcess&) = delete;
  ServerProcess(ServerProcess&&) = delete;
  ServerProcess& operator=(ServerProcess&&) = delete;

  [[nodiscard]] pid_t Pid() const { return program_.Pid(); }
  [[nodiscard]] bool IsRunning() { return program_.IsRunning(); }
  void Kill();
  /// Asks the server to stop (on POSIX with SIGTERM); the exit status, or minus the signal number that ended it. -1000
  /// when it had to be killed after 20 seconds.
  int Stop();

 private:
  int WaitFor(std::chrono::milliseconds timeout);

  TestProgram program_;
};

/// Waits until something holds; false after 20 seconds.
template <typename Condition>
bool Eventually(Condition&& holds) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!holds()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

/// A client of the two queue folders. Every request that is meant to be valid, and every response, is held against the
/// schemas of docs/schema.
class QueueClient {
 public:
  explicit QueueClient(const ServerFolders& folders);

  /// Sends a request and waits for its answer; fails the test and returns "" when none comes.
  [[nodiscard]] std::string Ask(const Message& request, std::chrono::seconds timeout = std::chrono::seconds(30));
  /// Puts a request into the queue and returns its message id.
  std::string Send(const Message& request);
  [[nodiscard]] std::string Receive(const std::string& id, std::chrono::seconds timeout = std::chrono::seconds(30));
  /// The answer as a document; fails the test when it is not well-formed XML with a data session.
  [[nodiscard]] XmlDocument AskDocument(const Message& request);

 private:
  MessageWatch& watch_;
  std::shared_ptr<Queue> requests_;
  AnswerFolder results_;
};

/// A request of a type with more elements.
[[nodiscard]] std::string Request(const std::string& type, const std::string& elements = "");

inline const std::string kPing = "<XML><Type>Ping</Type></XML>";

}  // namespace ods::test
