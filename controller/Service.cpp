#include "Service.h"

#include <iostream>
#include <random>
#include <vector>

#include "Configuration.h"
#include "Notify.h"
#include "Supervisor.h"
#include "common/Attempt.h"
#include "common/Conversions.h"
#include "platform/system/Processes.h"
#include "platform/system/System.h"

namespace ods::controller {

namespace {

constexpr int kLookMilliseconds = 200;

/// The journal has the time of each line already.
bool IsForJournal() { return !EnvironmentVariable("JOURNAL_STREAM").empty(); }

Surroundings MakeSurroundings() {
  const bool withTime = !IsForJournal();
  const auto tell = [withTime](const std::string& text) {
    if (withTime) std::cerr << FormatDate(LocalNow()) << ' ';
    std::cerr << text << std::endl;
  };
  const auto random = [generator = std::mt19937(std::random_device{}())]() mutable {
    return std::uniform_real_distribution<double>(0, 1)(generator);
  };
  return {tell, random};
}

void Reload(const std::string& configuration, const Surroundings& surroundings, Supervisor& supervisor,
            Notify& notify) {
  notify.Reloading();
  surroundings.tell("The configuration is read again.");
  const auto failure = Attempt([&] { supervisor.Reload(LoadSettings(configuration), Clock::now()); });
  if (failure) surroundings.tell("The configuration is not taken over.\n" + failure->Description());
  notify.Reloaded();
}

}  // namespace

void RunService(const std::string& configuration) {
  TakeFailuresInsteadOfSignals();
  ServiceSignals signals;
  Notify notify;
  const Surroundings surroundings = MakeSurroundings();
  Supervisor supervisor(LoadSettings(configuration), surroundings, Clock::now());
  bool stopping = false;
  while (!stopping || !supervisor.HasEnded()) {
    if (signals.StopRequested() && !stopping) {
      stopping = true;
      surroundings.tell("The controller ends.");
      notify.Stopping();
      supervisor.Stop(Clock::now());
    }
    if (signals.ReloadRequested() && !stopping) Reload(configuration, surroundings, supervisor, notify);
    supervisor.Round(Clock::now());
    if (supervisor.HasStarted() && !stopping) notify.Ready();
    notify.Status(supervisor.Summary());
    notify.Alive(Clock::now());
    std::vector<int> descriptors = supervisor.Descriptors();
    descriptors.push_back(signals.Descriptor());
    if (!stopping || !supervisor.HasEnded()) WaitForAny(descriptors, kLookMilliseconds);
  }
  surroundings.tell("All servers have ended.");
}

}  // namespace ods::controller
