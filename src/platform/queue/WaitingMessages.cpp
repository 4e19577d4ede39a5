#include "platform/queue/WaitingMessages.h"

#include <algorithm>

namespace ods {

namespace {

/// How often the folder is looked at where the system has no watch left.
constexpr int kUnwatchedMilliseconds = 20;
/// For how long a message is left out.
constexpr std::chrono::milliseconds kShortestPause{100};
constexpr std::chrono::milliseconds kLongestPause{5000};

}  // namespace

WaitingMessages::WaitingMessages(const QueueFolders& folder) : folder_(folder) {
  watch_.Follow(folder.New().Path());
  ReadFolder();
}

void WaitingMessages::ReadFolder() {
  byName_.clear();
  entries_.clear();
  folder_.New().ForEachName([this](const std::string& name) { Add(name); });
}

bool WaitingMessages::Update() {
  AddThoseDue();
  if (watch_.Works()) return watch_.Read([this](const std::string& name) { Add(name); });
  if (entries_.empty()) ReadFolder();
  return true;
}

bool WaitingMessages::Wait(int milliseconds) const {
  int longest = watch_.Works() ? milliseconds : std::min(milliseconds, kUnwatchedMilliseconds);
  if (!due_.empty()) {
    const auto rest = std::chrono::ceil<std::chrono::milliseconds>(due_.begin()->first - Clock::now());
    longest = static_cast<int>(std::clamp<std::int64_t>(rest.count(), 0, longest));
  }
  return watch_.Wait(longest);
}

WaitingMessages::Entries::iterator WaitingMessages::Remove(Entries::iterator entry) {
  byName_.erase(entry->second);
  return entries_.erase(entry);
}

void WaitingMessages::Remove(const std::string& name) {
  if (const auto known = byName_.find(name); known != byName_.end()) Remove(known->second);
}

void WaitingMessages::Postpone(const std::string& name) {
  Remove(name);
  Pause& pause = pauses_[name];
  pause.length = std::clamp(pause.length * 2, kShortestPause, kLongestPause);
  pause.over = false;
  due_.emplace(Clock::now() + pause.length, name);
}

void WaitingMessages::AddThoseDue() {
  while (!due_.empty() && due_.begin()->first <= Clock::now()) {
    const std::string name = due_.begin()->second;
    due_.erase(due_.begin());
    if (const auto pause = pauses_.find(name); pause != pauses_.end()) pause->second.over = true;
    Add(name);
  }
}

void WaitingMessages::Add(const std::string& name) {
  if (!IsMessageName(name)) return;
  if (const auto pause = pauses_.find(name); pause != pauses_.end() && !pause->second.over) return;
  const auto facts = folder_.New().FactsOf(name);
  if (!facts) {  // taken in the meantime
    Forget(name);
    return;
  }
  Remove(name);
  const auto entry = entries_.emplace(facts->modified, name).first;
  byName_.emplace(entry->second, entry);
}

}  // namespace ods
