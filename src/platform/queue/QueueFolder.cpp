#include "platform/queue/QueueFolder.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <limits>
#include <memory>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "common/Error.h"

namespace ods {

namespace {

constexpr std::string_view kMessageEnd = ".xml";
constexpr mode_t kPrivateFile = S_IRUSR | S_IWUSR;
constexpr std::int64_t kStaleSeconds = std::int64_t{36} * 3600;

FileFacts ToFacts(const struct stat& facts) {
  return {.device = facts.st_dev,
          .inode = facts.st_ino,
          .plain = S_ISREG(facts.st_mode),
          .folder = S_ISDIR(facts.st_mode),
          .size = static_cast<std::uint64_t>(facts.st_size),
          .seconds = facts.st_mtim.tv_sec,
          .nanoseconds = facts.st_mtim.tv_nsec};
}

void MakePrivateFolder(const FileHandle* parent, const std::string& path, const std::string& shownPath) {
  if (mkdirat(parent != nullptr ? parent->Get() : AT_FDCWD, path.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
    RaiseSystemError("Unable to create the queue folder \"" + shownPath + "\"", errno);
  }
}

FileHandle OpenFolder(int parent, const std::string& name, int extraFlags, const std::string& shownPath) {
  FileHandle folder(openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | extraFlags));
  if (!folder) RaiseSystemError("Unable to open the queue folder \"" + shownPath + "\"", errno);
  return folder;
}

FileHandle OpenRoot(const std::string& path) {
  if (path.empty()) throw Error(error_number::kOwn, "The queue has no folder.");
  std::filesystem::path level;
  for (const auto& part : std::filesystem::path(path)) {
    level /= part;
    // The root and what is there already need no right to create.
    std::error_code ignored;
    if (!std::filesystem::exists(level, ignored)) MakePrivateFolder(nullptr, level.string(), level.string());
  }
  return OpenFolder(AT_FDCWD, path, 0, path);
}

FileHandle OpenPart(const FileHandle& root, const std::string& path, const std::string& name) {
  const std::string shownPath = path + "/" + name;
  MakePrivateFolder(&root, name, shownPath);
  return OpenFolder(root.Get(), name, O_NOFOLLOW, shownPath);
}

std::string TriesName(const std::string& name) { return name.substr(0, name.size() - kMessageEnd.size()) + ".tries"; }

}  // namespace

FileFacts FactsOf(const FileHandle& file) {
  struct stat facts {};
  if (fstat(file.Get(), &facts) != 0) RaiseSystemError("Unable to look at a file of the queue", errno);
  return ToFacts(facts);
}

std::optional<FileFacts> FactsOf(const FileHandle& folder, const std::string& name) {
  struct stat facts {};
  if (fstatat(folder.Get(), name.c_str(), &facts, AT_SYMLINK_NOFOLLOW) != 0) return std::nullopt;
  return ToFacts(facts);
}

FileHandle OpenForReading(const FileHandle& folder, const std::string& name) {
  return FileHandle(openat(folder.Get(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
}

std::string ReadWhole(const FileHandle& file, std::uint64_t limit, const std::string& what) {
  const std::uint64_t size = FactsOf(file).size;
  if (size > limit) {
    throw Error(error_number::kOwn, what + " is larger than " + std::to_string(limit) + " bytes.");
  }
  std::string text(static_cast<std::size_t>(size), '\0');
  std::size_t done = 0;
  while (done < text.size()) {
    const ssize_t got = pread(file.Get(), text.data() + done, text.size() - done, static_cast<off_t>(done));
    if (got < 0 && errno != EINTR) RaiseSystemError(what + " cannot be read", errno);
    if (got == 0) break;  // it became shorter in the meantime
    if (got > 0) done += static_cast<std::size_t>(got);
  }
  text.resize(done);
  return text;
}

void ForEachName(const FileHandle& folder, const std::function<void(const std::string&)>& visit) {
  const auto closeFolder = [](DIR* open) { closedir(open); };
  // A descriptor of its own: the position of a duplicate would be shared.
  FileHandle listed(openat(folder.Get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  const std::unique_ptr<DIR, decltype(closeFolder)> names(listed ? fdopendir(listed.Get()) : nullptr, closeFolder);
  if (!names) RaiseSystemError("Unable to list a folder of the queue", errno);
  (void)listed.Release();  // closed by closedir
  while (const dirent* entry = readdir(names.get())) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") visit(name);
  }
}

int MoveFile(const FileHandle& from, const std::string& name, const FileHandle& to, const std::string& newName) {
  if (renameat2(from.Get(), name.c_str(), to.Get(), newName.c_str(), RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return errno;
  // This file system lacks the flag. A link is not made over an existing name either.
  if (linkat(from.Get(), name.c_str(), to.Get(), newName.c_str(), 0) != 0) return errno;
  return unlinkat(from.Get(), name.c_str(), 0) == 0 ? 0 : errno;
}

bool IsMessageName(std::string_view name) { return name.ends_with(kMessageEnd) && !name.starts_with('.'); }

QueueFolder::QueueFolder(std::string path)
    : path_(std::move(path)),
      root_(OpenRoot(path_)),
      tmp_(OpenPart(root_, path_, "tmp")),
      new_(OpenPart(root_, path_, "new")),
      cur_(OpenPart(root_, path_, "cur")),
      failed_(OpenPart(root_, path_, "failed")),
      newFacts_(FactsOf(new_)) {}

bool QueueFolder::StillThere() const {
  struct stat facts {};
  return lstat(NewPath().c_str(), &facts) == 0 && ToFacts(facts).IsSameFile(newFacts_);
}

int QueueFolder::Tries(const std::string& name) const {
  const FileHandle file = OpenForReading(cur_, TriesName(name));
  if (!file) return 0;
  std::array<char, 8> text{};
  const ssize_t length = read(file.Get(), text.data(), text.size());
  int tries = 0;
  if (length > 0) std::from_chars(text.data(), text.data() + length, tries);
  return tries;
}

void QueueFolder::ForgetTries(const std::string& name) const { unlinkat(cur_.Get(), TriesName(name).c_str(), 0); }

void QueueFolder::PutBackAbandoned() const {
  ForEachName(cur_, [this](const std::string& name) {
    if (IsMessageName(name)) {
      PutBack(name);
    } else if (name.ends_with(".tries")) {
      const std::string message = name.substr(0, name.size() - std::string_view(".tries").size()) + ".xml";
      if (!FactsOf(new_, message) && !FactsOf(cur_, message)) unlinkat(cur_.Get(), name.c_str(), 0);
    }
  });
}

int QueueFolder::CountTry(const std::string& name) const {
  const int tries = Tries(name) + 1;
  // Always a new file: what stands under the name may be a pipe, or a second name of somebody else's file.
  ForgetTries(name);
  const FileHandle file(
      openat(cur_.Get(), TriesName(name).c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kPrivateFile));
  return file && WriteAll(file.Get(), std::to_string(tries)) == 0 ? tries : 0;
}

FileHandle QueueFolder::LockAbandoned(const std::string& name) const {
  FileHandle message = OpenForReading(cur_, name);
  if (!message || flock(message.Get(), LOCK_EX | LOCK_NB) != 0) return {};  // somebody alive has it
  const auto named = FactsOf(cur_, name);
  return named && named->IsSameFile(FactsOf(message)) ? std::move(message) : FileHandle();
}

void QueueFolder::PutBack(const std::string& name) const {
  const FileHandle message = LockAbandoned(name);
  // Never over a waiting message of its name: whoever takes that one next takes this one before it. And never without
  // the count, or a deadly message would come back for ever.
  if (!message || FactsOf(new_, name) || CountTry(name) == 0) return;
  (void)MoveFile(cur_, name, new_, name);  // one of its name that came this very instant: another time
}

void QueueFolder::RemoveStaleParts() const {
  const std::int64_t now =
      std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch()).count();
  ForEachName(tmp_, [this, now](const std::string& name) {
    const auto facts = FactsOf(tmp_, name);
    if (facts && !facts->folder && facts->seconds < now - kStaleSeconds) unlinkat(tmp_.Get(), name.c_str(), 0);
  });
}

bool QueueFolder::MoveToFailed(const FileHandle& from, const std::string& name) const {
  constexpr int kNumberedNames = 100;  // then a random name, so that a flood of one id does not try for ever
  int failure = MoveFile(from, name, failed_, name);
  for (int number = 1; failure == EEXIST && number <= kNumberedNames; ++number) {
    failure = MoveFile(from, name, failed_, name + "." + std::to_string(number));
  }
  if (failure == EEXIST) failure = MoveFile(from, name, failed_, name + "." + RandomNamePart());
  return failure == 0;
}

}  // namespace ods
