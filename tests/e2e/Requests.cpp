// What clients send, good and bad, through the queue of the real executable on the sample database.
#include <filesystem>
#include <gtest/gtest.h>

#include "common/Text.h"
#include "e2e/Sample.h"
#include "e2e/ServerProcess.h"

namespace ods::test {
namespace {

class Requests : public ::testing::Test {
 protected:
  void SetUp() override {
    const auto connectionString = ConnectionStringOf(kSqlite);
    if (!connectionString) GTEST_SKIP() << kSqlite.variable << " is not set: scripts/test.sh makes the sample database";
    folders_.Configure(*connectionString);
    std::filesystem::copy(ODS_SAMPLES_FOLDER "/views.xml", folders_.Config() + "/views.xml");
    server_ = std::make_unique<ServerProcess>(folders_);
    client_ = std::make_unique<QueueClient>(folders_);
  }
  void TearDown() override {
    if (!server_) return;
    // Whatever came before: the server lives, answers, and ends in good order.
    const XmlDocument pong = client_->AskDocument(kPing);
    EXPECT_EQ(GetNodeText(pong, "/XML/Ping"), "OK");
    EXPECT_EQ(server_->Stop(), 0);
  }

  /// The code and text of the error document that answers `request`.
  std::pair<std::string, std::string> ErrorOf(const Message& request) {
    const XmlDocument answer = client_->AskDocument(request);
    EXPECT_TRUE(answer.SelectSingleNode("/XML/Error")) << answer.Xml().substr(0, 500);
    return {GetNodeText(answer, "/XML/Error"), GetNodeText(answer, "/XML/Message")};
  }
  /// A `TableData` request on the customers with more elements.
  static std::string Customers(const std::string& elements, const std::string& fields = "<Field><Id>no</Id></Field>") {
    return Request("TableData", "<TableId>[TABLE]customer</TableId><PageSize>2</PageSize>" + elements + "<Fields>" +
                                    fields + "</Fields>");
  }

  ServerFolders folders_;
  std::unique_ptr<ServerProcess> server_;
  std::unique_ptr<QueueClient> client_;
};

using Result = std::pair<std::string, std::string>;

TEST_F(Requests, APingIsAnsweredWithTheDataSession) {
  const XmlDocument first = client_->AskDocument(kPing);
  EXPECT_EQ(GetNodeText(first, "/XML/Ping"), "OK");
  const std::string session = GetNodeText(first, "/XML/DataSession");
  EXPECT_EQ(session.size(), 36U);
  EXPECT_EQ(GetNodeText(client_->AskDocument(kPing), "/XML/DataSession"), session) << "one session for all answers";
}

TEST_F(Requests, AMissingOrUnknownTypeIsCodeOne) {
  EXPECT_EQ(ErrorOf(Malformed("<XML/>")), (Result{"1", "Unknown message type: "}));
  EXPECT_EQ(ErrorOf(Malformed("<XML><Type/></XML>")), (Result{"1", "Unknown message type: "}));
  EXPECT_EQ(ErrorOf(Malformed(Request("Nonsense"))), (Result{"1", "Unknown message type: Nonsense"}));
  EXPECT_EQ(ErrorOf(Malformed(Request("ping"))), (Result{"1", "Unknown message type: ping"}));
  EXPECT_EQ(ErrorOf(Malformed(Request("Status"))), (Result{"1", "Unknown message type: Status"}));
  EXPECT_EQ(ErrorOf(Malformed("<Other><Type>Ping</Type></Other>")), (Result{"1", "Unknown message type: "}));
}

TEST_F(Requests, AMessageThatIsNoDocumentHasNoType) {
  const Result noType = {"1", "Unknown message type: "};
  for (const std::string& text :
       {std::string(), std::string("<XML><Type>Ping</Type>"), std::string("Ping"),
        std::string("<XML><Type>Ping</Type></XML><XML/>"), std::string("<XML><Type>Ping\xFF</Type></XML>"),
        std::string("<XML><Type>Pi\0ng</Type></XML>", 29),
        std::string("<!DOCTYPE XML [<!ENTITY a 'Ping'>]><XML><Type>&a;</Type></XML>")}) {
    EXPECT_EQ(ErrorOf(Malformed(text)), noType) << text;
  }
}

TEST_F(Requests, AnEntityBombDoesNotGoOff) {
  std::string bomb = "<!DOCTYPE XML [<!ENTITY e0 'boom'>";
  for (int i = 1; i < 60; ++i) {
    const std::string previous = "&e" + std::to_string(i - 1) + ";";
    bomb += "<!ENTITY e" + std::to_string(i) + " '" + previous + previous + "'>";
  }
  EXPECT_EQ(ErrorOf(Malformed(bomb + "]><XML><Type>&e59;</Type></XML>")).first, "1");
}

TEST_F(Requests, TenMegabytesOfTextAreAnswered) {
  const std::string text(10U * 1024 * 1024, 'x');
  EXPECT_EQ(ErrorOf(Malformed(text)).first, "1");
  EXPECT_EQ(ErrorOf(Malformed(Request(text))).second.size(), text.size() + 22);
  const auto [code, message] = ErrorOf(Customers("", "<Field><Id>" + text + "</Id></Field>"));
  EXPECT_EQ(code, "1000");
}

TEST_F(Requests, AMessageThatIsTooLargeIsRefused) {
  const auto [code, message] = ErrorOf(Malformed(std::string(kMaxMessageBytes + 1, ' ')));
  EXPECT_EQ(code, "1000");
  EXPECT_NE(message.find("16777216"), std::string::npos) << message;
  EXPECT_FALSE(std::filesystem::is_empty(folders_.Requests() + "/failed"));
}

TEST_F(Requests, DeepNestingIsAnswered) {
  std::string deep;
  for (int i = 0; i < 100'000; ++i) deep += "<a>";
  EXPECT_EQ(ErrorOf(Malformed(deep)).first, "1");
}

TEST_F(Requests, MissingElementsAreErrorsThatSayWhatIsWrong) {
  for (const char* type : {"FieldList", "KeyList", "PrimaryKey", "TableData"}) {
    const auto [code, message] = ErrorOf(Malformed(Request(type)));
    EXPECT_NE(code, "") << type;
    EXPECT_NE(message, "") << type;
  }
  EXPECT_EQ(ErrorOf(Malformed(Customers("", ""))),
            (Result{"1000", "No fields specified on this form TableData[Get fields from form definition]"}));
}

TEST_F(Requests, UnknownTablesAndFieldsAreNamed) {
  const auto [tableCode, tableMessage] = ErrorOf(Request("FieldList", "<TableId>[TABLE]nothing</TableId>"));
  EXPECT_NE(tableMessage.find("nothing"), std::string::npos) << tableMessage;
  EXPECT_EQ(ErrorOf(Request("FieldList", "<TableId>[APPVIEW]nothing</TableId>")),
            (Result{"1000", "Unable to locate the view with id [APPVIEW]nothing."}));
  const std::string noField =
      "Unable to get information about field 'nothing' in table '[TABLE]customer'. Please make sure that the field "
      "exist.";
  EXPECT_EQ(ErrorOf(Customers("", "<Field><Id>nothing</Id></Field>")),
            (Result{"1000", noField + " TableData[Make field list for the select statement]"}));
  EXPECT_EQ(ErrorOf(Customers("<Filter><Condition><FieldId>nothing</FieldId></Condition></Filter>")),
            (Result{"1000", noField + " TableData[Modify filter value]"}));
}

TEST_F(Requests, AnUnknownOperatorIsRejectedByTheDatabase) {
  const auto [code, message] = ErrorOf(Malformed(Customers(
      "<Filter><Condition><FieldId>no</FieldId><FilterOp>between</FilterOp><Filter>1</Filter></Condition></Filter>")));
  EXPECT_LT(std::stol(code), 0);
  EXPECT_NE(message.find("SQL: SELECT"), std::string::npos) << message;
}

TEST_F(Requests, BrokenPositionsAreRefused) {
  const XmlDocument page = client_->AskDocument(Customers("<Navigate>gotofirst</Navigate>"));
  const std::string position = GetNodeText(page, "/XML/LastPosition");
  ASSERT_GT(position.size(), 8U);
  std::string wrong = position;
  wrong[0] = wrong[0] == '0' ? '7' : '0';
  const auto behind = [](const std::string& text) {
    return Customers("<Navigate>gotonext</Navigate><LastPos>" + text + "</LastPos>");
  };
  for (const Message& request :
       {Malformed(behind(position + "0")), Malformed(behind("xyz" + position)),
        Message(behind(position.substr(0, position.size() - 2))), Message(behind(wrong)), Message(behind("00")),
        Message(behind("FFFFFFFFFFFFFFFFFFFF")), Message(behind(position + position))}) {
    const auto [code, message] = ErrorOf(request);
    EXPECT_TRUE(message.ends_with(" TableData[Get positions]")) << message;
  }
  const auto [code, message] = ErrorOf(
      Customers("<PrimaryKey>name</PrimaryKey><Navigate>gotonext</Navigate><LastPos>" + position + "</LastPos>"));
  EXPECT_TRUE(message.ends_with(" TableData[Navigate]")) << message;
}

TEST_F(Requests, NamesFullOfQuotesAndBracketsStayNames) {
  for (const std::string& name :
       {std::string("[TABLE]customer\"; DROP TABLE customer; --"), std::string("[TABLE]\"customer\""),
        std::string("]][[\"'`;--/*"), std::string("[APPVIEW]x' or '1'='1"), std::string("[APPVIEW]'\"'\"]")}) {
    for (const char* type : {"FieldList", "KeyList", "PrimaryKey"}) {
      (void)client_->AskDocument(Unchecked(Request(type, "<TableId>" + EscapeXml(name) + "</TableId>")));
    }
    EXPECT_NE(ErrorOf(Unchecked(Request("FieldList", "<TableId>" + EscapeXml(name) + "</TableId>"))).second, "");
    EXPECT_EQ(ErrorOf(Customers("", "<Field><Id>" + EscapeXml(name) + "</Id></Field>")).first, "1000");
    EXPECT_EQ(ErrorOf(Customers("<SortColumn>" + EscapeXml(name) + "</SortColumn>")).first, "1000");
  }
  const XmlDocument page = client_->AskDocument(Customers("<Navigate>gotofirst</Navigate>"));
  EXPECT_EQ(page.SelectNodes("/XML/Records/R").size(), 2U);
}

TEST_F(Requests, ErrorTextsThatAreNoXmlComeEscaped) {
  const auto [code, message] = ErrorOf(Customers("", "<Field><Id>a&lt;b&amp;c</Id></Field>"));
  EXPECT_NE(message.find("'a<b&c'"), std::string::npos) << message;
}

TEST_F(Requests, HostileValuesMatchLiterally) {
  for (const char* value :
       {"' OR '1'='1", "\\' OR 1=1 --", "x'; DROP TABLE customer; --", "\"", "%", "{d '2000-01-01'}"}) {
    const XmlDocument page =
        client_->AskDocument(Customers("<Filter><Condition><FieldId>name</FieldId><FilterOp>eq</FilterOp><Filter>" +
                                       EscapeXml(value) + "</Filter></Condition></Filter>"));
    EXPECT_EQ(GetNodeText(page, "/XML/Message"), "") << value;
    EXPECT_EQ(page.SelectNodes("/XML/Records/R").size(), 0U) << value;
  }
}

TEST_F(Requests, EveryRequestOfTheCatalogueIsAnswered) {
  const XmlDocument tables = client_->AskDocument(Request("TableList"));
  EXPECT_EQ(GetNodeText(tables, "/XML/Tables/Table[1]/Id"), "[APPVIEW]order_totals");
  const XmlDocument fields = client_->AskDocument(Request("FieldList", "<TableId>[TABLE]order_line</TableId>"));
  EXPECT_EQ(GetNodeText(fields, "/XML/Fields/Field[2]/Caption"), "line_no");
  const XmlDocument keys = client_->AskDocument(Request("KeyList", "<TableId>[TABLE]order_line</TableId>"));
  EXPECT_EQ(GetNodeText(keys, "/XML/Keys/Key[Primary='1']/Caption"), "order_no, line_no");
  const XmlDocument key = client_->AskDocument(Request("PrimaryKey", "<TableId>[TABLE]order_line</TableId>"));
  EXPECT_EQ(GetNodeText(key, "/XML/PrimaryKey"), "order_no\\09line_no");
  const XmlDocument noKey = client_->AskDocument(
      Request("TableData", "<TableId>[TABLE]journal</TableId><Fields><Field><Id>entry_no</Id></Field></Fields>"));
  EXPECT_EQ(GetNodeText(noKey, "/XML/Error") + GetNodeText(noKey, "/XML/Message"), "2No primary key defined");
}

TEST_F(Requests, BinaryColumnsCanBeFilteredAndSearchingFoldsCase) {
  const XmlDocument all =
      client_->AskDocument(Request("TableData",
                                   "<TableId>[TABLE]item</TableId><PageSize>300</PageSize>"
                                   "<Fields><Field><Id>no</Id></Field><Field><Id>picture</Id></Field></Fields>"));
  const std::string picture = GetNodeText(all, "/XML/Records/R/V[@Id='picture'][string-length(.) > 0]");
  ASSERT_NE(picture, "");
  const XmlDocument found = client_->AskDocument(
      Request("TableData",
              "<TableId>[TABLE]item</TableId><PageSize>300</PageSize><Filter><Condition><FieldId>picture"
              "</FieldId><FilterOp>eq</FilterOp><Filter>" +
                  ToLower(picture) + "</Filter></Condition></Filter><Fields><Field><Id>picture</Id></Field></Fields>"));
  ASSERT_GE(found.SelectNodes("/XML/Records/R").size(), 1U) << GetNodeText(found, "/XML/Message");
  for (const XmlNode& value : found.SelectNodes("/XML/Records/R/V[@Id='picture']")) EXPECT_EQ(value.Text(), picture);

  const auto search = [&](const std::string& text) {
    return client_
        ->AskDocument(Customers("<SearchString>" + text +
                                "</SearchString><SearchFields><Field><Id>name</Id>"
                                "<SearchString>%{0}%</SearchString></Field></SearchFields>"))
        .Xml();
  };
  EXPECT_EQ(search("AN"), search("an"));
}

}  // namespace
}  // namespace ods::test
