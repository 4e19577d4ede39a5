// The ways of reading a page side by side, in turns in one run: the bare program that runs the page's statements and
// throws the rows away (the limit), the handler in this process, the whole way through the queue folders to a real
// server and back, and a script that does the same (bench/peer). On the databases whose ODBC connection strings are in
// ODS_BENCH_SQLITE, ODS_BENCH_POSTGRESQL and ODS_BENCH_MARIADB.
//
//   pages-compare PEER [--quick] [--rounds COUNT] [--requests COUNT] [--details FILE]
//
// PEER is the script. --quick leaves out the table of a million rows and takes fewer pages, --rounds reads each page so
// often at most, --requests asks each server whose memory is watched so often. Markdown tables on standard output; FILE
// gets every median and 99th percentile. What the statements of a page are is looked up in a server that runs with
// pages-recorder.so.
#include <array>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <signal.h>
#include <string>

#include "Comparison.h"
#include "Numbers.h"
#include "common/Error.h"
#include "platform/system/System.h"

namespace {

using namespace ods::bench;

struct Product {
  const char* name;
  const char* variable;
};
constexpr std::array<Product, 3> kProducts = {
    {{"SQLite", "ODS_BENCH_SQLITE"}, {"PostgreSQL", "ODS_BENCH_POSTGRESQL"}, {"MariaDB", "ODS_BENCH_MARIADB"}}};

/// False for wrong usage.
bool ReadOptions(int count, char** arguments, Options& options) {
  for (int i = 1; i < count; ++i) {
    const std::string argument = arguments[i];
    if (argument == "--quick") {
      options.quick = true;
    } else if (argument == "--details" && i + 1 < count) {
      options.details = arguments[++i];
    } else if (argument == "--rounds" && i + 1 < count) {
      options.rounds = std::atoi(arguments[++i]);
    } else if (argument == "--requests" && i + 1 < count) {
      options.requests = std::atoi(arguments[++i]);
    } else if (!argument.starts_with('-') && options.peer.empty()) {
      options.peer = argument;
    } else {
      return false;
    }
  }
  return !options.peer.empty();
}

void Compare(const Options& options) {
  Results results;
  for (const Product& product : kProducts) {
    const std::string connection = ods::EnvironmentVariable(product.variable);
    if (!connection.empty()) CompareOn(product.name, connection, options, results);
  }
  std::cout << "\nBeside what is aimed at:\n\n";
  WriteAims(std::cout, results);
  std::cout << "\nThe next page in the middle, medians:\n\n";
  WritePages(std::cout, results.pages);
  std::cout << "\nBy the place of the page, medians. ";
  WritePlaces(std::cout, results.pages);
  WriteGrowth(std::cout, results.pages);
  std::cout << "\n`TableList` of " << Count(kManyTables) << " tables, medians:\n\n";
  WriteLists(std::cout, results.lists);
  std::cout << "\nThe processes:\n\n";
  WriteProcesses(std::cout, results.processes);
  std::cout << "\nMemory:\n\n";
  WriteMemory(std::cout, results.large, results.longRuns);
  std::cout << "\nA log as large as it may become beside a small one:\n\n";
  WriteLogs(std::cout, results.logs);
  if (options.details.empty()) return;
  std::ofstream details(options.details);
  WriteDetails(details, results.pages);
}

}  // namespace

int main(int count, char** arguments) {
  Options options;
  if (!ReadOptions(count, arguments, options)) {
    std::cerr << "Usage: pages-compare PEER [--quick] [--rounds COUNT] [--requests COUNT] [--details FILE]\n";
    return 2;
  }
  signal(SIGPIPE, SIG_IGN);
  try {
    Compare(options);
  } catch (const ods::Error& error) {
    std::cerr << "pages-compare: " << error.Description() << '\n';
    return 1;
  } catch (const std::exception& error) {
    std::cerr << "pages-compare: " << error.what() << '\n';
    return 1;
  }
  return 0;
}
