// What a page costs, wherever it is: on a large table every statement of the first, a middle and the last page is
// served by an index, by the database's own account of it, and takes about as long as that of the first page.
//
// ODS_PAGE_COST_ROWS is the number of rows, 20,000 unless told; with it times are taken too (scripts/page-cost.sh).
#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

#include "common/Text.h"
#include "exactwalk/Surroundings.h"

namespace ods::test {
namespace {

constexpr unsigned kPageRows = 50;

/// An order that is asked for, and what the table has for it.
struct CostCase {
  const char* name;
  const char* table;     ///< "single" or "pair"
  const char* elements;  ///< of the request
  const char* order;     ///< SQL
};

constexpr CostCase kCases[] = {
    {"key of one column", "single", "", "id"},
    {"key of one column, down", "single", "<Sort><Column><Id>id</Id><Direction>desc</Direction></Column></Sort>",
     "id DESC"},
    {"key of two columns", "pair", "", "part, line"},
    {"by an indexed column of unique values", "single",
     "<Sort><Column><Id>code</Id><Direction>asc</Direction></Column></Sort>", "code"},
    {"by an indexed column of eight values and nulls", "single",
     "<Sort><Column><Id>kind</Id><Direction>asc</Direction></Column></Sort>", "kind, id"},
    {"the same, down", "single", "<Sort><Column><Id>kind</Id><Direction>desc</Direction></Column></Sort>",
     "kind DESC, id DESC"},
};

/// The statement that numbers the rows of a new table from 1.
struct NumbersSql {
  const char* product;
  const char* numbers;  ///< a source with a column n, "$" stands for how many
  const char* account;  ///< what a statement is explained by
  const char* analyse;  ///< "$" stands for the table
};

constexpr NumbersSql kNumbers[] = {
    {"SQLite", "(WITH RECURSIVE s(n) AS (SELECT 1 UNION ALL SELECT n+1 FROM s WHERE n<$) SELECT n FROM s) s",
     "EXPLAIN QUERY PLAN ", "ANALYZE $;"},
    {"PostgreSQL", "(SELECT generate_series(1, $::bigint) AS n) s",
     "EXPLAIN (ANALYZE, COSTS OFF, TIMING OFF, SUMMARY OFF) ", "ANALYZE $;"},
    {"MariaDB", "(SELECT seq AS n FROM seq_1_to_$) s", "ANALYZE ", "ANALYZE TABLE $;"},
};

std::vector<std::string> Split(const std::string& line, char separator) {
  std::vector<std::string> cells;
  std::istringstream text(line);
  for (std::string cell; std::getline(text, cell, separator);) cells.push_back(cell);
  return cells;
}

/// No statement of a page is to read more rows than this: twenty times a page, since a product may find rows by one
/// index and sift them.
constexpr double kMostRead = 20 * kPageRows;

/// What is wrong with a product's account of a statement; "" for nothing. `whole` tells of one without a condition,
/// which begins at an end of an index.
std::string FaultOf(const std::string& product, bool whole, const std::vector<std::string>& account) {
  std::string text;
  for (const std::string& line : account) text += line + "\n";
  const auto has = [&text](const char* part) { return text.find(part) != std::string::npos; };
  if (product == "SQLite") {
    if (has("USE TEMP B-TREE")) return "sorts";
    if (!whole && (has("SCAN") || !has("SEARCH"))) return "reads the whole table";
    return "";
  }
  if (product == "PostgreSQL") {
    if (has("Seq Scan") || !has("Index")) return "reads the whole table";
    for (const char* count : {" rows=", "Rows Removed by Filter: ", "Rows Removed by Index Recheck: "}) {
      for (std::size_t at = 0; (at = text.find(count, at)) != std::string::npos; ++at) {
        if (std::atof(text.c_str() + at + std::string(count).size()) > kMostRead) return "reads too many rows";
      }
    }
    return "";
  }
  if (has("filesort") || has("temporary")) return "sorts";
  constexpr std::size_t kType = 3;
  constexpr std::size_t kRowsRead = 9;
  for (const std::string& line : account) {
    const std::vector<std::string> cells = Split(line, '\t');
    if (cells.size() <= kRowsRead) return "cannot be understood";
    if (cells[kType] == "ALL") return "reads the whole table";
    if (cells[kRowsRead] != "NULL" && std::atof(cells[kRowsRead].c_str()) > kMostRead) return "reads too many rows";
  }
  return "";
}

class PageCost : public OnProduct {
 protected:
  void SetUp() override {
    OnProduct::SetUp();
    if (client_ == nullptr) return;
    if (const char* given = std::getenv("ODS_PAGE_COST_ROWS")) rows_ = std::stoi(given);
    numbers_ = std::ranges::find(kNumbers, std::string(GetParam().name),
                                 [](const NumbersSql& each) { return std::string(each.product); });
    MakeTable(
        "single",
        "(id bigint NOT NULL PRIMARY KEY, code varchar(20) NOT NULL, kind varchar(10) NULL, note varchar(40) NULL)",
        // A code is unique, and not in the order of the key.
        "SELECT n, 'C' || ((n * 7919) % 1000003) || '-' || n, CASE WHEN n % 9 = 0 THEN NULL ELSE 'kind ' || (n % 9) "
        "END, 'a note of some length'");
    client_->Run("CREATE UNIQUE INDEX " + Name("single") + "_code ON " + Name("single") + " (code); CREATE INDEX " +
                 Name("single") + "_kind ON " + Name("single") + " (kind, id);");
    MakeTable("pair", "(part integer NOT NULL, line integer NOT NULL, note varchar(40) NULL, PRIMARY KEY (part, line))",
              "SELECT n / 1000, n % 1000, 'a note of some length'");
    for (const char* table : {"single", "pair"}) client_->Run(ReplaceAll(numbers_->analyse, "$", Name(table)));
  }
  void TearDown() override {
    if (client_ == nullptr) return;
    for (const char* table : {"single", "pair"}) client_->Run("DROP TABLE " + Name(table) + ";");
  }

  static std::string Name(const std::string& table) { return "cost_" + std::to_string(getpid()) + "_" + table; }

  void MakeTable(const std::string& table, const std::string& columns, std::string select) {
    // MariaDB's || is another operator unless it is told.
    if (product_.quoteBefore == "`") client_->Run("SET sql_mode='PIPES_AS_CONCAT,NO_BACKSLASH_ESCAPES';");
    client_->Run("CREATE TABLE " + Name(table) + " " + columns + ";");
    client_->Run("INSERT INTO " + Name(table) + " " + select + " FROM " +
                 ReplaceAll(numbers_->numbers, "$", std::to_string(rows_)) + ";");
  }

  [[nodiscard]] std::string Elements(const CostCase& each) const {
    const std::string note = "<Field><Id>note</Id></Field>";
    return "<TableId>[TABLE]" + Name(each.table) + "</TableId>" + each.elements + "<Fields>" +
           (std::string(each.table) == "pair" ? "<Field><Id>part</Id></Field><Field><Id>line</Id></Field>"
                                              : "<Field><Id>id</Id></Field><Field><Id>code</Id></Field>") +
           note + "</Fields>";
  }

  /// A page of one row, the one that has `offset` rows before it: it is asked for by a filter, so that nobody has to
  /// walk there.
  Page PageAt(const CostCase& each, int offset) {
    const bool pair = std::string(each.table) == "pair";
    const auto rows = client_->Read(
        pair ? std::vector<std::string>{"part", "line"} : std::vector<std::string>{"id"},
        "FROM " + Name(each.table) + " ORDER BY " + each.order + " LIMIT 1 OFFSET " + std::to_string(offset));
    std::string filter;
    const std::array names = {pair ? "part" : "id", "line"};
    for (std::size_t i = 0; i < rows.at(0).size(); ++i) {
      filter += std::string("<Condition><FieldId>") + names.at(i) + "</FieldId><FilterOp>eq</FilterOp><Value>" +
                rows[0][i].value() + "</Value></Condition>";
    }
    return pager_->Ask(Elements(each) + "<Filter>" + filter + "</Filter>", 1, "gotofirst", {});
  }

  /// The pages that are looked at: how they are asked for, and from where.
  struct Place {
    const char* name;
    const char* navigate;
    Page from;
    double bound;  ///< of its time in relation to the first page's
  };
  std::vector<Place> Places(const CostCase& each) {
    const int size = static_cast<int>(kPageRows);
    constexpr double kOneStatement = 1.5;
    // To know that nothing follows, the ranges behind the last row are asked too: two statements more at the most.
    constexpr double kAllRanges = 3;
    // Within a value of the first column, as nearly all pages are.
    const int middle = rows_ / 2 + 137;
    return {{"first", "gotofirst", {}, kOneStatement},
            {"middle", "gotonext", PageAt(each, middle), kOneStatement},
            {"middle, backwards", "gotoprev", PageAt(each, middle), kOneStatement},
            {"last", "gotonext", PageAt(each, rows_ - size - 1), kAllRanges},
            {"last, by gotolast", "gotolast", {}, kOneStatement}};
  }

  void TakeTimes(const CostCase& each, const std::vector<Place>& places) {
    constexpr int kTimes = 301;
    const std::string elements = Elements(each);
    std::vector<std::vector<double>> times(places.size());
    for (int i = 0; i < kTimes; ++i) {
      for (std::size_t place = 0; place < places.size(); ++place) {
        const auto start = std::chrono::steady_clock::now();
        (void)pager_->Ask(elements, kPageRows, places[place].navigate, places[place].from);
        times[place].push_back(
            std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count());
      }
    }
    double first = 0;
    std::cout << "| " << GetParam().name << ", " << each.name;
    for (std::size_t place = 0; place < places.size(); ++place) {
      std::ranges::nth_element(times[place], times[place].begin() + kTimes / 2);
      const double median = times[place][kTimes / 2];
      if (place == 0) {
        first = median;
        std::cout << " | " << std::llround(median) << " µs";
        continue;
      }
      std::cout << " | " << std::fixed << std::setprecision(2) << median / first;
      EXPECT_LE(median / first, places[place].bound)
          << GetParam().name << ", " << each.name << ", " << places[place].name;
    }
    std::cout << " |" << std::endl;
  }

  int rows_ = 20000;
  const NumbersSql* numbers_ = nullptr;
};

TEST_P(PageCost, IsAnIndexsWhereverThePageIs) {
  for (const CostCase& each : kCases) {
    const std::vector<Place> places = Places(each);
    for (const Place& place : places) {
      const Page page = pager_->Ask(Elements(each), kPageRows, place.navigate, place.from);
      EXPECT_EQ(page.rows.size(), kPageRows) << each.name << ", " << place.name;
      const std::vector<std::string> statements = pager_->TakeStatements();
      EXPECT_FALSE(statements.empty());
      for (const std::string& statement : statements) {
        const std::vector<std::string> account = client_->Show(numbers_->account + statement);
        std::string text;
        for (const std::string& line : account) text += "\n  " + line;
        const bool whole = statement.find(" WHERE ") == std::string::npos;
        EXPECT_EQ(FaultOf(GetParam().name, whole, account), "") << each.name << ", " << place.name << "\n"
                                                                << statement << text;
      }
    }
    if (std::getenv("ODS_PAGE_COST_ROWS") != nullptr) TakeTimes(each, places);
  }
}

INSTANTIATE_TEST_SUITE_P(Products, PageCost, ::testing::ValuesIn(kProductCases), NameOfCase);

}  // namespace
}  // namespace ods::test
