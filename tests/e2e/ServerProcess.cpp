#include "e2e/ServerProcess.h"

#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "platform/system/ReadFile.h"
#include "platform/system/System.h"

namespace ods::test {
namespace {

// The program ends with the test's thread that starts it, also when that crashes: what is left over would hold the
// test's output open, and whoever waits for its end would wait for ever.
pid_t Spawn(const std::vector<std::string>& arguments) {
  std::vector<char*> pointers;
  for (const char* argument : {"setpriv", "--pdeathsig", "KILL", "--"}) pointers.push_back(const_cast<char*>(argument));
  for (const std::string& argument : arguments) pointers.push_back(const_cast<char*>(argument.c_str()));
  pointers.push_back(nullptr);
  pid_t pid = -1;
  if (posix_spawnp(&pid, pointers.front(), nullptr, nullptr, pointers.data(), environ) != 0) {
    throw std::runtime_error("cannot start setpriv for " + arguments.front());
  }
  return pid;
}

int StatusOf(int waitStatus) { return WIFEXITED(waitStatus) ? WEXITSTATUS(waitStatus) : -WTERMSIG(waitStatus); }

bool IsExact(const std::string& argument) { return argument == "/exact" || argument == "exact"; }

}  // namespace

ServerFolders::ServerFolders() { std::filesystem::create_directories(Config()); }

void WriteTextFile(const std::string& path, const std::string& text) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream(path, std::ios::binary) << text;
}

void ServerFolders::Configure(const std::string& connectionString) const {
  WriteTextFile(Config() + "/dataserver.xml",
                "<Settings><ConnectionString>" + EscapeXml(connectionString) + "</ConnectionString></Settings>");
}

std::string ServerFolders::LogText() const {
  std::string text;
  std::error_code notYetThere;
  for (const auto& entry : std::filesystem::directory_iterator(Root() + "/data/Logs", notYetThere)) {
    text += ReadFileText(entry.path().string());
  }
  return text;
}

ServerProcess::ServerProcess(const ServerFolders& folders, const std::vector<std::string>& moreArguments,
                             const std::string& program) {
  std::vector<std::string> arguments = {program,
                                        "/hidden",
                                        "/instance=e2e",
                                        "/datafolder=" + folders.Root() + "/data",
                                        "/inqueue=" + folders.Requests(),
                                        "/outqueue=" + folders.Results()};
  arguments.insert(arguments.end(), moreArguments.begin(), moreArguments.end());
  folders.Watch().SetExact(std::ranges::any_of(moreArguments, IsExact));
  pid_ = Spawn(arguments);
}

ServerProcess::ServerProcess(const std::vector<std::string>& commandLine) : pid_(Spawn(commandLine)) {}

ServerProcess::~ServerProcess() {
  if (IsRunning()) Stop();
}

bool ServerProcess::IsRunning() {
  if (pid_ > 0 && waitpid(pid_, &status_, WNOHANG) == pid_) pid_ = -1;
  return pid_ > 0;
}

void ServerProcess::Kill() {
  if (!IsRunning()) return;
  kill(pid_, SIGKILL);
  WaitFor(std::chrono::seconds(20));
}

int ServerProcess::Stop() {
  if (IsRunning()) kill(pid_, SIGTERM);
  return WaitFor(std::chrono::seconds(20));
}

int ServerProcess::WaitFor(std::chrono::milliseconds timeout) {
  constexpr int kHadToBeKilled = -1000;
  const auto end = std::chrono::steady_clock::now() + timeout;
  while (IsRunning()) {
    if (std::chrono::steady_clock::now() > end) {
      kill(pid_, SIGKILL);
      waitpid(pid_, &status_, 0);
      pid_ = -1;
      return kHadToBeKilled;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return StatusOf(status_);
}

int RunProgram(const std::vector<std::string>& arguments) {
  int status = 0;
  waitpid(Spawn(arguments), &status, 0);
  return StatusOf(status);
}

QueueClient::QueueClient(const ServerFolders& folders)
    : watch_(folders.Watch()), requests_(CreateFolderQueue()), results_(folders.Results()) {
  requests_->SetFolder(folders.Requests());
  requests_->Create();
}

std::string QueueClient::Send(const Message& request) {
  const std::string id = NewGuidText();
  watch_.Sent(id, request);
  requests_->SetPackage(request.text);
  requests_->Send(id);
  return id;
}

std::string QueueClient::Receive(const std::string& id, std::chrono::seconds timeout) {
  auto answer = results_.Receive(id, timeout);
  if (answer) {
    watch_.Received(id, *answer);
  } else {
    ADD_FAILURE() << "no answer in time";
  }
  return answer.value_or("");
}

std::string QueueClient::Ask(const Message& request, std::chrono::seconds timeout) {
  return Receive(Send(request), timeout);
}

XmlDocument QueueClient::AskDocument(const Message& request) {
  const std::string answer = Ask(request);
  XmlDocument document;
  EXPECT_TRUE(document.LoadXML(answer)) << answer.substr(0, 1000);
  return document;
}

std::string Request(const std::string& type, const std::string& elements) {
  return "<XML><Type>" + type + "</Type>" + elements + "</XML>";
}

}  // namespace ods::test
