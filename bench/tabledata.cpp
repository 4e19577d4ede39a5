// One page in the middle of a large table: the `TableData` handler, from request document to response text, beside its
// two statements alone, run and read through the same ODBC layer. The ratio of the two is what the server adds.
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "common/ComponentRegistry.h"
#include "common/Dictionary.h"
#include "common/Hex.h"
#include "log/Trace.h"
#include "platform/ado/Ado.h"
#include "platform/ado/OdbcDatabase.h"
#include "server/modConnect.h"
#include "tabledata/modTableData.h"
#include "ui/HeadlessUserInterface.h"

namespace {

constexpr int kRows = 200'000;

/// An SQLite database with one large table in a temporary folder, and a session on it without a log.
class LargeTable {
 public:
  LargeTable() : tracer_(ui_) {
    std::string name = (std::filesystem::temp_directory_path() / "ods-bench-XXXXXX").string();
    folder_ = mkdtemp(name.data());
    components_.Register("ADODB.Connection", ods::CreateOdbcConnection);
    state_.ui = &ui_;
    state_.tracer = &tracer_;
    state_.components = &components_;
    database_ = ods::ConnectDatabase(state_, "Driver=SQLite3;Database=" + File());
    Run("CREATE TABLE t (no INTEGER NOT NULL PRIMARY KEY, name VARCHAR(40), city VARCHAR(40), street VARCHAR(40), "
        "amount DOUBLE, day DATE, flag BOOLEAN, quantity INTEGER)");
    Run("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " + std::to_string(kRows) +
        ") INSERT INTO t SELECT i, 'Customer ' || i, 'City ' || (i % 97), 'Street ' || (i % 1013), i * 0.5, "
        "'2024-02-05', i % 2, i % 50 FROM n");
  }
  ~LargeTable() {
    database_ = {};
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }
  LargeTable(const LargeTable&) = delete;
  LargeTable& operator=(const LargeTable&) = delete;
  LargeTable(LargeTable&&) = delete;
  LargeTable& operator=(LargeTable&&) = delete;

  [[nodiscard]] std::string File() const { return (folder_ / "bench.db").string(); }
  void Run(const std::string& sql) { (void)Session().connection->OpenRecordSet(sql, 0); }
  [[nodiscard]] ods::DataSession& Session() { return *database_.session; }

 private:
  std::filesystem::path folder_;
  ods::HeadlessUserInterface ui_;
  ods::Tracer tracer_;
  ods::ComponentRegistry components_;
  ods::ProcessState state_;
  ods::Database database_;
};

std::string PageRequest(int pageSize, const std::string& navigate, const std::string& lastPosition) {
  std::string text = "<XML><Type>TableData</Type><TableId>[TABLE]t</TableId><PrimaryKey>no</PrimaryKey><PageSize>" +
                     std::to_string(pageSize) + "</PageSize><Navigate>" + navigate + "</Navigate><LastPos>" +
                     lastPosition + "</LastPos><Fields>";
  for (const char* field : {"no", "name", "city", "street", "amount", "day", "flag", "quantity"}) {
    text += std::string("<Field><Id>") + field + "</Id></Field>";
  }
  return text + "</Fields></XML>";
}

/// The position of the row in the middle of the table.
std::string MiddlePosition(LargeTable& table) {
  ods::XmlDocument response;
  ods::TableData(ods::XmlDocument(PageRequest(1, "gotofirst", "")), response, table.Session());
  ods::Dictionary position;
  position.Set("no", kRows / 2);
  return ods::BytesToHex(position.marshalldictionary());
}

void TableDataHandler(benchmark::State& state) {
  LargeTable table;
  const std::string request = PageRequest(static_cast<int>(state.range(0)), "gotonext", MiddlePosition(table));
  for ([[maybe_unused]] auto _ : state) {
    ods::XmlDocument response;
    ods::TableData(ods::XmlDocument(request), response, table.Session());
    benchmark::DoNotOptimize(response.Xml());
  }
}

/// The two statements of a page, run by `open` and read.
template <typename Open>
void RunStatements(benchmark::State& state, Open open) {
  const auto limit = static_cast<std::int32_t>(state.range(0)) + 1;
  const std::string middle = std::to_string(kRows / 2);
  for ([[maybe_unused]] auto _ : state) {
    const auto boundary = open("SELECT \"no\" FROM \"t\" WHERE (\"no\"=" + middle + ")", 1);
    benchmark::DoNotOptimize(boundary->Item(0));
    const auto rows = open(
        "SELECT \"no\",\"name\",\"city\",\"street\",\"amount\",\"day\",\"flag\",\"quantity\" FROM \"t\" WHERE ( "
        "((\"no\">" +
            middle + "))) ORDER BY \"no\"",
        limit);
    for (; !rows->AtEnd(); rows->MoveNext()) {
      for (std::size_t i = 0; i < rows->Fields().size(); ++i) benchmark::DoNotOptimize(rows->Item(i));
    }
  }
}

void StatementsAlone(benchmark::State& state) {
  LargeTable table;
  RunStatements(state, [&](const std::string& sql, std::int32_t limit) {
    return table.Session().connection->OpenRecordSet(sql, limit);
  });
}

/// The same without the driver's thread.
void StatementsOnThisThread(benchmark::State& state) {
  const LargeTable table;
  const ods::odbc::OdbcDatabase database("Driver=SQLite3;Database=" + table.File(), {});
  ods::odbc::Canceller canceller;
  RunStatements(
      state, [&](const std::string& sql, std::int32_t limit) { return database.OpenRecordSet(sql, limit, canceller); });
}

BENCHMARK(StatementsOnThisThread)
    ->Arg(100)
    ->Arg(1000)
    ->Unit(benchmark::kMicrosecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();
BENCHMARK(StatementsAlone)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond)->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK(TableDataHandler)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond)->MeasureProcessCPUTime()->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
