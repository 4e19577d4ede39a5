// A flood of hostile requests on the real executable: each gets exactly one answer, a well-formed document with a data
// session; the server stays the process that it was and does not grow; and not one row of any table changes.
//
// Each database has two: with and without exact paging.
// ODS_TEST_FLOOD is the number of requests for each database (a thousand without it; scripts/flood.sh sends a hundred
// thousand), ODS_TEST_SEED the seed of the requests (random without it; it is printed). Memory is judged from 20,000
// requests on, between the end of the first tenth and the end of all: before that, caches and buffers still fill.
#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <iomanip>
#include <iostream>
#include <map>
#include <memory>
#include <random>
#include <span>
#include <sqlite3.h>
#include <sstream>
#include <thread>
#include <unistd.h>

#include "catalogue/modKeys.h"
#include "common/Conversions.h"
#include "common/Text.h"
#include "e2e/Sample.h"
#include "e2e/ServerProcess.h"
#include "platform/ado/Ado.h"
#include "platform/system/ReadFile.h"
#include "support/HostileRequests.h"

namespace ods::test {
namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

constexpr std::uint64_t kUsualCount = 1000;
constexpr std::uint64_t kLeastCountForMemory = 20'000;
constexpr double kMostGrowth = 0.05;
/// So many requests wait at a time: the server never waits for the client.
constexpr std::size_t kWindow = 64;
constexpr std::chrono::seconds kPatience(180);

/// A number from the environment, nothing when the variable is not set.
std::optional<std::uint64_t> NumberFrom(const char* variable) {
  const char* const text = std::getenv(variable);
  if (text == nullptr || *text == '\0') return std::nullopt;
  const std::string_view view(text);
  std::uint64_t number = 0;
  const auto [end, error] = std::from_chars(view.data(), view.data() + view.size(), number);
  EXPECT_TRUE(error == std::errc() && end == view.data() + view.size()) << variable << " is no number: " << text;
  return number;
}

std::uint64_t RandomSeed() {
  std::random_device device;
  return std::uint64_t{device()} << 32U | device();
}

/// What a database holds: every table, view and index, with what it is made of or a checksum of its rows.
using Contents = std::map<std::string, std::string>;

/// FNV-1a.
class Checksum {
 public:
  void Add(const void* data, std::size_t size) {
    const auto* const bytes = static_cast<const unsigned char*>(data);
    for (std::size_t i = 0; i < size; ++i) hash_ = (hash_ ^ bytes[i]) * 0x100000001B3U;
  }
  [[nodiscard]] std::string Text() const {
    std::ostringstream text;
    text << std::hex << hash_;
    return text.str();
  }

 private:
  std::uint64_t hash_ = 0xCBF29CE484222325U;
};

/// An SQLite file, read by SQLite itself.
class SqliteFile {
 public:
  explicit SqliteFile(const std::string& path) {
    sqlite3* handle = nullptr;
    EXPECT_EQ(sqlite3_open(path.c_str(), &handle), SQLITE_OK) << path;
    handle_.reset(handle);
  }
  void Run(const std::string& script) {
    EXPECT_EQ(sqlite3_exec(handle_.get(), script.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
        << sqlite3_errmsg(handle_.get());
  }
  [[nodiscard]] Contents Read() {
    Contents contents;
    std::vector<std::string> tables;
    ForEachRow("SELECT type, name, sql FROM sqlite_master", [&](sqlite3_stmt* row) {
      if (Text(row, 0) == "table") tables.push_back(Text(row, 1));
      contents[Text(row, 0) + " " + Text(row, 1)] = Text(row, 2);
    });
    for (const std::string& table : tables) contents["rows of " + table] = Rows(table);
    return contents;
  }

 private:
  struct Closer {
    void operator()(sqlite3* handle) const { sqlite3_close(handle); }
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
  };

  static std::string Text(sqlite3_stmt* row, int column) {
    const auto* const text = reinterpret_cast<const char*>(sqlite3_column_text(row, column));
    return text == nullptr ? "" : text;
  }
  void ForEachRow(const std::string& sql, const std::function<void(sqlite3_stmt*)>& use) {
    sqlite3_stmt* prepared = nullptr;
    ASSERT_EQ(sqlite3_prepare_v2(handle_.get(), sql.c_str(), -1, &prepared, nullptr), SQLITE_OK) << sql;
    const std::unique_ptr<sqlite3_stmt, Closer> statement(prepared);
    int result = SQLITE_ROW;
    while ((result = sqlite3_step(prepared)) == SQLITE_ROW) use(prepared);
    ASSERT_EQ(result, SQLITE_DONE) << sql;
  }
  std::string Rows(const std::string& table) {
    Checksum checksum;
    std::size_t count = 0;
    ForEachRow("SELECT * FROM \"" + ReplaceAll(table, "\"", "\"\"") + "\"", [&](sqlite3_stmt* row) {
      ++count;
      for (int i = 0; i < sqlite3_column_count(row); ++i) {
        const int type = sqlite3_column_type(row, i);
        const void* const bytes = sqlite3_column_blob(row, i);
        const int size = sqlite3_column_bytes(row, i);
        checksum.Add(&type, sizeof type);
        checksum.Add(&size, sizeof size);
        checksum.Add(bytes, static_cast<std::size_t>(size));
      }
    });
    return std::to_string(count) + " rows, checksum " + checksum.Text();
  }

  std::unique_ptr<sqlite3, Closer> handle_;
};

/// A database under the flood, or several one after the other.
class Target {
 public:
  Target() = default;
  virtual ~Target() = default;
  Target(const Target&) = delete;
  Target& operator=(const Target&) = delete;
  Target(Target&&) = delete;
  Target& operator=(Target&&) = delete;

  /// How many databases the server is led through.
  [[nodiscard]] virtual std::size_t Databases() const { return 1; }
  /// Puts configuration and views of a database in the server's folders.
  virtual void Configure(const ServerFolders& folders, std::size_t database) = 0;
  /// What all databases hold, read without the server.
  [[nodiscard]] virtual Contents Read() = 0;
};

/// A copy of the sample company.
class SqliteSample final : public Target {
 public:
  SqliteSample(const std::string& sample, const ServerFolders& folders) : path_(folders.Root() + "/flooded.db") {
    std::filesystem::copy(sample, path_);
    std::filesystem::copy(ODS_SAMPLES_FOLDER "/views.xml", folders.Config() + "/views.xml");
    std::filesystem::copy(ODS_SAMPLES_FOLDER "/views", folders.Config() + "/views");
  }
  void Configure(const ServerFolders& folders, std::size_t /*database*/) override {
    folders.Configure("Driver=SQLite3;Database=" + path_);
  }
  [[nodiscard]] Contents Read() override { return SqliteFile(path_).Read(); }

 private:
  std::string path_;
};

/// How a product with a server makes the tables of the flood and tells what they hold.
struct ServerProduct {
  const char* name;
  const char* variable;  ///< environment variable of the scratch database
  char quote;
  const char* dropDatabase;  ///< "{}" is its name
  const char* types;         ///< columns of the product's own types
  const char* typeValues;    ///< and their values; "{}" is the number of the row
  const char* objects;       ///< a statement for names and kinds of all tables, views and indexes; tables are "table"
  const char* checksum;      ///< a statement for the checksum of a table; "{}" is its quoted name
};

constexpr ServerProduct kServerProducts[] = {
    {.name = "PostgreSQL",
     .variable = "ODS_TEST_POSTGRESQL_SCRATCH",
     .quote = '"',
     .dropDatabase = "DROP DATABASE {} WITH (FORCE)",
     .types = "flag BOOLEAN, blob_value BYTEA, uuid_value UUID, zoned TIMESTAMP WITH TIME ZONE, span INTERVAL, moment "
              "TIMESTAMP",
     .typeValues = "TRUE, 0x00FF27{2}, '0a1b2c3d-0000-4000-8000-{12}', '2024-02-29 12:00:00+02', '{} hours', "
                   "'2024-02-05 07:08:{2}'",
     .objects = "SELECT relname, CASE relkind WHEN 'r' THEN 'table' ELSE relkind::text END FROM pg_class WHERE "
                "relnamespace = 'public'::regnamespace",
     .checksum = "SELECT count(*) || ' rows, checksum ' || md5(string_agg(t::text, '|' ORDER BY t::text)) FROM {} t"},
    {.name = "MariaDB",
     .variable = "ODS_TEST_MARIADB_SCRATCH",
     .quote = '`',
     .dropDatabase = "DROP DATABASE {}",
     .types =
         "flag BIT(1), blob_value BLOB, uuid_value UUID, tiny TINYINT UNSIGNED, size ENUM('small', 'large'), moment "
         "DATETIME",
     .typeValues = "TRUE, 0x00FF27{2}, '0a1b2c3d-0000-4000-8000-{12}', 200, 'large', '2024-02-05 07:08:{2}'",
     .objects = "SELECT table_name, IF(table_type = 'BASE TABLE', 'table', table_type) FROM information_schema.tables "
                "WHERE table_schema = DATABASE()",
     .checksum = "CHECKSUM TABLE {} EXTENDED"},
};

/// A database of the flood's own on a server that others use too.
class ServerDatabase final : public Target {
 public:
  ServerDatabase(const ServerProduct& product, const std::string& scratch, const ServerFolders& folders)
      : product_(product), name_("flood_" + std::to_string(getpid())) {
    administrator_ = CreateOdbcConnection();
    administrator_->Open(scratch);
    (void)administrator_->OpenRecordSet("CREATE DATABASE " + name_, 0);
    connectionString_ = ReplaceAll(scratch, "Database=scratch", "Database=" + name_);
    EXPECT_NE(connectionString_, scratch) << product.variable << " does not name the database scratch";
    direct_ = CreateOdbcConnection();
    direct_->Open(connectionString_);
    MakeTables();
    WriteTextFile(folders.Config() + "/views.xml", kViews);
  }
  ~ServerDatabase() override {
    direct_.reset();
    (void)administrator_->OpenRecordSet(ReplaceAll(product_.dropDatabase, "{}", name_), 0);
  }
  ServerDatabase(const ServerDatabase&) = delete;
  ServerDatabase& operator=(const ServerDatabase&) = delete;
  ServerDatabase(ServerDatabase&&) = delete;
  ServerDatabase& operator=(ServerDatabase&&) = delete;

  void Configure(const ServerFolders& folders, std::size_t /*database*/) override {
    folders.Configure(connectionString_);
  }
  [[nodiscard]] Contents Read() override {
    Contents contents;
    for (const auto rows = direct_->OpenRecordSet(product_.objects, 0); !rows->AtEnd(); rows->MoveNext()) {
      contents[SafeStr(rows->Item(0))] = SafeStr(rows->Item(1));
    }
    for (auto& [name, kind] : contents) {
      if (kind != "table") continue;
      const auto row = direct_->OpenRecordSet(ReplaceAll(product_.checksum, "{}", Quoted(name)), 0);
      kind = SafeStr(row->Item(row->Fields().size() - 1));
    }
    return contents;
  }

 private:
  static constexpr const char* kViews = R"(<Views>
  <View><Id>derived</Id><Name>Derived</Name><Query>SELECT group_no, line_no, word FROM line WHERE line_no &gt; 0</Query></View>
  <View><Id>macro</Id><Name>Macros</Name><Query subquery="no" where="1=1" orderby="word ASC" fields="group_no, line_no, word">
    SELECT group_no, line_no, word FROM line WHERE (1=1) ORDER BY word ASC</Query></View>
  <View><Id>fixed</Id><Name>Fixed fields</Name><Query subquery="no" where="1=1" orderby="word ASC">
    SELECT line_no, word, group_no FROM line WHERE (1=1) ORDER BY word ASC</Query></View>
</Views>)";

  [[nodiscard]] std::string Quoted(const std::string& name) const {
    const std::string quote(1, product_.quote);
    return quote + ReplaceAll(name, quote, quote + quote) + quote;
  }
  void Run(const std::string& sql) { (void)direct_->OpenRecordSet(sql, 0); }
  /// Rows from 1 to `count`: "{}" is the number, "{2}" and "{12}" the number in so many digits.
  void Insert(const std::string& table, const std::string& values, int count) {
    std::string rows;
    for (int number = 1; number <= count; ++number) {
      std::string row = ReplaceAll(values, "{2}", PadNumber(number % 60, 2));
      row = ReplaceAll(ReplaceAll(row, "{12}", PadNumber(number, 12)), "{}", std::to_string(number));
      rows += (number > 1 ? ", (" : "(") + row + ")";
    }
    Run("INSERT INTO " + table + " VALUES " + rows);
  }
  void MakeTables() {
    const std::string odd = Quoted(R"(Odd "Table" [Name])");
    Run("CREATE TABLE everything (id INTEGER NOT NULL PRIMARY KEY, small SMALLINT, big BIGINT, approximate DOUBLE "
        "PRECISION, amount DECIMAL(18, 6), born DATE, opens TIME, code CHAR(8), word VARCHAR(40) NOT NULL, note "
        "TEXT, " +
        std::string(product_.types) + ")");
    Insert(
        "everything",
        "{}, {2}, 90000{}, {}.5, -{}.250001, '2024-01-{2}', '12:{2}:00', 'c{2}', 'word {2}', 'note \\{} ''quoted''', " +
            std::string(product_.typeValues),
        28);
    // The days of a month end earlier than the numbers of two digits.
    Run("INSERT INTO everything (id, word) SELECT id + 1000, word FROM everything");
    Run("CREATE TABLE line (group_no INTEGER NOT NULL, line_no INTEGER NOT NULL, word VARCHAR(40) NOT NULL, amount "
        "DECIMAL(12, 2), PRIMARY KEY (group_no, line_no))");
    Insert("line", "{2}, {}, 'line {}', {}.25", 400);
    Run("CREATE UNIQUE INDEX line_word ON line (word)");
    Run("CREATE TABLE journal (entry INTEGER NOT NULL, posted DATE NOT NULL, text_value VARCHAR(80))");
    Insert("journal", "{}, '2024-03-17', 'entry {2}'", 150);
    Run("CREATE TABLE " + odd + " (" + Quoted("key no") + " INTEGER NOT NULL PRIMARY KEY, " + Quoted("it's") +
        " VARCHAR(40), " + Quoted("a [bracket]") + " INTEGER, " + Quoted("back`tick \"quote\"") + " VARCHAR(40))");
    Insert(odd, "{}, 'it''s; DROP TABLE line; -- {}', {2}, '\\'", 50);
    Run("CREATE VIEW some_lines AS SELECT group_no, line_no, word FROM line WHERE line_no < 100");
  }

  const ServerProduct& product_;
  std::string name_;
  std::string connectionString_;
  std::shared_ptr<Connection> administrator_;
  std::shared_ptr<Connection> direct_;
};

/// A product as the stand-in driver plays it.
struct PlayedProduct {
  const char* folder;  ///< under products/
  const char* name;    ///< the DBMS name
  const char* settings;
};

constexpr PlayedProduct kPlayedProducts[] = {
    {"0-unknown", "Microsoft SQL Server 2019", ""},
    {"1-sql-server", "Microsoft SQL Server", ";DefaultDatabase=sales"},
    {"2-access", "ACCESS", ";DefaultDatabase=/data/sales.mdb"},
    {"3-navision", "Company NaviSion 3", ";DefaultDatabase=company"},
    {"4-concorde", "My Concorde 2", ""},
    {"6-pervasive", "Pervasive.SQL", ";DefaultDatabase=demo"},
    {"7-excel", "EXCEL", ";DefaultDatabase=/data/sales"},
    {"8-unnamed", "", ""},
    // The last: exact paging asks it for what the driver does not play.
    {"5-mysql", "MySQL", ";DefaultDatabase=sales"},
};

/// All products that the stand-in driver plays, one after the other. The driver only reads: a statement that would
/// write is refused by it, and the test looks for the refusal.
class StandIns final : public Target {
 public:
  StandIns(const ServerFolders& folders, bool exact)
      : products_(std::span(kPlayedProducts).first(std::size(kPlayedProducts) - (exact ? 1 : 0))),
        root_(folders.Root()) {
    for (const PlayedProduct& product : products_) {
      SqliteFile(PathOf(product)).Run(ReadFileText(FolderOf(product) + "/data.sql"));
    }
    // The tables of Navision's users, by the names in the sample's context document.
    SqliteFile(PathOf(kPlayedProducts[3])).Run(kNavisionUsers);
  }
  [[nodiscard]] std::size_t Databases() const override { return products_.size(); }
  void Configure(const ServerFolders& folders, std::size_t database) override {
    const PlayedProduct& product = products_[database];
    std::filesystem::copy_file(FolderOf(product) + "/views.xml", folders.Config() + "/views.xml",
                               std::filesystem::copy_options::overwrite_existing);
    folders.Configure("DRIVER=" + std::string(ODS_PRODUCT_DRIVER) + ";Product=" + product.name +
                      ";Database=" + PathOf(product) + product.settings);
  }
  [[nodiscard]] Contents Read() override {
    Contents all;
    for (const PlayedProduct& product : products_) {
      for (const auto& [name, value] : SqliteFile(PathOf(product)).Read()) {
        all[std::string(product.folder) + ": " + name] = value;
      }
    }
    return all;
  }

 private:
  static constexpr const char* kNavisionUsers = R"(
CREATE TABLE "User" ("User ID" varchar(20) NOT NULL, "Password" varchar(20), "Name" varchar(30), PRIMARY KEY ("User ID"));
CREATE TABLE "Member Of" ("User ID" varchar(20) NOT NULL, "Role ID" varchar(20) NOT NULL, PRIMARY KEY ("User ID", "Role ID"));
CREATE TABLE "User Role" ("Role ID" varchar(20) NOT NULL, "Name" varchar(30), PRIMARY KEY ("Role ID"));
CREATE TABLE "User Filter" ("User ID" varchar(20) NOT NULL, "Customer No" varchar(20), PRIMARY KEY ("User ID"));
INSERT INTO "User" VALUES ('ANN', 'open sesame', 'Ann O''Hara'), ('BOB', 'it''s', 'Bob {curly}');
INSERT INTO "User Role" VALUES ('SUPER', 'Superuser'), ('BOSS''S', 'The boss''s');
INSERT INTO "Member Of" VALUES ('ANN', 'SUPER'), ('BOB', 'BOSS''S');
INSERT INTO "User Filter" VALUES ('ANN', '1000..1999');)";

  static std::string FolderOf(const PlayedProduct& product) {
    return std::string(ODS_PRODUCTS_FOLDER) + "/" + product.folder;
  }
  [[nodiscard]] std::string PathOf(const PlayedProduct& product) const { return root_ + "/" + product.folder + ".db"; }

  std::span<const PlayedProduct> products_;
  std::string root_;
};

/// What a client learns of a database by asking.
class Explorer {
 public:
  explicit Explorer(QueueClient& client) : client_(client) {}

  std::vector<KnownTable> Explore() {
    std::vector<KnownTable> tables;
    for (const std::string& identifier : Texts(client_.AskDocument(Request("TableList")), "/XML/Tables/Table/Id")) {
      KnownTable table = Learn(identifier);
      if (!table.columns.empty()) tables.push_back(std::move(table));
    }
    return tables;
  }

 private:
  static std::vector<std::string> Texts(const XmlDocument& document, const char* path) {
    std::vector<std::string> texts;
    for (const XmlNode& node : document.SelectNodes(path)) texts.push_back(node.Text());
    return texts;
  }
  KnownTable Learn(const std::string& identifier) {
    KnownTable table;
    table.identifier = identifier;
    const std::string named = "<TableId>" + EscapeXml(identifier) + "</TableId>";
    table.columns = Texts(client_.AskDocument(Request("FieldList", named)), "/XML/Fields/Field/Id");
    if (table.columns.empty()) return table;
    table.keys = Texts(client_.AskDocument(Request("KeyList", named)), "/XML/Keys/Key/Id");
    table.primaryKey = GetNodeText(client_.AskDocument(Request("PrimaryKey", named)), "/XML/PrimaryKey");
    // Of a view, or a table without a key, a client has to know one.
    if (table.primaryKey.empty()) table.primaryKey = KeyToText({table.columns.front()});
    for (const std::string& sortColumn : {std::string(), table.columns.front(), table.columns.back()}) {
      for (const char* navigate : {"gotofirst", "gotolast"}) LearnPage(table, named, sortColumn, navigate);
    }
    return table;
  }
  void LearnPage(KnownTable& table, const std::string& named, const std::string& sortColumn, const char* navigate) {
    std::string fields;
    for (const std::string& column : table.columns) fields += "<Field><Id>" + EscapeXml(column) + "</Id></Field>";
    const XmlDocument page = client_.AskDocument(
        Request("TableData", named + "<PageSize>3</PageSize><Navigate>" + navigate + "</Navigate><PrimaryKey>" +
                                 table.primaryKey + "</PrimaryKey><SortColumn>" + EscapeXml(sortColumn) +
                                 "</SortColumn><Fields>" + fields + "</Fields>"));
    const std::string first = GetNodeText(page, "/XML/FirstPosition");
    if (first.empty()) return;
    table.pages.push_back({sortColumn, first, GetNodeText(page, "/XML/LastPosition")});
    for (std::string& value : Texts(page, "/XML/Records/R/V")) table.values.push_back(std::move(value));
  }

  QueueClient& client_;
};

/// Resident memory of a process in KiB: all of it, and the most that it ever was.
struct Memory {
  long resident = 0;
  long most = 0;
};

Memory MemoryOf(pid_t pid) {
  std::ifstream status("/proc/" + std::to_string(pid) + "/status");
  Memory memory;
  for (std::string line; std::getline(status, line);) {
    std::istringstream words(line);
    std::string name;
    words >> name;
    if (name == "VmRSS:") words >> memory.resident;
    if (name == "VmHWM:") words >> memory.most;
  }
  EXPECT_GT(memory.resident, 0) << "no memory figures of process " << pid;
  return memory;
}

/// The memory of a server that has nothing to do. It gives freed memory back within little more than a second: the
/// least of two seconds is it.
Memory RestingMemoryOf(pid_t pid) {
  Memory least = MemoryOf(pid);
  for (int i = 0; i < 20; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    const Memory now = MemoryOf(pid);
    least = {std::min(least.resident, now.resident), now.most};
  }
  return least;
}

/// A request as a failure shows it: what cannot be printed as "\xNN", and not all of a long one.
std::string Shown(const std::string& request) {
  constexpr std::size_t kMost = 6000;
  std::ostringstream text;
  for (const char c : request.substr(0, kMost)) {
    if (c >= ' ' && c <= '~') {
      text << c;
    } else {
      text << "\\x" << std::hex << std::setw(2) << std::setfill('0') << int{static_cast<unsigned char>(c)};
    }
  }
  if (request.size() > kMost) text << "... (" << std::dec << request.size() << " bytes)";
  return text.str();
}

struct FloodCase {
  std::string name;
  const char* variable;  ///< environment variable that says where the database is; nullptr for none
  std::function<std::unique_ptr<Target>(const std::string& place, const ServerFolders&, bool exact)> make;
  bool exact = false;  ///< the server pages exactly, and the requests have what belongs to that

  friend void PrintTo(const FloodCase& flood, std::ostream* out) { *out << flood.name; }
};

class Flood : public ::testing::TestWithParam<FloodCase> {
 protected:
  void SetUp() override {
    const FloodCase& flood = GetParam();
    const char* const place = flood.variable == nullptr ? "" : std::getenv(flood.variable);
    if (place == nullptr) GTEST_SKIP() << flood.variable << " is not set: scripts/test.sh starts the databases";
    target_ = flood.make(place, folders_, flood.exact);
    // Users are in a file beside the executable, so this server has a folder of its own.
    const std::string program = folders_.Root() + "/program/server";
    std::filesystem::create_directory(folders_.Root() + "/program");
    std::filesystem::copy_file(ODS_SERVER_PROGRAM, program);
    std::filesystem::copy_file(ODS_SAMPLES_FOLDER "/users.xml", folders_.Root() + "/program/users.xml");
    std::filesystem::copy_file(ODS_SAMPLES_FOLDER "/context.xml", folders_.Root() + "/program/context.xml");
    target_->Configure(folders_, 0);
    std::vector<std::string> arguments = {"/messagefile=" + folders_.MessageFile(),
                                          "/alivefile=" + folders_.AliveFile()};
    if (flood.exact) arguments.emplace_back("/exact");
    server_ = std::make_unique<ServerProcess>(folders_, arguments, program);
    client_ = std::make_unique<QueueClient>(folders_);
    pid_ = server_->Pid();
  }

  /// Leads the server to a database. It looks at its configuration before each poll: with the second answer it has
  /// seen the new one.
  void Enter(std::size_t database) {
    if (entered_ == database) return;
    target_->Configure(folders_, database);
    entered_ = database;
    for (int i = 0; i < 2; ++i) (void)client_->AskDocument(kPing);
  }
  void Explore() {
    for (std::size_t i = 0; i < target_->Databases(); ++i) {
      Enter(i);
      std::vector<KnownTable> tables = Explorer(*client_).Explore();
      ASSERT_FALSE(tables.empty()) << client_->Ask(Request("TableList"));
      ASSERT_FALSE(tables.front().pages.empty() && tables.back().pages.empty()) << "no page was read";
      requests_.emplace_back(seed_, std::move(tables), GetParam().exact);
    }
  }

  /// Sends all requests, `kWindow` at a time. In a long flood each of several databases has its turn ten times, the
  /// first time within the first tenth.
  void Send() {
    constexpr std::uint64_t kLeastTurn = 50;
    const std::size_t databases = target_->Databases();
    const std::uint64_t turns = std::clamp<std::uint64_t>(count_ / databases / kLeastTurn, 1, 10);
    const std::uint64_t stages = databases == 1 ? 1 : turns * databases;
    const std::uint64_t firstTenth = count_ / 10;
    for (std::uint64_t number = 0; number < count_; ++number) {
      const std::size_t database = static_cast<std::size_t>(number * stages / count_) % databases;
      if (database != entered_) {
        ReceiveAll();
        if (HasFailure()) return;
        Enter(database);
      }
      if (number == firstTenth) {
        ReceiveAll();
        early_ = CurrentMemory();
      }
      waiting_.push_back({number, database, client_->Send(Unchecked(requests_[database].Make(number)))});
      if (waiting_.size() == kWindow) ReceiveOne();
      if (HasFailure()) return;
    }
    ReceiveAll();
  }
  void ReceiveAll() {
    while (!waiting_.empty() && !HasFailure()) ReceiveOne();
  }
  void ReceiveOne() {
    const auto [number, database, id] = waiting_.front();
    waiting_.pop_front();
    const std::string answer = client_->Receive(id, kPatience);
    Check(answer, database);
    if (HasFailure()) {
      ADD_FAILURE() << "request " << number << " of seed " << seed_
                    << (server_->IsRunning() ? "" : "; THE SERVER ENDED") << "\n"
                    << Shown(requests_[database].Make(number)) << "\nanswer: " << Shown(answer);
    }
  }
  void Check(const std::string& answer, std::size_t database) {
    XmlDocument document;
    EXPECT_TRUE(document.LoadXML(answer)) << "the answer is not well-formed";
    EXPECT_NE(GetNodeText(document, "/XML/DataSession"), "") << "the answer has no data session";
    const std::string error = GetNodeText(document, "/XML/Error");
    if (!error.empty()) {
      ++kinds_["error " + error];
      CheckError(GetNodeText(document, "/XML/Message"), database);
    } else {
      ++kinds_[document.DocumentElement().FirstChild().Name()];
      rows_ += document.SelectNodes("/XML/Records/R").size();
    }
  }
  /// A statement that would write must not reach a driver; but for the test of a password on Navision, which this one
  /// refuses.
  static void CheckError(const std::string& message, std::size_t database) {
    if (message.find("The driver only reads.") == std::string::npos) return;
    EXPECT_EQ(std::string_view(kPlayedProducts[database].folder), "3-navision") << message;
    EXPECT_NE(message.find("SQL: UPDATE \"User\" SET \"Name\"=\"Password\" WHERE \"User ID\"='"), std::string::npos)
        << message;
  }
  [[nodiscard]] static std::size_t FilesIn(const std::string& folder) {
    const std::filesystem::directory_iterator files(folder);
    return static_cast<std::size_t>(std::distance(begin(files), end(files)));
  }
  [[nodiscard]] bool JudgesMemory() const { return !kSanitized && count_ >= kLeastCountForMemory; }
  [[nodiscard]] Memory CurrentMemory() const { return JudgesMemory() ? RestingMemoryOf(pid_) : MemoryOf(pid_); }
  void CheckMemory(const Memory& late) {
    const double growth = static_cast<double>(late.resident - early_.resident) / static_cast<double>(early_.resident);
    std::cout << "memory: " << early_.resident << " KiB after the first tenth, " << late.resident
              << " KiB at the end: " << std::showpos << std::fixed << std::setprecision(1) << growth * 100
              << std::noshowpos << " %; at most " << late.most << " KiB\n";
    RecordProperty("memory_after_first_tenth_kib", std::to_string(early_.resident));
    RecordProperty("memory_at_end_kib", std::to_string(late.resident));
    RecordProperty("memory_most_kib", std::to_string(late.most));
    RecordProperty("memory_judged", JudgesMemory() ? "yes" : "no");
    if (JudgesMemory()) {
      EXPECT_LT(growth, kMostGrowth) << "the server grew";
    } else {
      std::cout << "memory is NOT judged: "
                << (kSanitized ? "the sanitizers keep what is freed"
                               : "it takes " + std::to_string(kLeastCountForMemory) + " requests")
                << '\n';
    }
  }
  void Report(std::chrono::duration<double> time) {
    const auto rate = static_cast<std::uint64_t>(static_cast<double>(count_) / time.count());
    std::cout << "seed " << seed_ << ": " << count_ << " requests in " << std::fixed << std::setprecision(1)
              << time.count() << " s, " << rate << " a second; rows in answers: " << rows_ << "; answers:";
    RecordProperty("requests", std::to_string(count_));
    RecordProperty("requests_a_second", std::to_string(rate));
    for (const auto& [kind, count] : kinds_) {
      std::cout << " " << kind << " " << count << ";";
      RecordProperty("answers_" + ReplaceAll(ReplaceAll(kind, " ", "_"), "-", "minus_"), std::to_string(count));
    }
    std::cout << '\n';
  }

  struct Waiting {
    std::uint64_t number;
    std::size_t database;
    std::string id;
  };

  std::uint64_t seed_ = NumberFrom("ODS_TEST_SEED").value_or(RandomSeed());
  std::uint64_t count_ = NumberFrom("ODS_TEST_FLOOD").value_or(kUsualCount);
  ServerFolders folders_;
  std::unique_ptr<Target> target_;
  std::unique_ptr<ServerProcess> server_;
  std::unique_ptr<QueueClient> client_;
  pid_t pid_ = -1;
  std::size_t entered_ = 0;
  std::vector<HostileRequests> requests_;  ///< by database
  std::deque<Waiting> waiting_;
  std::map<std::string, std::uint64_t> kinds_;  ///< answers by error number or by what is in them
  std::uint64_t rows_ = 0;
  Memory early_;
};

TEST_P(Flood, IsAnsweredWholeAndChangesNothing) {
  std::cout << "seed " << seed_ << " (repeat with ODS_TEST_SEED=" << seed_ << " ODS_TEST_FLOOD=" << count_ << ")"
            << std::endl;
  RecordProperty("seed", std::to_string(seed_));
  const Contents before = target_->Read();
  ASSERT_GT(before.size(), 4U);
  ASSERT_NO_FATAL_FAILURE(Explore());

  const auto start = std::chrono::steady_clock::now();
  Send();
  const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
  Report(time);
  ASSERT_FALSE(HasFailure());

  EXPECT_TRUE(server_->IsRunning());
  EXPECT_EQ(server_->Pid(), pid_);
  CheckMemory(CurrentMemory());
  EXPECT_EQ(GetNodeText(client_->AskDocument(kPing), "/XML/Ping"), "OK");
  EXPECT_EQ(server_->Stop(), 0);
  EXPECT_EQ(FilesIn(folders_.Results() + "/new"), 0U) << "answers to nobody";
  EXPECT_EQ(FilesIn(folders_.Requests() + "/new"), 0U) << "requests without an answer";
  EXPECT_EQ(FilesIn(folders_.Requests() + "/cur"), 0U) << "requests without an answer";
  EXPECT_TRUE(XmlDocument().Load(folders_.MessageFile()));

  // The flood reached what it was made for.
  EXPECT_GT(kinds_["FirstPosition"], count_ / 10) << "pages";
  EXPECT_GT(rows_, count_ / 5);
  EXPECT_GT(kinds_["error 1000"], 0U);
  EXPECT_EQ(target_->Read(), before);
}

std::vector<FloodCase> Floods() {
  using Place = const std::string&;
  using Folders = const ServerFolders&;
  std::vector<FloodCase> floods = {
      {"SQLite", kSqlite.variable,
       [](Place place, Folders folders, bool /*exact*/) { return std::make_unique<SqliteSample>(place, folders); }},
      {"StandIns", nullptr,
       [](Place /*place*/, Folders folders, bool exact) { return std::make_unique<StandIns>(folders, exact); }}};
  for (const ServerProduct& product : kServerProducts) {
    floods.push_back({product.name, product.variable, [&product](Place place, Folders folders, bool /*exact*/) {
                        return std::make_unique<ServerDatabase>(product, place, folders);
                      }});
  }
  for (std::size_t i = 0, count = floods.size(); i < count; ++i) {
    FloodCase flood = floods[i];
    flood.name += "Exact";
    flood.exact = true;
    floods.push_back(std::move(flood));
  }
  return floods;
}

INSTANTIATE_TEST_SUITE_P(Databases, Flood, ::testing::ValuesIn(Floods()),
                         [](const auto& instance) { return instance.param.name; });

/// A small piece of memory that is still in use must not hold back all that lies before it.
TEST(Memory, OfALargeRequestIsGivenBack) {
  if (kSanitized) GTEST_SKIP() << "the sanitizers keep what is freed";
  const ServerFolders folders;
  const std::string file = folders.Root() + "/own.db";
  std::string columns = "no INTEGER";
  for (int i = 0; i < 800; ++i) columns += ", a_column_with_a_long_name_" + std::to_string(i) + " INTEGER";
  SqliteFile(file).Run("CREATE TABLE narrow (no INTEGER); CREATE TABLE wide (" + columns + ");");
  folders.Configure("Driver=SQLite3;Database=" + file);
  ServerProcess server(folders);
  QueueClient client(folders);
  const auto page = [&](const std::string& table, std::size_t elements) {
    std::string more;
    for (std::size_t i = 0; i < elements; ++i) more += "<b/>";
    const XmlDocument answer = client.AskDocument(
        Unchecked(Request("TableData", "<TableId>[TABLE]" + table +
                                           "</TableId><PrimaryKey>no</PrimaryKey><PageSize>1</PageSize>"
                                           "<Fields><Field><Id>no</Id></Field></Fields>" +
                                           more)));
    EXPECT_EQ(GetNodeText(answer, "/XML/Message"), "");
  };
  page("narrow", 0);
  const Memory before = MemoryOf(server.Pid());
  page("wide", 900'000);  // whose description is kept
  constexpr long kLittle = 4096;
  Memory after = MemoryOf(server.Pid());
  for (int i = 0; i < 100 && after.resident >= before.resident + kLittle; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    after = MemoryOf(server.Pid());
  }
  EXPECT_GT(after.most, before.most + 10 * kLittle) << "the request was large";
  EXPECT_LT(after.resident, before.resident + kLittle);
  EXPECT_EQ(server.Stop(), 0);
}

/// What the flood rests on.
TEST(HostileRequestsTest, AreTheSameForASeedAndANumber) {
  const std::vector<KnownTable> tables = {
      {"[TABLE]a", {"no", "it's"}, "no", {"no"}, {{"", "0100", "0101"}}, {"1", "x"}}};
  const HostileRequests one(1, tables);
  const HostileRequests again(1, tables);
  const HostileRequests other(2, tables);
  std::size_t differing = 0;
  std::size_t plain = 0;
  for (std::uint64_t number = 0; number < 500; ++number) {
    const std::string request = one.Make(number);
    EXPECT_EQ(again.Make(number), request);
    differing += other.Make(number) != request ? 1 : 0;
    plain += GetNodeText(XmlDocument(request), "/XML/Type").empty() ? 0 : 1;
  }
  EXPECT_GT(differing, 450U);
  EXPECT_GT(plain, 350U) << "most must be documents, or nothing behind the reader is reached";
  EXPECT_LT(plain, 495U);
}

}  // namespace
}  // namespace ods::test
