#include "Status.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <map>
#include <string_view>

#include "Json.h"
#include "common/Conversions.h"
#include "common/Text.h"
#include "platform/system/Processes.h"
#include "platform/system/Slot.h"
#include "platform/system/System.h"
#include "platform/xml/Xml.h"

namespace ods::controller {

namespace {

/// The ids that the settings want, and those that the controller still has, in order.
std::map<std::string, ServerStatus> ReadOverview(const Settings& settings, bool controlled) {
  std::map<std::string, ServerStatus> servers;
  for (const Source& source : settings.sources) {
    for (int number = 1; number <= source.servers; ++number) {
      const std::string id = ServerId(source, number);
      servers[id].id = id;
    }
  }
  XmlDocument document;
  if (!controlled) return servers;
  // A controller that has just begun has not looked at them yet.
  for (auto& [id, server] : servers) server.state = StateName(State::kWaiting);
  if (!document.Load(OverviewFile(settings))) return servers;
  for (const XmlNode& node : document.SelectNodes("/Servers/Server")) {
    const std::string id = node.Attribute("id");
    ServerStatus& server = servers[id];
    server.id = id;
    server.state = node.Attribute("state");
    server.reason = node.Attribute("reason");
    server.restarts = std::stoll("0" + node.Attribute("restarts"));
  }
  return servers;
}

void LookAt(const Place& place, ServerStatus& server) {
  server.process = SlotOccupant(place.slot);
  if (server.process) {
    if (const auto facts = FactsOfProcess(*server.process)) {
      server.uptime = facts->uptime;
      server.residentBytes = facts->residentBytes;
    }
    if (const auto facts = ReadServerFacts(place.state)) {
      server.requests = facts->requests;
      if (!facts->failure.empty()) AppendToList(server.reason, ". ", facts->failure);
    }
  }
  server.message = ReadMessage(place.message);
  if (server.message) server.messageTime = FormatDate(FileModificationTime(place.message));
  if (server.state.empty()) server.state = server.process ? "running" : "stopped";
}

constexpr std::size_t kColumns = 9;
using Row = std::array<std::string, kColumns>;
constexpr std::array<bool, kColumns> kToTheRight = {false, false, true, true, true, true, true, false, false};

/// "45 s", "12:03", "3:12:03", "2 d 3:12".
std::string UptimeOf(double seconds) {
  const auto whole = static_cast<std::int64_t>(seconds);
  const auto two = [](std::int64_t number) { return (number < 10 ? "0" : "") + std::to_string(number); };
  const std::int64_t minutes = whole / 60;
  const std::int64_t hours = minutes / 60;
  const std::int64_t days = hours / 24;
  if (days > 0) return std::to_string(days) + " d " + std::to_string(hours % 24) + ":" + two(minutes % 60);
  if (hours > 0) return std::to_string(hours) + ":" + two(minutes % 60) + ":" + two(whole % 60);
  if (minutes > 0) return std::to_string(minutes) + ":" + two(whole % 60);
  return std::to_string(whole) + " s";
}

/// Text of others on one line.
std::string OneLine(std::string text) {
  std::ranges::replace_if(
      text, [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }, ' ');
  return text;
}

Row RowOf(const ServerStatus& server) {
  const auto number = [](const auto& value) { return value ? std::to_string(*value) : std::string("-"); };
  std::string message = "-";
  if (server.message) {
    message = server.messageTime + " " + server.message->type;
    if (!server.message->code.empty()) message += " " + server.message->code;
    if (!server.message->text.empty()) message += ": " + server.message->text;
  }
  return {server.id,
          server.state,
          number(server.process),
          server.uptime ? UptimeOf(*server.uptime) : "-",
          number(server.requests),
          server.residentBytes ? std::to_string(*server.residentBytes / 1024) : "-",
          std::to_string(server.restarts),
          server.reason.empty() ? "-" : OneLine(server.reason),
          OneLine(message)};
}

/// The columns that a terminal shows; bytes that continue a character take none.
std::size_t WidthOf(std::string_view text) {
  return static_cast<std::size_t>(
      std::ranges::count_if(text, [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; }));
}

std::string LineOf(const Row& row, const std::array<std::size_t, kColumns>& widths) {
  std::string line;
  for (std::size_t i = 0; i < kColumns; ++i) {
    const std::string padding(widths[i] - WidthOf(row[i]), ' ');
    if (i > 0) line += "  ";
    line += kToTheRight[i] ? padding + row[i] : row[i] + padding;
  }
  line.erase(line.find_last_not_of(' ') + 1);
  return line + "\n";
}

template <typename Number>
std::string JsonNumber(const std::optional<Number>& number) {
  return number ? std::to_string(*number) : "null";
}

std::string JsonMember(std::string_view name, const std::string& value) { return JsonText(name) + ": " + value; }

std::string JsonOf(const ServerStatus& server) {
  std::string message = "null";
  if (server.message) {
    message = "{" + JsonMember("time", JsonText(server.messageTime)) + ", " +
              JsonMember("type", JsonText(server.message->type)) + ", " +
              JsonMember("code", JsonText(server.message->code)) + ", " +
              JsonMember("text", JsonText(server.message->text)) + "}";
  }
  const std::string uptime = server.uptime ? std::to_string(std::llround(*server.uptime)) : "null";
  const std::vector<std::string> members = {JsonMember("id", JsonText(server.id)),
                                            JsonMember("state", JsonText(server.state)),
                                            JsonMember("reason", JsonText(server.reason)),
                                            JsonMember("process", JsonNumber(server.process)),
                                            JsonMember("uptime", uptime),
                                            JsonMember("requests", JsonNumber(server.requests)),
                                            JsonMember("residentBytes", JsonNumber(server.residentBytes)),
                                            JsonMember("restarts", std::to_string(server.restarts)),
                                            JsonMember("message", message)};
  return "{" + Join(members, ", ") + "}";
}

}  // namespace

ControllerStatus ReadStatus(const Settings& settings) {
  ControllerStatus status;
  status.process = SlotOccupant(ControllerSlot(settings));
  for (auto& [id, server] : ReadOverview(settings, status.process.has_value())) {
    LookAt(PlaceOf(settings, id), server);
    status.servers.push_back(std::move(server));
  }
  return status;
}

bool IsWell(const ControllerStatus& status) {
  return status.process && std::ranges::all_of(status.servers, [](const ServerStatus& server) {
           return server.state == StateName(State::kRunning);
         });
}

std::string StatusTable(const ControllerStatus& status) {
  std::vector<Row> rows = {
      {"SERVER", "STATE", "PROCESS", "UPTIME", "REQUESTS", "KIB", "RESTARTS", "REASON", "LAST MESSAGE"}};
  for (const ServerStatus& server : status.servers) rows.push_back(RowOf(server));
  std::array<std::size_t, kColumns> widths{};
  for (const Row& row : rows) {
    for (std::size_t i = 0; i < kColumns; ++i) widths[i] = std::max(widths[i], WidthOf(row[i]));
  }
  std::string text = status.process ? "The controller runs as process " + std::to_string(*status.process) + ".\n"
                                    : "The controller does not run.\n";
  for (const Row& row : rows) text += LineOf(row, widths);
  return text;
}

std::string StatusJson(const ControllerStatus& status) {
  std::vector<std::string> servers;
  for (const ServerStatus& server : status.servers) servers.push_back(JsonOf(server));
  return "{" + JsonMember("controller", "{" + JsonMember("process", JsonNumber(status.process)) + "}") + ", " +
         JsonMember("servers", "[" + Join(servers, ", ") + "]") + "}\n";
}

}  // namespace ods::controller
