// A server played by the test: it answers the requests in two queue folders by what a routine makes of them. Requests
// and answers are held against the schemas of docs/schema.
#pragma once

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "OdbcDataClient.h"
#include "platform/queue/Queue.h"
#include "support/MessageWatch.h"
#include "support/TemporaryFolder.h"

namespace odbc_data {

class ScriptedServer {
 public:
  /// What is answered to a request; nothing leaves it without an answer. Called on a thread of its own.
  using Script = std::function<std::optional<ods::test::Message>(const std::string& request)>;

  /// @param exact  plays a server that was started with `exact`
  explicit ScriptedServer(Script script, bool exact = true) : script_(std::move(script)) {
    watch_.SetExact(exact);
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
        watch_.Sent(id, request);
        if (const auto answer = script_(request)) {
          watch_.Received(id, *answer);
          outgoing->SetPackage(answer->text);
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
  ods::test::MessageWatch watch_;
  mutable std::mutex mutex_;
  std::vector<std::string> requests_;
  std::jthread thread_;
};

/// A response with its data session.
inline std::string Whole(const std::string& elements) {
  return "<XML>" + elements + "<DataSession>0A1B2C3D-0000-4000-8000-000000000001</DataSession></XML>";
}

constexpr const char* kReadOn = "<Navigated>gotonext</Navigated>";

/// The position of the row of a number, as a server with `exact` or without it might write it.
inline std::string PositionOf(int number, bool exact = true) {
  constexpr std::size_t kDigits = 8;
  const std::string digits = std::to_string(number);
  return (exact ? "exact-" : "") + std::string(kDigits - digits.size(), '0') + digits;
}
/// The number of a position that a server with `exact` wrote; 0 for none.
inline int NumberOf(const std::string& position) {
  return position.empty() ? 0 : std::stoi(position.substr(std::string_view("exact-").size()));
}

/// A page of one column `no` with the numbers from `first` to `last`.
/// @param more  what only a server with `exact` says; "" for a page of one without it
inline std::string PageOf(int first, int last, bool hasNext, const std::string& more = kReadOn) {
  const bool exact = !more.empty();
  std::string text = "<FirstPosition>" + PositionOf(first, exact) + "</FirstPosition><LastPosition>" +
                     PositionOf(last, exact) + "</LastPosition><HasNextPage>" + (hasNext ? "1" : "0") +
                     "</HasNextPage><HasPreviousPage>" + (first > 1 ? "1" : "0") +
                     "</HasPreviousPage><Columns><Column><Id>no</Id><DataType>3</DataType></Column></Columns><Records>";
  for (int i = first; i <= last; ++i) text += "<R><V Id=\"no\">" + std::to_string(i) + "</V></R>";
  return Whole(text + "</Records>" + more);
}

}  // namespace odbc_data
