#include "platform/queue/QueueFolders.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "common/Error.h"
#include "platform/system/Folders.h"

namespace ods {

namespace {

constexpr std::string_view kMessageEnd = ".xml";
constexpr mode_t kPrivateFile = S_IRUSR | S_IWUSR;
constexpr std::int64_t kStaleSeconds = std::int64_t{36} * 3600;

void RequireMade(const std::error_code& failure, const std::string& shownPath) {
  if (!failure || failure == std::errc::file_exists) return;
  RaiseSystemError("Unable to create the queue folder \"" + shownPath + "\"", failure);
}

FileHandle OpenFolder(int parent, const std::string& name, int extraFlags, const std::string& shownPath) {
  FileHandle folder(openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | extraFlags));
  if (!folder) RaiseSystemError("Unable to open the queue folder \"" + shownPath + "\"", LastSystemError());
  return folder;
}

FileHandle OpenRoot(const std::string& path) {
  if (path.empty()) throw Error(error_number::kOwn, "The queue has no folder.");
  std::filesystem::path level;
  for (const auto& part : std::filesystem::path(path)) {
    level /= part;
    // The root and what is there already need no right to create.
    std::error_code ignored;
    if (!std::filesystem::exists(level, ignored)) RequireMade(MakePrivateFolder(level.string()), level.string());
  }
  return OpenFolder(AT_FDCWD, path, 0, path);
}

bool IsShared(const FileFacts& folder) { return (folder.mode & S_ISGID) != 0; }

std::string TriesName(const std::string& name) { return name.substr(0, name.size() - kMessageEnd.size()) + ".tries"; }

}  // namespace

bool IsMessageName(std::string_view name) { return name.ends_with(kMessageEnd) && !name.starts_with('.'); }

QueueFolders::QueueFolders(std::string path)
    : path_(std::move(path)),
      root_(OpenRoot(path_)),
      rootFacts_(FactsOf(root_)),
      wantsSync_(FactsOf(root_, "sync").has_value()),
      tmp_(OpenPart("tmp")),
      new_(OpenPart("new")),
      cur_(OpenPart("cur")),
      failed_(OpenPart("failed")) {}

QueueFolders::Part QueueFolders::OpenPart(const std::string& name) const {
  const std::string shownPath = path_ + "/" + name;
  const std::error_code failure = MakePrivateFolder(root_, name);
  RequireMade(failure, shownPath);
  FileHandle folder = OpenFolder(root_.Get(), name, O_NOFOLLOW, shownPath);
  if (!failure && IsShared(rootFacts_) && fchmod(folder.Get(), S_ISGID | S_IRWXU | (rootFacts_.mode & S_IRWXG)) != 0) {
    RaiseSystemError("Unable to share the queue folder \"" + shownPath + "\"", LastSystemError());
  }
  const FileFacts facts = FactsOf(folder);
  return {std::move(folder), facts};
}

bool QueueFolders::StillThere() const {
  const auto named = FactsOf(path_);
  if (!named || !named->IsSameFile(rootFacts_)) return false;
  if (complete_ == named->changed) return true;
  if (!HasAllParts()) return false;
  if (IsSettled(named->changed)) complete_ = named->changed;
  return true;
}

void QueueFolders::Sync() const {
  if (fsync(root_.Get()) != 0) RaiseSystemError("Unable to sync the queue folder \"" + path_ + "\"", LastSystemError());
}

bool QueueFolders::HasAllParts() const {
  const auto has = [this](const char* name, const Part& part) {
    const auto named = FactsOf(root_, name);
    return named && named->IsSameFile(part.facts);
  };
  return has("new", new_) && has("cur", cur_) && has("tmp", tmp_) && has("failed", failed_);
}

void QueueFolders::Share(const FileHandle& file, const FileHandle& folder) {
  const FileFacts rights = FactsOf(folder);
  if (!IsShared(rights)) return;
  // The group first: its rights must never be those of another one.
  if (FactsOf(file).group != rights.group && fchown(file.Get(), static_cast<uid_t>(-1), rights.group) != 0) return;
  (void)fchmod(file.Get(), kPrivateFile | (rights.mode & (S_IRGRP | S_IWGRP)));
}

int QueueFolders::Tries(const std::string& name) const {
  const FileHandle file = OpenForReading(Cur(), TriesName(name)).file;
  if (!file) return 0;
  std::array<char, 8> text{};
  const ssize_t length = read(file.Get(), text.data(), text.size());
  int tries = 0;
  if (length > 0) std::from_chars(text.data(), text.data() + length, tries);
  return tries;
}

void QueueFolders::ForgetTries(const std::string& name) const { unlinkat(Cur().Get(), TriesName(name).c_str(), 0); }

void QueueFolders::PutBackAbandoned() const {
  ForEachName(Cur(), [this](const std::string& name) {
    if (IsMessageName(name)) {
      PutBack(name);
    } else if (name.ends_with(".tries")) {
      const std::string message = name.substr(0, name.size() - std::string_view(".tries").size()) + ".xml";
      if (!FactsOf(New(), message) && !FactsOf(Cur(), message)) unlinkat(Cur().Get(), name.c_str(), 0);
    }
  });
}

int QueueFolders::CountTry(const std::string& name) const {
  const int tries = Tries(name) + 1;
  // Always a new file: what stands under the name may be a pipe, or a second name of somebody else's file.
  ForgetTries(name);
  const FileHandle file(
      openat(Cur().Get(), TriesName(name).c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kPrivateFile));
  if (!file || WriteAll(file, std::to_string(tries))) return 0;
  Share(file, Cur());
  return tries;
}

FileHandle QueueFolders::LockAbandoned(const std::string& name) const {
  FileHandle message = OpenForReading(Cur(), name).file;
  if (!message || flock(message.Get(), LOCK_EX | LOCK_NB) != 0) return {};  // somebody alive has it
  const auto named = FactsOf(Cur(), name);
  return named && named->IsSameFile(FactsOf(message)) ? std::move(message) : FileHandle();
}

void QueueFolders::PutBack(const std::string& name) const {
  const FileHandle message = LockAbandoned(name);
  // Never over a waiting message of its name: whoever takes that one next takes this one before it. And never without
  // the count, or a deadly message would come back for ever.
  if (!message || FactsOf(New(), name) || CountTry(name) == 0) return;
  (void)MoveFile(Cur(), name, New(), name);  // one of its name that came this very instant: another time
}

void QueueFolders::RemoveStaleParts() const {
  const std::int64_t now =
      std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch()).count();
  ForEachName(Tmp(), [this, now](const std::string& name) {
    const auto facts = FactsOf(Tmp(), name);
    if (facts && !facts->folder && facts->modified.seconds < now - kStaleSeconds)
      unlinkat(Tmp().Get(), name.c_str(), 0);
  });
}

bool QueueFolders::MoveToFailed(const FileHandle& from, const std::string& name) const {
  constexpr int kNumberedNames = 100;  // then a random name, so that a flood of one id does not try for ever
  std::error_code failure = MoveFile(from, name, Failed(), name);
  for (int number = 1; failure == std::errc::file_exists && number <= kNumberedNames; ++number) {
    failure = MoveFile(from, name, Failed(), name + "." + std::to_string(number));
  }
  if (failure == std::errc::file_exists) failure = MoveFile(from, name, Failed(), name + "." + RandomNamePart());
  return !failure;
}

}  // namespace ods
