#include "Check.h"

#include <filesystem>
#include <optional>
#include <system_error>

#include "Launch.h"
#include "Reports.h"
#include "common/Error.h"
#include "common/Files.h"
#include "platform/system/FileHandle.h"
#include "platform/system/Folders.h"
#include "platform/system/NamedMutex.h"
#include "platform/system/Processes.h"
#include "platform/system/ReplaceFile.h"
#include "platform/system/Slot.h"
#include "platform/system/System.h"

namespace ods::controller {

namespace {

constexpr int kLookMilliseconds = 20;

/// A folder that only this user may enter, removed with the object.
class PrivateFolder {
 public:
  PrivateFolder() : path_(JoinPath(SystemTempFolder(), "odbc-data-controller-" + RandomNamePart())) {
    if (const auto failure = MakePrivateFolder(path_)) {
      RaiseSystemError("Unable to make the folder " + path_, failure);
    }
  }
  ~PrivateFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  PrivateFolder(const PrivateFolder&) = delete;
  PrivateFolder& operator=(const PrivateFolder&) = delete;
  PrivateFolder(PrivateFolder&&) = delete;
  PrivateFolder& operator=(PrivateFolder&&) = delete;

  [[nodiscard]] const std::string& Path() const { return path_; }

 private:
  std::string path_;
};

/// A server that ends with the object, at the latest.
class TriedServer {
 public:
  TriedServer(const Launch& launch, const Place& place) {
    MkDirRecurse(SlotFolderOf(place));
    MkDirRecurse(place.data);
    WriteFileAtomically(place.configuration, launch.configuration);
    const std::optional<int> pid = StartInSlot(launch.command, place.slot);
    if (pid) process_ = ProcessHandle::Open(*pid);
    if (!process_) throw Error(error_number::kOwn, "Unable to start " + launch.command.front());
  }
  ~TriedServer() {
    constexpr int kPatience = 150;  // looks: three seconds
    process_->Terminate();
    for (int look = 0; look < kPatience && !process_->HasEnded(); ++look) Wait();
    process_->Kill();
    while (!process_->HasEnded()) Wait();
  }
  TriedServer(const TriedServer&) = delete;
  TriedServer& operator=(const TriedServer&) = delete;
  TriedServer(TriedServer&&) = delete;
  TriedServer& operator=(TriedServer&&) = delete;

  [[nodiscard]] ProcessHandle& Process() { return *process_; }
  void Wait() const { WaitForAny({process_->Descriptor()}, kLookMilliseconds); }

 private:
  static std::string SlotFolderOf(const Place& place) {
    return std::filesystem::path(place.slot).parent_path().string();
  }

  std::optional<ProcessHandle> process_;
};

double SecondsSince(TimePoint start) { return Seconds(Clock::now() - start).count(); }

}  // namespace

CheckResult CheckConnection(const Settings& settings, const Source& source) {
  constexpr double kMargin = 15;  // seconds beyond the server's own limit
  const PrivateFolder folder;
  Settings here = settings;
  here.state = folder.Path();
  here.runtime = folder.Path();
  Source tried = source;
  tried.requests = JoinPath(folder.Path(), "requests");
  tried.results = JoinPath(folder.Path(), "results");
  tried.reconnect = 0;
  const Place place = PlaceOf(here, ServerId(tried, 1));
  const NamedMutex parent(ParentMutexName(here));
  const TimePoint start = Clock::now();
  TriedServer server(LaunchOf(here, tried, place), place);
  const double limit = tried.connectTimeout > 0 ? tried.connectTimeout + kMargin : 0;
  while (!server.Process().HasEnded()) {
    const auto facts = ReadServerFacts(place.state);
    if (facts && facts->connection == ConnectionSeen::kOpen) return {true, SecondsSince(start), ""};
    if (facts && !facts->failure.empty()) return {false, SecondsSince(start), facts->failure};
    if (limit > 0 && SecondsSince(start) > limit) {
      return {false, SecondsSince(start), "The server does not tell whether it is connected."};
    }
    server.Wait();
  }
  return {false, SecondsSince(start), "The server ended, " + server.Process().HowEnded() + "."};
}

}  // namespace ods::controller
