#include "tabledata/modTableData.h"

#include <deque>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "common/Hex.h"
#include "doubles/EndlessRows.h"
#include "doubles/FakeSession.h"
#include "support/RaisedErrors.h"
#include "support/RunHandler.h"
#include "tabledata/modDecimalFactor.h"

namespace ods::test {
namespace {

using ::testing::_;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;

const std::string kTable = "[TABLE]t";
const std::vector<Field> kColumns = {
    {"No", ado_type::kInteger, 4, 0}, {"Name", ado_type::kVarWChar, 50, 0}, {"City", ado_type::kVarWChar, 50, 32}};

/// The text of a position with the given entries.
std::string Position(const std::vector<std::pair<std::string, Value>>& entries) {
  Dictionary position;
  for (const auto& [name, value] : entries) position.Set(name, value);
  return BytesToHex(position.marshalldictionary());
}

class Paging : public ::testing::Test {
 protected:
  void SetUp() override { Use(DatabaseKind::DbSqlServer); }

  void Use(DatabaseKind kind) {
    fake_ = std::make_unique<FakeSession>(kind);
    fake_->Describe(kTable, kColumns);
    fake_->connection->answer = [this](const std::string& sql) -> std::shared_ptr<RecordSet> {
      if (results_.empty()) throw Error(error_number::kGeneralFailure, "unexpected statement");
      (void)sql;
      auto result = results_.front();
      results_.pop_front();
      return result;
    };
    fake_->connection->schemas[Schema::kIndexes] = [] {
      return MakeRows(TextColumns({"INDEX_NAME", "UNIQUE", "TYPE", "COLUMN_NAME"}), {{"pk", true, 1, "No"}});
    };
    fake_->state.decimalFactor = 1;
  }

  /// The next statement returns these rows of No and Name.
  void Returns(std::vector<Row> rows) { results_.push_back(MakeRows({kColumns[0], kColumns[1]}, std::move(rows))); }
  /// The next statement returns the boundary row.
  void ReturnsBoundary(std::vector<Field> fields, Row row) {
    results_.push_back(MakeRows(std::move(fields), {std::move(row)}));
  }

  XmlDocument Ask(const std::string& elements,
                  const std::string& fields = "<Field><Id>No</Id></Field><Field><Id>Name</Id></Field>") {
    const XmlDocument request("<XML><Type>TableData</Type><TableId>[TABLE]t</TableId>" + elements + "<Fields>" +
                              fields + "</Fields></XML>");
    XmlDocument response;
    RunHandler("TableData", TableData, request, response, fake_->session);
    return response;
  }
  [[nodiscard]] const std::vector<std::string>& Statements() const { return fake_->connection->statements; }
  /// First column's texts, and the flags as "previous,next".
  static std::string Summary(const XmlDocument& page) {
    std::string text;
    for (const XmlNode& record : page.SelectNodes("/XML/Records/R")) text += GetNodeText(record, "V[@Id='No']") + " ";
    return text + GetNodeText(page, "/XML/HasPreviousPage") + "," + GetNodeText(page, "/XML/HasNextPage");
  }

  std::unique_ptr<FakeSession> fake_;
  std::deque<std::shared_ptr<RecordSet>> results_;
};

TEST_F(Paging, TheFirstPageIsTheWholeDocument) {
  Returns({{1, "Ann"}, {2, Null()}, {3, "look-ahead"}});
  const XmlDocument page = Ask("<Navigate>gotofirst</Navigate><PageSize>2</PageSize>");
  EXPECT_EQ(page.Xml(), "<XML><FirstPosition>" + Position({{"No", 1}}) + "</FirstPosition><LastPosition>" +
                            Position({{"No", 2}}) +
                            "</LastPosition><HasNextPage>1</HasNextPage><HasPreviousPage>0</HasPreviousPage>"
                            "<Columns><Column><Id>No</Id><DataType>3</DataType></Column>"
                            "<Column><Id>Name</Id><DataType>202</DataType></Column></Columns>"
                            "<Records><R><V Id=\"No\">1</V><V Id=\"Name\">Ann</V></R>"
                            "<R><V Id=\"No\">2</V><V Id=\"Name\"><Null/></V></R></Records></XML>");
  EXPECT_THAT(Statements(), ElementsAre("SELECT TOP 3 [No],[Name] FROM [t] ORDER BY [No]"));
  EXPECT_THAT(fake_->connection->limits, ElementsAre(3));
  EXPECT_EQ(fake_->ui.eventRounds, 1);
}

TEST_F(Paging, TheNextPageLiesBeyondTheLastPosition) {
  ReturnsBoundary({kColumns[0]}, {2});
  Returns({{3, "c"}, {4, "d"}});
  const XmlDocument page =
      Ask("<Navigate>gotonext</Navigate><PageSize>2</PageSize><LastPos>" + Position({{"No", 2}}) + "</LastPos>");
  EXPECT_THAT(Statements(), ElementsAre("SELECT TOP 1 [No] FROM [t] WHERE ([No]=2)",
                                        "SELECT TOP 3 [No],[Name] FROM [t] WHERE ( (([No]>2))) ORDER BY [No]"));
  EXPECT_EQ(Summary(page), "3 4 1,0");
}

TEST_F(Paging, ThePreviousPageIsReadBackwardsAndShownForwards) {
  ReturnsBoundary({kColumns[0]}, {5});
  Returns({{4, "d"}, {3, "c"}, {2, "b"}});
  const XmlDocument page =
      Ask("<Navigate>gotoprev</Navigate><PageSize>2</PageSize><FirstPos>" + Position({{"No", 5}}) + "</FirstPos>");
  EXPECT_EQ(Statements().back(), "SELECT TOP 3 [No],[Name] FROM [t] WHERE ( (([No]<5))) ORDER BY [No] DESC");
  EXPECT_EQ(Summary(page), "3 4 1,1");
  EXPECT_EQ(GetNodeText(page, "/XML/FirstPosition"), Position({{"No", 3}}));
  EXPECT_EQ(GetNodeText(page, "/XML/LastPosition"), Position({{"No", 4}}));
}

TEST_F(Paging, TheLastPageIsReadFromTheEnd) {
  std::vector<Row> rows;
  for (int no = 25; no >= 15; --no) rows.push_back({no, "x"});
  Returns(rows);
  const XmlDocument page = Ask("<Navigate>gotolast</Navigate><PageSize>10</PageSize>");
  EXPECT_THAT(Statements(), ElementsAre("SELECT TOP 11 [No],[Name] FROM [t] ORDER BY [No] DESC"));
  EXPECT_EQ(Summary(page), "16 17 18 19 20 21 22 23 24 25 1,0");
}

TEST_F(Paging, AnEmptyNavigationReadsThePageOfTheFirstPositionAgain) {
  ReturnsBoundary({kColumns[0]}, {2});
  Returns({{2, "b"}});
  const XmlDocument page = Ask("<PageSize>2</PageSize><FirstPos>" + Position({{"No", 2}}) + "</FirstPos>");
  EXPECT_EQ(Statements().back(), "SELECT TOP 3 [No],[Name] FROM [t] WHERE ( (([No]>=2))) ORDER BY [No]");
  EXPECT_EQ(Summary(page), "2 1,0");
}

TEST_F(Paging, TheFirstPageIsReadWithoutAConditionAndWhateverPositionsThereAre) {
  Returns({{1, "a"}, {2, "b"}});
  const XmlDocument page = Ask("<Navigate>gotofirst</Navigate><PageSize>1</PageSize><FirstPos>" +
                               Position({{"No", 7}}) + "</FirstPos><LastPos>" + Position({{"No", 8}}) + "</LastPos>");
  EXPECT_THAT(Statements(), ElementsAre("SELECT TOP 2 [No],[Name] FROM [t] ORDER BY [No]"));
  EXPECT_EQ(Summary(page), "1 0,1");
}

TEST_F(Paging, ANavigationWithoutItsPositionStartsAtTheFirstPage) {
  for (const char* navigate : {"gotonext", "gotoprev", ""}) {
    Returns({{1, "a"}});
    const XmlDocument page = Ask(std::string("<PageSize>2</PageSize><Navigate>") + navigate + "</Navigate>");
    EXPECT_EQ(Statements().back(), "SELECT TOP 3 [No],[Name] FROM [t] ORDER BY [No]") << navigate;
    EXPECT_EQ(Summary(page), "1 0,0") << navigate;
  }
  // The position of the other end does not help.
  Returns({{1, "a"}});
  EXPECT_EQ(Summary(Ask("<PageSize>2</PageSize><Navigate>gotonext</Navigate><FirstPos>" + Position({{"No", 2}}) +
                        "</FirstPos>")),
            "1 0,0");
}

TEST_F(Paging, BeyondTheLastPageTheLastPageComesAgain) {
  ReturnsBoundary({kColumns[0]}, {9});
  Returns({});
  Returns({{9, "i"}, {8, "h"}, {7, "g"}});
  const XmlDocument page =
      Ask("<Navigate>gotonext</Navigate><PageSize>2</PageSize><LastPos>" + Position({{"No", 9}}) + "</LastPos>");
  EXPECT_EQ(Statements().size(), 3U);
  EXPECT_EQ(Summary(page), "8 9 1,0");
  EXPECT_EQ(fake_->ui.eventRounds, 2) << "events run once per round";
}

TEST_F(Paging, BeforeTheFirstPageTheFirstPageComesAgain) {
  ReturnsBoundary({kColumns[0]}, {1});
  Returns({});
  Returns({{1, "a"}, {2, "b"}, {3, "c"}});
  const XmlDocument page =
      Ask("<Navigate>gotoprev</Navigate><PageSize>2</PageSize><FirstPos>" + Position({{"No", 1}}) + "</FirstPos>");
  EXPECT_EQ(Summary(page), "1 2 0,1");
}

TEST_F(Paging, AnEmptyTableGivesAPageWithoutRows) {
  Returns({});
  EXPECT_EQ(Ask("<Navigate>gotofirst</Navigate><PageSize>2</PageSize>").Xml(),
            "<XML><FirstPosition/><LastPosition/><HasNextPage>0</HasNextPage><HasPreviousPage>0</HasPreviousPage>"
            "<Columns/><Records/></XML>");
}

TEST_F(Paging, PageSizeZeroTellsWhetherThereAreRows) {
  ReturnsBoundary({kColumns[0]}, {1});
  Returns({{2, "b"}});
  Returns({{9, "i"}});
  const XmlDocument page =
      Ask("<Navigate>gotonext</Navigate><PageSize>0</PageSize><LastPos>" + Position({{"No", 1}}) + "</LastPos>");
  EXPECT_EQ(Statements()[1], "SELECT TOP 1 [No],[Name] FROM [t] WHERE ( (([No]>1))) ORDER BY [No]");
  EXPECT_EQ(Summary(page), "1,0");
  Returns({{1, "a"}});
  const XmlDocument first = Ask("");
  EXPECT_EQ(Summary(first), "0,1");
  EXPECT_EQ(GetNodeText(first, "/XML/FirstPosition"), "");
  Returns({});
  EXPECT_EQ(Summary(Ask("")), "0,0") << "of an empty table";
}

TEST_F(Paging, PageSizeZeroFallsBackToTheFirstPageAndKeepsNoRow) {
  for (const char* navigate : {"", "gotoprev"}) {
    fake_->connection->statements.clear();
    ReturnsBoundary({kColumns[0]}, {7});
    Returns({{7, "g"}});
    Returns({{1, "a"}});
    const XmlDocument page = Ask(std::string("<Navigate>") + navigate + "</Navigate><PageSize>0</PageSize><FirstPos>" +
                                 Position({{"No", 7}}) + "</FirstPos>");
    EXPECT_EQ(Statements().back(), "SELECT TOP 1 [No],[Name] FROM [t] ORDER BY [No]") << navigate;
    EXPECT_EQ(page.Xml(),
              "<XML><FirstPosition/><LastPosition/><HasNextPage>1</HasNextPage><HasPreviousPage>0</HasPreviousPage>"
              "<Columns/><Records/></XML>");
  }
}

TEST_F(Paging, ANegativePageSizeReadsNoRows) {
  Returns({{1, "a"}});
  EXPECT_EQ(Summary(Ask("<PageSize>-7</PageSize>")), "0,1");
  EXPECT_THAT(fake_->connection->limits, ElementsAre(1));
}

TEST_F(Paging, APageSizeThatCannotGrowOverflows) {
  EXPECT_RAISES(Ask("<PageSize>2147483647</PageSize>"), 6, "Overflow TableData[Initialize]");
}

TEST_F(Paging, SortsByAColumnBeforeTheKey) {
  Returns({{1, "a"}});
  const XmlDocument page = Ask("<PageSize>2</PageSize><SortColumn>Name</SortColumn>");
  EXPECT_EQ(Statements().back(), "SELECT TOP 3 [No],[Name] FROM [t] ORDER BY [Name], [No]");
  EXPECT_EQ(GetNodeText(page, "/XML/FirstPosition"), Position({{"Name", "a"}, {"No", 1}}));
}

TEST_F(Paging, ASortColumnOfThePrimaryKeyStandsOnceInOrderAndCondition) {
  ReturnsBoundary({kColumns[1], kColumns[0]}, {"b", 2});
  Returns({{3, "c"}});
  (void)Ask(
      "<PageSize>1</PageSize><PrimaryKey>No\\09Name</PrimaryKey><SortColumn>Name</SortColumn><Navigate>gotonext"
      "</Navigate><LastPos>" +
      Position({{"Name", "b"}, {"No", 2}}) + "</LastPos>");
  EXPECT_THAT(Statements(), ElementsAre("SELECT TOP 1 [Name],[No] FROM [t] WHERE ([No]=2 AND [Name]='b')",
                                        "SELECT TOP 2 [No],[Name] FROM [t] WHERE ( (([Name]>'b') OR ([Name]>='b' AND "
                                        "[No]>2))) ORDER BY [Name], [No]"));
}

TEST_F(Paging, SortsDescendingOnlyForTheExactWord) {
  Returns({{1, "a"}});
  (void)Ask("<PageSize>2</PageSize><SortColumn>Name</SortColumn><SortDirection>desc</SortDirection>");
  EXPECT_EQ(Statements().back(), "SELECT TOP 3 [No],[Name] FROM [t] ORDER BY [Name] DESC, [No] DESC");
  Returns({{1, "a"}});
  (void)Ask("<PageSize>2</PageSize><SortColumn>Name</SortColumn><SortDirection>DESC</SortDirection>");
  EXPECT_EQ(Statements().back(), "SELECT TOP 3 [No],[Name] FROM [t] ORDER BY [Name], [No]");
}

TEST_F(Paging, ComparesTheWholeTotalKeyInItsOrder) {
  const std::string last = "<LastPos>" + Position({{"Name", "old"}, {"No", 2}}) + "</LastPos>";
  const std::string first = "<FirstPos>" + Position({{"Name", "old"}, {"No", 2}}) + "</FirstPos>";
  const struct {
    std::string elements;
    std::string tail;
  } cases[] = {
      {"<Navigate>gotonext</Navigate>" + last, "(([Name]>'b') OR ([Name]>='b' AND [No]>2))) ORDER BY [Name], [No]"},
      {"<Navigate>gotoprev</Navigate>" + first,
       "(([Name]<'b') OR ([Name]<='b' AND [No]<2))) ORDER BY [Name] DESC, [No] DESC"},
      {first, "(([Name]>'b') OR ([Name]>='b' AND [No]>=2))) ORDER BY [Name], [No]"},
      {"<SortDirection>desc</SortDirection><Navigate>gotonext</Navigate>" + last,
       "(([Name]<'b') OR ([Name]<='b' AND [No]<2))) ORDER BY [Name] DESC, [No] DESC"},
      {"<SortDirection>desc</SortDirection><Navigate>gotoprev</Navigate>" + first,
       "(([Name]>'b') OR ([Name]>='b' AND [No]>2))) ORDER BY [Name], [No]"},
      {"<SortDirection>desc</SortDirection>" + first,
       "(([Name]<'b') OR ([Name]<='b' AND [No]<=2))) ORDER BY [Name] DESC, [No] DESC"},
  };
  for (const auto& expected : cases) {
    ReturnsBoundary({kColumns[1], kColumns[0]}, {"b", 2});
    Returns({{3, "c"}});
    (void)Ask("<PageSize>1</PageSize><SortColumn>Name</SortColumn>" + expected.elements);
    EXPECT_EQ(Statements()[Statements().size() - 2], "SELECT TOP 1 [Name],[No] FROM [t] WHERE ([No]=2)");
    EXPECT_EQ(Statements().back(), "SELECT TOP 2 [No],[Name] FROM [t] WHERE ( (" + expected.tail.substr(1))
        << expected.elements;
  }
}

TEST_F(Paging, TheTotalKeyIsSortColumnThenSelectedKeyThenPrimaryKeyEachNameOnce) {
  results_.push_back(MakeRows({kColumns[0], kColumns[2], kColumns[1]}, {{1, "x", "a"}}));
  const XmlDocument page =
      Ask("<PageSize>2</PageSize><SortColumn>No</SortColumn><Key>City\\09Name\\09No</Key><PrimaryKey>Name\\09No</"
          "PrimaryKey>",
          "<Field><Id>No</Id></Field>");
  EXPECT_EQ(Statements().back(), "SELECT TOP 3 [No],[City],[Name] FROM [t] ORDER BY [No], [City], [Name]");
  EXPECT_EQ(GetNodeText(page, "/XML/FirstPosition"), Position({{"No", 1}, {"Name", "a"}}));
}

TEST_F(Paging, ReadsTheOtherKeyValuesOfTheBoundaryRowFromTheDatabase) {
  const std::vector<Field> totalKey = {kColumns[2], kColumns[0]};
  ReturnsBoundary(totalKey, {"Z'", 7});
  Returns({{8, "h"}});
  (void)Ask("<PageSize>1</PageSize><Key>City</Key><Navigate>gotonext</Navigate><LastPos>" + Position({{"No", 7}}) +
                "</LastPos>",
            "<Field><Id>No</Id></Field>");
  EXPECT_EQ(Statements().back(),
            "SELECT TOP 2 [No],[City] FROM [t] WHERE ( (([City]>'Z''') OR ([City]>='Z''' AND [No]>7))) "
            "ORDER BY [City], [No]");
}

TEST_F(Paging, ABoundaryRowThatIsGoneIsAnError) {
  results_.push_back(MakeRows({kColumns[0]}));
  EXPECT_RAISES(
      Ask("<PageSize>1</PageSize><Navigate>gotonext</Navigate><LastPos>" + Position({{"No", 7}}) + "</LastPos>"),
      error_number::kNoCurrentRecord, EndsWith(" TableData[Navigate]"));
}

constexpr const char* kFilter =
    "<Filter><Condition><FieldId>City</FieldId><FilterOp>eq</FilterOp><Filter>Rom</Filter></Condition></Filter>";
constexpr const char* kSearch =
    "<SearchString>an</SearchString>"
    "<SearchFields><Field><Id>Name</Id><SearchString>%{0}%</SearchString></Field></SearchFields>";

TEST_F(Paging, FiltersSearchesAndPagesInOneCondition) {
  Returns({{1, "a"}});
  (void)Ask(std::string("<PageSize>1</PageSize>") + kFilter);
  EXPECT_EQ(Statements().back(), "SELECT TOP 2 [No],[Name] FROM [t] WHERE ((([City] = 'Rom'))) ORDER BY [No]");
  Returns({{1, "a"}});
  (void)Ask(std::string("<PageSize>1</PageSize>") + kSearch);
  EXPECT_EQ(Statements().back(),
            "SELECT TOP 2 [No],[Name] FROM [t] WHERE ((((UPPER([Name]) LIKE UPPER('%an%'))))) ORDER BY [No]");
  ReturnsBoundary({kColumns[0]}, {7});
  Returns({{8, "h"}});
  (void)Ask(std::string("<PageSize>1</PageSize><Navigate>gotonext</Navigate><LastPos>") + Position({{"No", 7}}) +
            "</LastPos>" + kFilter + kSearch);
  EXPECT_EQ(Statements().back(),
            "SELECT TOP 2 [No],[Name] FROM [t] WHERE ((([City] = 'Rom') AND ((UPPER([Name]) LIKE UPPER('%an%')))) AND "
            "(([No]>7))) ORDER BY [No]");
}

TEST_F(Paging, AnUnknownOperatorReachesTheDatabaseAsEmptyParentheses) {
  Returns({});
  (void)Ask("<Filter><Condition><FieldId>City</FieldId><FilterOp>between</FilterOp></Condition></Filter>");
  EXPECT_EQ(Statements().back(), "SELECT TOP 1 [No],[Name] FROM [t] WHERE ((())) ORDER BY [No]");
}

TEST_F(Paging, SearchTextWithoutFieldsReachesTheDatabaseAsEmptyParentheses) {
  Returns({});
  (void)Ask("<SearchString>x</SearchString>");
  EXPECT_EQ(Statements().back(), "SELECT TOP 1 [No],[Name] FROM [t] WHERE ((())) ORDER BY [No]");
}

TEST_F(Paging, WithoutAPrimaryKeyTheAnswerSaysSo) {
  fake_->connection->schemas.clear();
  results_.push_back(MakeRows(kColumns));
  EXPECT_EQ(Ask("").Xml(), "<XML><Error>2</Error><Message>No primary key defined</Message></XML>");
}

TEST_F(Paging, APrimaryKeyGivenByTheClientIsNotDetected) {
  fake_->connection->schemas.clear();
  Returns({{1, "a"}});
  EXPECT_EQ(Summary(Ask("<PageSize>1</PageSize><PrimaryKey>No</PrimaryKey>")), "1 0,0");
}

/// How often the indexes are asked for, each time with the answer of `field`.
struct CountedIndexes {
  explicit CountedIndexes(FakeConnection& connection) {
    connection.schemas[Schema::kIndexes] = [this] {
      ++asked;
      return MakeRows(TextColumns({"INDEX_NAME", "UNIQUE", "TYPE", "COLUMN_NAME"}), {{"pk", true, 1, field}});
    };
  }
  int asked = 0;
  std::string field = "No";
};

TEST_F(Paging, ADetectedPrimaryKeyIsKeptWithTheConnection) {
  CountedIndexes indexes(*fake_->connection);
  for (int page = 0; page < 3; ++page) {
    Returns({{1, "a"}});
    EXPECT_EQ(Summary(Ask("<PageSize>1</PageSize>")), "1 0,0");
  }
  EXPECT_EQ(indexes.asked, 1);
}

TEST_F(Paging, AKeptPrimaryKeyThatNoLongerFitsIsDetectedAnew) {
  CountedIndexes indexes(*fake_->connection);
  Returns({{1, "a"}});
  (void)Ask("<PageSize>1</PageSize>");
  indexes.field = "Name";
  fake_->connection->answer = [&](const std::string& sql) -> std::shared_ptr<RecordSet> {
    if (sql.ends_with("ORDER BY [No]")) throw Error(error_number::kGeneralFailure, "no such column");
    return MakeRows({kColumns[0], kColumns[1]}, {{1, "a"}});
  };
  EXPECT_EQ(Summary(Ask("<PageSize>1</PageSize>")), "1 0,0");
  EXPECT_EQ(Statements().back(), "SELECT TOP 2 [No],[Name] FROM [t] ORDER BY [Name]");
  EXPECT_EQ(indexes.asked, 2);
}

TEST_F(Paging, AnErrorThatIsNoFaultOfTheKeptKeyIsTold) {
  CountedIndexes indexes(*fake_->connection);
  Returns({{1, "a"}});
  (void)Ask("<PageSize>1</PageSize>");
  EXPECT_RAISES(Ask("<PageSize>1</PageSize>"), error_number::kGeneralFailure,
                ::testing::StartsWith("unexpected statement"));
  EXPECT_EQ(Statements().size(), 2U);
  EXPECT_EQ(indexes.asked, 2);
}

TEST_F(Paging, ErrorsNameTheirStep) {
  EXPECT_RAISES(Ask("", ""), 1000, "No fields specified on this form TableData[Get fields from form definition]");
  const std::string unknown =
      "Unable to get information about field 'X' in table '[TABLE]t'. Please make sure that the field exist.";
  EXPECT_RAISES(Ask("", "<Field><Id>X</Id></Field>"), 1000,
                unknown + " TableData[Make field list for the select statement]");
  EXPECT_RAISES(Ask("<SortColumn>X</SortColumn>"), 1000,
                unknown + " TableData[Make field list for the select statement]");
  EXPECT_RAISES(Ask("<Filter><Condition><FieldId>X</FieldId></Condition></Filter>"), 1000,
                unknown + " TableData[Modify filter value]");
  EXPECT_RAISES(Ask("<SearchString>a</SearchString><SearchFields><Field><Id>X</Id><SearchString>b</SearchString>"
                    "</Field></SearchFields>"),
                1000, unknown + " TableData[Read filter]");
  EXPECT_RAISES(Ask("<PrimaryKey>\\</PrimaryKey>"), 13, EndsWith(" TableData[Get primary key]"));
  EXPECT_RAISES(Ask("<Key>\\zz</Key>"), 13, EndsWith(" TableData[Get selected key]"));
  EXPECT_RAISES(Ask("<PageSize>1</PageSize>", "<Field><Id>No</Id></Field>"), error_number::kGeneralFailure,
                "unexpected statement SQL: SELECT TOP 2 [No] FROM [t] ORDER BY [No] "
                "TableData[Execute SQL: SELECT TOP 2 [No] FROM [t] ORDER BY [No]]");
}

TEST_F(Paging, BrokenPositionsAreErrors) {
  const std::string good = Position({{"No", 2}});
  const std::string positions[] = {"A",  good + "0", good + "00",          good.substr(0, good.size() - 2),
                                   "zz", "00",       "FF" + good.substr(2)};
  for (const std::string& position : positions) {
    for (const char* element : {"FirstPos", "LastPos"}) {
      EXPECT_RAISES(Ask(std::string("<") + element + ">" + position + "</" + element + "><PageSize>1</PageSize>"), _,
                    EndsWith(" TableData[Get positions]"))
          << position;
    }
  }
}

TEST_F(Paging, APageThatNoResponseCanCarryEndsWhileItIsRead) {
  const auto large =
      std::make_shared<EndlessRows>(std::vector<Field>{kColumns[0], kColumns[1]}, Row{1, std::string(1'000'000, 'x')});
  results_.push_back(large);
  const char* const both = "<Field><Id>No</Id></Field><Field><Id>Name</Id></Field>";
  EXPECT_RAISES(Ask("<PageSize>100000</PageSize>", both), 1000,
                "The response is larger than 67108864 bytes (64 MiB). Ask for fewer rows or fields. "
                "TableData[Read the records]");
  EXPECT_EQ(large->read, 67);

  const auto many = std::make_shared<EndlessRows>(std::vector<Field>{kColumns[0], kColumns[1]}, Row{1, ""});
  results_.push_back(many);
  EXPECT_RAISES(Ask("<PageSize>2000000</PageSize>", both), 1000,
                "The response has more than 2000000 values. Ask for fewer rows or fields. TableData[Read the records]");
  EXPECT_EQ(many->read, 1'000'000);
}

TEST_F(Paging, BinaryValuesCountAsTheirDigits) {
  const std::vector<Field> fields = {{"Raw", ado_type::kVarBinary, 8, 0}, kColumns[0]};
  fake_->Describe(kTable, {fields[0]});
  const auto rows = std::make_shared<EndlessRows>(fields, Row{Value(Bytes(1'000'000)), 1});
  results_.push_back(rows);
  EXPECT_RAISES(Ask("<PageSize>100000</PageSize>", "<Field><Id>Raw</Id></Field>"), 1000, _);
  EXPECT_EQ(rows->read, 33);
}

TEST_F(Paging, AKeyConditionBeyondAllMeasureIsRefused) {
  ReturnsBoundary({kColumns[1], kColumns[0]}, {std::string(10'000'000, 'x'), 1});
  EXPECT_RAISES(Ask("<PageSize>1</PageSize><SortColumn>Name</SortColumn><Navigate>gotonext</Navigate><LastPos>" +
                    Position({{"Name", "x"}, {"No", 1}}) + "</LastPos>"),
                1000,
                "The request makes a statement of more than 16777216 bytes. Ask with shorter or fewer conditions. "
                "TableData[Navigate]");
}

TEST_F(Paging, AFieldThatCannotBeWrittenIsNamed) {
  fake_->Describe(kTable, {{"Raw", ado_type::kVarBinary, 8, 0}});
  results_.push_back(MakeRows({{"Raw", ado_type::kVarBinary, 8, 0}, kColumns[0]}, {{7, 1}}));
  EXPECT_RAISES(Ask("<PageSize>1</PageSize>", "<Field><Id>Raw</Id></Field>"), 13,
                EndsWith(" TableData[Get data for field 1 \"Raw\"]"));
}

TEST_F(Paging, TheSingleCharacterTwoIsAnEmptyText) {
  Returns({{1, "\x02"}, {2, "\x02\x02"}});
  const XmlDocument page = Ask("<PageSize>2</PageSize>");
  EXPECT_EQ(GetNodeText(page, "/XML/Records/R[1]/V[2]"), "");
  EXPECT_EQ(GetNodeText(page, "/XML/Records/R[2]/V[2]"), "?");
}

TEST_F(Paging, AViewWithAFixedFieldListIsReadByName) {
  std::ofstream(fake_->folder.Path() + "/views.xml")
      << "<Views><View><Id>v</Id><Query subquery='no'>SELECT own</Query></View></Views>";
  fake_->Describe("[APPVIEW]v", kColumns);
  results_.push_back(MakeRows({kColumns[2], kColumns[1], kColumns[0]}, {{"Rom", "Ann", 1}}));
  const XmlDocument request(
      "<XML><TableId>[APPVIEW]v</TableId><PrimaryKey>No</PrimaryKey><PageSize>5</PageSize>"
      "<Fields><Field><Id>Name</Id></Field></Fields></XML>");
  XmlDocument response;
  RunHandler("TableData", TableData, request, response, fake_->session);
  EXPECT_EQ(GetNodeText(response, "/XML/Records/R/V[1]"), "Ann");
  EXPECT_EQ(GetNodeText(response, "/XML/Records/R/V[2]"), "1");
  EXPECT_EQ(GetNodeText(response, "/XML/Columns/Column[2]/DataType"), "3");
}

TEST_F(Paging, StatementsFollowTheProduct) {
  const struct {
    DatabaseKind kind;
    std::string statement;
    std::int32_t limit;
  } cases[] = {
      {DatabaseKind::DbUnknown, "SELECT \"No\",\"Name\" FROM \"t\" ORDER BY \"No\"", 6},
      {DatabaseKind::DbSqlServer, "SELECT TOP 6 [No],[Name] FROM [t] ORDER BY [No]", 6},
      {DatabaseKind::DbAccess, "SELECT TOP 6 [No],[Name] FROM [t] ORDER BY [No]", 6},
      {DatabaseKind::DbNavision, "SELECT \"No\",\"Name\" FROM \"t\" ORDER BY \"No\"", 6},
      {DatabaseKind::DbConcorde, "SELECT \"No\",RTRIM(LTRIM(\"Name\")) FROM \"t\" ORDER BY \"No\"", 6},
      {DatabaseKind::DbMySql, "SELECT `No`,`Name` FROM `t` ORDER BY `No` LIMIT 6", 0},
      {DatabaseKind::DbPervasive, "SELECT TOP 6 \"No\",\"Name\" FROM \"t\" ORDER BY \"No\"", 6},
      {DatabaseKind::DbExcel, "SELECT `No`,`Name` FROM `t` ORDER BY `No`", 6},
      {DatabaseKind::DbUnnamed, "SELECT \"No\",\"Name\" FROM \"t\" ORDER BY \"No\"", 6},
  };
  for (const auto& expected : cases) {
    Use(expected.kind);
    Returns({{1, "a"}});
    EXPECT_EQ(Summary(Ask("<PageSize>5</PageSize>")), "1 0,0");
    EXPECT_THAT(Statements(), ElementsAre(expected.statement));
    EXPECT_THAT(fake_->connection->limits, ElementsAre(expected.limit));
  }
}

class DecimalFactor : public Paging {
 protected:
  void Probe(DatabaseKind kind, std::vector<Row> rows) {
    Use(kind);
    fake_->StartLog();
    fake_->state.decimalFactor = 0;
    Returns({{1, "a"}});
    results_.push_back(MakeRows({{"x", ado_type::kDouble, 8, 0}}, std::move(rows)));
    (void)Ask("<PageSize>1</PageSize>");
  }
};

TEST_F(DecimalFactor, IsOneForEveryOtherProductWithoutAProbe) {
  Probe(DatabaseKind::DbMySql, {});
  EXPECT_EQ(fake_->state.decimalFactor, 1);
  EXPECT_EQ(Statements().size(), 1U);
}

TEST_F(DecimalFactor, IsProbedOnNavision) {
  Probe(DatabaseKind::DbNavision, {{1.1}});
  EXPECT_EQ(fake_->state.decimalFactor, 1);
  EXPECT_EQ(Statements().back(), "SELECT 1.1 FROM Integer WHERE Number=1");
  Probe(DatabaseKind::DbNavision, {{110000.0}});
  EXPECT_EQ(fake_->state.decimalFactor, 0.00001);
  EXPECT_EQ(fake_->ui.entries.back(), "Decimal factor set to 1E-05");
}

TEST_F(DecimalFactor, IsProbedAgainWhenTheProbeReturnsNoRow) {
  Probe(DatabaseKind::DbNavision, {});
  EXPECT_EQ(fake_->state.decimalFactor, 0);
  Returns({{1, "a"}});
  results_.push_back(MakeRows({{"x", ado_type::kDouble, 8, 0}}, {{1.1}}));
  (void)Ask("<PageSize>1</PageSize>");
  EXPECT_EQ(fake_->state.decimalFactor, 1);
  Returns({{1, "a"}});
  (void)Ask("<PageSize>1</PageSize>");
  EXPECT_THAT(results_, IsEmpty()) << "once settled it is not probed again";
}

/// A page beyond a row whose decimal key the driver gives as 1250000.
class DecimalKey : public DecimalFactor {
 protected:
  std::vector<std::string> StatementsFor(DatabaseKind kind, double factor, double probe) {
    Use(kind);
    const Field price = {"Price", ado_type::kNumeric, 18, 0};
    fake_->Describe(kTable, {price});
    fake_->state.decimalFactor = factor;
    if (factor == 0) results_.push_back(MakeRows({{"x", ado_type::kDouble, 8, 0}}, {{probe}}));
    ReturnsBoundary({price}, {Decimal{"1250000"}});
    results_.push_back(MakeRows({kColumns[0], price}, {{1, Decimal{"1"}}}));
    (void)Ask("<PageSize>1</PageSize><PrimaryKey>Price</PrimaryKey><Navigate>gotonext</Navigate><LastPos>" +
                  Position({{"Price", Decimal{"1250000"}}}) + "</LastPos>",
              "<Field><Id>No</Id></Field>");
    return Statements();
  }
};

TEST_F(DecimalKey, OfADriverThatScalesIsWrittenAsTheNumberThatIsKept) {
  EXPECT_THAT(StatementsFor(DatabaseKind::DbNavision, kScaledDecimalFactor, 0),
              ElementsAre("SELECT \"Price\" FROM \"t\" WHERE (\"Price\"=12.5)",
                          "SELECT \"No\",\"Price\" FROM \"t\" WHERE ( ((\"Price\">12.5))) ORDER BY \"Price\""));
}

TEST_F(DecimalKey, OfADriverThatDoesNotIsWrittenAsItComes) {
  EXPECT_THAT(StatementsFor(DatabaseKind::DbNavision, 1, 0),
              ElementsAre("SELECT \"Price\" FROM \"t\" WHERE (\"Price\"=1250000)",
                          "SELECT \"No\",\"Price\" FROM \"t\" WHERE ( ((\"Price\">1250000))) ORDER BY \"Price\""));
}

TEST_F(DecimalKey, OfAnotherProductIsWrittenAsItComesThoughTheProcessHasAFactor) {
  EXPECT_EQ(StatementsFor(DatabaseKind::DbConcorde, kScaledDecimalFactor, 0).front(),
            "SELECT \"Price\" FROM \"t\" WHERE (\"Price\"=1250000)");
}

TEST_F(DecimalKey, SettlesTheFactorBeforeItIsWritten) {
  EXPECT_THAT(
      StatementsFor(DatabaseKind::DbNavision, 0, 110000),
      ElementsAre("SELECT 1.1 FROM Integer WHERE Number=1", "SELECT \"Price\" FROM \"t\" WHERE (\"Price\"=12.5)",
                  "SELECT \"No\",\"Price\" FROM \"t\" WHERE ( ((\"Price\">12.5))) ORDER BY \"Price\""));
}

}  // namespace
}  // namespace ods::test
