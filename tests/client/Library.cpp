// The client library against a server played by the test.
#include <atomic>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "OdbcDataClient.h"
#include "ScriptedServer.h"
#include "platform/system/DefaultFolders.h"
#include "platform/system/System.h"
#include "platform/xml/Xml.h"
#include "support/EnvironmentValue.h"
#include "support/MessageSchemas.h"

namespace odbc_data {
namespace {

using ods::test::Malformed;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

/// Asks a server that has one answer to everything; with `exact` it plays one that was started so.
template <typename Action>
auto Answered(const ods::test::Message& answer, Action action, bool exact = false) {
  const ScriptedServer server([&](const std::string&) { return answer; }, exact);
  Client client(server.Folders());
  return action(client);
}

/// A server of a table of the numbers 1 to `rows`, in pages of the size that is asked for.
std::string ServeNumbers(const std::string& request, int rows) {
  const ods::XmlDocument document(request);
  const int size = std::stoi(ods::GetNodeText(document, "/XML/PageSize"));
  const int first = NumberOf(ods::GetNodeText(document, "/XML/LastPos")) + 1;
  const int last = std::min(first + size - 1, rows);
  return PageOf(first, last, last < rows);
}

std::vector<std::string> Texts(const Page& page) {
  std::vector<std::string> texts;
  for (const Row& row : page.rows) texts.push_back(row.front().text);
  return texts;
}

TEST(Library, AnErrorDocumentIsRaisedWithNumberAndMessage) {
  try {
    Answered(Whole("<Error>-2147217865</Error><Message>No such table</Message>"),
             [](Client& client) { return client.Tables(); });
    ADD_FAILURE() << "no error";
  } catch (const ErrorAnswer& error) {
    EXPECT_EQ(error.Number(), -2147217865);
    EXPECT_STREQ(error.what(), "No such table");
    EXPECT_THAT(error.Document(), HasSubstr("<Error>"));
  }
}

TEST(Library, WhatIsNoDocumentIsNoAnswer) {
  for (const char* answer : {"", "text", "<XML>", "<Other/>"}) {
    EXPECT_THROW((void)Answered(Malformed(answer), [](Client& client) { return client.Tables(); }), Failure) << answer;
  }
  EXPECT_THROW(Answered(Malformed(Whole("<Ping>no</Ping>")), [](Client& client) { client.Ping(); }), Failure);
  EXPECT_NO_THROW(Answered(Whole("<Ping>OK</Ping>"), [](Client& client) { client.Ping(); }));
}

TEST(Library, NoAnswerInTimeNamesTheRequest) {
  const ScriptedServer server([](const std::string&) { return std::nullopt; });
  Exchange exchange = server.Folders();
  exchange.timeout = std::chrono::milliseconds(100);
  Client client(exchange);
  EXPECT_THROW(client.Ping(), NoAnswer);
}

TEST(Library, WaitingEndsWhenItIsToStop) {
  const ScriptedServer server([](const std::string&) { return std::nullopt; });
  Exchange exchange = server.Folders();
  std::atomic<int> asked = 0;
  exchange.stop = [&asked] { return ++asked == 2; };
  Client client(exchange);
  EXPECT_THROW(client.Ping(), Stopped);
  EXPECT_EQ(asked, 2);
}

TEST(Library, ReadsWhatAServerCanDo) {
  const Capabilities found = Answered(
      Whole(
          "<Authorization/><Name>Generic ODBC</Name><ColumnSorting>1</ColumnSorting><IdIsCaption>1</IdIsCaption>"
          "<UserManagement>1</UserManagement><UserCount>7</UserCount><FilterOperators>eq,lt,gt,lteq,gteq,not,like,null,"
          "notnull,between,contains,startswith,endswith</FilterOperators><Exact>1</Exact>"),
      [](Client& client) { return client.Initialize(); }, true);
  EXPECT_EQ(found.name, "Generic ODBC");
  EXPECT_TRUE(found.exact);
  EXPECT_TRUE(found.userManagement);
  EXPECT_EQ(found.users, 7);
  EXPECT_THAT(found.filterOperators, ElementsAre("eq", "lt", "gt", "lteq", "gteq", "not", "like", "null", "notnull",
                                                 "between", "contains", "startswith", "endswith"));
}

TEST(Library, ReadsFieldsWithAndWithoutWhatAnExactServerTells) {
  const auto field = [](const std::string& more) {
    const auto fields = Answered(
        Whole("<Fields><Field><Id>a</Id><Name>a</Name><Caption>A</Caption><Type>131</Type>"
              "<Active>1</Active>" +
              more + "</Field></Fields>"),
        [](Client& client) { return client.Fields("[TABLE]t"); }, !more.empty());
    return fields.at(0);
  };
  const auto exact = field("<TypeName>numeric</TypeName><Size>18</Size><Digits>4</Digits><Nullable>0</Nullable>");
  EXPECT_TRUE(exact.exact);
  EXPECT_EQ(exact.typeName, "numeric");
  EXPECT_EQ(exact.size, 18);
  EXPECT_EQ(exact.digits, 4);
  EXPECT_FALSE(exact.nullable);
  const auto plain = field("");
  EXPECT_FALSE(plain.exact);
  EXPECT_TRUE(plain.nullable);
  EXPECT_EQ(plain.type, 131);
}

TEST(Library, ReadsKeysUsersAndAuthorizations) {
  const auto keys = Answered(
      Whole("<Keys><Key><Fields><Field><Id>a</Id><Caption>a</Caption></Field><Field><Id>b</Id><Caption>b</Caption>"
            "</Field></Fields><Id>a\\09b</Id><Caption>a, b</Caption><Unique>1</Unique><Primary>0</Primary></Key></Keys>"
            "<ChoosePrimary>1</ChoosePrimary>"),
      [](Client& client) { return client.Keys("[TABLE]t"); });
  ASSERT_EQ(keys.size(), 1U);
  EXPECT_THAT(keys[0].fields, ElementsAre("a", "b"));
  EXPECT_TRUE(keys[0].unique);
  EXPECT_FALSE(keys[0].primary);
  const auto key = Answered(Whole("<PrimaryKey>a</PrimaryKey><Constructed>1</Constructed>"),
                            [](Client& client) { return client.FindPrimaryKey("[TABLE]t"); });
  EXPECT_EQ(key.id, "a");
  EXPECT_TRUE(key.constructed);
  const auto all = Answered(
      Whole("<Users><User><Id>ANN</Id><Name>Ann</Name></User></Users><Groups><Group><Id>S</Id><Name>Sales</Name><Users>"
            "<User><Id>ANN</Id></User></Users></Group></Groups>"),
      [](Client& client) { return client.UsersAndRoles(); });
  EXPECT_EQ(all.users.at(0).name, "Ann");
  EXPECT_THAT(all.roles.at(0).members, ElementsAre("ANN"));
  const auto authorization = Answered(
      Whole("<UserId>ann</UserId><UserName>Ann</UserName><Authorized>1</Authorized><Admin>1</Admin><Groups><Group>"
            "<Id>Admins</Id></Group></Groups>"),
      [](Client& client) { return client.Authorize("ann", "x<y", false); });
  EXPECT_TRUE(authorization.authorized);
  EXPECT_TRUE(authorization.admin);
  EXPECT_THAT(authorization.groups, ElementsAre("Admins"));
}

TEST(Library, ReadsValuesNullsAndHexadecimalText) {
  const Page page = Answered(
      Whole("<FirstPosition>exact-01</FirstPosition><LastPosition>exact-02</LastPosition><HasNextPage>1</HasNextPage>"
            "<HasPreviousPage>0</HasPreviousPage><Columns><Column><Id>a</Id><DataType>202</DataType></Column></Columns>"
            "<Records><R><V Id=\"a\"> x &amp; </V></R><R><V Id=\"a\"><Null/></V></R><R><V Id=\"a\"/></R>"
            "<R><V Id=\"a\" Encoding=\"hex\">00</V></R></Records><Navigated>gotofirst</Navigated><Total>9</Total>"),
      [](Client& client) { return client.ReadPage({.table = "[TABLE]t", .fields = {"a"}}, Navigate::kFirst); }, true);
  ASSERT_EQ(page.rows.size(), 4U);
  EXPECT_EQ(page.rows[0][0].text, " x & ");
  EXPECT_TRUE(page.rows[1][0].isNull);
  EXPECT_FALSE(page.rows[2][0].isNull);
  EXPECT_EQ(page.rows[2][0].text, "");
  EXPECT_TRUE(page.rows[3][0].isHex);
  EXPECT_EQ(page.total, 9);
  EXPECT_TRUE(page.hasNext);
  EXPECT_EQ(page.columns.at(0).type, 202);
}

TEST(Library, ARowThatDoesNotFitItsColumnsIsRefused) {
  EXPECT_THROW(
      (void)Answered(
          Malformed(
              Whole("<FirstPosition/><LastPosition/><HasNextPage>0</HasNextPage><HasPreviousPage>0"
                    "</HasPreviousPage><Columns><Column><Id>a</Id><DataType>3</DataType></Column></Columns><Records>"
                    "<R/></Records>")),
          [](Client& client) { return client.ReadPage({.table = "[TABLE]t", .fields = {"a"}}, Navigate::kFirst); }),
      Failure);
}

TEST(Library, APageIsAskedForWithAllThatWasAsked) {
  const Question question{.table = "[TABLE]a&b",
                          .fields = {"no"},
                          .sort = {{"name", true}, {"city", false}},
                          .conditions = {{"city", "eq", {"Rome", "a|<b>"}}, {"no", "null", {}}},
                          .search = "smi",
                          .searchFields = {"name"},
                          .pageSize = 7,
                          .count = true};
  const std::string request = PageRequestText(question, Navigate::kNext, {.first = "exact-0F", .last = "exact-1F"});
  EXPECT_EQ(ods::test::FaultOfRequest(request, true), "");
  EXPECT_EQ(request,
            "<XML><Type>TableData</Type><TableId>[TABLE]a&amp;b</TableId><Navigate>gotonext</Navigate>"
            "<PageSize>7</PageSize><FirstPos>exact-0F</FirstPos><LastPos>exact-1F</LastPos>"
            "<Sort><Column><Id>name</Id><Direction>desc</Direction></Column>"
            "<Column><Id>city</Id><Direction>asc</Direction></Column></Sort>"
            "<Filter><Condition><FieldId>city</FieldId><FilterOp>eq</FilterOp><Filter>Rome|a|&lt;b&gt;</Filter>"
            "<Value>Rome</Value><Value>a|&lt;b&gt;</Value></Condition>"
            "<Condition><FieldId>no</FieldId><FilterOp>null</FilterOp><Filter></Filter></Condition></Filter>"
            "<SearchString>smi</SearchString><SearchFields><Field><Id>name</Id><SearchString>%{0}%</SearchString>"
            "</Field></SearchFields><Count>1</Count><Fields><Field><Id>no</Id></Field></Fields></XML>");
  EXPECT_THAT(PageRequestText({.table = "t", .fields = {"a"}, .sort = {{"b", true}}}, Navigate::kLast, {}),
              HasSubstr("<SortColumn>b</SortColumn><SortDirection>desc</SortDirection>"))
      << "one column in the way that every server understands";
}

TEST(Library, TextIsEscapedOrRefused) {
  EXPECT_EQ(EscapeText("<a>&\r\n"), "&lt;a&gt;&amp;&#13;\n");
  EXPECT_THROW((void)EscapeText(std::string_view("\0", 1)), Failure);
  EXPECT_THROW((void)EscapeText("\xFF"), Failure);
}

TEST(Library, APageThatComesAgainIsTold) {
  const auto again = [](int first, int last, const std::string& navigated) {
    const bool exact = !navigated.empty();
    const Place from = {.first = PositionOf(1, exact), .last = PositionOf(2, exact)};
    return Answered(
        PageOf(first, last, false, navigated),
        [&](Client& client) {
          return client.ReadPage({.table = "[TABLE]t", .fields = {"no"}}, Navigate::kNext, from).again;
        },
        exact);
  };
  EXPECT_FALSE(again(3, 4, ""));
  EXPECT_TRUE(again(1, 2, "")) << "by its position";
  EXPECT_TRUE(again(3, 4, "<Navigated>gotolast</Navigated>"));
  EXPECT_FALSE(again(1, 2, "<Navigated>gotonext</Navigated>"));
}

TEST(TableWalk, GivesEveryRowOnceAndAsksForTheNextPageAhead) {
  const ScriptedServer server([](const std::string& request) { return ServeNumbers(request, 7); });
  Client client(server.Folders());
  TableWalk walk(client, {.table = "[TABLE]t", .fields = {"no"}, .pageSize = 3, .count = true});
  std::vector<std::string> rows;
  while (const auto page = walk.Next()) {
    // What follows was asked for, and needs nobody to ask for it.
    if (page->hasNext) {
      const auto pages = rows.size() / 3 + 2;
      const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
      while (server.Requests().size() < pages && std::chrono::steady_clock::now() < end) std::this_thread::yield();
      EXPECT_EQ(server.Requests().size(), pages);
    }
    for (const std::string& text : Texts(*page)) rows.push_back(text);
  }
  EXPECT_THAT(rows, ElementsAre("1", "2", "3", "4", "5", "6", "7"));
  EXPECT_FALSE(walk.Next());
  const auto requests = server.Requests();
  ASSERT_EQ(requests.size(), 3U);
  EXPECT_THAT(requests[0], HasSubstr("<Count>1</Count>"));
  EXPECT_THAT(requests[1], ::testing::Not(HasSubstr("<Count>")));
}

TEST(TableWalk, BeginsBehindAPosition) {
  const ScriptedServer server([](const std::string& request) { return ServeNumbers(request, 7); });
  Client client(server.Folders());
  TableWalk walk(client, {.table = "[TABLE]t", .fields = {"no"}, .pageSize = 10}, {.after = PositionOf(5)});
  const auto page = walk.Next();
  ASSERT_TRUE(page);
  EXPECT_THAT(Texts(*page), ElementsAre("6", "7"));
  EXPECT_FALSE(walk.Next());
}

TEST(TableWalk, TheLastPageOnceMoreIsTheEnd) {
  const ScriptedServer server(
      [](const std::string&) { return PageOf(4, 7, false, "<Navigated>gotolast</Navigated>"); });
  Client client(server.Folders());
  TableWalk walk(client, {.table = "[TABLE]t", .fields = {"no"}}, {.after = PositionOf(7)});
  EXPECT_FALSE(walk.Next());
}

TEST(TableWalk, FitsThePageToTheBytesOfItsRows) {
  const ScriptedServer server([](const std::string& request) { return ServeNumbers(request, 100000); });
  Client client(server.Folders());
  TableWalk walk(client, {.table = "[TABLE]t", .fields = {"no"}, .pageSize = 50}, {.after = {}, .pageBytes = 100000});
  std::size_t rows = 0;
  std::vector<std::size_t> bytes;
  while (const auto page = walk.Next()) {
    rows += page->rows.size();
    bytes.push_back(page->bytes);
  }
  EXPECT_EQ(rows, 100000U);
  ASSERT_GT(bytes.size(), 6U);
  EXPECT_LT(bytes[0], 5000U);
  EXPECT_LT(bytes[1], bytes[0] * 9) << "it grows in steps";
  for (std::size_t i = 4; i + 1 < bytes.size(); ++i) {
    EXPECT_GT(bytes[i], 80000U);
    EXPECT_LT(bytes[i], 120000U);
  }
}

TEST(TableWalk, AsksForLessWhenAnAnswerIsTooLarge) {
  const ScriptedServer server([](const std::string& request) -> std::string {
    const int size = std::stoi(ods::GetNodeText(ods::XmlDocument(request), "/XML/PageSize"));
    if (size > 10) {
      return Whole(
          "<Error>1000</Error><Message>The response is larger than 67108864 bytes (64 MiB). Ask for fewer rows or "
          "fields.</Message>");
    }
    return ServeNumbers(request, 30);
  });
  Client client(server.Folders());
  std::size_t rows = 0;
  TableWalk walk(client, {.table = "[TABLE]t", .fields = {"no"}, .pageSize = 100}, {.after = {}, .pageBytes = 100000});
  while (const auto page = walk.Next()) rows += page->rows.size();
  EXPECT_EQ(rows, 30U);
  TableWalk fixed(client, {.table = "[TABLE]t", .fields = {"no"}, .pageSize = 100});
  EXPECT_THROW((void)fixed.Next(), ErrorAnswer) << "a page size that was chosen stays";
}

TEST(TableWalk, LeavesNoAnswerBehind) {
  const ScriptedServer server([](const std::string& request) { return ServeNumbers(request, 7); });
  Client client(server.Folders());
  {
    TableWalk walk(client, {.table = "[TABLE]t", .fields = {"no"}, .pageSize = 3});
    EXPECT_TRUE(walk.Next());
  }
  EXPECT_EQ(server.Requests().size(), 2U);
  EXPECT_TRUE(std::filesystem::is_empty(server.Folders().results + "/new"));
}

TEST(Library, FindsTheFoldersOfAnInstance) {
  const ods::test::EnvironmentValue temp("TEMP", "/t1");
  const Exchange exchange = ExchangeOfInstance("sales");
  EXPECT_EQ(exchange.requests, "/t1/Korvanta/sales/Queue/Requests");
  EXPECT_EQ(exchange.results, "/t1/Korvanta/sales/Queue/Results");
}

TEST(Library, FoldersThatCannotBeUsedAreAFailure) {
  EXPECT_THROW(Client({.requests = "/dev/null/x", .results = "/dev/null/y"}), Failure);
}

}  // namespace
}  // namespace odbc_data
