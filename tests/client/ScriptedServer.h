// A server played by the test: it answers the requests in two queue folders by what a routine makes of them.
#pragma once

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "OdbcDataClient.h"
#include "platform/queue/Queue.h"
#include "support/TemporaryFolder.h"

namespace odbc_data {

class ScriptedServer {
 public:
  /// What is answered to a request; nothing leaves it without an answer. Called on a thread of its own.
  using Script = std::function<std::optional<std::string>(const std::string& request)>;

  explicit ScriptedServer(Script script) : script_(std::move(script)) {
    const auto incoming = Open(Folders().requests);
    thread_ = std::jthread([this, incoming](const std::stop_token& stop) {
      const auto outgoing = Open(Folders().results);
      while (!stop.stop_requested()) {
        const std::string id = incoming->Poll("", 20);
        if (id.empty()) continue;
        const std::string request = incoming->Package();
        {
          const std::scoped_lock lock(mutex_);
          requests_.push_back(request);
        }
        if (const auto answer = script_(request)) {
          outgoing->SetPackage(*answer);
          outgoing->Send(id);
        }
        incoming->Answered();
      }
    });
  }

  [[nodiscard]] Exchange Folders() const {
    return {.requests = folder_.Path() + "/requests",
            .results = folder_.Path() + "/results",
            .timeout = std::chrono::milliseconds(20000)};
  }
  /// The requests so far.
  [[nodiscard]] std::vector<std::string> Requests() const {
    const std::scoped_lock lock(mutex_);
    return requests_;
  }

 private:
  static std::shared_ptr<ods::Queue> Open(const std::string& folder) {
    auto queue = ods::CreateFolderQueue();
    queue->SetFolder(folder);
    queue->Create();
    return queue;
  }

  ods::test::TemporaryFolder folder_;
  Script script_;
  mutable std::mutex mutex_;
  std::vector<std::string> requests_;
  std::jthread thread_;
};

/// A page of one column `no` with the numbers from `first` to `last`, whose positions are the numbers.
inline std::string PageOf(int first, int last, bool hasNext, const std::string& more = "") {
  std::string text = "<XML><FirstPosition>" + std::to_string(first) + "</FirstPosition><LastPosition>" +
                     std::to_string(last) + "</LastPosition><HasNextPage>" + (hasNext ? "1" : "0") +
                     "</HasNextPage><HasPreviousPage>" + (first > 1 ? "1" : "0") +
                     "</HasPreviousPage><Columns><Column><Id>no</Id><DataType>3</DataType></Column></Columns><Records>";
  for (int i = first; i <= last; ++i) text += "<R><V Id=\"no\">" + std::to_string(i) + "</V></R>";
  return text + "</Records>" + more + "<DataSession>x</DataSession></XML>";
}

}  // namespace odbc_data
