#include <algorithm>
#include <system_error>
#include <utility>

#include "common/Error.h"
#include "platform/queue/Folder.h"
#include "platform/queue/FolderWatch.h"
#include "platform/queue/Queue.h"

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
  const Folder arrived(PathIn(folder, "new"), Folder::Link::kRefused);
  if (!arrived) {
    if (arrived.Failure() == std::errc::no_such_file_or_directory) return std::nullopt;
    RaiseSystemError("Unable to read the queue folder \"" + folder + "\"", arrived.Failure());
  }
  const OpenedFile opened = arrived.OpenForReading(fileName);
  if (opened.failure == std::errc::no_such_file_or_directory) return std::nullopt;
  const std::string what = "The answer \"" + fileName + "\" in the queue folder \"" + folder + "\"";
  if (!opened) RaiseSystemError(what + " cannot be read", opened.failure);
  const FileFacts facts = FactsOf(opened.file);
  if (!facts.plain) throw Error(error_number::kOwn, what + " is not a plain file.");
  std::string text = ReadWhole(opened.file, facts.size, kMaxAnswerBytes, what);
  if (const auto failure = arrived.Remove(fileName)) RaiseSystemError(what + " cannot be removed", failure);
  return text;
}

}  // namespace

struct AnswerFolder::Watch {
  FolderWatch events;
};

AnswerFolder::AnswerFolder(std::string folder) : folder_(std::move(folder)), watch_(std::make_unique<Watch>()) {}

AnswerFolder::~AnswerFolder() = default;

std::optional<std::string> AnswerFolder::Receive(const std::string& id, milliseconds timeout) {
  const auto fileName = MessageFileName(id);
  if (!fileName) throw Error(error_number::kOwn, "The id of the answer cannot be a message id.");
  const std::string watchedPath = PathIn(folder_, "new");
  FolderWatch& events = watch_->events;
  const auto end = Clock::now() + timeout;
  while (true) {
    const bool watched = events.Follow(watchedPath);
    if (auto answer = TakeAnswer(folder_, *fileName)) return answer;
    const auto rest = std::chrono::ceil<milliseconds>(end - Clock::now());
    if (rest.count() <= 0) return std::nullopt;
    (void)events.Wait(static_cast<int>(std::min(rest, watched ? kWatched : kUnwatched).count()));
    if (watched) (void)events.Read([](const std::string&) {});  // what they tell is looked for anyway
  }
}

}  // namespace ods
