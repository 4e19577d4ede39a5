// What the comparison does on one database: it makes the tables, starts the processes, and reads the pages in turns.
#include "Comparison.h"

#include <array>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <stdlib.h>
#include <unistd.h>
#include <utility>

#include "OwnSession.h"
#include "ProcessFigures.h"
#include "Readers.h"
#include "RunningServer.h"
#include "Tables.h"
#include "platform/queue/QueueChoice.h"
#include "platform/system/System.h"
#include "platform/xml/Xml.h"

namespace ods::bench {
namespace {

constexpr std::array<int, 3> kPageSizes = {10, 100, 1000};
constexpr const char* kPing = "<XML><Type>Ping</Type></XML>";
constexpr int kWarmUps = 3;

std::vector<int> TableSizes(const Options& options) {
  return options.quick ? std::vector{10000} : std::vector{10000, 1000000};
}

int Rounds(const Options& options, int pageSize) {
  constexpr int kLarge = 1000;
  if (options.rounds > 0) return options.rounds;
  if (!options.quick) return 301;
  return pageSize < kLarge ? 101 : 51;
}

std::string Program(const char* name) {
  return (std::filesystem::path(ExecutablePath()).parent_path() / name).string();
}

std::vector<std::string> ServerParameters(bool exact) {
  return exact ? std::vector<std::string>{"/hidden", "/exact"} : std::vector<std::string>{"/hidden"};
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
  if (place.percent < 0) return PageRequest(kind.rows, kind.pageSize, "");
  const XmlDocument answer(reader.Ask(RowBeforePage(kind.rows, kind.pageSize, place)));
  const std::string position = GetNodeText(answer, "/XML/LastPosition");
  if (position.empty()) throw std::runtime_error("no position: " + answer.Xml());
  return PageRequest(kind.rows, kind.pageSize, position);
}

std::vector<std::string> Requests(const QueueReader& reader, const std::vector<PageKind>& kinds) {
  std::vector<std::string> requests;
  requests.reserve(kinds.size());
  for (const PageKind& kind : kinds) requests.push_back(Request(reader, kind));
  return requests;
}

/// Lines of a file.
std::vector<std::string> Lines(const std::string& path) {
  std::vector<std::string> lines;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) lines.push_back(line);
  return lines;
}

/// Has a server of its own answer `requests`, and gives `limit` the statements that it runs for each, and those that
/// set its session up.
void TeachStatements(LimitReader& limit, const std::string& connection, bool exact,
                     const std::vector<std::string>& requests) {
  std::string file = (std::filesystem::temp_directory_path() / "ods-statements-XXXXXX").string();
  const int descriptor = mkstemp(file.data());
  if (descriptor < 0) throw std::runtime_error("no temporary file");
  close(descriptor);
  setenv("ODS_BENCH_STATEMENTS", file.c_str(), 1);
  setenv("LD_PRELOAD", Program("pages-recorder.so").c_str(), 1);
  const RunningServer server(Program("odbc-data-server"), connection, ServerParameters(exact));
  unsetenv("LD_PRELOAD");
  unsetenv("ODS_BENCH_STATEMENTS");
  const QueueReader reader(server.Process(), server.Requests(), server.Results());
  (void)reader.Ask(kPing);
  for (const std::string& line : Lines(file)) {
    if (FromLine(line).text.starts_with("SET ")) limit.AddSession(FromLine(line));
  }
  for (std::size_t page = 0; page < requests.size(); ++page) {
    (void)reader.Ask(requests[page]);  // what is asked once only is asked now
    const std::size_t before = Lines(file).size();
    (void)reader.Ask(requests[page]);
    const std::vector<std::string> lines = Lines(file);
    if (lines.size() == before) throw std::runtime_error("no statement was recorded");
    for (std::size_t i = before; i < lines.size(); ++i) limit.AddStatement(page, FromLine(lines[i]));
  }
  std::filesystem::remove(file);
}

/// The values of a response's rows and how many of them are null: what must be the same whoever answers.
std::string Contents(const std::string& response) {
  const XmlDocument document(response);
  std::string text;
  for (const XmlNode& value : document.SelectNodes("/XML/Records/R/V")) text += value.Text() + " ";
  return text + std::to_string(document.SelectNodes("/XML/Records/R/V").size()) + " " +
         std::to_string(document.SelectNodes("/XML/Records/R/V/Null").size());
}

/// One process that answers requests, a server or the script, and what it costs beside the pages.
struct Answerer {
  Answerer(std::string product, std::string name, std::unique_ptr<QueueProcess> started) : process(std::move(started)) {
    result.product = std::move(product);
    result.name = std::move(name);
    (void)QueueReader(process->Process(), process->Requests(), process->Results()).Ask(kPing);  // folders are there now
    TakeStarts();
    reader = std::make_unique<QueueReader>(process->Process(), process->Requests(), process->Results());
    (void)reader->Ask(kPing);
    result.idle = ResidentMebibytes(process->Process());
  }
  void TakeStarts() {
    constexpr int kStarts = 11;
    for (int i = 0; i < kStarts; ++i) {
      process->Stop();
      const auto client = CreateMessageClient(process->Requests(), process->Results(), {});
      const std::string id = NewGuidText();
      client->Send(id, kPing);
      const auto start = std::chrono::steady_clock::now();
      process->Start();
      if (!client->Receive(id, std::chrono::seconds(30))) throw std::runtime_error("it does not start");
      result.start.elapsed.push_back(
          std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count());
    }
  }

  std::unique_ptr<QueueProcess> process;
  std::unique_ptr<QueueReader> reader;
  ProcessResult result;
};

std::unique_ptr<QueueProcess> StartPeer(const std::string& script) {
  auto process = std::make_unique<QueueProcess>();
  process->Start({script, process->Requests(), process->Results()});
  return process;
}

std::unique_ptr<QueueProcess> StartServer(const std::string& connection, bool exact) {
  return std::make_unique<RunningServer>(Program("odbc-data-server"), connection, ServerParameters(exact));
}

/// The ways of one table in one way of paging.
struct Readers {
  std::unique_ptr<LimitReader> limit;
  std::unique_ptr<HandlerReader> handler;
  QueueReader* whole;
};

/// `whole` and `session` outlive them.
Readers ReadersOf(const std::string& connection, bool exact, QueueReader& whole, DataSession& session,
                  const std::vector<PageKind>& kinds) {
  const std::vector<std::string> requests = Requests(whole, kinds);
  whole.SetPages(requests);
  Readers readers{std::make_unique<LimitReader>(Program("pages-limit"), connection),
                  std::make_unique<HandlerReader>(session, requests), &whole};
  TeachStatements(*readers.limit, connection, exact, requests);
  return readers;
}

/// All ways on one database. A page is known by its number.
class Turns {
 public:
  Turns(std::array<Readers, kPagings> readers, QueueReader& peer) : readers_(std::move(readers)), peer_(peer) {}

  /// Reads a page in all ways once.
  void Read(std::size_t page, PageResult& result) {
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
  /// Raises std::runtime_error where the ways have not read the same rows.
  void Check(int pageSize) const {
    const std::string contents = Contents(peer_.Response());
    for (const Readers& each : readers_) {
      if (Contents(each.handler->Response()) != contents || Contents(each.whole->Response()) != contents ||
          each.limit->Rows() < pageSize) {
        throw std::runtime_error("the ways do not read the same rows: " + each.whole->Response() + "\n" +
                                 peer_.Response());
      }
    }
  }

 private:
  std::array<Readers, kPagings> readers_;
  QueueReader& peer_;
};

/// Reads all pages of one size in turns, wherever they are: what else the machine does meets all of them.
void ReadPages(Turns& turns, const std::string& product, const std::vector<PageKind>& kinds, int pageSize, int rounds,
               Results& results) {
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
    PageResult unused;
    for (int i = 0; i < kWarmUps; ++i) turns.Read(page, unused);
    turns.Finish();
    turns.Check(pageSize);
  }
  for (int i = 0; i < rounds; ++i) {
    for (std::size_t each = 0; each < pages.size(); ++each) turns.Read(pages[each], found[each]);
  }
  turns.Finish();
  results.pages.insert(results.pages.end(), std::make_move_iterator(found.begin()),
                       std::make_move_iterator(found.end()));
}

/// Asks all in turns for a `Ping`.
void Ping(const std::vector<Answerer*>& answerers) {
  constexpr int kPings = 301;
  for (Answerer* const each : answerers) each->reader->SetPages({kPing});
  for (int i = 0; i < kPings; ++i) {
    for (Answerer* const each : answerers) each->reader->Read(0, each->result.ping);
  }
  for (Answerer* const each : answerers) each->reader->Finish();
}

}  // namespace

void CompareOn(const std::string& product, const std::string& connection, const Options& options, Results& results) {
  setenv("PEER_CONNECTION", connection.c_str(), 1);
  Answerer plain(product, "server", StartServer(connection, false));
  Answerer exact(product, "server, exact", StartServer(connection, true));
  Answerer peer(product, "script", StartPeer(options.peer));
  Ping({&plain, &exact, &peer});

  std::array<OwnSession, kPagings> sessions = {OwnSession(connection, false), OwnSession(connection, true)};
  std::vector<PageKind> kinds;
  for (const int rows : TableSizes(options)) {
    std::cerr << product << ": making a table of " << rows << " rows" << std::endl;
    MakeTable(sessions[0].Session(), product, rows);
    for (const int pageSize : kPageSizes) {
      for (std::size_t place = 0; place < kPlaces.size(); ++place) kinds.push_back({rows, pageSize, place});
    }
  }
  peer.reader->SetPages(Requests(*peer.reader, kinds));
  auto turns = std::make_unique<Turns>(
      std::array<Readers, kPagings>{ReadersOf(connection, false, *plain.reader, sessions[0].Session(), kinds),
                                    ReadersOf(connection, true, *exact.reader, sessions[1].Session(), kinds)},
      *peer.reader);
  for (const int pageSize : kPageSizes) {
    std::cerr << product << ": pages of " << pageSize << " rows" << std::endl;
    ReadPages(*turns, product, kinds, pageSize, Rounds(options, pageSize), results);
  }
  turns.reset();  // a reader of SQLite is in the way of removing the tables
  for (Answerer* const each : {&plain, &exact, &peer}) {
    each->result.afterwards = ResidentMebibytes(each->process->Process());
    each->process->Stop();
    results.processes.push_back(each->result);
  }
  for (const int rows : TableSizes(options)) DropTable(sessions[0].Session(), rows);
}

}  // namespace ods::bench
