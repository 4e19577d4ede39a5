// The client's end of the two queues: sends requests and waits for their answers.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

namespace ods {

/// For how long a client wants an answer.
struct ClientWaiting {
  /// A request that waits longer in a broker's queue is not answered.
  std::chrono::milliseconds timeout{30000};
  /// True gives up the sending of a request to a broker that cannot be reached. May be empty.
  std::function<bool()> giveUp = {};
};

class MessageClient {
 public:
  MessageClient() = default;
  virtual ~MessageClient() = default;
  MessageClient(const MessageClient&) = delete;
  MessageClient& operator=(const MessageClient&) = delete;
  MessageClient(MessageClient&&) = delete;
  MessageClient& operator=(MessageClient&&) = delete;

  /// Sends a request under an id of its own. Raises error 1000 that says why it cannot be sent.
  virtual void Send(const std::string& id, const std::string& text) = 0;
  /// Waits up to `timeout` for the answer to a request; nothing when it has not come. Raises error 1000 when it cannot
  /// be read. A request whose answer may have been lost with the connection to a broker is sent again.
  [[nodiscard]] virtual std::optional<std::string> Receive(const std::string& id,
                                                           std::chrono::milliseconds timeout) = 0;
};

}  // namespace ods
