#include "Configuration.h"

#include <filesystem>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <grp.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#include "common/Attempt.h"
#include "support/TemporaryFolder.h"

namespace ods::controller {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;

const std::string kFolder = "/srv/conf";
const std::string kFile = kFolder + "/c.toml";

/// What is wrong with a text; "" when nothing is.
std::string Mistakes(const std::string& text) {
  const auto failure = Attempt([&] { (void)ParseSettings(text, kFile); });
  return failure ? failure->Description() : "";
}

std::string WithSource(const std::string& lines) {
  return "[[source]]\nname = \"a\"\nconnection = \"DSN=x\"\n" + lines;
}

TEST(Configuration, ASourceNeedsANameAndAConnectionOnly) {
  const Settings settings = ParseSettings("[controller]\nstate_folder=\"/s\"\n" + WithSource(""), kFile);
  EXPECT_EQ(settings.state, "/s");
  EXPECT_EQ(settings.runtime, "/run/odbc-data-controller");
  ASSERT_EQ(settings.sources.size(), 1U);
  const Source& source = settings.sources.front();
  EXPECT_EQ(source.connection, "DSN=x");
  EXPECT_EQ(source.requests, "/s/queues/a/requests");
  EXPECT_EQ(source.results, "/s/queues/a/results");
  EXPECT_EQ(source.servers, 1);
  EXPECT_TRUE(source.exact);
  EXPECT_EQ(source.limits.restartOn, RestartOn::kLost);
  EXPECT_GT(source.limits.alive, source.queryTimeout);
  EXPECT_FALSE(source.limits.reconnects);
}

TEST(Configuration, DefaultsHoldForEverySourceThatSaysNothingElse) {
  const Settings settings =
      ParseSettings("[defaults]\nexact = false\nquery_timeout = 100\nrestart_on = \"never\"\n" + WithSource("") +
                        "[[source]]\nname = \"b\"\ndsn = \"y\"\nexact = true\nreconnect = 5\n",
                    kFile);
  ASSERT_EQ(settings.sources.size(), 2U);
  EXPECT_FALSE(settings.sources[0].exact);
  EXPECT_EQ(settings.sources[0].limits.restartOn, RestartOn::kNever);
  EXPECT_GT(settings.sources[0].limits.alive, 100);
  EXPECT_TRUE(settings.sources[1].exact);
  EXPECT_EQ(settings.sources[1].queryTimeout, 100);
  EXPECT_TRUE(settings.sources[1].limits.reconnects);
}

TEST(Configuration, AQueueMayBeABrokersWhosePasswordLiesInAFile) {
#ifdef ODS_WITH_AMQP
  const std::string uri = "amqp://ann@h/v?queue=q&password-file=/etc/p";
  EXPECT_EQ(ParseSettings(WithSource("requests = \"" + uri + "\"\n"), kFile).sources.front().requests, uri);
  EXPECT_THAT(Mistakes(WithSource("requests = \"amqp://ann:geheim@h/?queue=q\"\n")),
              HasSubstr("c.toml:4: \"requests\" must not hold the password"));
  EXPECT_THAT(Mistakes(WithSource("requests = \"amqp://ann@h/?queue=q&password-file=p\"\n")),
              HasSubstr("absolute paths"));
  EXPECT_THAT(Mistakes(WithSource("results = \"amqp://h/\"\n")), HasSubstr("\"results\" is wrong. The URI"));
#endif
  EXPECT_EQ(Mistakes(WithSource("requests = \"amqp://ann:geheim@h/\"\n")).find("geheim"), std::string::npos);
}

TEST(Configuration, RelativePathsBeginAtItsFolder) {
  const Settings settings = ParseSettings(
      "[controller]\nruntime_folder = \"run\"\nserver = \"bin/s\"\n" + WithSource("requests = \"../q\"\n"), kFile);
  EXPECT_EQ(settings.runtime, "/srv/conf/run");
  EXPECT_EQ(settings.server, "/srv/conf/bin/s");
  EXPECT_EQ(settings.sources.front().requests, "/srv/q");
}

TEST(Configuration, EveryMistakeIsToldWithItsLine) {
  const std::string mistakes = Mistakes(
      "[controller]\n"             // 1
      "state = \"/s\"\n"           // 2: unknown
      "[[source]]\n"               // 3
      "name = \"a b\"\n"           // 4: not a name
      "connection = \"DSN=x\"\n"   // 5
      "dsn = \"x\"\n"              // 6: beside connection
      "servers = 0\n"              // 7: too few
      "exact = \"yes\"\n"          // 8: kind
      "query_timeout = 50\n"       // 9
      "alive_limit = 50\n"         // 10: not longer
      "requests = 5\n"             // 11: kind
      "restart_on = \"always\"\n"  // 12: unknown word
      "backoff_least = 9\n"        // 13
      "backoff_most = 8\n"         // 14
      "[[source]]\n"               // 15: no name, no connection
      "exact = true\n"
      "[sources]\n");  // 17: unknown
  std::vector<int> lines;
  std::istringstream text(mistakes);
  for (std::string line; std::getline(text, line);) {
    ASSERT_THAT(line, ::testing::StartsWith(kFile + ":"));
    lines.push_back(std::stoi(line.substr(kFile.size() + 1)));
  }
  EXPECT_THAT(lines, ::testing::ElementsAre(2, 4, 6, 7, 8, 10, 11, 12, 14, 15, 15, 17)) << mistakes;
  EXPECT_THAT(mistakes, HasSubstr(":2: \"state\" is not known in [controller] (known: runtime_folder, server, "
                                  "state_folder)."));
  EXPECT_THAT(mistakes, HasSubstr(":7: \"servers\" must be a whole number from 1 to 64."));
}

TEST(Configuration, TextThatIsNoTomlIsToldWithItsLine) {
  EXPECT_THAT(Mistakes("[controller]\nserver = \n"), ::testing::StartsWith(kFile + ":2: "));
}

TEST(Configuration, TwoSourcesMayNotShareNameOrRequests) {
  EXPECT_THAT(Mistakes(WithSource("") + WithSource("")), HasSubstr(":4: "));
  EXPECT_THAT(
      Mistakes(WithSource("requests = \"/q\"\n") + "[[source]]\nname = \"b\"\ndsn = \"x\"\nrequests = \"/q\"\n"),
      HasSubstr("takes its requests from the same queue"));
  EXPECT_THAT(Mistakes(WithSource("requests = \"/q\"\nresults = \"/q\"\n")), HasSubstr(":5: "));
}

TEST(Configuration, ASourceIsNoTableOfItsOwn) {
  EXPECT_THAT(Mistakes("[source]\nname = \"a\"\n"), HasSubstr("must each begin with [[source]]"));
  EXPECT_THAT(Mistakes("controller = 1\ndefaults = 2\n"), HasSubstr(":2: [defaults] must be a table"));
}

class PasswordFiles : public testing::Test {
 protected:
  void Write(const std::string& text, std::filesystem::perms mode) {
    std::ofstream(path_, std::ios::binary) << text;
    std::filesystem::permissions(path_, mode);
  }
  [[nodiscard]] std::string Load() const {
    return ParseSettings(WithSource("user = \"me\"\npassword_file = \"" + path_ + "\"\n"), kFile)
        .sources.front()
        .connection;
  }
  [[nodiscard]] std::string LoadMistake() const {
    const auto failure = Attempt([&] { (void)Load(); });
    return failure ? failure->Description() : "";
  }

  test::TemporaryFolder folder_;
  std::string path_ = folder_.Path() + "/password";
  const std::filesystem::perms own_ = std::filesystem::perms::owner_read | std::filesystem::perms::owner_write;
};

TEST_F(PasswordFiles, TheirTextIsThePassword) {
  Write("geheim\n", own_);
  EXPECT_EQ(Load(), "DSN=x;UID=me;PWD=geheim");
}

TEST_F(PasswordFiles, ASpecialCharacterPutsThePasswordInBraces) {
  Write(" a;b}c\r\n", own_);
  EXPECT_EQ(Load(), "DSN=x;UID=me;PWD={ a;b}}c}");
}

TEST_F(PasswordFiles, OneThatOthersMayReadIsRefused) {
  for (const auto more : {std::filesystem::perms::group_read, std::filesystem::perms::others_read,
                          std::filesystem::perms::others_write}) {
    Write("geheim\n", own_ | more);
    EXPECT_THAT(LoadMistake(), HasSubstr(kFile + ":5: \"password_file\" cannot be used. The password file \"" + path_ +
                                         "\" may be read or written by others"));
    EXPECT_THAT(LoadMistake(), ::testing::Not(HasSubstr("geheim")));
  }
}

/// What reading the file tells a process of another user: 0 nothing, 1 that it is somebody else's.
int ReadAs(uid_t user, const std::function<std::string()>& mistake) {
  const pid_t child = fork();
  if (child == 0) {
    if (setgroups(0, nullptr) != 0 || setgid(user) != 0 || setuid(user) != 0) _exit(2);
    const std::string told = mistake();
    if (told.empty()) _exit(0);
    _exit(told.find("cannot be read") != std::string::npos || told.find("another user") != std::string::npos ? 1 : 3);
  }
  int status = -1;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(PasswordFiles, RootReadsThoseOfTheServiceAndNobodyElseDoes) {
  if (geteuid() != 0) GTEST_SKIP() << "It takes root to have the files of two users.";
  constexpr uid_t kService = 65533;
  constexpr uid_t kOther = 65534;
  std::filesystem::permissions(folder_.Path(), std::filesystem::perms::others_exec, std::filesystem::perm_options::add);
  Write("geheim\n", own_);
  ASSERT_EQ(chown(path_.c_str(), kService, kService), 0);
  const auto mistake = [this] { return LoadMistake(); };
  EXPECT_EQ(LoadMistake(), "");
  EXPECT_EQ(ReadAs(kService, mistake), 0);
  EXPECT_EQ(ReadAs(kOther, mistake), 1);
}

TEST_F(PasswordFiles, OneThatIsNoneIsRefused) {
  EXPECT_THAT(LoadMistake(), HasSubstr("cannot be read"));
  Write("", own_);
  EXPECT_THAT(LoadMistake(), HasSubstr("is empty"));
  Write("one\ntwo\n", own_);
  EXPECT_THAT(LoadMistake(), HasSubstr("more than one line"));
  std::filesystem::remove(path_);
  std::filesystem::create_directory(path_);
  EXPECT_THAT(LoadMistake(), EndsWith("is not a plain file."));
}

}  // namespace
}  // namespace ods::controller
