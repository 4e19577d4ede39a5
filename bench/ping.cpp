// One round trip: a Ping request sent to a real server process, until its answer is read. And what a server costs that
// nobody asks anything: processor time in milliseconds a second, and resident memory in MiB.
//
// The server is the program named as the first argument, or by the environment variable ODS_BENCH_SERVER, or the one
// beside the benchmark; it runs hidden on an empty SQLite database. Beside the mean the counters give the median and
// the 99th percentile in microseconds. A second benchmark asks in turns a hidden server and one whose main window and
// trace log are open, and compares them; it needs a display and xdotool.
#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <filesystem>
#include <iostream>
#include <numeric>
#include <stdlib.h>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

#include "ProcessFigures.h"
#include "RunningServer.h"
#include "platform/queue/Queue.h"
#include "platform/system/System.h"

namespace {

using ods::bench::ProcessorSeconds;
using ods::bench::ResidentMebibytes;
using ods::bench::RunningServer;
using ods::bench::RunProgram;
using Clock = std::chrono::steady_clock;

constexpr const char* kServerVariable = "ODS_BENCH_SERVER";

/// The client's side: sends a Ping and waits for the answer.
class Pinger {
 public:
  explicit Pinger(const RunningServer& server) : results_(server.Results()), queue_(ods::CreateFolderQueue()) {
    queue_->SetFolder(server.Requests());
    queue_->Create();
    queue_->SetPackage("<XML><Type>Ping</Type></XML>");
  }

  /// False when the server did not answer OK within `timeout`.
  bool Ping(std::chrono::milliseconds timeout) {
    const std::string id = ods::NewGuidText();
    queue_->Send(id);
    const auto answer = results_.Receive(id, timeout);
    return answer && answer->find("<Ping>OK</Ping>") != std::string::npos;
  }

 private:
  ods::AnswerFolder results_;
  std::shared_ptr<ods::Queue> queue_;
};

double Quantile(const std::vector<double>& sorted, double part) {
  return sorted[std::min(sorted.size() - 1, static_cast<std::size_t>(static_cast<double>(sorted.size()) * part))];
}

void PingRoundTrip(benchmark::State& state) {
  const RunningServer server(ods::EnvironmentVariable(kServerVariable));
  if (!server.Runs()) {
    state.SkipWithError("the server cannot be started");
    return;
  }
  Pinger pinger(server);
  if (!pinger.Ping(std::chrono::seconds(30))) {
    state.SkipWithError("the server does not answer");
    return;
  }
  std::vector<double> microseconds;
  while (state.KeepRunning()) {
    const auto start = Clock::now();
    if (!pinger.Ping(std::chrono::seconds(10))) {
      state.SkipWithError("no answer");
      return;
    }
    microseconds.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
  }
  std::sort(microseconds.begin(), microseconds.end());
  state.counters["median_us"] = Quantile(microseconds, 0.5);
  state.counters["p99_us"] = Quantile(microseconds, 0.99);
}

/// Opens the trace log by the keys of the menu and waits until it is on the screen.
bool OpenTraceLog() {
  return RunProgram({"timeout", "30", "xdotool", "search", "--sync", "--onlyvisible", "--name", "^ODBC Data Server$",
                     "windowfocus", "--sync", "key", "alt+t", "key", "l"}) &&
         RunProgram({"timeout", "30", "xdotool", "search", "--sync", "--onlyvisible", "--name", "^Trace Log$",
                     "windowfocus", "--sync"});
}

/// One iteration asks both servers, so that whatever else the machine does meets both.
void PingWithAndWithoutWindows(benchmark::State& state) {
  const std::string program = ods::EnvironmentVariable(kServerVariable);
  if (ods::EnvironmentVariable("DISPLAY").empty()) {
    state.SkipWithError("there is no display");
    return;
  }
  const RunningServer shown(program, RunningServer::Windows::kShown);
  const RunningServer hidden(program);
  Pinger pingers[] = {Pinger(hidden), Pinger(shown)};
  if (!OpenTraceLog()) {
    state.SkipWithError("the trace log does not open");
    return;
  }
  std::vector<double> microseconds[2];
  for ([[maybe_unused]] auto _ : state) {
    for (std::size_t i = 0; i < 2; ++i) {
      const auto start = Clock::now();
      if (!pingers[i].Ping(std::chrono::seconds(30))) {
        state.SkipWithError("no answer");
        return;
      }
      microseconds[i].push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
    }
  }
  const auto total = [&](std::size_t i) {
    return std::accumulate(microseconds[i].begin(), microseconds[i].end(), 0.0);
  };
  state.counters["time_ratio"] = total(1) / total(0);
  for (auto& times : microseconds) std::sort(times.begin(), times.end());
  state.counters["hidden_median_us"] = Quantile(microseconds[0], 0.5);
  state.counters["windows_median_us"] = Quantile(microseconds[1], 0.5);
}

void IdleServer(benchmark::State& state) {
  const RunningServer server(ods::EnvironmentVariable(kServerVariable));
  Pinger pinger(server);
  if (!server.Runs() || !pinger.Ping(std::chrono::seconds(30))) {
    state.SkipWithError("the server does not answer");
    return;
  }
  constexpr int kSeconds = 10;
  const double before = ProcessorSeconds(server.Process());
  for ([[maybe_unused]] auto _ : state) std::this_thread::sleep_for(std::chrono::seconds(kSeconds));
  state.counters["cpu_ms_per_s"] = (ProcessorSeconds(server.Process()) - before) * 1000 / kSeconds;
  state.counters["resident_MiB"] = ResidentMebibytes(server.Process());
}

BENCHMARK(IdleServer)->Unit(benchmark::kSecond)->UseRealTime()->Iterations(1);
BENCHMARK(PingRoundTrip)->Unit(benchmark::kMicrosecond)->UseRealTime()->MinTime(5);
BENCHMARK(PingWithAndWithoutWindows)->Unit(benchmark::kMicrosecond)->UseRealTime()->MinTime(10);

}  // namespace

int main(int argumentCount, char** arguments) {
  const std::string beside = std::filesystem::path(ods::ExecutablePath()).parent_path() / "odbc-data-server";
  setenv(kServerVariable, beside.c_str(), 0);
  if (argumentCount > 1 && arguments[1][0] != '-') {
    setenv(kServerVariable, arguments[1], 1);
    std::rotate(arguments + 1, arguments + 2, arguments + argumentCount);
    --argumentCount;
  }
  benchmark::Initialize(&argumentCount, arguments);
  if (benchmark::ReportUnrecognizedArguments(argumentCount, arguments)) return 2;
  const std::string program = ods::EnvironmentVariable(kServerVariable);
  if (access(program.c_str(), X_OK) != 0) {
    std::cerr << "There is no server at \"" << program << "\".\n";
    return 2;
  }
  benchmark::RunSpecifiedBenchmarks();
}
