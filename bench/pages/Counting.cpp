// The instructions that a server takes for a request, counted by callgrind in a real server behind its queue folders:
// of a `Ping`, of pages of 100 and of 1,000 rows in the middle of a table, and of a row, which is what the larger page
// takes more than the smaller one, divided by the rows between them. Start, end and what is done once cancel out. And
// beside what the bare program takes for the statements of these pages (the limit).
//
//   pages-instructions [--at-most FILE]
//
// On the databases whose ODBC connection strings are in ODS_BENCH_SQLITE, ODS_BENCH_POSTGRESQL and ODS_BENCH_MARIADB;
// without any, on an SQLite file of its own. A Markdown table on standard output. FILE has a line for each bound, a
// number, a blank and the figure's name; figures above their bounds make the status 1, and the limit is left out. 77
// says that nothing could be counted, since there is no valgrind.
#include <array>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <map>
#include <stdexcept>
#include <string>

#include "Counted.h"
#include "Numbers.h"
#include "OwnSession.h"
#include "Processes.h"
#include "Readers.h"
#include "RunningServer.h"
#include "Tables.h"
#include "common/Error.h"
#include "common/Text.h"
#include "platform/system/System.h"

namespace {

using namespace ods::bench;

constexpr int kRows = 10000;
constexpr int kFew = 100;
constexpr int kMany = 1000;
constexpr int kNothingToCountWith = 77;  ///< ctest's SKIP_RETURN_CODE

constexpr std::array<const char*, 3> kProducts = {"SQLite", "PostgreSQL", "MariaDB"};

constexpr const char* kRatioOfFew = "server : limit, page of 100 rows";
constexpr const char* kRatioOfMany = "server : limit, page of 1,000 rows";
constexpr const char* kOfPing = "Ping";
constexpr const char* kPageOfFew = "page of 100 rows";
constexpr const char* kPageOfMany = "page of 1,000 rows";
constexpr const char* kRow = "row";
constexpr const char* kRowAlone = "row, without the driver";
constexpr const char* kRest = "page without its rows";
constexpr const char* kRestAlone = "page without its rows and the driver";
constexpr std::array<const char*, 9> kFigures = {kRatioOfFew, kRatioOfMany, kOfPing, kPageOfFew, kPageOfMany,
                                                 kRow,        kRowAlone,    kRest,   kRestAlone};

/// By their names.
using Figures = std::map<std::string, double>;

/// What a figure is called among the bounds.
std::string NameOf(const std::string& product, bool exact, const char* figure) {
  return product + (exact ? ", exact: " : ", plain: ") + figure;
}

/// The request for a page in the middle, by the positions of this kind of server.
std::string MiddlePage(const std::string& connection, bool exact, int pageSize) {
  const Place& place = kPlaces.at(kMiddle);
  const auto server = StartServer(connection, exact);
  const QueueReader reader(server->Process(), server->Requests(), server->Results());
  const ods::XmlDocument answer(reader.Ask(RowBeforePage(kRows, pageSize, place)));
  const std::string position = ods::GetNodeText(answer, "/XML/LastPosition");
  if (position.empty()) throw std::runtime_error("no position: " + answer.Xml());
  return PageRequest(kRows, pageSize, place, position);
}

/// What a page of each size takes.
struct Pages {
  Instructions few;
  Instructions many;
};

/// `count` counts so many of each besides those that are in every count, in which start, end and what is done once are.
template <typename CountOf>
Pages CountPages(const CountOf& count) {
  // What a server does by the clock makes some 50,000 instructions more or less.
  constexpr int kTimesFew = 8;
  constexpr int kTimesMany = 2;
  const Instructions once = count(0, 0);
  return {(count(kTimesFew, 0) - once) / kTimesFew, (count(0, kTimesMany) - once) / kTimesMany};
}

void CountServerAndLimit(const std::string& product, const std::string& connection, bool exact, bool withLimit,
                         Figures& figures) {
  constexpr int kPings = 100;
  const std::string few = MiddlePage(connection, exact, kFew);
  const std::string many = MiddlePage(connection, exact, kMany);
  const auto set = [&](const char* figure, double number) { figures[NameOf(product, exact, figure)] = number; };
  const auto pings = [&](int times) { return CountServer(connection, exact, {{kPing, 1 + times}}); };
  if (!exact) set(kOfPing, ((pings(kPings) - pings(0)) / kPings).all);

  const Pages pages = CountPages([&](int times, int timesMany) {
    return CountServer(connection, exact, {{few, 1 + times}, {many, 1 + timesMany}});
  });
  const Instructions row = (pages.many - pages.few) / (kMany - kFew);
  set(kPageOfFew, pages.few.all);
  set(kPageOfMany, pages.many.all);
  set(kRow, row.all);
  set(kRowAlone, row.all - row.driver);
  set(kRest, pages.few.all - kFew * row.all);
  set(kRestAlone, pages.few.all - pages.few.driver - kFew * (row.all - row.driver));

  if (!withLimit) return;
  const Pages least = CountPages([&](int times, int timesMany) {
    return CountLimit(connection, exact, {{few, 1 + times}, {many, 1 + timesMany}});
  });
  set(kRatioOfFew, pages.few.all / least.few.all);
  set(kRatioOfMany, pages.many.all / least.many.all);
}

void CountProduct(const std::string& product, const std::string& connection, bool withLimit, Figures& figures) {
  OwnSession session(connection, false);
  MakeTable(session.Session(), product, kRows);
  for (const bool exact : {false, true}) CountServerAndLimit(product, connection, exact, withLimit, figures);
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

/// A line for each product and way of paging.
void WriteTable(const Figures& figures) {
  std::cout << "| |";
  for (const char* const each : kFigures) std::cout << ' ' << each << " |";
  std::cout << "\n|---|";
  for (std::size_t i = 0; i < kFigures.size(); ++i) std::cout << "---|";
  for (const char* const product : kProducts) {
    for (const bool exact : {false, true}) {
      if (!figures.contains(NameOf(product, exact, kRow))) continue;
      std::cout << "\n| " << product << (exact ? ", exact |" : ", plain |");
      for (const char* const each : kFigures) {
        const auto figure = figures.find(NameOf(product, exact, each));
        const bool isRatio = each == kRatioOfFew || each == kRatioOfMany;
        std::cout << ' '
                  << (figure == figures.end() ? "–"
                      : isRatio               ? Times(figure->second)
                                              : Count(figure->second))
                  << " |";
      }
    }
  }
  std::cout << '\n';
}

int CountAll(const std::string& bounds) {
  Figures figures;
  for (const char* const product : kProducts) {
    const std::string connection = ods::EnvironmentVariable(("ODS_BENCH_" + ods::ToUpper(product)).c_str());
    if (!connection.empty()) CountProduct(product, connection, bounds.empty(), figures);
  }
  if (figures.empty()) {
    const QueueProcess place;  // never started: it has a folder
    CountProduct("SQLite", "Driver=SQLite3;Database=" + place.Folder() + "/pages.db", bounds.empty(), figures);
  }
  WriteTable(figures);
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
