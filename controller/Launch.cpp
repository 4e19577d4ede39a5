#include "Launch.h"

#include <cstdint>
#include <string_view>

#include "common/Error.h"
#include "common/Files.h"
#include "platform/xml/Xml.h"

namespace ods::controller {

namespace {

/// A short name for a folder, the same on every run (FNV-1a).
std::string ShortName(std::string_view text) {
  std::uint32_t hash = 2166136261U;
  for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 16777619U;
  return ErrorNumberHex(static_cast<std::int32_t>(hash));
}

std::string MutexPrefix(const Settings& settings) { return "odbc-data-controller-" + ShortName(settings.state); }

}  // namespace

std::string ServerId(const Source& source, int number) { return source.name + "." + std::to_string(number); }

std::string SlotFolder(const Settings& settings) { return JoinPath(settings.state, "servers"); }

Place PlaceOf(const Settings& settings, const std::string& id) {
  const std::string status = JoinPath(settings.runtime, id);
  // The slot lies among what stays, so that it is there as long as a server may hold it.
  return {.id = id,
          .slot = JoinPath(SlotFolder(settings), id + ".slot"),
          .alive = status + ".alive.xml",
          .message = status + ".message.xml",
          .state = status + ".state.xml",
          .configuration = status + ".config.xml",
          .data = JoinPath(SlotFolder(settings), id),
          .runningMutex = MutexPrefix(settings) + "-" + id};
}

std::string ParentMutexName(const Settings& settings) { return MutexPrefix(settings); }

std::string ControllerSlot(const Settings& settings) { return JoinPath(settings.state, "controller.slot"); }

std::string OverviewFile(const Settings& settings) { return JoinPath(settings.runtime, "servers.xml"); }

Launch LaunchOf(const Settings& settings, const Source& source, const Place& place) {
  Launch launch;
  launch.command = {settings.server,
                    "--hidden",
                    "--instance=" + place.id,
                    "--runningmutex=" + place.runningMutex,
                    "--parentmutex=" + ParentMutexName(settings),
                    "--alivefile=" + place.alive,
                    "--messagefile=" + place.message,
                    "--statefile=" + place.state,
                    "--config=" + place.configuration,
                    "--datafolder=" + place.data,
                    "--inqueue=" + source.requests,
                    "--outqueue=" + source.results,
                    "--connecttimeout=" + std::to_string(source.connectTimeout),
                    "--querytimeout=" + std::to_string(source.queryTimeout)};
  const auto add = [&launch](const char* name, const std::string& value) {
    if (!value.empty()) launch.command.push_back(std::string(name) + value);
  };
  if (source.exact) launch.command.emplace_back("--exact");
  if (source.reconnect > 0) add("--reconnect=", std::to_string(source.reconnect));
  add("--configfolder=", source.configurationFolder);
  add("--context=", source.context);
  launch.configuration =
      "<Settings><ConnectionString>" + EscapeXml(source.connection) + "</ConnectionString></Settings>";
  return launch;
}

}  // namespace ods::controller
