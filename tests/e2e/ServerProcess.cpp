#include "e2e/ServerProcess.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <thread>

#include "common/Files.h"
#include "common/Text.h"
#include "platform/system/ReadFile.h"
#include "platform/system/System.h"

namespace ods::test {
namespace {

bool IsExact(const std::string& argument) { return argument == "/exact" || argument == "exact"; }

/// The command line of a server on the folders.
std::vector<std::string> CommandLine(const ServerFolders& folders, const std::vector<std::string>& moreArguments,
                                     const std::string& program) {
  std::vector<std::string> arguments = {program,
                                        "/hidden",
                                        "/instance=e2e",
                                        "/datafolder=" + folders.Root() + "/data",
                                        "/inqueue=" + folders.Requests(),
                                        "/outqueue=" + folders.Results()};
  arguments.insert(arguments.end(), moreArguments.begin(), moreArguments.end());
  folders.Watch().SetExact(std::ranges::any_of(moreArguments, IsExact));
  return arguments;
}

}  // namespace

ServerFolders::ServerFolders() { std::filesystem::create_directories(PathOf(Config())); }

void WriteTextFile(const std::string& path, const std::string& text) {
  std::filesystem::create_directories(PathOf(path).parent_path());
  std::ofstream(PathOf(path), std::ios::binary) << text;
}

void ServerFolders::Configure(const std::string& connectionString) const {
  WriteTextFile(Config() + "/dataserver.xml", "<Settings><ConnectionString>" +
                                                  EscapeXml(ReplaceAll(connectionString, Root(), DriverPath(Root()))) +
                                                  "</ConnectionString></Settings>");
}

std::string ServerFolders::LogText() const {
  std::string text;
  std::error_code notYetThere;
  for (const auto& entry : std::filesystem::directory_iterator(PathOf(Root() + "/data/Logs"), notYetThere)) {
    text += ReadFileText(TextOf(entry.path()));
  }
  return text;
}

ServerProcess::ServerProcess(const ServerFolders& folders, const std::vector<std::string>& moreArguments,
                             const std::string& program)
    : program_(CommandLine(folders, moreArguments, program)) {}

ServerProcess::ServerProcess(const std::vector<std::string>& commandLine) : program_(commandLine) {}

ServerProcess::~ServerProcess() {
  if (IsRunning()) Stop();
}

void ServerProcess::Kill() {
  program_.Kill();
  program_.Wait();
}

int ServerProcess::Stop() {
  program_.AskToStop();
  return WaitFor(std::chrono::seconds(20));
}

int ServerProcess::WaitFor(std::chrono::milliseconds timeout) {
  constexpr int kHadToBeKilled = -1000;
  const auto end = std::chrono::steady_clock::now() + timeout;
  while (IsRunning()) {
    if (std::chrono::steady_clock::now() > end) {
      Kill();
      return kHadToBeKilled;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return program_.Wait();
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
