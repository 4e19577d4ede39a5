#include "platform/queue/FolderWatch.h"

#include <array>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include "platform/system/FileHandle.h"

namespace ods {

namespace {

/// IN_CREATE for messages that arrive by link(2); IN_CLOSE_WRITE for those written in place against the rules.
constexpr std::uint32_t kWatched =
    IN_MOVED_TO | IN_CREATE | IN_CLOSE_WRITE | IN_MOVE_SELF | IN_DELETE_SELF | IN_ONLYDIR | IN_DONT_FOLLOW;
/// After these the events no longer tell what lies in the folder.
constexpr std::uint32_t kLosesTrack = IN_Q_OVERFLOW | IN_MOVE_SELF | IN_DELETE_SELF | IN_IGNORED | IN_UNMOUNT;
/// No stream of arrivals keeps a poll from its work: the rest is read by the next one.
constexpr int kReadsAtOnce = 32;
constexpr std::size_t kBufferBytes = 16384;
/// Where so much room was left in the buffer, any further event would have come too.
constexpr std::size_t kLargestEvent = sizeof(inotify_event) + NAME_MAX + 1;

}  // namespace

struct FolderWatch::Implementation {
  FileHandle events{inotify_init1(IN_NONBLOCK | IN_CLOEXEC)};
  bool works = false;
};

FolderWatch::FolderWatch() : implementation_(std::make_unique<Implementation>()) {}

FolderWatch::~FolderWatch() = default;

bool FolderWatch::Works() const { return implementation_->works; }

bool FolderWatch::Follow(const std::string& path) {
  const FileHandle& events = implementation_->events;
  // Watching a folder once more changes nothing; watching another one of its name is what is wanted.
  implementation_->works = events && inotify_add_watch(events.Get(), path.c_str(), kWatched) >= 0;
  return implementation_->works;
}

bool FolderWatch::Read(const std::function<void(const std::string&)>& visit) {
  alignas(inotify_event) std::array<char, kBufferBytes> buffer;
  for (int reads = 0; reads < kReadsAtOnce; ++reads) {
    const ssize_t length = read(implementation_->events.Get(), buffer.data(), buffer.size());
    if (length <= 0) break;
    for (const char* at = buffer.data(); at < buffer.data() + length;) {
      const auto* event = reinterpret_cast<const inotify_event*>(at);
      if ((event->mask & kLosesTrack) != 0) return false;
      if (event->len > 0) visit(event->name);
      at += sizeof(inotify_event) + event->len;
    }
    if (static_cast<std::size_t>(length) + kLargestEvent <= buffer.size()) break;
  }
  return true;
}

bool FolderWatch::Wait(int milliseconds) const {
  pollfd watched{.fd = implementation_->events.Get(), .events = POLLIN, .revents = 0};
  return poll(&watched, Works() ? 1 : 0, milliseconds) >= 0 || errno != EINTR;
}

}  // namespace ods
