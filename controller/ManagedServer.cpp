#include "ManagedServer.h"

#include <filesystem>
#include <system_error>
#include <utility>

#include "common/Attempt.h"
#include "common/Error.h"
#include "platform/system/Folders.h"
#include "platform/system/NamedMutex.h"
#include "platform/system/ReadFile.h"
#include "platform/system/ReplaceFile.h"
#include "platform/system/Slot.h"

namespace ods::controller {

namespace {

void Remove(const std::string& path) {
  std::error_code ignored;
  std::filesystem::remove(path, ignored);
}

std::string TextOf(const std::string& path) {
  std::string text;
  if (Attempt([&] { text = ReadFileText(path); })) return "";
  return text;
}

}  // namespace

ManagedServer::ManagedServer(Place place, Launch launch, const WatchLimits& limits, const Surroundings& surroundings)
    : place_(std::move(place)),
      launch_(std::move(launch)),
      surroundings_(&surroundings),
      watch_(limits, surroundings.random),
      alive_(place_.alive),
      message_(place_.message) {}

std::optional<int> ManagedServer::Descriptor() const {
  if (!process_) return std::nullopt;
  return process_->Descriptor();
}

bool ManagedServer::Adopt(TimePoint now) {
  const std::optional<int> pid = SlotOccupant(place_.slot);
  if (!pid) return false;
  process_ = ProcessHandle::Open(*pid);
  // The number may have come to mean another process before it was held.
  if (!process_ || SlotOccupant(place_.slot) != pid) {
    process_.reset();
    return false;
  }
  watch_.Adopt(now);
  (void)alive_.Seen();
  (void)message_.Seen();
  return true;
}

bool ManagedServer::RunsAsWanted() const {
  return CommandLineOf(process_->Pid()) == launch_.command && TextOf(place_.configuration) == launch_.configuration;
}

void ManagedServer::AdoptRunning(TimePoint now) {
  if (!Adopt(now)) return;
  const std::string pid = std::to_string(process_->Pid());
  if (RunsAsWanted()) return Tell("process " + pid + " of an earlier controller is taken over");
  Tell("process " + pid + " of an earlier controller is replaced: it was started otherwise");
  watch_.Restart(now, "its settings have changed");
}

bool ManagedServer::ProcessRuns() {
  if (!process_) return false;
  if (!process_->HasEnded()) return true;
  const std::string how = process_->HowEnded();
  Tell("process " + std::to_string(process_->Pid()) + " has ended" + (how.empty() ? "" : ", " + how));
  process_.reset();
  return false;
}

Observation ManagedServer::Look() {
  Observation seen;
  seen.processRuns = ProcessRuns();
  seen.mutexExists = MutexExists(place_.runningMutex);
  seen.beat = alive_.Seen();
  // The message before the state: the server writes them the other way round.
  if (message_.Seen()) {
    if (const auto message = ReadMessage(place_.message)) seen.asked = AskedBy(*message);
  }
  // Of a process that has ended too: it tells whether that had ever been connected.
  if (const auto facts = ReadServerFacts(place_.state)) seen.connection = facts->connection;
  return seen;
}

void ManagedServer::Round(TimePoint now) {
  const Step step = watch_.Decide(now, Look());
  TellState();
  Take(step, now);
}

void ManagedServer::Take(Step step, TimePoint now) {
  switch (step) {
    case Step::kNothing:
      break;
    case Step::kStart:
      if (const auto failure = Attempt([&] { Start(now); })) {
        Tell(failure->Description());
        watch_.StartFailed(now, failure->Description());
      }
      break;
    case Step::kTerminate:
      process_->Terminate();
      break;
    case Step::kKill:
      Tell("process " + std::to_string(process_->Pid()) + " is killed");
      process_->Kill();
      break;
  }
}

void ManagedServer::Start(TimePoint now) {
  MkDirRecurse(place_.data);
  // Of what lies there from an earlier process nothing may be taken for the word of this one.
  Remove(place_.alive);
  Remove(place_.state);
  (void)message_.Seen();
  if (TextOf(place_.configuration) != launch_.configuration) {
    WriteFileAtomically(place_.configuration, launch_.configuration);
  }
  const std::optional<int> pid = StartInSlot(launch_.command, place_.slot);
  if (!pid) {
    if (Adopt(now)) return Tell("process " + std::to_string(process_->Pid()) + " was there already");
    throw Error(error_number::kOwn, "Another process has just occupied " + place_.slot);
  }
  process_ = ProcessHandle::Open(*pid);  // a child is there until it was taken leave of
  watch_.Started(now);
  Tell("started as process " + std::to_string(*pid));
}

void ManagedServer::Stop(TimePoint now, Seconds grace) { watch_.Stop(now, grace); }

void ManagedServer::Change(Launch launch, const WatchLimits& limits, TimePoint now) {
  const bool same = launch == launch_ && watch_.State() != State::kStopped && watch_.IsWanted();
  watch_.SetLimits(limits);
  launch_ = std::move(launch);
  if (!same) watch_.Restart(now, "its settings have changed");
}

void ManagedServer::TellState() {
  const std::string state(StateName(watch_.State()));
  const std::string now = watch_.Reason().empty() ? state : state + ": " + watch_.Reason();
  if (std::exchange(told_, now) != now) Tell(now);
}

}  // namespace ods::controller
