// What a server writes about itself: its alive, message and state files.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Launch.h"
#include "Watch.h"
#include "platform/system/FileFacts.h"

namespace ods::controller {

/// The latest report of a message file.
struct Message {
  std::string type;
  std::string code;
  std::string text;
};
/// Nothing when there is none that can be read.
[[nodiscard]] std::optional<Message> ReadMessage(const std::string& path);
[[nodiscard]] Asked AskedBy(const Message& message);

struct ServerFacts {
  ConnectionSeen connection = ConnectionSeen::kUnknown;
  std::int64_t requests = 0;
  std::string failure;  ///< why there is no connection
};
/// What a state file says; nothing when there is none that can be read.
[[nodiscard]] std::optional<ServerFacts> ReadServerFacts(const std::string& path);

/// Tells when a file has become another one.
class ChangeOfFile {
 public:
  explicit ChangeOfFile(std::string path) : path_(std::move(path)) {}

  /// True when the file is there and another one than at the last question.
  [[nodiscard]] bool Seen();

 private:
  std::string path_;
  std::optional<FileFacts> last_;
};

}  // namespace ods::controller
