// Holds every message of a test against the schemas of docs/schema: each request that is meant to be one, and each
// response.
#pragma once

#include <map>
#include <mutex>
#include <string>
#include <utility>

namespace ods::test {

/// A message that a test sends. A plain text is meant to be valid.
struct Message {
  enum class Meant { kValid, kMalformed, kAnything };

  Message(std::string message)  // NOLINT(google-explicit-constructor): nearly all messages are plain texts
      : text(std::move(message)) {}
  Message(const char* message) : text(message) {}  // NOLINT(google-explicit-constructor): the same

  std::string text;
  Meant meant = Meant::kValid;
};

/// A message that is wrong, and that the schema must refuse: a test fails on one that is valid.
[[nodiscard]] inline Message Malformed(std::string text) {
  Message message(std::move(text));
  message.meant = Message::Meant::kMalformed;
  return message;
}

/// A message that is made by chance, or from texts that are, and may be valid or not.
[[nodiscard]] inline Message Unchecked(std::string text) {
  Message message(std::move(text));
  message.meant = Message::Meant::kAnything;
  return message;
}

/// Looks at the messages between clients and one server, and fails the test when one is not as it should be. Several
/// threads may tell it of messages.
class MessageWatch {
 public:
  /// Whether the server that is asked from now on was started with `exact`.
  void SetExact(bool exact);
  /// A request goes out under an id.
  void Sent(const std::string& id, const Message& request);
  /// The response to it came; one that is not meant to be valid is one that the test made itself.
  void Received(const std::string& id, const Message& response);

 private:
  std::mutex mutex_;
  bool exact_ = false;
  std::map<std::string, std::string> types_;  ///< of the requests without a response, by id
};

}  // namespace ods::test
