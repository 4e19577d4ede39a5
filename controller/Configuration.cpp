#include "Configuration.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <set>
#include <string_view>
#include <toml++/toml.h>

#include "Password.h"
#include "common/Attempt.h"
#include "common/Error.h"
#include "common/Files.h"
#include "common/Text.h"
#include "platform/queue/QueueChoice.h"
#include "platform/system/PrivateFile.h"
#include "platform/system/ReadFile.h"
#include "platform/system/System.h"

namespace ods::controller {

namespace {

constexpr std::int64_t kMostServers = 64;
constexpr std::int64_t kMostSeconds = 86400;
constexpr std::size_t kLongestName = 64;

/// What is wrong, and where.
class Problems {
 public:
  explicit Problems(std::string file) : file_(std::move(file)) {}

  void Add(const toml::source_region& where, const std::string& text) {
    lines_.push_back({where.begin.line, file_ + ":" + std::to_string(where.begin.line) + ": " + text});
  }
  void RaiseAny() {
    if (lines_.empty()) return;
    std::ranges::stable_sort(lines_, {}, &Line::number);
    std::string text;
    for (const Line& line : lines_) AppendToList(text, "\n", line.text);
    throw Error(error_number::kOwn, text);
  }

 private:
  struct Line {
    toml::source_index number;
    std::string text;
  };
  std::string file_;
  std::vector<Line> lines_;
};

/// What a table's values are read with: each key is asked for once, and what nobody has asked for is unknown.
class TableReader {
 public:
  TableReader(const toml::table& table, std::string named, Problems& problems)
      : table_(&table), named_(std::move(named)), problems_(&problems) {}

  [[nodiscard]] const toml::node* Find(std::string_view key) {
    known_.emplace(key);
    return table_->get(key);
  }

  void Read(std::string_view key, std::string& target) {
    const toml::node* node = Find(key);
    if (node == nullptr) return;
    if (!node->is_string()) return Wrong(key, *node, "must be a text in quotes");
    const std::string text = node->as_string()->get();
    if (text.empty()) return Wrong(key, *node, "must not be empty");
    if (text.find('\0') != std::string::npos) return Wrong(key, *node, "must not hold a zero byte");
    target = text;
  }

  void Read(std::string_view key, bool& target) {
    const toml::node* node = Find(key);
    if (node == nullptr) return;
    if (!node->is_boolean()) return Wrong(key, *node, "must be true or false");
    target = node->as_boolean()->get();
  }

  void Read(std::string_view key, int& target, std::int64_t least, std::int64_t most) {
    const toml::node* node = Find(key);
    if (node == nullptr) return;
    const auto* number = node->as_integer();
    if (number == nullptr || number->get() < least || number->get() > most) {
      return Wrong(key, *node, "must be a whole number from " + std::to_string(least) + " to " + std::to_string(most));
    }
    target = static_cast<int>(number->get());
  }

  void Wrong(std::string_view key, const toml::node& node, const std::string& what) {
    problems_->Add(node.source(), "\"" + std::string(key) + "\" " + what + ".");
  }
  /// A problem of the table as a whole, or of `key` when that is there.
  void Wrong(std::string_view key, const std::string& what) {
    const toml::node* node = table_->get(key);
    problems_->Add(node != nullptr ? node->source() : table_->source(), "\"" + std::string(key) + "\" " + what + ".");
  }

  void RefuseOthers() {
    for (const auto& [key, value] : *table_) {
      if (known_.contains(key.str())) continue;
      std::string all;
      for (const std::string& known : known_) AppendToList(all, ", ", known);
      problems_->Add(key.source(),
                     "\"" + std::string(key.str()) + "\" is not known in " + named_ + " (known: " + all + ").");
    }
  }

 private:
  const toml::table* table_;
  std::string named_;
  Problems* problems_;
  std::set<std::string, std::less<>> known_;
};

std::string FolderOfFile(const std::string& path) { return std::filesystem::absolute(path).parent_path().string(); }

/// `text` as an absolute path without needless parts; relative to the folder of the configuration.
std::string Absolute(const std::string& folder, const std::string& text) {
  return (std::filesystem::path(folder) / text).lexically_normal().string();
}

/// The values that both [defaults] and [[source]] may hold.
void ReadCommon(TableReader& reader, Source& source) {
  reader.Read("servers", source.servers, 1, kMostServers);
  reader.Read("exact", source.exact);
  reader.Read("connect_timeout", source.connectTimeout, 0, kMostSeconds);
  reader.Read("query_timeout", source.queryTimeout, 0, kMostSeconds);
  reader.Read("reconnect", source.reconnect, 0, kMostSeconds);
  reader.Read("start_limit", source.limits.start, 1, kMostSeconds);
  reader.Read("alive_limit", source.limits.alive, 1, kMostSeconds);
  reader.Read("stop_limit", source.limits.stop, 1, kMostSeconds);
  reader.Read("backoff_least", source.limits.backoffLeast, 1, kMostSeconds);
  reader.Read("backoff_most", source.limits.backoffMost, 1, kMostSeconds);
  reader.Read("restarts_per_minute", source.limits.restartsPerMinute, 1, 1000);
  std::string restartOn;
  reader.Read("restart_on", restartOn);
  if (restartOn == "lost") {
    source.limits.restartOn = RestartOn::kLost;
  } else if (restartOn == "error") {
    source.limits.restartOn = RestartOn::kError;
  } else if (restartOn == "never") {
    source.limits.restartOn = RestartOn::kNever;
  } else if (!restartOn.empty()) {
    reader.Wrong("restart_on", R"(must be "lost", "error" or "never")");
  }
}

/// What hangs on more than one value.
void CheckLimits(TableReader& reader, Source& source) {
  constexpr int kHeartbeats = 10;  // seconds: one is missing for sure then
  WatchLimits& limits = source.limits;
  limits.reconnects = source.reconnect > 0;
  // The server's own limits end a driver's call; only one that has missed them by far hangs.
  const int longest = source.connectTimeout + source.queryTimeout;
  if (limits.alive == 0) limits.alive = longest + kHeartbeats + 5;
  if (limits.alive < kHeartbeats || limits.alive <= source.queryTimeout) {
    reader.Wrong("alive_limit", "must be 10 seconds at least and longer than \"query_timeout\" (" +
                                    std::to_string(source.queryTimeout) + "), and is " + std::to_string(limits.alive));
  }
  if (limits.backoffMost < limits.backoffLeast) {
    reader.Wrong("backoff_most",
                 "must not be less than \"backoff_least\" (" + std::to_string(limits.backoffLeast) + ")");
  }
}

bool IsGoodName(std::string_view name) {
  const auto isGood = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-';
  };
  return !name.empty() && name.size() <= kLongestName && std::ranges::all_of(name, isGood);
}

/// The connection string of "connection", or of "dsn", with "user" and the password of "password_file".
void ReadConnection(TableReader& reader, const std::string& folder, Source& source) {
  std::string dsn;
  std::string user;
  std::string passwordFile;
  reader.Read("connection", source.connection);
  reader.Read("dsn", dsn);
  reader.Read("user", user);
  reader.Read("password_file", passwordFile);
  if (!dsn.empty() && !source.connection.empty()) return reader.Wrong("dsn", "must not stand beside \"connection\"");
  if (!dsn.empty()) source.connection = WithConnectionValue("", "DSN", dsn);
  if (source.connection.empty()) return reader.Wrong("connection", R"(or "dsn" is missing)");
  if (!user.empty()) source.connection = WithConnectionValue(source.connection, "UID", user);
  if (passwordFile.empty()) return;
  std::string password;
  if (const auto failure = Attempt([&] { password = ReadPasswordFile(Absolute(folder, passwordFile)); })) {
    std::string why = failure->Description();
    if (why.ends_with('.')) why.pop_back();  // `Wrong` ends the sentence
    return reader.Wrong("password_file", "cannot be used. " + why);
  }
  source.connection = WithConnectionValue(source.connection, "PWD", password);
}

void ReadFolder(TableReader& reader, std::string_view key, const std::string& folder, std::string& target) {
  std::string text;
  reader.Read(key, text);
  if (!text.empty()) target = Absolute(folder, text);
}

/// A folder, or the URI of a queue of a broker. Servers get it on their command line, which everybody on the machine
/// may read, and run in a folder of their own.
void ReadQueue(TableReader& reader, std::string_view key, const std::string& folder, std::string& target) {
  std::string text;
  reader.Read(key, text);
  if (text.empty()) return;
  QueueAddress address;
  if (const auto failure = Attempt([&] { address = ParseQueueAddress(text); })) {
    return reader.Wrong(key, "is wrong. " + failure->Description());
  }
  if (!address.broker) {
    target = address.folder == text ? Absolute(folder, text) : text;
    return;
  }
  const BrokerUri& uri = *address.broker;
  if (uri.holdsPassword) {
    return reader.Wrong(key,
                        "must not hold the password, which the list of processes would show: name a file that does "
                        "with \"password-file\"");
  }
  for (const std::string& file : {uri.passwordFile, uri.caFile, uri.certificateFile, uri.keyFile}) {
    if (!file.empty() && !IsAbsolutePath(file)) return reader.Wrong(key, "must name files by absolute paths");
  }
  target = text;
}

Source ReadSource(const toml::table& table, Source source, const Settings& settings, Problems& problems) {
  TableReader reader(table, "[[source]]", problems);
  const std::string folder = FolderOfFile(settings.file);
  reader.Read("name", source.name);
  if (!IsGoodName(source.name)) {
    reader.Wrong("name", "must be there, and have 1 to 64 letters without accents, digits, \"_\" and \"-\"");
  }
  ReadConnection(reader, folder, source);
  const std::string queues = JoinPath(JoinPath(settings.state, "queues"), source.name);
  source.requests = JoinPath(queues, "requests");
  source.results = JoinPath(queues, "results");
  ReadQueue(reader, "requests", folder, source.requests);
  ReadQueue(reader, "results", folder, source.results);
  ReadFolder(reader, "configuration_folder", folder, source.configurationFolder);
  ReadFolder(reader, "context", folder, source.context);
  if (source.requests == source.results) {
    reader.Wrong("results", "must be another queue than \"requests\"");
  }
  ReadCommon(reader, source);
  CheckLimits(reader, source);
  reader.RefuseOthers();
  return source;
}

void ReadController(const toml::node& node, Settings& settings, Problems& problems) {
  if (!node.is_table()) return problems.Add(node.source(), "[controller] must be a table.");
  TableReader reader(*node.as_table(), "[controller]", problems);
  const std::string folder = FolderOfFile(settings.file);
  ReadFolder(reader, "state_folder", folder, settings.state);
  ReadFolder(reader, "runtime_folder", folder, settings.runtime);
  ReadFolder(reader, "server", folder, settings.server);
  reader.RefuseOthers();
}

void RequireDifferentSources(const toml::array& array, const Settings& settings, Problems& problems) {
  std::set<std::string_view> names;
  std::set<std::string_view> requests;
  for (std::size_t i = 0; i < settings.sources.size(); ++i) {
    const std::string& name = settings.sources[i].name;
    if (!names.insert(name).second) {
      problems.Add(array[i].source(), "The name \"" + name + "\" stands at another [[source]] already.");
    } else if (!requests.insert(settings.sources[i].requests).second) {
      problems.Add(array[i].source(), "\"" + name + "\" takes its requests from the same queue as another [[source]].");
    }
  }
}

void ReadSources(const toml::node& node, const Source& defaults, Settings& settings, Problems& problems) {
  const toml::array* array = node.as_array();
  if (array == nullptr || !array->is_homogeneous<toml::table>()) {
    return problems.Add(node.source(), "Data sources must each begin with [[source]].");
  }
  for (const toml::node& entry : *array) {
    settings.sources.push_back(ReadSource(*entry.as_table(), defaults, settings, problems));
  }
  RequireDifferentSources(*array, settings, problems);
}

toml::table ParseToml(const std::string& text, const std::string& path) {
  try {
    return toml::parse(text, path);
  } catch (const toml::parse_error& error) {
    throw Error(error_number::kOwn,
                path + ":" + std::to_string(error.source().begin.line) + ": " + std::string(error.description()) + ".");
  }
}

}  // namespace

Settings ParseSettings(const std::string& text, const std::string& path) {
  const toml::table table = ParseToml(text, path);
  Problems problems(path);
  Settings settings{.file = path,
                    .state = "/var/lib/odbc-data-controller",
                    .runtime = "/run/odbc-data-controller",
                    .server = Absolute(FolderOfFile(ExecutablePath()), "odbc-data-server"),
                    .sources = {}};
  TableReader reader(table, "the file", problems);
  if (const toml::node* node = reader.Find("controller")) ReadController(*node, settings, problems);
  Source defaults;
  if (const toml::node* node = reader.Find("defaults")) {
    if (!node->is_table()) {
      problems.Add(node->source(), "[defaults] must be a table.");
    } else {
      TableReader defaultsReader(*node->as_table(), "[defaults]", problems);
      ReadCommon(defaultsReader, defaults);
      defaultsReader.RefuseOthers();
    }
  }
  if (const toml::node* node = reader.Find("source")) ReadSources(*node, defaults, settings, problems);
  reader.RefuseOthers();
  problems.RaiseAny();
  return settings;
}

Settings LoadSettings(const std::string& path) {
  std::string text;
  if (const auto failure = Attempt([&] { text = ReadFileText(path); })) {
    throw Error(error_number::kOwn, "The configuration " + path + " cannot be read. " + failure->Description());
  }
  return ParseSettings(text, path);
}

}  // namespace ods::controller
