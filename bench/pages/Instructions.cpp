// The instructions that a server takes for a request, counted by callgrind in a real server behind its queue folders:
// of a `Ping`, of pages of 100 and of 1,000 rows in the middle of a table, and of a row, which is what the larger page
// takes more than the smaller one, divided by the rows between them. Start, end and what is done once cancel out.
//
//   pages-instructions [--at-most FILE]
//
// On the databases whose ODBC connection strings are in ODS_BENCH_SQLITE, ODS_BENCH_POSTGRESQL and ODS_BENCH_MARIADB;
// without any, on an SQLite file of its own. A Markdown table on standard output. FILE has a line for each bound, a
// number, a blank and the figure's name; figures above their bounds make the status 1. 77 says that nothing could
// be counted, since there is no valgrind.
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "CountedServer.h"
#include "Numbers.h"
#include "OwnSession.h"
#include "Readers.h"
#include "RunningServer.h"
#include "Tables.h"
#include "common/Error.h"
#include "platform/system/System.h"

namespace {

using namespace ods::bench;

constexpr int kRows = 10000;
constexpr int kFew = 100;
constexpr int kMany = 1000;
constexpr int kNothingToCountWith = 77;  ///< ctest's SKIP_RETURN_CODE

/// By their names.
using Figures = std::map<std::string, double>;

std::string Server() {
  return (std::filesystem::path(ods::ExecutablePath()).parent_path() / "odbc-data-server").string();
}

/// The request for a page in the middle, by the positions of this kind of server.
std::string MiddlePage(const std::string& connection, bool exact, int pageSize) {
  const Place& place = kPlaces.at(kMiddle);
  const RunningServer server(
      Server(), connection,
      exact ? std::vector<std::string>{"/hidden", "/exact"} : std::vector<std::string>{"/hidden"});
  const QueueReader reader(server.Process(), server.Requests(), server.Results());
  const ods::XmlDocument answer(reader.Ask(RowBeforePage(kRows, pageSize, place)));
  const std::string position = ods::GetNodeText(answer, "/XML/LastPosition");
  if (position.empty()) throw std::runtime_error("no position: " + answer.Xml());
  return PageRequest(kRows, pageSize, place, position);
}

void CountPages(const std::string& product, const std::string& connection, bool exact, Figures& figures) {
  constexpr int kPings = 100;
  constexpr int kTimes = 2;  // what is counted hardly differs from one time to the next
  const std::string ping = "<XML><Type>Ping</Type></XML>";
  const std::string few = MiddlePage(connection, exact, kFew);
  const std::string many = MiddlePage(connection, exact, kMany);
  const auto count = [&](int pings, int times, int timesMany) {
    return CountServer(Server(), connection, exact, {{ping, 1 + pings}, {few, 1 + times}, {many, 1 + timesMany}});
  };
  const Instructions once = count(0, 0, 0);
  const Instructions aFew = (count(0, kTimes, 0) - once) / kTimes;
  const Instructions aLot = (count(0, 0, kTimes) - once) / kTimes;
  const Instructions row = (aLot - aFew) / (kMany - kFew);
  const std::string name = product + (exact ? ", exact: " : ", plain: ");
  if (!exact) figures[product + ": Ping"] = ((count(kPings, 0, 0) - once) / kPings).all;
  figures[name + "page of 100 rows"] = aFew.all;
  figures[name + "page of 1,000 rows"] = aLot.all;
  figures[name + "row"] = row.all;
  figures[name + "row, without the driver"] = row.all - row.driver;
  figures[name + "page without its rows"] = aFew.all - kFew * row.all;
  figures[name + "page without its rows and the driver"] = aFew.all - aFew.driver - kFew * (row.all - row.driver);
}

void CountProduct(const std::string& product, const std::string& connection, Figures& figures) {
  OwnSession session(connection, false);
  MakeTable(session.Session(), product, kRows);
  CountPages(product, connection, false, figures);
  CountPages(product, connection, true, figures);
  DropTable(session.Session(), kRows);
}

/// How many figures are above their bounds; what is bounded and was not counted is an error.
int CountAbove(const std::string& path, const Figures& figures) {
  std::ifstream file(path);
  if (!file) throw std::runtime_error("cannot read " + path);
  int above = 0;
  int bounds = 0;
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line.starts_with('#')) continue;
    const std::size_t blank = line.find(' ');
    const auto figure = figures.find(line.substr(blank + 1));
    if (figure == figures.end()) throw std::runtime_error("bounded, but not counted: " + line);
    ++bounds;
    if (figure->second <= std::strtod(line.c_str(), nullptr)) continue;
    ++above;
    std::cout << "Too many: " << figure->first << " takes " << Count(figure->second) << " instructions, at most "
              << Count(std::strtod(line.c_str(), nullptr)) << " are allowed (" << path << ")\n";
  }
  if (bounds == 0) throw std::runtime_error(path + " has no bounds");
  return above;
}

int CountAll(const std::string& bounds) {
  const std::vector<std::pair<std::string, std::string>> products = {
      {"SQLite", ods::EnvironmentVariable("ODS_BENCH_SQLITE")},
      {"PostgreSQL", ods::EnvironmentVariable("ODS_BENCH_POSTGRESQL")},
      {"MariaDB", ods::EnvironmentVariable("ODS_BENCH_MARIADB")}};
  Figures figures;
  bool any = false;
  for (const auto& [product, connection] : products) {
    if (connection.empty()) continue;
    CountProduct(product, connection, figures);
    any = true;
  }
  if (!any) {
    const QueueProcess place;  // never started: it has a folder
    CountProduct("SQLite", "Driver=SQLite3;Database=" + place.Folder() + "/pages.db", figures);
  }
  std::cout << "| Figure | Instructions |\n|---|---|\n";
  for (const auto& [name, instructions] : figures) std::cout << "| " << name << " | " << Count(instructions) << " |\n";
  return bounds.empty() || CountAbove(bounds, figures) == 0 ? 0 : 1;
}

}  // namespace

int main(int count, char** arguments) {
  std::string bounds;
  if (count == 3 && std::string(arguments[1]) == "--at-most") {
    bounds = arguments[2];
  } else if (count != 1) {
    std::cerr << "Usage: pages-instructions [--at-most FILE]\n";
    return 2;
  }
  if (!CanCount()) {
    std::cout << "Skipped: there is no valgrind to count instructions with.\n";
    return kNothingToCountWith;
  }
  try {
    return CountAll(bounds);
  } catch (const ods::Error& error) {
    std::cerr << "pages-instructions: " << error.Description() << '\n';
  } catch (const std::exception& error) {
    std::cerr << "pages-instructions: " << error.what() << '\n';
  }
  return 1;
}
