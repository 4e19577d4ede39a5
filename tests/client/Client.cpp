// Runs the real client program, which lies beside the test program, against a server played by the test.
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <regex>
#include <string>
#include <vector>

#include "platform/queue/Queue.h"
#include "platform/system/System.h"
#include "platform/system/TestFolder.h"
#include "platform/system/posix/Child.h"

namespace ods {
namespace {

using testing::Child;
using ::testing::HasSubstr;
using testing::ReadText;
using testing::TestFolder;
using testing::WriteText;

constexpr int kLong = 20000;  // milliseconds that no test ever waits to the end

struct Result {
  int status = -1;
  std::string output;
  std::string errors;
};

class ClientTest : public ::testing::Test {
 protected:
  /// Runs the client; `input` is its standard input.
  Result RunClient(const std::vector<std::string>& arguments, const std::string& input = "") const {
    WriteText(base_ / "input", input);
    Child client([&](int) {
      const std::string program = std::filesystem::path(ExecutablePath()).parent_path() / "odbc-data-client";
      std::vector<char*> vector = {const_cast<char*>(program.c_str())};
      for (const std::string& argument : arguments) vector.push_back(const_cast<char*>(argument.c_str()));
      vector.push_back(nullptr);
      dup2(open((base_ / "input").c_str(), O_RDONLY), STDIN_FILENO);
      dup2(open((base_ / "output").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDOUT_FILENO);
      dup2(open((base_ / "errors").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
      execv(program.c_str(), vector.data());
      _exit(127);
    });
    const int status = client.End(0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadText(base_ / "output"), ReadText(base_ / "errors")};
  }

  /// The same with the folders of this test.
  Result Exchange(std::vector<std::string> arguments, const std::string& input = "") const {
    for (const std::string& part : {std::string("--requests"), requests_, std::string("--results"), results_}) {
      arguments.push_back(part);
    }
    return RunClient(arguments, input);
  }

  /// A server that answers one request by what `answer` makes of it, and keeps the request.
  std::unique_ptr<Child> Serve(const std::function<std::string(const std::string&)>& answer) const {
    return std::make_unique<Child>([this, answer](int) {
      const auto incoming = CreateFolderQueue();
      incoming->SetFolder(requests_);
      incoming->Create();
      const auto outgoing = CreateFolderQueue();
      outgoing->SetFolder(results_);
      outgoing->Create();
      const std::string id = incoming->Poll("", kLong);
      WriteText(base_ / "id", id);
      WriteText(base_ / "request", incoming->Package());
      outgoing->SetPackage(answer(incoming->Package()));
      outgoing->Send(id);
      incoming->Answered();
    });
  }

  TestFolder base_;
  std::string requests_ = base_ / "Requests";
  std::string results_ = base_ / "Results";
};

TEST_F(ClientTest, PingPrintsTheAnswerAsItCame) {
  const auto server = Serve([](const std::string&) { return "<XML><Ping>OK</Ping>\r\n</XML>"; });
  const Result result = Exchange({"ping"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, "<XML><Ping>OK</Ping>\r\n</XML>\n");
  EXPECT_EQ(result.errors, "");
  EXPECT_EQ(ReadText(base_ / "request"), "<XML><Type>Ping</Type></XML>");
  EXPECT_TRUE(std::regex_match(ReadText(base_ / "id"),
                               std::regex("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}")));
  EXPECT_TRUE(std::filesystem::is_empty(results_ + "/new")) << "the answer was taken out of the queue";
}

TEST_F(ClientTest, SendTakesAFileOrStandardInput) {
  const std::string request = "<XML><Type>TableList</Type></XML>\n\xC3\xA4";
  WriteText(base_ / "request file.xml", request);
  auto server = Serve([](const std::string&) { return "one"; });
  EXPECT_EQ(Exchange({"send", base_ / "request file.xml"}).output, "one\n");
  EXPECT_EQ(ReadText(base_ / "request"), request);
  server = Serve([](const std::string&) { return "two"; });
  EXPECT_EQ(Exchange({"send"}, request + "!").output, "two\n");
  EXPECT_EQ(ReadText(base_ / "request"), request + "!");
}

TEST_F(ClientTest, AnErrorDocumentGivesStatusOne) {
  const char* error = "<XML><Error>1</Error><Message>Unknown message type: ping</Message></XML>";
  const auto server = Serve([error](const std::string&) { return error; });
  const Result result = Exchange({"send"}, "<XML><Type>ping</Type></XML>");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.output, std::string(error) + "\n");
}

TEST_F(ClientTest, OnlyAChildOfTheRootMakesAnErrorDocument) {
  for (const char* answer :
       {"<XML><Record><Error>1</Error></Record></XML>", "<Other><Error>1</Error></Other>", "Error"}) {
    const auto server = Serve([answer](const std::string&) { return answer; });
    EXPECT_EQ(Exchange({"ping"}).status, 0) << answer;
  }
}

TEST_F(ClientTest, NoAnswerInTimeGivesStatusThreeAndLeavesTheRequest) {
  const Result result = Exchange({"ping", "--timeout", "0.25"});
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.output, "");
  ASSERT_FALSE(std::filesystem::is_empty(requests_ + "/new"));
  const std::string id = std::filesystem::directory_iterator(requests_ + "/new")->path().stem();
  EXPECT_EQ(result.errors,
            "No answer came within 0.25 seconds. The request " + id + " was left in \"" + requests_ + "\".\n");
}

TEST_F(ClientTest, WrongUsageGivesStatusTwo) {
  const std::vector<std::vector<std::string>> wrong = {
      {}, {"pong"}, {"ping"}, {"ping", "--requests", "a"}, {"ping", "--unknown"}, {"send", "one", "two"},
  };
  for (const auto& arguments : wrong) {
    const Result result = RunClient(arguments);
    EXPECT_EQ(result.status, 2) << ::testing::PrintToString(arguments);
    EXPECT_NE(result.errors, "");
    EXPECT_EQ(result.output, "");
  }
  for (const char* timeout : {"-1", "soon", "nan", "inf", "1e300", ""}) {
    EXPECT_EQ(Exchange({"ping", "--timeout", timeout}).status, 2) << timeout;
  }
  EXPECT_FALSE(std::filesystem::exists(requests_)) << "nothing was sent";
}

TEST_F(ClientTest, FilesAndFoldersThatCannotBeUsedGiveStatusTwo) {
  for (const std::string& file : {base_ / "missing.xml", base_.Path()}) {
    const Result result = Exchange({"send", file});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.errors, "odbc-data-client: Unable to read the file \"" + file + "\".\n");
  }
  WriteText(base_ / "file", "");
  EXPECT_EQ(RunClient({"ping", "--requests", base_ / "file/x", "--results", results_}).errors,
            "odbc-data-client: Unable to create the queue folder \"" + (base_ / "file/x") + "\": Not a directory\n");
  const Result result = RunClient({"ping", "--requests", requests_, "--results", base_ / "file"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.errors,
            "odbc-data-client: Unable to read the queue folder \"" + (base_ / "file") + "\": Not a directory\n");
}

TEST_F(ClientTest, HelpAndVersionGiveStatusZero) {
  for (const auto& arguments : std::vector<std::vector<std::string>>{{"--help"}, {"ping", "--help"}}) {
    const Result help = RunClient(arguments);
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.errors, "");
    EXPECT_THAT(help.output, HasSubstr("odbc-data-client"));
  }
  EXPECT_THAT(RunClient({"--help"}).output, HasSubstr("3 no answer in time"));
  const Result version = RunClient({"--version"});
  EXPECT_EQ(version.status, 0);
  EXPECT_TRUE(std::regex_match(version.output, std::regex("odbc-data-client [0-9]+\\.[0-9]+\\.[0-9]+\n")))
      << version.output;
}

}  // namespace
}  // namespace ods
