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
  const int longest = events_ ? milliseconds : std::min(milliseconds, kUnwatchedMilliseconds);
  return poll(&watched, events_ ? 1 : 0, longest) >= 0 || errno != EINTR;
}

WaitingMessages::Entries::iterator WaitingMessages::Remove(Entries::iterator entry) {
  byName_.erase(std::get<std::string>(*entry));
  return entries_.erase(entry);
}

void WaitingMessages::Remove(const std::string& name) {
  if (const auto known = byName_.find(name); known != byName_.end()) Remove(known->second);
}

void WaitingMessages::Add(const std::string& name) {
  if (!IsMessageName(name)) return;
  const auto facts = FactsOf(folder_.New(), name);
  if (!facts) return;  // taken in the meantime
  Remove(name);
  const auto entry = entries_.emplace(facts->seconds, facts->nanoseconds, name).first;
  byName_.emplace(std::get<std::string>(*entry), entry);
}

}  // namespace ods
