#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>
#include <utility>

#include "common/Error.h"
#include "platform/queue/Queue.h"
#include "platform/queue/QueueFolders.h"
#include "platform/system/FileHandle.h"

namespace ods {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/// How often the folder is looked at while it is not there, or where the system has no watch left.
constexpr milliseconds kUnwatched{20};
/// How long the watch is trusted: the folder may have been exchanged.
constexpr milliseconds kWatched{250};

/// The answer when it is there; it is removed then.
std::optional<std::string> TakeAnswer(const std::string& folder, const std::string& fileName) {
  const FileHandle arrived(open((folder + "/new").c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (!arrived) {
    if (errno == ENOENT) return std::nullopt;
    RaiseSystemError("Unable to read the queue folder \"" + folder + "\"", LastSystemError());
  }
  const OpenedFile opened = OpenForReading(arrived, fileName);
  if (opened.failure == std::errc::no_such_file_or_directory) return std::nullopt;
  const std::string what = "The answer \"" + fileName + "\" in the queue folder \"" + folder + "\"";
  if (!opened) RaiseSystemError(what + " cannot be read", opened.failure);
  const FileHandle& file = opened.file;
  if (!FactsOf(file).plain) throw Error(error_number::kOwn, what + " is not a plain file.");
  std::string text = ReadWhole(file, kMaxAnswerBytes, what);
  if (unlinkat(arrived.Get(), fileName.c_str(), 0) != 0)
    RaiseSystemError(what + " cannot be removed", LastSystemError());
  return text;
}

void DropEvents(const FileHandle& events) {
  alignas(inotify_event) std::array<char, 16384> buffer;
  while (read(events.Get(), buffer.data(), buffer.size()) > 0) {
  }
}

}  // namespace

struct AnswerFolder::Watch {
  FileHandle events{inotify_init1(IN_NONBLOCK | IN_CLOEXEC)};
};

AnswerFolder::AnswerFolder(std::string folder) : folder_(std::move(folder)), watch_(std::make_unique<Watch>()) {}

AnswerFolder::~AnswerFolder() = default;

std::optional<std::string> AnswerFolder::Receive(const std::string& id, milliseconds timeout) {
  const auto fileName = MessageFileName(id);
  if (!fileName) throw Error(error_number::kOwn, "The id of the answer cannot be a message id.");
  const std::string watchedPath = folder_ + "/new";
  const FileHandle& events = watch_->events;
  const auto end = Clock::now() + timeout;
  while (true) {
    // Watching a folder once more changes nothing; watching another one of its name is what is wanted.
    const bool watched = events && inotify_add_watch(events.Get(), watchedPath.c_str(),
                                                     IN_MOVED_TO | IN_CREATE | IN_ONLYDIR | IN_DONT_FOLLOW) >= 0;
    if (auto answer = TakeAnswer(folder_, *fileName)) return answer;
    const auto rest = std::chrono::ceil<milliseconds>(end - Clock::now());
    if (rest.count() <= 0) return std::nullopt;
    pollfd awaited{.fd = events.Get(), .events = POLLIN, .revents = 0};
    poll(&awaited, watched ? 1 : 0, static_cast<int>(std::min(rest, watched ? kWatched : kUnwatched).count()));
    if (watched) DropEvents(events);
  }
}

}  // namespace ods
