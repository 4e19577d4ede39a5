// How long a poll takes with few and with many messages waiting, and how long a message takes from sender to server.
#include "platform/queue/Queue.h"

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <stdlib.h>
#include <string>

#include "platform/system/FileHandle.h"

namespace {

/// A queue folder of its own, in TMPDIR or /tmp, removed at the end.
class BenchFolder {
 public:
  BenchFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "ods-bench-XXXXXX").string();
    if (mkdtemp(name.data()) != nullptr) path_ = name;
  }
  ~BenchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  BenchFolder(const BenchFolder&) = delete;
  BenchFolder& operator=(const BenchFolder&) = delete;
  BenchFolder(BenchFolder&&) = delete;
  BenchFolder& operator=(BenchFolder&&) = delete;

  [[nodiscard]] std::shared_ptr<ods::Queue> Open() const {
    auto queue = ods::CreateFolderQueue();
    queue->SetFolder(path_);
    queue->Create();
    return queue;
  }
  /// From the next `Open` on.
  void WantSync() const { std::ofstream(path_ + "/sync").close(); }
  /// `count` small messages, made without the queue object so that the setting up is quick.
  void Fill(std::int64_t count) const {
    for (std::int64_t i = 0; i < count; ++i) {
      const std::string path = path_ + "/new/" + std::to_string(i) + ".xml";
      const ods::FileHandle file(open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
      (void)ods::WriteAll(file, kMessage);
    }
  }

  static constexpr const char* kMessage = "<XML><Type>Ping</Type></XML>";

 private:
  std::string path_;
};

constexpr std::int64_t kPolls = 2000;

/// One poll and the reading of the message, while at least `range(0)` others wait.
void PollWithOthersWaiting(benchmark::State& state) {
  const BenchFolder folder;
  const auto queue = folder.Open();
  folder.Fill(state.range(0) + kPolls + 1);
  if (queue->Poll("", 0).empty()) state.SkipWithError("no message");  // reads the folder once
  while (state.KeepRunning()) {
    if (queue->Poll("", 0).empty()) state.SkipWithError("no message");
    benchmark::DoNotOptimize(queue->Package());
  }
}
BENCHMARK(PollWithOthersWaiting)->Arg(0)->Arg(1000)->Arg(100000)->Iterations(kPolls)->Unit(benchmark::kMicrosecond);

/// One message sent, polled, read and removed; with `range(1)` on the disk before it can be seen.
void SendAndPoll(benchmark::State& state) {
  const BenchFolder folder;
  if (state.range(1) != 0) folder.WantSync();
  const auto sender = folder.Open();
  const auto server = folder.Open();
  sender->SetPackage(std::string(static_cast<std::size_t>(state.range(0)), 'x'));
  while (state.KeepRunning()) {
    sender->Send("id");
    if (server->Poll("", 0).empty()) state.SkipWithError("no message");
    benchmark::DoNotOptimize(server->Package());
    server->Answered();
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(SendAndPoll)
    ->ArgNames({"bytes", "sync"})
    ->ArgsProduct({{100, 100000, 10000000}, {0, 1}})
    ->Unit(benchmark::kMicrosecond)
    ->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
