#include "Reports.h"

#include <charconv>

#include "platform/xml/Xml.h"

namespace ods::controller {

std::optional<Message> ReadMessage(const std::string& path) {
  XmlDocument document;
  if (!document.Load(path)) return std::nullopt;
  return Message{.type = GetNodeText(document, "/XML/Type"),
                 .code = GetNodeText(document, "/XML/Code"),
                 .text = GetNodeText(document, "/XML/Message")};
}

Asked AskedBy(const Message& message) {
  if (message.type == "Restart") return Asked::kRestart;
  return message.code == "UnableToConnectDB" ? Asked::kDatabase : Asked::kNothing;
}

std::optional<ServerFacts> ReadServerFacts(const std::string& path) {
  XmlDocument document;
  if (!document.Load(path)) return std::nullopt;
  ServerFacts facts;
  const std::string requests = GetNodeText(document, "/XML/Requests");
  std::from_chars(requests.data(), requests.data() + requests.size(), facts.requests);
  const std::string connection = GetNodeText(document, "/XML/Connection");
  if (connection == "open") facts.connection = ConnectionSeen::kOpen;
  if (connection == "lost") facts.connection = ConnectionSeen::kLost;
  if (connection == "none") facts.connection = ConnectionSeen::kNone;
  facts.failure = GetNodeText(document, "/XML/Failure");
  return facts;
}

bool ChangeOfFile::Seen() {
  const std::optional<FileFacts> now = FactsOf(path_);
  if (!now || now == last_) return false;
  last_ = now;
  return true;
}

}  // namespace ods::controller
