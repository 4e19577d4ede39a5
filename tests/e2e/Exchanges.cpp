// Exchanges with a server on the sample company, written down: what servers of two systems must do alike to the byte is
// compared outside (scripts/windows.sh).
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <regex>

#include "catalogue/modKeys.h"
#include "common/Files.h"
#include "e2e/Sample.h"
#include "e2e/ServerProcess.h"

namespace ods::test {
namespace {

/// A server on the sample company, everything that it is asked, and what it answers.
class Exchanges {
 public:
  Exchanges(const std::string& connectionString, const std::vector<std::string>& arguments) {
    folders_.Configure(connectionString);
    std::filesystem::copy(PathOf(ODS_SAMPLES_FOLDER "/views.xml"), PathOf(folders_.Config() + "/views.xml"));
    std::filesystem::copy(PathOf(ODS_SAMPLES_FOLDER "/views"), PathOf(folders_.Config() + "/views"));
    server_ = std::make_unique<ServerProcess>(folders_, arguments);
    client_ = std::make_unique<QueueClient>(folders_);
  }

  std::string Ask(const std::string& title, const Message& request) {
    const std::string answer = client_->Ask(request);
    // An id of its own for each run of a server.
    static const std::regex session("<DataSession>[^<]*</DataSession>");
    text_ += "=== " + title + '\n' + request.text + "\n---\n" +
             std::regex_replace(answer, session, "<DataSession></DataSession>") + '\n';
    return answer;
  }
  int Stop() { return server_->Stop(); }
  [[nodiscard]] const std::string& Text() const { return text_; }

 private:
  ServerFolders folders_;
  std::unique_ptr<ServerProcess> server_;
  std::unique_ptr<QueueClient> client_;
  std::string text_;
};

std::string Page(const std::string& elements, const std::string& navigate, const std::string& from = "") {
  std::string positions;
  for (const auto& [answered, asked] : {std::pair("FirstPosition", "FirstPos"), std::pair("LastPosition", "LastPos")}) {
    XmlDocument document;
    const bool known = !from.empty() && document.LoadXML(from);
    positions += std::string("<") + asked + ">" +
                 (known ? GetNodeText(document, (std::string("/XML/") + answered).c_str()) : "") + "</" + asked + ">";
  }
  return Request("TableData", elements + "<PageSize>20</PageSize><Navigate>" + navigate + "</Navigate>" + positions);
}

void AskOfTable(Exchanges& exchanges, const SampleTable& table) {
  const std::string id = "<TableId>" + EscapeXml(table.identifier) + "</TableId>";
  const std::string& name = table.identifier;
  for (const char* type : {"FieldList", "KeyList", "PrimaryKey"}) {
    exchanges.Ask(std::string(type) + " " + name, Request(type, id));
  }
  std::string page = id;
  if (!table.givenKey.empty()) page += "<PrimaryKey>" + KeyToText(table.givenKey) + "</PrimaryKey>";
  const std::string fields = "<Fields><Field><Id>" + table.sortColumn + "</Id></Field><Field><Id>" +
                             table.searchColumn + "</Id></Field></Fields>";
  const std::string sort = "<SortColumn>" + table.sortColumn + "</SortColumn>";
  std::string answer = exchanges.Ask("first page " + name, Page(page + fields, "gotofirst"));
  answer = exchanges.Ask("next page " + name, Page(page + fields, "gotonext", answer));
  exchanges.Ask("previous page " + name, Page(page + fields, "gotoprev", answer));
  exchanges.Ask("last page " + name, Page(page + fields, "gotolast"));
  exchanges.Ask("sorted " + name, Page(page + sort + fields, "gotofirst"));
  exchanges.Ask("filtered and sorted down " + name,
                Page(page + sort + "<SortDirection>desc</SortDirection>" + table.filterElements + fields, "gotofirst"));
  exchanges.Ask("searched " + name, Page(page + "<SearchString>" + table.searchText + "</SearchString><SearchFields>" +
                                             "<Field><Id>" + table.searchColumn + "</Id><SearchString>%{0}%" +
                                             "</SearchString></Field></SearchFields>" + fields,
                                         "gotofirst"));
}

void AskEverything(Exchanges& exchanges) {
  exchanges.Ask("Ping", kPing);
  exchanges.Ask("Initialize", Request("Initialize"));
  exchanges.Ask("TableList", Request("TableList"));
  for (const SampleTable& table : SampleTables(test::kSqlite.quote)) AskOfTable(exchanges, table);
  exchanges.Ask("unknown type", Malformed(Request("Nonsense")));
  exchanges.Ask("no XML", Malformed("no XML"));
  exchanges.Ask("unknown table", Request("FieldList", "<TableId>[TABLE]nothing</TableId>"));
  exchanges.Ask("unknown view", Request("FieldList", "<TableId>[APPVIEW]nothing</TableId>"));
  exchanges.Ask("other alphabets", Request("FieldList", "<TableId>[TABLE]\xC3\x9C\xD0\x96\xE6\x97\xA5</TableId>"));
}

TEST(Exchanges, AreWrittenDown) {
  const auto connectionString = ConnectionStringOf(test::kSqlite);
  const char* path = std::getenv("ODS_TEST_EXCHANGES");
  if (!connectionString || path == nullptr) GTEST_SKIP() << "ODS_TEST_EXCHANGES or the sample is not set";
  std::ofstream file(PathOf(path), std::ios::binary);
  for (const std::vector<std::string>& arguments : {std::vector<std::string>(), std::vector<std::string>{"/exact"}}) {
    Exchanges exchanges(*connectionString, arguments);
    AskEverything(exchanges);
    EXPECT_EQ(exchanges.Stop(), 0);
    file << exchanges.Text();
  }
  EXPECT_TRUE(file.flush());
}

}  // namespace
}  // namespace ods::test
