// What the comparison does on one database: it makes the tables, starts the processes, and reads the pages in turns.
#include "Comparison.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <iostream>
#include <iterator>
#include <memory>
#include <numeric>
#include <random>
#include <stdexcept>
#include <stdlib.h>
#include <unistd.h>
#include <utility>

#include "OwnSession.h"
#include "ProcessFigures.h"
#include "Processes.h"
#include "Readers.h"
#include "RunningServer.h"
#include "Tables.h"
#include "Teaching.h"
#include "platform/system/System.h"
#include "platform/xml/Xml.h"

namespace ods::bench {
namespace {

constexpr std::array<int, 3> kPageSizes = {10, 100, 1000};
constexpr int kWarmUps = 3;

/// How often a page is read, and for how long at most: pages that a database takes long for are read less often.
struct Turn {
  int rounds;
  double seconds;
};
constexpr int kFewestRounds = 11;

Turn TurnOf(const Options& options, int pageSize) {
  constexpr int kLarge = 1000;
  if (options.rounds > 0) return {options.rounds, 20};
  if (!options.quick) return {301, 20};
  return pageSize < kLarge ? Turn{61, 3} : Turn{31, 3};
}

/// A page that is asked for: of which table, how large, and where.
struct PageKind {
  int rows;
  int pageSize;
  std::size_t place;
};

/// The request for a page, with its position as `reader` gives it.
std::string Request(const QueueReader& reader, const PageKind& kind) {
  const Place& place = kPlaces.at(kind.place);
  if (std::string_view(place.navigate) != "gotonext") return PageRequest(kind.rows, kind.pageSize, place, "");
  const XmlDocument answer(reader.Ask(RowBeforePage(kind.rows, kind.pageSize, place)));
  const std::string position = GetNodeText(answer, "/XML/LastPosition");
  if (position.empty()) throw std::runtime_error("no position: " + answer.Xml());
  return PageRequest(kind.rows, kind.pageSize, place, position);
}

std::vector<std::string> Requests(const QueueReader& reader, const std::vector<PageKind>& kinds) {
  std::vector<std::string> requests;
  requests.reserve(kinds.size());
  for (const PageKind& kind : kinds) requests.push_back(Request(reader, kind));
  return requests;
}

/// The values of a response's rows and how many of them are null: what must be the same whoever answers.
std::string Contents(const std::string& response) {
  const XmlDocument document(response);
  std::string text;
  for (const XmlNode& value : document.SelectNodes("/XML/Records/R/V")) text += value.Text() + " ";
  return text + std::to_string(document.SelectNodes("/XML/Records/R/V").size()) + " " +
         std::to_string(document.SelectNodes("/XML/Records/R/V/Null").size());
}

/// How many of the many tables a response lists.
std::string ManyTablesOf(const std::string& response) {
  int count = 0;
  const XmlDocument document(response);
  for (const XmlNode& caption : document.SelectNodes("/XML/Tables/Table/Caption")) {
    if (caption.Text().find(kManyPrefix) != std::string::npos) ++count;
  }
  return std::to_string(count);
}

/// The ways of one table in one way of paging.
struct Readers {
  std::unique_ptr<LimitReader> limit;
  std::unique_ptr<HandlerReader> handler;
  QueueReader* whole;
};

/// `whole` and `session` outlive them.
Readers ReadersOf(const std::string& connection, bool exact, QueueReader& whole, DataSession& session,
                  const std::vector<std::string>& requests) {
  whole.SetPages(requests);
  Readers readers{std::make_unique<LimitReader>(Program("pages-limit"), connection),
                  std::make_unique<HandlerReader>(session, requests), &whole};
  TeachStatements(*readers.limit, connection, exact, requests);
  return readers;
}

/// All ways on one database. A page, or another request, is known by its number.
class Turns {
 public:
  Turns(std::array<Readers, kPagings> readers, QueueReader& peer) : readers_(std::move(readers)), peer_(peer) {}

  /// Reads a page in all ways once.
  void Read(std::size_t page, WaysResult& result) {
    for (std::size_t paging = 0; paging < kPagings; ++paging) {
      auto& ways = result.ways.at(paging);
      readers_.at(paging).limit->Read(page, ways[kLimit]);
      readers_.at(paging).handler->Read(page, ways[kHandler]);
      readers_.at(paging).whole->Read(page, ways[kWhole]);
    }
    peer_.Read(page, result.peer);
  }
  void Finish() {
    for (const Readers& each : readers_) each.whole->Finish();
    peer_.Finish();
  }
  /// Raises std::runtime_error where the ways have not read the same rows, as `contents` tells of a response, or the
  /// limit less than so many.
  void Check(int rows, std::string (*contents)(const std::string& response)) const {
    const std::string expected = contents(peer_.Response());
    for (const Readers& each : readers_) {
      if (contents(each.handler->Response()) != expected || contents(each.whole->Response()) != expected ||
          each.limit->Rows() < rows) {
        throw std::runtime_error("the ways do not read the same rows: " + each.whole->Response() + "\n" +
                                 peer_.Response());
      }
    }
  }

 private:
  std::array<Readers, kPagings> readers_;
  QueueReader& peer_;
};

double SecondsSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// Reads all pages of one size in turns, wherever they are: what else the machine does meets all of them.
void ReadPages(Turns& turns, const std::string& product, const std::vector<PageKind>& kinds, int pageSize,
               const Turn& turn, Results& results) {
  std::vector<std::size_t> pages;
  std::vector<PageResult> found;
  for (std::size_t page = 0; page < kinds.size(); ++page) {
    if (kinds[page].pageSize != pageSize) continue;
    pages.push_back(page);
    PageResult& result = found.emplace_back();
    result.product = product;
    result.rows = kinds[page].rows;
    result.pageSize = pageSize;
    result.place = kinds[page].place;
    WaysResult unused;
    for (int i = 0; i < kWarmUps; ++i) turns.Read(page, unused);
    turns.Finish();
    turns.Check(pageSize, Contents);
  }
  std::vector<double> seconds(pages.size());
  std::vector<std::size_t> order(pages.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::mt19937 chance(1);  // the same each time
  for (int i = 0; i < turn.rounds; ++i) {
    // What a server does once in so many bytes of log would always meet the same page otherwise.
    std::ranges::shuffle(order, chance);
    for (const std::size_t each : order) {
      if (i >= kFewestRounds && seconds[each] > turn.seconds) continue;
      const auto start = std::chrono::steady_clock::now();
      turns.Read(pages[each], found[each]);
      seconds[each] += SecondsSince(start);
    }
  }
  turns.Finish();
  results.pages.insert(results.pages.end(), std::make_move_iterator(found.begin()),
                       std::make_move_iterator(found.end()));
}

/// The processes and sessions that answer on one database.
struct Sides {
  Sides(const std::string& product, const std::string& connection, const std::string& script)
      : plain(product, "server", StartServer(connection, false)),
        exact(product, "server, exact", StartServer(connection, true)),
        peer(product, "script", StartPeer(script)),
        sessions{OwnSession(connection, false), OwnSession(connection, true)} {}
  Answerer plain;
  Answerer exact;
  Answerer peer;
  std::array<OwnSession, kPagings> sessions;
};

void ComparePages(Sides& sides, const std::string& product, const std::string& connection, const Options& options,
                  Results& results) {
  std::vector<PageKind> kinds;
  for (const int rows : TableSizes(options)) {
    std::cerr << product << ": making a table of " << rows << " rows" << std::endl;
    MakeTable(sides.sessions[0].Session(), product, rows);
    for (const int pageSize : kPageSizes) {
      for (std::size_t place = 0; place < kPlaces.size(); ++place) kinds.push_back({rows, pageSize, place});
    }
  }
  sides.peer.reader->SetPages(Requests(*sides.peer.reader, kinds));
  Turns turns({ReadersOf(connection, false, *sides.plain.reader, sides.sessions[0].Session(),
                         Requests(*sides.plain.reader, kinds)),
               ReadersOf(connection, true, *sides.exact.reader, sides.sessions[1].Session(),
                         Requests(*sides.exact.reader, kinds))},
              *sides.peer.reader);
  for (const int pageSize : kPageSizes) {
    std::cerr << product << ": pages of " << pageSize << " rows" << std::endl;
    ReadPages(turns, product, kinds, pageSize, TurnOf(options, pageSize), results);
  }
}

void CompareLists(Sides& sides, const std::string& product, const std::string& connection, const Options& options,
                  Results& results) {
  std::cerr << product << ": making " << kManyTables << " tables" << std::endl;
  MakeManyTables(sides.sessions[0].Session(), product, kManyTables);
  const std::vector<std::string> requests = {"<XML><Type>TableList</Type></XML>"};
  sides.peer.reader->SetPages(requests);
  {
    Turns turns({ReadersOf(connection, false, *sides.plain.reader, sides.sessions[0].Session(), requests),
                 ReadersOf(connection, true, *sides.exact.reader, sides.sessions[1].Session(), requests)},
                *sides.peer.reader);
    WaysResult unused;
    for (int i = 0; i < kWarmUps; ++i) turns.Read(0, unused);
    turns.Finish();
    turns.Check(kManyTables, ManyTablesOf);
    WaysResult& result = results.lists.emplace_back();
    result.product = product;
    const int rounds = options.quick ? 31 : 101;
    for (int i = 0; i < rounds; ++i) turns.Read(0, result);
    turns.Finish();
  }
  DropManyTables(sides.sessions[0].Session(), product, kManyTables);
}

}  // namespace

std::vector<int> TableSizes(const Options& options) {
  return options.quick ? std::vector{10000} : std::vector{10000, 1000000};
}

void CompareOn(const std::string& product, const std::string& connection, const Options& options, Results& results) {
  setenv("PEER_CONNECTION", connection.c_str(), 1);
  Sides sides(product, connection, options.peer);
  const std::vector<Answerer*> answerers = {&sides.plain, &sides.exact, &sides.peer};
  Ping(answerers);
  ComparePages(sides, product, connection, options, results);
  CompareLists(sides, product, connection, options, results);
  for (Answerer* const each : answerers) {
    each->result.afterwards = ResidentMebibytes(each->process->Process());
    each->process->Stop();
    results.processes.push_back(each->result);
  }
  const DataSession& session = sides.sessions[0].Session();
  std::cerr << product << ": memory" << std::endl;
  MeasureLargeResponses(product, connection, session, results.large);
  const int rows = TableSizes(options).front();
  const int requests = options.requests > 0 ? options.requests : options.quick ? 2000 : 100000;
  MeasureLongRuns(product, connection, rows, requests, results.longRuns);
  if (product == "SQLite") results.logs = MeasureLogs(connection, rows, options.quick ? 1000 : 10000);
  for (const int each : TableSizes(options)) DropTable(session, each);
}

}  // namespace ods::bench
