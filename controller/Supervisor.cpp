#include "Supervisor.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <system_error>
#include <utility>

#include "common/Attempt.h"
#include "common/Error.h"
#include "platform/system/Folders.h"
#include "platform/system/ReplaceFile.h"
#include "platform/xml/Xml.h"

namespace ods::controller {

namespace {

/// How long servers may take for the request in hand once their parent mutex is gone: what they grant it themselves,
/// and a second more.
constexpr Seconds kGrace(6);

constexpr std::string_view kSlotExtension = ".slot";

OccupiedSlot TakeControllerSlot(const Settings& settings) {
  const std::string path = ControllerSlot(settings);
  if (auto slot = OccupiedSlot::Take(path)) return std::move(*slot);
  const std::optional<int> other = SlotOccupant(path);
  throw Error(error_number::kOwn, "A controller of the folder " + settings.state + " runs already" +
                                      (other ? ", process " + std::to_string(*other) : "") + ".");
}

/// The servers that have ever been started in these folders.
std::set<std::string> KnownIds(const Settings& settings) {
  std::set<std::string> ids;
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator(SlotFolder(settings), ignored)) {
    const std::filesystem::path name = entry.path().filename();
    if (name.extension() == kSlotExtension) ids.insert(name.stem().string());
  }
  return ids;
}

}  // namespace

Supervisor::Supervisor(Settings settings, Surroundings surroundings, TimePoint now)
    : settings_(std::move(settings)), surroundings_(std::move(surroundings)) {
  for (const std::string& folder : {settings_.state, settings_.runtime, SlotFolder(settings_)}) MkDirRecurse(folder);
  slot_.emplace(TakeControllerSlot(settings_));
  // What the controller before has decided is over.
  std::error_code ignored;
  std::filesystem::remove(OverviewFile(settings_), ignored);
  // Before any server is looked at: servers of a controller that has died may still be there, and stop when they miss
  // it.
  parentMutex_ = std::make_unique<NamedMutex>(ParentMutexName(settings_));
  for (const Source& source : settings_.sources) AddWanted(source, now);
  AdoptUnwanted(now);
}

ManagedServer& Supervisor::Add(const std::string& id, const Launch& launch, const WatchLimits& limits) {
  auto server = std::make_unique<ManagedServer>(PlaceOf(settings_, id), launch, limits, surroundings_);
  return *servers_.emplace(id, std::move(server)).first->second;
}

void Supervisor::AddWanted(const Source& source, TimePoint now) {
  for (int number = 1; number <= source.servers; ++number) {
    const std::string id = ServerId(source, number);
    const Launch launch = LaunchOf(settings_, source, PlaceOf(settings_, id));
    if (const auto known = servers_.find(id); known != servers_.end()) {
      known->second->Change(launch, source.limits, now);
    } else {
      Add(id, launch, source.limits).AdoptRunning(now);
    }
  }
}

void Supervisor::AdoptUnwanted(TimePoint now) {
  for (const std::string& id : KnownIds(settings_)) {
    if (servers_.contains(id)) continue;
    const std::optional<int> pid = SlotOccupant(PlaceOf(settings_, id).slot);
    if (!pid) continue;
    ManagedServer& server = Add(id, {}, {});
    server.AdoptRunning(now);
    server.Stop(now);
  }
}

void Supervisor::Round(TimePoint now) {
  for (auto& [id, server] : servers_) server->Round(now);
  // With the parent mutex gone the stopped ones stay in the overview.
  if (parentMutex_) {
    std::erase_if(servers_, [](const auto& entry) {
      return entry.second->Decisions().State() == State::kStopped && !entry.second->HasProcess();
    });
  }
  WriteOverview();
}

void Supervisor::Reload(Settings settings, TimePoint now) {
  if (settings.state != settings_.state || settings.runtime != settings_.runtime) {
    surroundings_.tell("The configuration is not taken over: other folders need another start of the controller.");
    return;
  }
  std::set<std::string> wanted;
  for (const Source& source : settings.sources) {
    for (int number = 1; number <= source.servers; ++number) wanted.insert(ServerId(source, number));
  }
  settings_ = std::move(settings);
  for (auto& [id, server] : servers_) {
    if (!wanted.contains(id)) server->Stop(now);
  }
  for (const Source& source : settings_.sources) AddWanted(source, now);
}

void Supervisor::Stop(TimePoint now) {
  parentMutex_.reset();
  for (auto& [id, server] : servers_) server->Stop(now, kGrace);
}

bool Supervisor::HasEnded() const {
  return std::ranges::none_of(servers_, [](const auto& entry) { return entry.second->HasProcess(); });
}

bool Supervisor::HasStarted() const {
  return std::ranges::none_of(servers_, [](const auto& entry) {
    const Watch& watch = entry.second->Decisions();
    return watch.State() == State::kStarting || (watch.State() == State::kWaiting && watch.Reason().empty());
  });
}

std::string Supervisor::Summary() const {
  std::size_t running = 0;
  std::string trouble;
  for (const auto& [id, server] : servers_) {
    const Watch& watch = server->Decisions();
    if (watch.State() == State::kRunning) {
      ++running;
    } else if (trouble.empty()) {
      trouble = "; " + id + ": " + std::string(StateName(watch.State()));
      if (!watch.Reason().empty()) trouble += ", " + watch.Reason();
    }
  }
  return std::to_string(running) + " of " + std::to_string(servers_.size()) + " servers run" + trouble;
}

std::vector<int> Supervisor::Descriptors() const {
  std::vector<int> descriptors;
  for (const auto& [id, server] : servers_) {
    if (const auto descriptor = server->Descriptor()) descriptors.push_back(*descriptor);
  }
  return descriptors;
}

void Supervisor::WriteOverview() {
  XmlDocument document("<Servers/>");
  for (const auto& [id, server] : servers_) {
    const Watch& watch = server->Decisions();
    XmlNode node = document.DocumentElement().AppendElement("Server");
    node.SetAttribute("id", id);
    node.SetAttribute("state", StateName(watch.State()));
    node.SetAttribute("restarts", std::to_string(watch.Restarts()));
    node.SetAttribute("reason", IsXmlText(watch.Reason()) ? watch.Reason() : "");
  }
  std::string text = document.Xml();
  if (text == overview_) return;
  if (const auto failure = Attempt([&] { WriteFileAtomically(OverviewFile(settings_), text); })) {
    surroundings_.tell(failure->Description());
  }
  overview_ = std::move(text);
}

}  // namespace ods::controller
