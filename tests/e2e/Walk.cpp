// Walks every table and view of the sample company page by page, forwards to the end and back to the start, and
// compares the rows with the same SELECT run directly.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>

#include "catalogue/modKeys.h"
#include "common/Conversions.h"
#include "common/Text.h"
#include "e2e/Sample.h"
#include "e2e/ServerProcess.h"
#include "platform/ado/Ado.h"

namespace ods::test {
namespace {

/// Runs with sanitizers thin out the longest walks.
bool IsQuick() { return std::getenv("ODS_TEST_QUICK") != nullptr; }
/// scripts/walks.sh goes through every table in pages of every size.
bool IsLong() { return std::getenv("ODS_TEST_LONG") != nullptr; }

/// How the rows of a walk are chosen and ordered.
struct WalkMode {
  const char* name;
  bool sorted = false;
  bool descending = false;
  bool selectedKey = false;
  bool filtered = false;
  bool searched = false;
  bool smallPages = false;  ///< walked in smaller pages than the others, which takes its time
};

constexpr WalkMode kModes[] = {
    {.name = "unsorted", .smallPages = true},
    {.name = "sorted", .sorted = true},
    {.name = "sorted down", .sorted = true, .descending = true, .smallPages = true},
    {.name = "by a selected key", .selectedKey = true},
    {.name = "filtered by a selected key", .selectedKey = true, .filtered = true},
    {.name = "searched and sorted", .sorted = true, .searched = true},
    {.name = "filtered, searched and sorted down by a selected key",
     .sorted = true,
     .descending = true,
     .selectedKey = true,
     .filtered = true,
     .searched = true,
     .smallPages = true},
};

using Rows = std::vector<std::string>;

constexpr const char* kNullText = "(null)";
constexpr char kColumnSeparator = '\x1F';

/// One server on one sample database, and a direct connection beside it.
class Walker {
 public:
  explicit Walker(const SampleDatabase& database, const std::string& connectionString)
      : quote_(database.quote), direct_(CreateOdbcConnection()) {
    folders_.Configure(connectionString);
    std::filesystem::copy(ODS_SAMPLES_FOLDER "/views.xml", folders_.Config() + "/views.xml");
    std::filesystem::copy(ODS_SAMPLES_FOLDER "/views", folders_.Config() + "/views");
    direct_->Open(connectionString);
    server_ = std::make_unique<ServerProcess>(folders_);
    client_ = std::make_unique<QueueClient>(folders_);
  }

  void WalkAllModes(const SampleTable& table) {
    key_ = table.givenKey.empty() ? AskForKey(table) : table.givenKey;
    for (const WalkMode& mode : kModes) {
      SCOPED_TRACE(table.identifier + " " + mode.name);
      const Rows expected = ReadDirectly(table, mode);
      for (const int pageSize : PageSizes(table, mode)) {
        SCOPED_TRACE("page size " + std::to_string(pageSize));
        WalkForwardsAndBack(table, mode, pageSize, expected);
        if (::testing::Test::HasFailure()) return;
      }
    }
  }
  int Stop() { return server_->Stop(); }
  QueueClient& Client() { return *client_; }

 private:
  [[nodiscard]] std::vector<int> PageSizes(const SampleTable& table, const WalkMode& mode) {
    constexpr double kSmallTable = 500;
    constexpr double kLargeTable = 2500;
    const double rows = SafeDbl(direct_->OpenRecordSet("SELECT COUNT(*) FROM " + table.source, 0)->Item(0));
    if (IsQuick()) return {rows < kLargeTable ? 23 : 500};
    if (IsLong()) return {1, 7, 50};
    if (rows >= kLargeTable) return {mode.smallPages ? 50 : 200};
    if (rows >= kSmallTable) return {mode.smallPages ? 7 : 50};
    return mode.smallPages ? std::vector<int>{1, 7, 50} : std::vector<int>{7};
  }
  [[nodiscard]] std::vector<std::string> AskForKey(const SampleTable& table) {
    return TextToKey(GetNodeText(
        client_->AskDocument(Request("PrimaryKey", "<TableId>" + EscapeXml(table.identifier) + "</TableId>")),
        "/XML/PrimaryKey"));
  }
  [[nodiscard]] std::string Quoted(const std::string& name) const {
    return quote_ + ReplaceAll(name, quote_, quote_ + quote_) + quote_;
  }
  /// The columns of a walk: the key, and what it is sorted and chosen by.
  [[nodiscard]] std::vector<std::string> Columns(const SampleTable& table) const {
    std::vector<std::string> columns = key_;
    for (const std::string& column : {table.sortColumn, table.selectedKey, table.searchColumn}) {
      if (std::ranges::find(columns, column) == columns.end()) columns.push_back(column);
    }
    return columns;
  }

  [[nodiscard]] Rows ReadDirectly(const SampleTable& table, const WalkMode& mode) {
    std::string fields;
    for (const std::string& column : Columns(table)) fields += (fields.empty() ? "" : ", ") + Quoted(column);
    std::string where = "1=1";
    if (mode.filtered) where += " AND " + table.filterSql;
    if (mode.searched) {
      where += " AND UPPER(" + Quoted(table.searchColumn) + ") LIKE UPPER('%" + table.searchText + "%')";
    }
    std::vector<std::string> order;
    if (mode.sorted) order.push_back(table.sortColumn);
    if (mode.selectedKey) order.push_back(table.selectedKey);
    order.insert(order.end(), key_.begin(), key_.end());
    std::string orderBy;
    for (const std::string& column : order) {
      orderBy += (orderBy.empty() ? "" : ", ") + Quoted(column) + (mode.descending ? " DESC" : "");
    }
    const auto records = direct_->OpenRecordSet(
        "SELECT " + fields + " FROM " + table.source + " WHERE " + where + " ORDER BY " + orderBy, 0);
    Rows rows;
    for (; !records->AtEnd(); records->MoveNext()) {
      std::string row;
      for (std::size_t i = 0; i < records->Fields().size(); ++i) {
        row += (records->Item(i).IsNull() ? kNullText : SafeStr(records->Item(i))) + kColumnSeparator;
      }
      rows.push_back(row);
    }
    return rows;
  }

  [[nodiscard]] std::string RequestElements(const SampleTable& table, const WalkMode& mode) const {
    std::string text = "<TableId>" + EscapeXml(table.identifier) + "</TableId>";
    if (!table.givenKey.empty()) text += "<PrimaryKey>" + KeyToText(table.givenKey) + "</PrimaryKey>";
    if (mode.sorted) text += "<SortColumn>" + table.sortColumn + "</SortColumn>";
    if (mode.descending) text += "<SortDirection>desc</SortDirection>";
    if (mode.selectedKey) text += "<Key>" + KeyToText({table.selectedKey}) + "</Key>";
    if (mode.filtered) text += table.filterElements;
    if (mode.searched) {
      text += "<SearchString>" + table.searchText + "</SearchString><SearchFields><Field><Id>" + table.searchColumn +
              "</Id><SearchString>%{0}%</SearchString></Field></SearchFields>";
    }
    text += "<Fields>";
    for (const std::string& column : Columns(table)) text += "<Field><Id>" + column + "</Id></Field>";
    return text + "</Fields>";
  }

  /// One page, its rows as text, its flags and positions.
  struct Page {
    Rows rows;
    bool hasNext = false;
    bool hasPrevious = false;
    std::string first;
    std::string last;
  };

  [[nodiscard]] Page Read(const std::string& elements, int pageSize, const std::string& navigate, const Page& from,
                          std::size_t columnCount) {
    const XmlDocument answer = client_->AskDocument(Request(
        "TableData", elements + "<PageSize>" + std::to_string(pageSize) + "</PageSize><Navigate>" + navigate +
                         "</Navigate><FirstPos>" + from.first + "</FirstPos><LastPos>" + from.last + "</LastPos>"));
    Page page;
    for (XmlNode record : answer.SelectNodes("/XML/Records/R")) {
      std::string row;
      std::size_t count = 0;
      for (pugi::xml_node value : record.Raw().children()) {
        if (count++ == columnCount) break;
        row += (value.child("Null") ? kNullText : XmlNode(value).Text()) + kColumnSeparator;
      }
      page.rows.push_back(row);
    }
    page.hasNext = GetNodeText(answer, "/XML/HasNextPage") == "1";
    page.hasPrevious = GetNodeText(answer, "/XML/HasPreviousPage") == "1";
    page.first = GetNodeText(answer, "/XML/FirstPosition");
    page.last = GetNodeText(answer, "/XML/LastPosition");
    EXPECT_EQ(GetNodeText(answer, "/XML/Message"), "");
    return page;
  }

  void WalkForwardsAndBack(const SampleTable& table, const WalkMode& mode, int pageSize, const Rows& expected) {
    const std::string elements = RequestElements(table, mode);
    const std::size_t columnCount = Columns(table).size();
    const std::size_t mostPages = expected.size() / static_cast<std::size_t>(pageSize) + 2;

    Rows forwards;
    Page page = Read(elements, pageSize, "gotofirst", {}, columnCount);
    EXPECT_FALSE(page.hasPrevious);
    for (std::size_t pages = 1; pages <= mostPages; ++pages) {
      forwards.insert(forwards.end(), page.rows.begin(), page.rows.end());
      if (!page.hasNext || ::testing::Test::HasFailure()) break;
      page = Read(elements, pageSize, "gotonext", page, columnCount);
      EXPECT_TRUE(page.hasPrevious);
    }
    ASSERT_EQ(forwards.size(), expected.size()) << "forwards";
    ASSERT_TRUE(forwards == expected) << "forwards: " << FirstDifference(forwards, expected);

    Rows backwards(page.rows.rbegin(), page.rows.rend());
    for (std::size_t pages = 1; pages <= mostPages && page.hasPrevious && !expected.empty(); ++pages) {
      page = Read(elements, pageSize, "gotoprev", page, columnCount);
      // Beyond the start the first page comes again.
      if (!page.hasNext && backwards.size() != page.rows.size()) break;
      if (backwards.size() + page.rows.size() > expected.size()) break;
      backwards.insert(backwards.end(), page.rows.rbegin(), page.rows.rend());
    }
    std::ranges::reverse(backwards);
    ASSERT_EQ(backwards.size(), expected.size()) << "backwards";
    ASSERT_TRUE(backwards == expected) << "backwards: " << FirstDifference(backwards, expected);
  }

  static std::string FirstDifference(const Rows& found, const Rows& expected) {
    const auto [a, b] = std::ranges::mismatch(found, expected);
    return "row " + std::to_string(a - found.begin()) + " is " + (a == found.end() ? "missing" : *a) + " instead of " +
           (b == expected.end() ? "the end" : *b);
  }

  std::string quote_;
  std::vector<std::string> key_;  ///< primary key of the table that is walked
  ServerFolders folders_;
  std::shared_ptr<Connection> direct_;
  std::unique_ptr<ServerProcess> server_;
  std::unique_ptr<QueueClient> client_;
};

struct WalkCase {
  SampleDatabase database;
  std::size_t table;
};

class Walk : public ::testing::TestWithParam<WalkCase> {};

TEST_P(Walk, GivesEveryRowOnceAndInOrder) {
  const SampleDatabase& database = GetParam().database;
  const auto connectionString = ConnectionStringOf(database);
  if (!connectionString) GTEST_SKIP() << database.variable << " is not set: scripts/test.sh starts the databases";
  Walker walker(database, *connectionString);
  walker.WalkAllModes(SampleTables(database.quote)[GetParam().table]);
  EXPECT_EQ(walker.Stop(), 0);
}

std::vector<WalkCase> AllWalks() {
  std::vector<WalkCase> walks;
  for (const SampleDatabase& database : {kSqlite, kPostgreSql, kMariaDb}) {
    for (std::size_t i = 0; i < SampleTables(database.quote).size(); ++i) walks.push_back({database, i});
  }
  return walks;
}

std::string WalkName(const ::testing::TestParamInfo<WalkCase>& info) {
  std::string name = info.param.database.name + "_";
  const std::vector<SampleTable> tables = SampleTables(info.param.database.quote);
  for (const char c : tables[info.param.table].identifier) {
    if (std::isalnum(static_cast<unsigned char>(c)) != 0) name += c;
  }
  return name;
}

INSTANTIATE_TEST_SUITE_P(Sample, Walk, ::testing::ValuesIn(AllWalks()), WalkName);

/// Every table and view that the server lists is one that is walked.
class Listing : public ::testing::TestWithParam<SampleDatabase> {};

TEST_P(Listing, HoldsEveryTableAndViewOfTheSampleAndNoOther) {
  const auto connectionString = ConnectionStringOf(GetParam());
  if (!connectionString) GTEST_SKIP() << GetParam().variable << " is not set: scripts/test.sh starts the databases";
  Walker walker(GetParam(), *connectionString);
  std::vector<std::string> listed;
  const XmlDocument answer = walker.Client().AskDocument(Request("TableList"));
  for (const XmlNode& id : answer.SelectNodes("/XML/Tables/Table/Id")) listed.push_back(id.Text());
  std::vector<std::string> walked;
  for (const SampleTable& table : SampleTables(GetParam().quote)) walked.push_back(table.identifier);
  std::ranges::sort(walked);
  EXPECT_EQ(listed, walked);
}

INSTANTIATE_TEST_SUITE_P(Sample, Listing, ::testing::Values(kSqlite, kPostgreSql, kMariaDb),
                         [](const auto& listing) { return listing.param.name; });

}  // namespace
}  // namespace ods::test
