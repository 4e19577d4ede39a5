// The schemas of docs/schema: what they take, and above all what they refuse.
#include "support/MessageSchemas.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "common/Text.h"
#include "schema/PlainMessages.h"

namespace ods::test {
namespace {

/// A message of a type that is valid, and replacements that each make it wrong.
struct Refusal {
  const char* type;
  bool exact;
  std::string valid;
  std::vector<std::pair<std::string, std::string>> wrong;
};

using Fault = std::string (*)(const Refusal& refusal, const std::string& message);

void ExpectRefusals(const std::vector<Refusal>& refusals, Fault fault) {
  for (const Refusal& refusal : refusals) {
    SCOPED_TRACE(std::string(refusal.type) + (refusal.exact ? " (exact)" : ""));
    EXPECT_EQ(fault(refusal, refusal.valid), "");
    for (const auto& [text, with] : refusal.wrong) {
      ASSERT_NE(refusal.valid.find(text), std::string::npos) << text;
      EXPECT_NE(fault(refusal, ReplaceAll(refusal.valid, text, with)), "") << text << " -> " << with;
    }
  }
}

const std::string kTable = "<TableId>[TABLE]customer</TableId>";
const std::string kField = "<Fields><Field><Id>no</Id></Field></Fields>";
const std::string kPage =
    kTable +
    "<Navigate>gotonext</Navigate><PageSize>50</PageSize><FirstPos>0A1B</FirstPos><LastPos>FF"
    "</LastPos><SortColumn>name</SortColumn><SortDirection>desc</SortDirection><PrimaryKey>no"
    "</PrimaryKey><Key>a\\09b</Key><Filter><Condition><FieldId>city</FieldId><FilterOp>eq"
    "</FilterOp><Filter>Rome|Oslo</Filter></Condition></Filter><SearchString>smi</SearchString>"
    "<SearchFields><Field><Id>name</Id><SearchString>%{0}%</SearchString></Field></SearchFields>" +
    kField;
const std::string kExactPage =
    kTable +
    "<LastPos>exact-0A1B</LastPos><Sort><Column><Id>name</Id><Direction>desc</Direction></Column></Sort><Filter>"
    "<Condition><FieldId>city</FieldId><FilterOp>between</FilterOp><Value>a</Value><Value>b|c</Value></Condition>"
    "</Filter><Count>1</Count>" +
    kField;

TEST(RequestSchemas, RefuseWhatIsWrong) {
  const std::vector<Refusal> refusals = {
      {"Ping",
       false,
       Request("Ping"),
       {{"XML", "Xml"},
        {"</XML>", "<Ping/></XML>"},
        {"</XML>", "text</XML>"},
        {"</XML>", "<Type>Ping</Type></XML>"},
        {"<XML>", "<XML Id=\"1\">"},
        {"<XML>", "<XML xmlns=\"urn:other\">"},
        {"<XML>", "<XML xml:space=\"keep\">"},
        {"Ping", "Ping "}}},
      {"Initialize",
       false,
       Request("Initialize", "<UserMode>DETECT</UserMode>"),
       {{"DETECT", "detect"}, {"UserMode", "Usermode"}}},
      {"Authorize",
       false,
       Request("Authorize", "<UserId>a</UserId><Password/><AuthenticatedUser>b</AuthenticatedUser>"),
       {{"UserId", "User"}, {"<Password/>", "<Password/><Password/>"}, {"<Password/>", "<Password><b/></Password>"}}},
      {"UsersAndRoles", false, Request("UsersAndRoles"), {{"</XML>", "<TableId>[TABLE]a</TableId></XML>"}}},
      {"TableList", false, Request("TableList"), {{"</XML>", "<Filter/></XML>"}}},
      {"FieldList",
       false,
       Request("FieldList", kTable),
       {{kTable, ""}, {"TableId", "TableID"}, {"[TABLE]", ""}, {"[TABLE]", "[table]"}, {"customer", ""}}},
      {"KeyList", false, Request("KeyList", kTable), {{kTable, ""}, {"[TABLE]", "TABLE"}}},
      {"PrimaryKey", false, Request("PrimaryKey", kTable), {{kTable, ""}, {"</XML>", "<Key/></XML>"}}},
      {"TableData",
       false,
       Request("TableData", kPage),
       {{kTable, ""},
        {"[TABLE]", "[QUERY]"},
        {"gotonext", "next"},
        {"gotonext", "GotoNext"},
        {"50", "-1"},
        {"50", "many"},
        {"50", "2147483647"},
        {"0A1B", "0A1"},
        {"0A1B", "0a1b"},
        {"0A1B", "exact-0A1B"},
        {"<SortDirection>desc", "<SortDirection>descending"},
        {"a\\09b", "a\\9b"},
        {"a\\09b", "a b"},
        {"<FieldId>city</FieldId>", ""},
        {"<FilterOp>eq", "<FilterOp>="},
        {"<FilterOp>eq", "<FilterOp>between"},
        {"<FilterOp>eq", "<FilterOp>EQ"},
        {"<Filter>Rome|Oslo</Filter>", "<Value>Rome</Value>"},
        {"Condition", "Conditions"},
        {"<Id>name</Id>", ""},
        {"<Id>no</Id>", ""},
        {kField, ""},
        {kField, "<Fields/>"},
        {kField, "<Field><Id>no</Id></Field>"},
        {"<Fields>", "<Count>1</Count><Fields>"},
        {"<Fields>", "<Sort><Column><Id>no</Id></Column></Sort><Fields>"}}},
      {"TableData",
       true,
       Request("TableData", kExactPage),
       {{"exact-", ""},
        {"exact-0A1B", "exact-"},
        {"<Column><Id>name</Id><Direction>desc</Direction></Column>", ""},
        {"<Id>name</Id>", ""},
        {"<Direction>desc", "<Direction>down"},
        {"between", "amid"},
        {"<FieldId>city</FieldId>", ""},
        {"<Value>a</Value>", "<Value><b/></Value>"},
        {"<Count>1", "<Count>yes"},
        {"Count", "Total"}}}};
  ExpectRefusals(refusals, [](const Refusal& refusal, const std::string& message) {
    return FaultOfRequest(message, refusal.exact);
  });
  EXPECT_NE(FaultOfRequest("<XML/>", false), "");
  EXPECT_NE(FaultOfRequest("<XML><Type>ping</Type></XML>", false), "");
  EXPECT_NE(FaultOfRequest("", false), "");
}

TEST(RequestSchemas, TakeElementsInAnyOrderAndOnesThatAreEmpty) {
  for (const bool exact : {false, true}) {
    EXPECT_EQ(FaultOfRequest("<XML xml:space=\"preserve\">" + kTable +
                                 "<DataSession>any</DataSession><Type>FieldList"
                                 "</Type></XML>",
                             exact),
              "");
    for (const char* condition :
         {"<FieldId>a</FieldId>", "<FieldId>a</FieldId><Filter>b</Filter>",
          "<FilterOp>eq</FilterOp><FieldId>a</FieldId>", "<Filter>b</Filter><FieldId>a</FieldId>",
          "<FieldId>a</FieldId><Filter>b</Filter><FilterOp>eq</FilterOp>",
          "<FilterOp>eq</FilterOp><FieldId>a</FieldId><Filter>b</Filter>",
          "<FilterOp>eq</FilterOp><Filter>b</Filter><FieldId>a</FieldId>",
          "<Filter>b</Filter><FieldId>a</FieldId><FilterOp/>", "<Filter>b</Filter><FilterOp/><FieldId>a</FieldId>"}) {
      EXPECT_EQ(
          FaultOfRequest(Request("TableData", kField + "<Filter><Condition>" + condition +
                                                  "</Condition></Filter><LastPos/><Navigate/><SortColumn/>" + kTable),
                         exact),
          "");
      EXPECT_EQ(FaultOfRequest(Request("TableData", kTable + "<Filter><Condition>" + condition +
                                                        "<Value>c</Value><Value/></Condition></Filter>" + kField),
                               true),
                "");
    }
  }
}

const std::string kColumns =
    "<Columns><Column><Id>no</Id><DataType>3</DataType></Column><Column><Id>a b</Id><DataType>"
    "202</DataType></Column></Columns>";
const std::string kRecords = "<Records><R><V Id=\"no\">1</V><V Id=\"a b\"><Null/></V></R></Records>";
const std::string kFlags = "<HasNextPage>1</HasNextPage><HasPreviousPage>0</HasPreviousPage>";
const std::string kRows =
    "<FirstPosition>0A</FirstPosition><LastPosition>0B</LastPosition>" + kFlags + kColumns + kRecords;
const std::string kExactRows = "<FirstPosition>exact-0A</FirstPosition><LastPosition>exact-0B</LastPosition>" + kFlags +
                               kColumns +
                               "<Records><R><V Id=\"no\">1</V><V Id=\"a b\" Encoding=\"hex\">00</V></R>"
                               "</Records><Navigated>gotonext</Navigated><Total>10</Total>";
const std::string kDescription = "<Id>no</Id><Name>no</Name><Caption>no</Caption><Type>3</Type><Active>1</Active>";
const std::string kCapabilities =
    "<Authorization/><Name>Generic ODBC</Name><ColumnSorting>1</ColumnSorting><IdIsCaption>1</IdIsCaption>"
    "<UserManagement>0</UserManagement><UserCount>0</UserCount><FilterOperators>eq,lt,gt,lteq,gteq,not,like";

TEST(ResponseSchemas, RefuseWhatIsWrong) {
  const std::vector<Refusal> refusals = {
      {"Ping",
       false,
       Response("<Ping>OK</Ping>"),
       {{"OK", "ok"},
        {kSession, ""},
        {"<Ping>OK</Ping>", ""},
        {"<Ping>OK</Ping>", "<Error>1</Error>"},
        {"0A<", "0a<"},
        {"-4000-", "-"},
        {"</XML>", "<More/></XML>"}}},
      {"Nonsense",
       false,
       Response("<Error>1</Error><Message>Unknown message type: a</Message>"),
       {{"<Error>1", "<Error>0"},
        {"<Error>1", "<Error>one"},
        {"<Error>1</Error>", ""},
        {"Message>", "Text>"},
        {"</Message>", "</Message><Message/>"},
        {kSession, ""}}},
      {"Initialize",
       false,
       Response(kCapabilities + "</FilterOperators>"),
       {{"<Authorization/>", "<Authorization>1</Authorization>"},
        {"<Authorization/>", ""},
        {"ColumnSorting>1", "ColumnSorting>0"},
        {"UserCount>0", "UserCount>-1"},
        {"eq,lt", "lt,eq"},
        {",like", ",like,between"},
        {"</FilterOperators>", "</FilterOperators><Exact>1</Exact>"}}},
      {"Initialize",
       true,
       Response(kCapabilities + ",flowfilter,null,notnull,between,contains,startswith,endswith</FilterOperators>"
                                "<Exact>1</Exact>"),
       {{"<Exact>1</Exact>", ""}, {"<Exact>1", "<Exact>0"}, {",null", ""}}},
      {"Authorize",
       false,
       Response("<UserId>a</UserId><UserName>A</UserName><Authorized>1</Authorized><Admin>0</Admin><Groups><Group><Id>g"
                "</Id></Group></Groups><UserFilter><Filter id=\"f\">1</Filter></UserFilter>"),
       {{"Authorized>1", "Authorized>true"},
        {"<Admin>0</Admin>", ""},
        {"<Id>g</Id>", "<Id>g</Id><Name>G</Name>"},
        {"id=", "Id="},
        {"<UserName>A</UserName><Authorized>1</Authorized>", "<Authorized>1</Authorized><UserName>A</UserName>"}}},
      {"UsersAndRoles",
       false,
       Response(
           "<Users><User><Id>a</Id><Name>A</Name></User></Users><Groups><Group><Id>r</Id><Name>R</Name><Users><User>"
           "<Id>a</Id></User></Users></Group></Groups>"),
       {{"<Name>R</Name>", ""},
        {"<User><Id>a</Id></User>", ""},
        {"<User><Id>a</Id></User>", "<User><Id>a</Id><Name>A</Name></User>"},
        {"Groups", "Roles"}}},
      {"TableList",
       false,
       Response("<Tables><Table><Id>[APPVIEW]a</Id><Caption>a</Caption></Table><Table><Id>[TABLE]b</Id><Caption/>"
                "</Table></Tables>"),
       {{"[APPVIEW]", "[APP]"}, {"[APPVIEW]a", "[TABLE]b"}, {"<Caption/>", ""}, {"Tables", "List"}}},
      {"FieldList",
       false,
       Response("<Fields><Field>" + kDescription + "</Field></Fields>"),
       {{"<Type>3", "<Type>integer"},
        {"<Type>3", "<Type>1"},
        {"<Active>1", "<Active>0"},
        {"<Active>1</Active>",
         "<Active>1</Active><TypeName>int</TypeName><Size>4</Size><Digits>0</Digits>"
         "<Nullable>1</Nullable>"},
        {"<Name>no</Name>", ""}}},
      {"FieldList",
       true,
       Response("<Fields><Field>" + kDescription +
                "<TypeName>int</TypeName><Size>4</Size><Digits>0</Digits><Nullable>1"
                "</Nullable></Field></Fields>"),
       {{"<TypeName>int</TypeName>", ""},
        {"Size>4", "Size>-1"},
        {"Digits>0", "Digits>00"},
        {"<Nullable>1</Nullable>", ""},
        {"Nullable>1", "Nullable>yes"}}},
      {"KeyList",
       false,
       Response(
           "<Keys><Key><Fields><Field><Id>a b</Id><Caption>a b</Caption></Field></Fields><Id>a\\20b</Id><Caption>a b"
           "</Caption><Unique>1</Unique><Primary>1</Primary></Key></Keys><ChoosePrimary>0</ChoosePrimary>"),
       {{"a\\20b", "a b"},
        {"<Field><Id>a b</Id><Caption>a b</Caption></Field>", ""},
        {"Unique>1", "Unique>TRUE"},
        {"<Primary>1</Primary>", ""},
        {"<ChoosePrimary>0</ChoosePrimary>", ""}}},
      {"PrimaryKey",
       false,
       Response("<PrimaryKey>a\\09b</PrimaryKey><Constructed>0</Constructed>"),
       {{"a\\09b", "a,b"}, {"<Constructed>0</Constructed>", ""}, {"PrimaryKey>", "Key>"}}},
      {"TableData",
       false,
       Response(kRows),
       {{">0A<", ">0a<"},
        {">0A<", ">exact-0A<"},
        {"HasNextPage>1", "HasNextPage>true"},
        {"<HasPreviousPage>0</HasPreviousPage>", ""},
        {"<DataType>3", "<DataType>int"},
        {"<Id>a b</Id>", "<Id>no</Id>"},
        {"<Id>a b</Id>", "<Id>ab</Id>"},
        {"<V Id=\"no\">1</V>", ""},
        {"<V Id=\"no\">1</V><V Id=\"a b\"><Null/></V>", "<V Id=\"a b\"><Null/></V><V Id=\"no\">1</V>"},
        {"<V Id=\"no\">", "<V Id=\"a b\">"},
        {"<V Id=\"no\">", "<V>"},
        {"<V Id=\"no\">", "<V Id=\"no\" Encoding=\"hex\">"},
        {"<V Id=\"no\">1", "<V Id=\"no\">1<b/>"},
        {"<Null/>", "<Null>0</Null>"},
        {"<Null/>", "<Null/>text"},
        {"<R>", "<R>text"},
        {kSession, std::string("<Navigated>gotonext</Navigated>") + kSession}}},
      {"TableData",
       true,
       Response(kExactRows),
       {{"exact-0A", "0A"},
        {"<Navigated>gotonext</Navigated>", ""},
        {"gotonext", "forwards"},
        {"Total>10", "Total>many"},
        {"\"hex\"", "\"base64\""}}}};
  ExpectRefusals(refusals, [](const Refusal& refusal, const std::string& message) {
    return FaultOfResponse(message, refusal.type, refusal.exact);
  });
}

TEST(ResponseSchemas, TakeAnErrorInThePlaceOfEveryAnswer) {
  for (const char* type : {"Ping", "Initialize", "Authorize", "UsersAndRoles", "TableList", "FieldList", "KeyList",
                           "PrimaryKey", "TableData", "Nonsense", "", "Error"}) {
    for (const bool exact : {false, true}) {
      EXPECT_EQ(FaultOfResponse(Response("<Error>-2147467259</Error><Message>a <b>c</b></Message>"), type, exact), "");
      EXPECT_NE(FaultOfResponse(Response("<Error>5</Error><Message/>"), type, exact), "") << type;
      EXPECT_NE(FaultOfResponse("", type, exact), "") << type;
      EXPECT_NE(FaultOfResponse(Response("<Something/>"), type, exact), "") << type;
    }
  }
}

TEST(ResponseSchemas, TakeAnswersWithNothingInThem) {
  const std::string none = kFlags + "<Columns/><Records/>";
  const std::string noRows = "<FirstPosition/><LastPosition/>" + none;
  EXPECT_EQ(FaultOfResponse(Response(noRows), "TableData", false), "");
  EXPECT_EQ(FaultOfResponse(Response(noRows + "<Navigated>gotofirst</Navigated>"), "TableData", true), "");
  EXPECT_EQ(FaultOfResponse(Response(""), "UsersAndRoles", false), "");
  EXPECT_NE(FaultOfResponse(Response(""), "TableList", false), "");
  EXPECT_EQ(FaultOfResponse(Response("<Tables/>"), "TableList", false), "");
  EXPECT_EQ(FaultOfResponse(Response("<Keys/><ChoosePrimary>1</ChoosePrimary>"), "KeyList", true), "");
}

TEST(MessageSchemas, AFaultShowsTheMessageInLinesAndTheLineThatIsWrong) {
  const std::string fault = FaultOfRequest(Request("TableData", kTable + "<Fields><Feld/></Fields>"), false);
  EXPECT_EQ(fault,
            "not valid by docs/schema/requests/TableData.xsd\n"
            "line 6: Element 'Feld': This element is not expected. Expected is ( Field ).\n"
            "    1  <?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "    2  <XML>\n"
            "    3    <Type>TableData</Type>\n"
            "    4    <TableId>[TABLE]customer</TableId>\n"
            "    5    <Fields>\n"
            "    6      <Feld/>\n"
            "    7    </Fields>\n"
            "    8  </XML>\n");
}

}  // namespace
}  // namespace ods::test
