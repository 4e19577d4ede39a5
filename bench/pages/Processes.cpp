#include "Processes.h"

#include <array>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <utility>

#include "ProcessFigures.h"
#include "Readers.h"
#include "Tables.h"
#include "platform/queue/QueueChoice.h"
#include "platform/system/System.h"
#include "platform/xml/Xml.h"

namespace ods::bench {

namespace {

constexpr double kMebibyte = 1024 * 1024;

QueueReader ReaderOf(const QueueProcess& process) { return {process.Process(), process.Requests(), process.Results()}; }

/// The answer; raises std::runtime_error where it is an error.
std::string AskRightly(const QueueReader& reader, const std::string& request) {
  std::string answer = reader.Ask(request);
  if (answer.find("<Error>") != std::string::npos) throw std::runtime_error("not answered: " + answer);
  return answer;
}

LargeResult MeasureLarge(const std::string& connection, bool exact, const std::string& request) {
  const auto server = StartServer(connection, exact);
  const QueueReader reader = ReaderOf(*server);
  (void)AskRightly(reader, kPing);
  LargeResult result;
  result.paging = kPagingNames.at(exact ? 1 : 0);
  result.idle = ResidentMebibytes(server->Process());
  result.answer = static_cast<double>(AskRightly(reader, request).size()) / kMebibyte;
  result.peak = PeakMebibytes(server->Process());
  return result;
}

/// The path of a server's log.
std::filesystem::path LogOf(const QueueProcess& server) {
  const std::filesystem::directory_iterator files(server.Folder() + "/Logs");
  if (files == std::filesystem::directory_iterator()) throw std::runtime_error("the server has no log");
  return files->path();
}

LogResult MeasureLog(const std::string& connection, bool exact, const std::string& request, int times) {
  constexpr std::uintmax_t kFull = 99900;  // of 100,000 bytes
  constexpr int kEmptyEach = 10;           // long before the small one is large
  const auto small = StartServer(connection, exact);
  const auto full = StartServer(connection, exact);
  QueueReader readerOfSmall = ReaderOf(*small);
  QueueReader readerOfFull = ReaderOf(*full);
  for (QueueReader* const reader : {&readerOfSmall, &readerOfFull}) {
    (void)AskRightly(*reader, request);
    reader->SetPages({request});
  }
  const std::filesystem::path fullLog = LogOf(*full);
  const std::string line =
      "A line as long as most of those that the server itself writes into its log for a request\r\n";
  for (std::ofstream file(fullLog, std::ios::app); std::filesystem::file_size(fullLog) < kFull;) {
    file << line << std::flush;
  }
  LogResult result;
  for (int i = 0; i < times; ++i) {
    if (i % kEmptyEach == 0) std::filesystem::resize_file(LogOf(*small), 0);
    readerOfSmall.Read(0, result.small);
    readerOfFull.Read(0, result.full);
  }
  readerOfSmall.Finish();
  readerOfFull.Finish();
  return result;
}

}  // namespace

std::string Program(const char* name) {
  return (std::filesystem::path(ExecutablePath()).parent_path() / name).string();
}

std::vector<std::string> ServerParameters(bool exact) {
  return exact ? std::vector<std::string>{"/hidden", "/exact"} : std::vector<std::string>{"/hidden"};
}

std::unique_ptr<QueueProcess> StartServer(const std::string& connection, bool exact) {
  return std::make_unique<RunningServer>(Program("odbc-data-server"), connection, ServerParameters(exact));
}

std::unique_ptr<QueueProcess> StartPeer(const std::string& script) {
  auto process = std::make_unique<QueueProcess>();
  process->Start({script, process->Requests(), process->Results()});
  return process;
}

Answerer::Answerer(std::string product, std::string name, std::unique_ptr<QueueProcess> started)
    : process(std::move(started)) {
  result.product = std::move(product);
  result.name = std::move(name);
  (void)ReaderOf(*process).Ask(kPing);  // folders are there now
  TakeStarts();
  reader = std::make_unique<QueueReader>(process->Process(), process->Requests(), process->Results());
  (void)reader->Ask(kPing);
  result.idle = ResidentMebibytes(process->Process());
}

void Answerer::TakeStarts() {
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

void Ping(const std::vector<Answerer*>& answerers) {
  constexpr int kPings = 301;
  for (Answerer* const each : answerers) each->reader->SetPages({kPing});
  for (int i = 0; i < kPings; ++i) {
    for (Answerer* const each : answerers) each->reader->Read(0, each->result.ping);
  }
  for (Answerer* const each : answerers) each->reader->Finish();
}

void MeasureLargeResponses(const std::string& product, const std::string& connection, const DataSession& session,
                           std::vector<LargeResult>& results) {
  // A response has at most 64 MiB, and at most 2,000,000 values.
  constexpr int kLongRows = 660;
  constexpr int kLongBytes = 100000;
  constexpr int kShortRows = 222000;
  const auto measure = [&](const char* what, const std::string& request) {
    for (const bool exact : {false, true}) {
      results.push_back(MeasureLarge(connection, exact, request));
      results.back().product = product;
      results.back().what = what;
    }
  };
  MakeTableOfLongTexts(session, product, kLongRows, kLongBytes);
  measure("660 texts of 100,000 bytes", LongTextsRequest(kLongRows));
  DropTableOfLongTexts(session);
  MakeTable(session, product, kShortRows);
  measure("222,000 rows of nine values", PageRequest(kShortRows, kShortRows, kPlaces.front(), ""));
  DropTable(session, kShortRows);
}

void MeasureLongRuns(const std::string& product, const std::string& connection, int rows, int requests,
                     std::vector<LongRunResult>& results) {
  constexpr int kPageSize = 10;
  constexpr std::array<int, 5> kParts = {100, 20, 10, 2, 1};  // of all requests
  for (const bool exact : {false, true}) {
    const auto server = StartServer(connection, exact);
    const QueueReader reader = ReaderOf(*server);
    const std::string first = PageRequest(rows, kPageSize, kPlaces.front(), "");
    const std::string position = GetNodeText(XmlDocument(AskRightly(reader, first)), "/XML/LastPosition");
    const std::array<std::string, 4> asked = {kPing, first, PageRequest(rows, kPageSize, kPlaces.at(kMiddle), position),
                                              PageRequest(rows, kPageSize, kPlaces.at(kDepths - 1), "")};
    LongRunResult& result = results.emplace_back();
    result.product = product;
    result.paging = kPagingNames.at(exact ? 1 : 0);
    int done = 0;
    for (const int part : kParts) {
      for (; done < requests / part; ++done) {
        (void)AskRightly(reader, asked.at(static_cast<std::size_t>(done) % asked.size()));
      }
      result.resident.emplace_back(done, ResidentMebibytes(server->Process()));
    }
  }
}

std::vector<LogResult> MeasureLogs(const std::string& connection, int rows, int times) {
  constexpr int kPageSize = 10;
  std::vector<LogResult> results = {
      MeasureLog(connection, false, kPing, times),
      MeasureLog(connection, true, PageRequest(rows, kPageSize, kPlaces.front(), ""), times)};
  results[0].request = "`Ping`";
  results[1].request = "page of 10 rows, exact";
  return results;
}

}  // namespace ods::bench
