#include "platform/queue/BrokerUri.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <set>
#include <system_error>
#include <utility>

#include "common/Error.h"
#include "common/Hex.h"
#include "common/Text.h"

namespace ods {

namespace {

constexpr std::string_view kPlain = "amqp://";
constexpr std::string_view kSecure = "amqps://";
constexpr int kPlainPort = 5672;
constexpr int kSecurePort = 5671;
constexpr std::size_t kMostHosts = 16;
/// Of a short string of AMQP 0-9-1, which names of virtual hosts are.
constexpr std::size_t kMaxShortText = 255;

[[noreturn]] void Refuse(const std::string& why) {
  throw Error(error_number::kOwn, "The URI of the broker cannot be used: " + why);
}

std::string Decoded(std::string_view part, const std::string& what) {
  auto text = DecodeUriPart(part);
  if (!text) Refuse(what + " has a zero byte, or a \"%\" that no two hexadecimal digits follow.");
  return *std::move(text);
}

/// @param shown the number's name in the error
int Number(std::string_view text, const std::string& shown, int least, int most) {
  int number = 0;
  const char* const end = text.data() + text.size();
  const auto [read, error] = std::from_chars(text.data(), end, number);
  if (text.empty() || error != std::errc() || read != end || number < least || number > most) {
    Refuse(shown + " is no number from " + std::to_string(least) + " to " + std::to_string(most) + ".");
  }
  return number;
}

bool Flag(const std::string& text, const std::string& shown) {
  if (text != "0" && text != "1") Refuse(shown + " is neither 0 nor 1.");
  return text == "1";
}

BrokerHost ParseHost(std::string_view text, int standardPort) {
  BrokerHost host{.name = {}, .port = standardPort};
  std::string_view rest = text;
  if (rest.starts_with('[')) {
    const std::size_t end = rest.find(']');
    if (end == std::string_view::npos) Refuse("A host begins with \"[\" and lacks its \"]\".");
    host.name = rest.substr(1, end - 1);
    if (host.name.find_first_not_of("0123456789abcdefABCDEF:.") != std::string::npos) {
      Refuse("What stands in brackets is no IPv6 address.");
    }
    rest.remove_prefix(end + 1);
    if (!rest.empty() && !rest.starts_with(':')) Refuse("Something stands behind the \"]\" of a host.");
  } else {
    const std::size_t colon = rest.find(':');
    host.name = Decoded(rest.substr(0, colon), "A host");
    rest = colon == std::string_view::npos ? "" : rest.substr(colon);
  }
  const bool isName = std::ranges::all_of(host.name, [](char c) {
    return c != ' ' && static_cast<unsigned char>(c) > 0x20 && static_cast<unsigned char>(c) < 0x7F;
  });
  if (!isName || host.name.find_first_of("/?#@[]\\\"<>") != std::string::npos) Refuse("A host is no name.");
  if (host.name.size() > kMaxShortText) Refuse("A host is longer than 255 bytes.");
  if (host.name.empty()) host.name = "localhost";
  if (!rest.empty()) host.port = Number(rest.substr(1), "A port", 1, 65535);
  return host;
}

struct Option {
  std::string_view name;
  void (*set)(BrokerUri& uri, const std::string& value, const std::string& shown);
};

constexpr int kMostSeconds = 86400 * 366;

constexpr auto kOptions = std::to_array<Option>({
    {"queue", [](BrokerUri& uri, const std::string& value, const std::string&) { uri.queue = value; }},
    {"declare",
     [](BrokerUri& uri, const std::string& value, const std::string& shown) { uri.declare = Flag(value, shown); }},
    {"delivery-limit", [](BrokerUri& uri, const std::string& value,
                          const std::string& shown) { uri.deliveryLimit = Number(value, shown, 1, 1000); }},
    {"expiry", [](BrokerUri& uri, const std::string& value,
                  const std::string& shown) { uri.expirySeconds = Number(value, shown, 0, kMostSeconds); }},
    {"heartbeat", [](BrokerUri& uri, const std::string& value,
                     const std::string& shown) { uri.heartbeat = Number(value, shown, 1, 3600); }},
    {"connect-timeout", [](BrokerUri& uri, const std::string& value,
                           const std::string& shown) { uri.connectSeconds = Number(value, shown, 1, 60); }},
    {"password-file", [](BrokerUri& uri, const std::string& value, const std::string&) { uri.passwordFile = value; }},
    {"cacert", [](BrokerUri& uri, const std::string& value, const std::string&) { uri.caFile = value; }},
    {"cert", [](BrokerUri& uri, const std::string& value, const std::string&) { uri.certificateFile = value; }},
    {"key", [](BrokerUri& uri, const std::string& value, const std::string&) { uri.keyFile = value; }},
    {"verify",
     [](BrokerUri& uri, const std::string& value, const std::string& shown) { uri.verify = Flag(value, shown); }},
});

std::string AllOptions() {
  std::string all;
  for (const Option& option : kOptions) AppendToList(all, ", ", option.name);
  return all;
}

void ReadOptions(std::string_view query, BrokerUri& uri) {
  std::set<std::string_view> given;
  for (const std::string& piece : Split(query, "&")) {
    if (piece.empty()) continue;
    const std::size_t equals = piece.find('=');
    const auto option = std::ranges::find(kOptions, std::string_view(piece).substr(0, equals), &Option::name);
    // Not shown: in a broken URI it may be a part of the password.
    if (option == kOptions.end()) Refuse("It has an option that is not known (known: " + AllOptions() + ").");
    const std::string shown = "The option " + std::string(option->name);
    if (!given.insert(option->name).second) Refuse(shown + " stands twice.");
    const std::string value =
        Decoded(equals == std::string::npos ? "" : std::string_view(piece).substr(equals + 1), shown);
    if (value.empty()) Refuse(shown + " is empty.");
    option->set(uri, value, shown);
  }
}

void ReadUser(std::string_view text, BrokerUri& uri) {
  const std::size_t colon = text.find(':');
  uri.user = Decoded(text.substr(0, colon), "The user");
  if (uri.user.empty()) Refuse("The user is empty.");
  uri.holdsPassword = colon != std::string_view::npos;
  if (uri.holdsPassword) uri.password = Decoded(text.substr(colon + 1), "The password");
  if (uri.user.size() > kMaxShortText) Refuse("The user is longer than 255 bytes.");
}

/// What hangs on more than one part.
void Check(const BrokerUri& uri, bool hasUser) {
  if (uri.queue.empty()) Refuse("It lacks the option queue, the name of the queue.");
  if (uri.queue.size() > kMaxQueueName) {
    Refuse("The name of the queue is longer than " + std::to_string(kMaxQueueName) + " bytes.");
  }
  if (!IsValidUtf8(uri.queue)) Refuse("The name of the queue is not UTF-8.");
  if (uri.queue.starts_with("amq.")) Refuse("Names of queues that begin with \"amq.\" are the broker's own.");
  if (uri.holdsPassword && !uri.passwordFile.empty()) Refuse("It has a password and the option password-file.");
  if (hasUser && !uri.holdsPassword && uri.passwordFile.empty()) {
    Refuse("It has a user without a password. The password may stand behind the user, or in a file (password-file).");
  }
  const bool hasTlsOption = !uri.caFile.empty() || !uri.certificateFile.empty() || !uri.keyFile.empty() || !uri.verify;
  if (!uri.tls && hasTlsOption) Refuse("The options cacert, cert, key and verify need amqps://.");
  if (uri.certificateFile.empty() != uri.keyFile.empty()) Refuse("The options cert and key need each other.");
}

}  // namespace

std::string BrokerUri::Shown() const {
  std::string all;
  for (const BrokerHost& host : hosts) {
    const bool isAddress = host.name.find(':') != std::string::npos;
    AppendToList(all, ",", (isAddress ? "[" + host.name + "]" : host.name) + ":" + std::to_string(host.port));
  }
  return std::string(tls ? kSecure : kPlain) + EncodeUriPart(user) + "@" + all + "/" + EncodeUriPart(vhost) +
         "?queue=" + EncodeUriPart(queue);
}

bool IsBrokerUri(std::string_view text) {
  const std::string begin = ToLower(text.substr(0, kSecure.size()));
  return begin.starts_with(kPlain) || begin.starts_with(kSecure);
}

BrokerUri ParseBrokerUri(const std::string& text) {
  if (!IsBrokerUri(text)) Refuse("It does not begin with amqp:// or amqps://.");
  BrokerUri uri;
  uri.tls = ToLower(text.substr(0, kSecure.size())) == kSecure;
  std::string_view rest = std::string_view(text).substr(uri.tls ? kSecure.size() : kPlain.size());
  if (rest.find('#') != std::string_view::npos) Refuse("It has a \"#\", which must be written \"%23\".");
  const std::size_t queryAt = std::min(rest.find('?'), rest.size());
  const std::string_view query = rest.substr(std::min(queryAt + 1, rest.size()));
  rest = rest.substr(0, queryAt);
  const std::size_t pathAt = std::min(rest.find('/'), rest.size());
  const std::string_view path = rest.substr(std::min(pathAt + 1, rest.size()));
  std::string_view authority = rest.substr(0, pathAt);
  if (path.find('/') != std::string_view::npos) Refuse("The virtual host has a \"/\", which must be written \"%2F\".");
  if (!path.empty()) uri.vhost = Decoded(path, "The virtual host");
  if (uri.vhost.size() > kMaxShortText) Refuse("The virtual host is longer than 255 bytes.");

  const std::size_t at = authority.find('@');
  const bool hasUser = at != std::string_view::npos;
  if (hasUser) {
    ReadUser(authority.substr(0, at), uri);
    authority.remove_prefix(at + 1);
  }
  for (const std::string& host : Split(authority, ",")) {
    uri.hosts.push_back(ParseHost(host, uri.tls ? kSecurePort : kPlainPort));
  }
  if (uri.hosts.size() > kMostHosts) Refuse("It names more than " + std::to_string(kMostHosts) + " hosts.");
  ReadOptions(query, uri);
  Check(uri, hasUser);
  return uri;
}

std::string WithoutPasswords(std::string_view text) {
  const std::string lower = ToLower(text);
  const std::size_t begin = std::min(lower.find(kPlain), lower.find(kSecure));
  if (begin == std::string::npos) return std::string(text);
  const std::size_t colon = text.find(':', text.find("//", begin));
  const std::size_t at = text.rfind('@');
  if (colon == std::string_view::npos || at == std::string_view::npos || at < colon) return std::string(text);
  return std::string(text.substr(0, colon)) + ":***" + std::string(text.substr(at));
}

std::string EncodeUriPart(std::string_view bytes) {
  constexpr std::string_view kPlainMarks = "-._~";
  std::string text;
  for (const char c : bytes) {
    const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                       kPlainMarks.find(c) != std::string_view::npos;
    if (plain) {
      text += c;
    } else {
      text += '%';
      AppendHex(text, static_cast<std::uint8_t>(c));
    }
  }
  return text;
}

std::optional<std::string> DecodeUriPart(std::string_view part) {
  std::string text;
  for (std::size_t i = 0; i < part.size(); ++i) {
    char c = part[i];
    if (c == '%') {
      const int high = i + 2 < part.size() ? HexDigitValue(part[i + 1]) : -1;
      const int low = i + 2 < part.size() ? HexDigitValue(part[i + 2]) : -1;
      if (high < 0 || low < 0) return std::nullopt;
      c = static_cast<char>(high * 16 + low);
      i += 2;
    }
    if (c == '\0') return std::nullopt;
    text += c;
  }
  return text;
}

}  // namespace ods
