#include "platform/queue/WaitingMessages.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace ods {

namespace {

/// IN_CREATE for messages that arrive by link(2); IN_CLOSE_WRITE for those written in place against the rules.
constexpr std::uint32_t kWatched =
    IN_MOVED_TO | IN_CREATE | IN_CLOSE_WRITE | IN_MOVE_SELF | IN_DELETE_SELF | IN_ONLYDIR | IN_DONT_FOLLOW;
/// After these the events no longer tell what lies in the folder.
constexpr std::uint32_t kLosesTrack = IN_Q_OVERFLOW | IN_MOVE_SELF | IN_DELETE_SELF | IN_IGNORED | IN_UNMOUNT;
/// How often the folder is looked at where the system has no watch left.
constexpr int kUnwatchedMilliseconds = 20;
/// No stream of arrivals keeps a poll from its work: the rest is read by the next one.
constexpr int kReadsAtOnce = 32;
/// For how long a message is left out.
constexpr std::chrono::milliseconds kShortestPause{100};
constexpr std::chrono::milliseconds kLongestPause{5000};

FileHandle Watch(const std::string& path) {
  FileHandle events(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
  if (events && inotify_add_watch(events.Get(), path.c_str(), kWatched) < 0) events.Close();
  return events;
}

}  // namespace

WaitingMessages::WaitingMessages(const QueueFolders& folder) : folder_(folder), events_(Watch(folder.NewPath())) {
  ReadFolder();
}

void WaitingMessages::ReadFolder() {
  byName_.clear();
  entries_.clear();
  ForEachName(folder_.New(), [this](const std::string& name) { Add(name); });
}

bool WaitingMessages::Update() {
  AddThoseDue();
  if (!events_) {
    if (entries_.empty()) ReadFolder();
    return true;
  }
  alignas(inotify_event) std::array<char, 16384> buffer;
  for (int reads = 0; reads < kReadsAtOnce; ++reads) {
    const ssize_t length = read(events_.Get(), buffer.data(), buffer.size());
    if (length <= 0) break;
    for (const char* at = buffer.data(); at < buffer.data() + length;) {
      const auto* event = reinterpret_cast<const inotify_event*>(at);
      if ((event->mask & kLosesTrack) != 0) return false;
      if (event->len > 0) Add(event->name);
      at += sizeof(inotify_event) + event->len;
    }
  }
  return true;
}

bool WaitingMessages::Wait(int milliseconds) const {
  pollfd watched{.fd = events_.Get(), .events = POLLIN, .revents = 0};
  int longest = events_ ? milliseconds : std::min(milliseconds, kUnwatchedMilliseconds);
  if (!due_.empty()) {
    const auto rest = std::chrono::ceil<std::chrono::milliseconds>(due_.begin()->first - Clock::now());
    longest = static_cast<int>(std::clamp<std::int64_t>(rest.count(), 0, longest));
  }
  return poll(&watched, events_ ? 1 : 0, longest) >= 0 || errno != EINTR;
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
  const auto facts = FactsOf(folder_.New(), name);
  if (!facts) {  // taken in the meantime
    Forget(name);
    return;
  }
  Remove(name);
  const auto entry = entries_.emplace(facts->modified, name).first;
  byName_.emplace(entry->second, entry);
}

}  // namespace ods
