// The real client program against the real server over SQLite.
#include <array>
#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <poll.h>
#include <pty.h>
#include <regex>
#include <sqlite3.h>
#include <string>
#include <sys/ioctl.h>
#include <vector>

#include "e2e/QueueRelay.h"
#include "e2e/ServerProcess.h"
#include "platform/system/System.h"
#include "platform/system/TestFolder.h"
#include "platform/system/posix/Child.h"

namespace odbc_data {
namespace {

using ods::testing::Child;
using ods::testing::ReadText;
using ods::testing::TestFolder;
using ::testing::HasSubstr;

constexpr int kBigRows = 20000;

struct Result {
  int status = -1;
  std::string output;
  std::string errors;
};

void RunSql(const std::string& path, const std::string& sql) {
  sqlite3* raw = nullptr;
  ASSERT_EQ(sqlite3_open(path.c_str(), &raw), SQLITE_OK);
  const std::unique_ptr<sqlite3, int (*)(sqlite3*)> database(raw, &sqlite3_close);
  char* error = nullptr;
  ASSERT_EQ(sqlite3_exec(raw, sql.c_str(), nullptr, nullptr, &error), SQLITE_OK) << error;
}

/// A program on a terminal of its own.
class OnTerminal {
 public:
  OnTerminal(const std::vector<std::string>& arguments, unsigned short columns, unsigned short lines) {
    winsize size{};
    size.ws_col = columns;
    size.ws_row = lines;
    pid_ = forkpty(&terminal_, nullptr, nullptr, &size);
    if (pid_ != 0) return;
    setenv("TERM", "xterm", 1);
    setenv("LC_ALL", "C.UTF-8", 1);
    std::vector<char*> pointers;
    for (const std::string& argument : arguments) pointers.push_back(const_cast<char*>(argument.c_str()));
    pointers.push_back(nullptr);
    execv(pointers.front(), pointers.data());
    _exit(127);
  }
  ~OnTerminal() {
    if (pid_ > 0) kill(pid_, SIGKILL);
    (void)Status();
    close(terminal_);
  }
  OnTerminal(const OnTerminal&) = delete;
  OnTerminal& operator=(const OnTerminal&) = delete;
  OnTerminal(OnTerminal&&) = delete;
  OnTerminal& operator=(OnTerminal&&) = delete;

  /// Reads until the text was shown that is not in what was read before; false after 20 seconds without it.
  [[nodiscard]] bool Shows(const std::string& text) {
    return ods::test::Eventually([&] {
      Read();
      const std::size_t place = shown_.find(text);
      if (place != std::string::npos) shown_.erase(0, place + text.size());
      return place != std::string::npos;
    });
  }
  void Type(const std::string& keys) const { EXPECT_EQ(write(terminal_, keys.data(), keys.size()), std::ssize(keys)); }
  void Resize(unsigned short columns, unsigned short lines) const {
    winsize size{};
    size.ws_col = columns;
    size.ws_row = lines;
    ioctl(terminal_, TIOCSWINSZ, &size);
  }
  /// Waits for the end of the program; its exit status.
  int Status() {
    int status = 0;
    if (pid_ <= 0) return -1;
    while (waitpid(pid_, &status, WNOHANG) == 0) Read();
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  void Read() {
    pollfd waiting{.fd = terminal_, .events = POLLIN, .revents = 0};
    if (poll(&waiting, 1, 10) <= 0) return;
    std::array<char, 4096> part{};
    const ssize_t size = read(terminal_, part.data(), part.size());
    if (size > 0) shown_.append(part.data(), static_cast<std::size_t>(size));
  }

  int terminal_ = -1;
  pid_t pid_ = -1;
  std::string shown_;
};

class ProgramTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    server_ = std::make_unique<Server>();
    const std::string path = server_->folders.Root() + "/test.db";
    RunSql(path,
           "CREATE TABLE customer (no INTEGER PRIMARY KEY NOT NULL, name VARCHAR(40) NOT NULL, city VARCHAR(40), "
           "credit DECIMAL(12, 2), blocked BOOLEAN NOT NULL);"
           "INSERT INTO customer VALUES (1, 'Anna', 'Oslo', 10.5, 0), (2, 'Bob \"B\"', NULL, NULL, 1), "
           "(3, 'Cléo, sons', '', -3, 0), (4, '\xE6\x9D\xB1\xE4\xBA\xAC', 'Rome', 12345678.91, 0);"
           "CREATE VIEW rich AS SELECT * FROM customer WHERE credit > 100;"
           "CREATE TABLE big (id INTEGER PRIMARY KEY NOT NULL, text VARCHAR(40));"
           "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " +
               std::to_string(kBigRows) + ") INSERT INTO big SELECT i, 'row ' || i FROM n;");
    server_->folders.Configure("Driver=SQLite3;Database=" + path);
    server_->process = std::make_unique<ods::test::ServerProcess>(server_->folders, std::vector<std::string>{"/exact"});
    server_->relay = std::make_unique<ods::test::QueueRelay>(server_->folders);
  }
  static void TearDownTestSuite() { server_.reset(); }

  /// Starts the client with the folders of the server.
  [[nodiscard]] std::unique_ptr<Child> Start(const std::vector<std::string>& arguments) const {
    return std::make_unique<Child>([&](int) {
      const std::string program = std::filesystem::path(ods::ExecutablePath()).parent_path() / "odbc-data-client";
      std::vector<char*> pointers = {const_cast<char*>(program.c_str())};
      for (const std::string& argument : arguments) pointers.push_back(const_cast<char*>(argument.c_str()));
      pointers.push_back(nullptr);
      setenv("ODBC_DATA_REQUESTS", server_->relay->Requests().c_str(), 1);
      setenv("ODBC_DATA_RESULTS", server_->relay->Results().c_str(), 1);
      dup2(open("/dev/null", O_RDONLY), STDIN_FILENO);
      dup2(open((base_ / "output").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDOUT_FILENO);
      dup2(open((base_ / "errors").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
      execv(program.c_str(), pointers.data());
      _exit(127);
    });
  }

  [[nodiscard]] Result End(Child& client, int signal = 0) const {
    const int status = client.End(signal);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadText(base_ / "output"), ReadText(base_ / "errors")};
  }

  [[nodiscard]] Result Run(const std::vector<std::string>& arguments) const { return End(*Start(arguments)); }

  /// What a command prints that is answered without complaint.
  [[nodiscard]] std::string Output(const std::vector<std::string>& arguments) const {
    const Result result = Run(arguments);
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.errors, "");
    return result.output;
  }

  [[nodiscard]] std::string Csv(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), "data");
    for (const char* more : {"--output", "csv", "--lf"}) arguments.emplace_back(more);
    return Output(arguments);
  }

  /// Starts the client on a terminal.
  [[nodiscard]] std::unique_ptr<OnTerminal> StartOnTerminal(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(),
                     std::filesystem::path(ods::ExecutablePath()).parent_path() / "odbc-data-client");
    for (const std::string& more :
         {std::string("--requests"), server_->relay->Requests(), std::string("--results"), server_->relay->Results()}) {
      arguments.push_back(more);
    }
    return std::make_unique<OnTerminal>(arguments, static_cast<unsigned short>(60), static_cast<unsigned short>(10));
  }

  struct Server {
    ods::test::ServerFolders folders;
    std::unique_ptr<ods::test::ServerProcess> process;
    std::unique_ptr<ods::test::QueueRelay> relay;
  };
  static inline std::unique_ptr<Server> server_;  // NOLINT(cppcoreguidelines-avoid-non-const-global-variables)
  TestFolder base_;
};

TEST_F(ProgramTest, TellsWhatTheServerHas) {
  EXPECT_THAT(Output({"ping"}), HasSubstr("<Ping>OK</Ping>"));
  EXPECT_THAT(Output({"initialize"}), HasSubstr("Exact paging      yes"));
  EXPECT_EQ(Output({"tables", "--output", "csv"}),
            "Caption,Identifier\r\nbig,[TABLE]big\r\ncustomer,[TABLE]customer\r\nrich,[TABLE]rich\r\n");
  EXPECT_THAT(Output({"fields", "customer"}), HasSubstr("credit   credit   DECIMAL(12, 2)"));
  EXPECT_THAT(Output({"keys", "customer", "-o", "ndjson"}),
              HasSubstr(R"({"Fields":"no","Primary":"yes","Unique":"yes","Key":"no"})"));
  EXPECT_THAT(Output({"primary-key", "CUSTOMER"}), HasSubstr("Fields       no"));
  EXPECT_THAT(Output({"authorize", "ann"}), HasSubstr("Authorized     no"));
  EXPECT_EQ(Output({"users", "-o", "json"}), "[\n]\n");
}

TEST_F(ProgramTest, PrintsRowsInEveryForm) {
  EXPECT_EQ(Output({"data", "customer"}),
            "no  name        city       credit  blocked\n"
            "──  ──────────  ────  ───────────  ───────\n"
            " 1  Anna        Oslo         10.5  0\n"
            " 2  Bob \"B\"     NULL         NULL  1\n"
            " 3  Cléo, sons                 -3  0\n"
            " 4  東京        Rome  12345678.91  0\n");
  EXPECT_EQ(Output({"data", "[TABLE]customer", "--output", "csv"}),
            "no,name,city,credit,blocked\r\n1,Anna,Oslo,10.5,0\r\n2,\"Bob \"\"B\"\"\",,,1\r\n"
            "3,\"Cléo, sons\",\"\",-3,0\r\n4,東京,Rome,12345678.91,0\r\n");
  EXPECT_EQ(Output({"data", "customer", "--output", "json", "--page-size", "2"}),
            "[\n{\"no\":1,\"name\":\"Anna\",\"city\":\"Oslo\",\"credit\":10.5,\"blocked\":false},\n"
            "{\"no\":2,\"name\":\"Bob \\\"B\\\"\",\"city\":null,\"credit\":null,\"blocked\":true}\n]\n");
  EXPECT_THAT(Output({"data", "customer", "-o", "xml", "--fields", "no,city", "--page-size", "2"}),
              HasSubstr("<R><V Id=\"no\">2</V><V Id=\"city\"><Null/></V></R>\n</Records>"));
  EXPECT_THAT(Output({"data", "customer", "-o", "markdown"}), HasSubstr("| ---: | --- | --- | ---: | --- |"));
}

TEST_F(ProgramTest, AsksForFieldsOrderFiltersAndSearch) {
  EXPECT_EQ(Csv({"customer", "--fields", "name,no", "--sort", "city desc, no", "--page", "last", "--page-size", "1"}),
            "name,no\n\"Bob \"\"B\"\"\",2\n");
  EXPECT_EQ(Csv({"customer", "--fields", "no", "--filter", "no between 2 and 3"}), "no\n2\n3\n");
  EXPECT_EQ(Csv({"customer", "--fields", "no", "--filter", "no in 1|2|4", "--filter", "city is not null"}),
            "no\n1\n4\n");
  EXPECT_EQ(Csv({"customer", "--fields", "no", "--filter", "name starts with C"}), "no\n3\n");
  EXPECT_EQ(Csv({"customer", "--fields", "no", "--filter", "city eq \"\""}), "no\n3\n");
  EXPECT_EQ(Csv({"customer", "--fields", "no", "--filter", "name like %n%"}), "no\n1\n3\n");
  EXPECT_EQ(Csv({"customer", "--fields", "no", "--search", "O"}), "no\n1\n2\n3\n4\n");
  EXPECT_EQ(Csv({"customer", "--fields", "no", "--search", "o", "--in", "city"}), "no\n1\n4\n");
  EXPECT_EQ(Output({"data", "customer", "--count", "--filter", "no > 1"}), "3\n");
  EXPECT_EQ(Csv({"rich", "--fields", "no"}), "no\n4\n");
}

TEST_F(ProgramTest, WhatIsAskedWronglyIsToldWithAHint) {
  const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
      {{"data", "custmer"}, "There is no table \"custmer\". Did you mean \"customer\"?"},
      {{"data", "customer", "--fields", "nmae"}, "There is no field \"nmae\". Did you mean \"name\"?"},
      {{"data", "customer", "--filter", "name lke x"},
       "There is no operator \"lke\" (in: name lke x). Did you mean \"le\" or \"like\"?"},
      {{"data", "customer", "--in", "name"}, "it needs --search"},
      {{"data", "customer", "--interactive"}, "--interactive needs a terminal."},
      {{"data", "customer", "--output", "yaml"}, "\"yaml\" is none of table|csv|json|ndjson|xml|markdown."},
      {{"data", "customer", "--page-size", "0"}, "\"0\" is no number from 1 to 1000000."},
      {{"data", "customer", "--page-size", "-1"}, "\"-1\" is no number"},
      {{"data", "customer", "--page", "middle"}, "\"middle\" is none of first|last."},
      {{"export", "customer", "--output", "table"}, "\"table\" is none of"},
      {{"export", "customer", "--output-file", "/missing/file"}, "Unable to write the file \"/missing/file\""},
      {{"data"}, "TABLE is required"},
      {{"ping", "--instance", "a", "--requests", "b"}, "--requests excludes --instance"},
  };
  for (const auto& [arguments, message] : cases) {
    const Result result = Run(arguments);
    EXPECT_EQ(result.status, 2) << message;
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.errors, HasSubstr(message));
  }
}

TEST_F(ProgramTest, AnErrorOfTheServerIsToldWithItsNumber) {
  const Result result = Run({"data", "[TABLE]missing"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.output, "");
  EXPECT_TRUE(std::regex_search(result.errors, std::regex("^odbc-data-client: error -21[0-9]+: .*missing")))
      << result.errors;
  EXPECT_EQ(Run({"data", "customer", "--filter", "no eq text"}).status, 1);
  const auto& folders = server_->folders;  // past the relay, to which no empty request may come
  const Result sent = Run({"send", "/dev/null", "--requests", folders.Requests(), "--results", folders.Results()});
  EXPECT_EQ(sent.status, 1);
  EXPECT_THAT(sent.output, HasSubstr("<Error>1</Error>"));
  EXPECT_EQ(sent.errors, "odbc-data-client: error 1: Unknown message type: \n");
}

TEST_F(ProgramTest, ExportsEveryRow) {
  const std::string path = base_ / "big.csv";
  EXPECT_EQ(Output({"export", "big", "--output-file", path, "--lf"}), "");
  std::string expected = "id,text\n";
  for (int i = 1; i <= kBigRows; ++i) expected += std::to_string(i) + ",row " + std::to_string(i) + "\n";
  EXPECT_EQ(ReadText(path), expected);
  EXPECT_EQ(Output({"export", "big", "--lf"}), expected) << "to standard output";
  EXPECT_EQ(Output({"export", "customer", "-o", "ndjson", "--fields", "no", "--sort", "no desc", "--page-size", "3"}),
            "{\"no\":4}\n{\"no\":3}\n{\"no\":2}\n{\"no\":1}\n");
}

TEST_F(ProgramTest, AnInterruptedExportGoesOnWhereItWas) {
  for (const int signal : {SIGINT, SIGTERM}) {
    const std::string path = base_ / "big.csv";
    std::vector<std::string> arguments = {"export", "big", "--output-file", path, "--lf", "--page-size", "20"};
    auto client = Start(arguments);
    ASSERT_TRUE(ods::test::Eventually([&] {
      std::error_code notYet;
      return std::filesystem::file_size(path, notYet) > 1000 && !notYet;
    }));
    const Result result = End(*client, signal);
    ASSERT_EQ(result.status, 130) << result.errors;
    std::smatch found;
    ASSERT_TRUE(std::regex_search(result.errors, found, std::regex("([0-9,]+) rows were written.* --after '([^']+)'")))
        << result.errors;
    EXPECT_TRUE(std::filesystem::is_empty(server_->relay->Results() + "/new"));
    arguments.insert(arguments.end(), {"--after", found[2]});
    arguments[6] = "5000";
    EXPECT_EQ(Output(arguments), "");
    std::string expected = "id,text\n";
    for (int i = 1; i <= kBigRows; ++i) expected += std::to_string(i) + ",row " + std::to_string(i) + "\n";
    EXPECT_EQ(ReadText(path), expected);
    std::filesystem::remove(path);
  }
}

TEST_F(ProgramTest, PagesOnATerminalAndFollowsItsSize) {
  const auto client = StartOnTerminal({"data", "big", "--interactive"});
  EXPECT_TRUE(client->Shows("rows 1 to 7 of 20,000"));
  client->Type("n");
  EXPECT_TRUE(client->Shows("14 of 20,000"));  // what was there before is not drawn again
  client->Resize(60, 15);
  EXPECT_TRUE(client->Shows("row 19"));
  client->Type("/row 1234\r");
  EXPECT_TRUE(client->Shows("search: row 1234"));
  client->Type("f");
  EXPECT_TRUE(client->Shows("Filter"));
  client->Type("\x1B");
  client->Type("q");
  EXPECT_EQ(client->Status(), 0);
}

TEST_F(ProgramTest, WhatIsWrongIsToldBeforeTheTerminalIsTaken) {
  const auto client = StartOnTerminal({"data", "bgi", "-i"});
  EXPECT_TRUE(client->Shows("Did you mean \"big\"?"));
  EXPECT_EQ(client->Status(), 2);
}

TEST_F(ProgramTest, ShowsTheProgressOfAnExportOnATerminal) {
  const auto client = StartOnTerminal({"export", "big", "--output-file", base_ / "big.csv"});
  EXPECT_TRUE(client->Shows(" %"));
  EXPECT_TRUE(client->Shows("100 %"));
  EXPECT_TRUE(client->Shows("20,000 rows in 0:"));
  EXPECT_EQ(client->Status(), 0);
}

TEST_F(ProgramTest, ATableFitsItsTerminal) {
  const auto client = StartOnTerminal({"data", "customer", "--page-size", "2"});
  EXPECT_TRUE(client->Shows("2 rows; more follow"));
  EXPECT_EQ(client->Status(), 0);
}

TEST_F(ProgramTest, HelpTellsEveryOptionWithExamples) {
  const std::string help = Output({"data", "--help"});
  for (const char* part :
       {"--fields", "--sort", "--filter", "--search", "--in", "--page-size", "--page", "--count", "--interactive",
        "--output", "table|csv|json|ndjson|xml|markdown", "Examples:", "startswith", "between"}) {
    EXPECT_THAT(help, HasSubstr(part));
  }
  for (const char* command : {"ping", "initialize", "tables", "fields", "keys", "primary-key", "authorize", "users",
                              "data", "export", "send"}) {
    EXPECT_THAT(Output({"--help"}), HasSubstr(std::string("\n  ") + command + " "));
    const std::string text = Output({command, "--help"});
    EXPECT_THAT(text, HasSubstr("Examples:")) << command;
    EXPECT_FALSE(std::regex_search(text, std::regex("[^\n]{81}"))) << text;
  }
}

}  // namespace
}  // namespace odbc_data
