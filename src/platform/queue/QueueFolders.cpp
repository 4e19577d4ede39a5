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

namespace ods {

namespace {

constexpr std::string_view kMessageEnd = ".xml";
constexpr mode_t kPrivateFile = S_IRUSR | S_IWUSR;
constexpr std::int64_t kStaleSeconds = std::int64_t{36} * 3600;

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

bool IsMessageName(std::string_view name) { return name.ends_with(kMessageEnd) && !name.starts_with('.'); }

QueueFolders::QueueFolders(std::string path)
    : path_(std::move(path)),
      root_(OpenRoot(path_)),
      tmp_(OpenPart(root_, path_, "tmp")),
      new_(OpenPart(root_, path_, "new")),
      cur_(OpenPart(root_, path_, "cur")),
      failed_(OpenPart(root_, path_, "failed")),
      newFacts_(FactsOf(new_)) {}

bool QueueFolders::StillThere() const {
  const auto named = FactsOf(NewPath());
  return named && named->IsSameFile(newFacts_);
}

int QueueFolders::Tries(const std::string& name) const {
  const FileHandle file = OpenForReading(cur_, TriesName(name));
  if (!file) return 0;
  std::array<char, 8> text{};
  const ssize_t length = read(file.Get(), text.data(), text.size());
  int tries = 0;
  if (length > 0) std::from_chars(text.data(), text.data() + length, tries);
  return tries;
}

void QueueFolders::ForgetTries(const std::string& name) const { unlinkat(cur_.Get(), TriesName(name).c_str(), 0); }

void QueueFolders::PutBackAbandoned() const {
  ForEachName(cur_, [this](const std::string& name) {
    if (IsMessageName(name)) {
      PutBack(name);
    } else if (name.ends_with(".tries")) {
      const std::string message = name.substr(0, name.size() - std::string_view(".tries").size()) + ".xml";
      if (!FactsOf(new_, message) && !FactsOf(cur_, message)) unlinkat(cur_.Get(), name.c_str(), 0);
    }
  });
}

int QueueFolders::CountTry(const std::string& name) const {
  const int tries = Tries(name) + 1;
  // Always a new file: what stands under the name may be a pipe, or a second name of somebody else's file.
  ForgetTries(name);
  const FileHandle file(
      openat(cur_.Get(), TriesName(name).c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kPrivateFile));
  return file && WriteAll(file.Get(), std::to_string(tries)) == 0 ? tries : 0;
}

FileHandle QueueFolders::LockAbandoned(const std::string& name) const {
  FileHandle message = OpenForReading(cur_, name);
  if (!message || flock(message.Get(), LOCK_EX | LOCK_NB) != 0) return {};  // somebody alive has it
  const auto named = FactsOf(cur_, name);
  return named && named->IsSameFile(FactsOf(message)) ? std::move(message) : FileHandle();
}

void QueueFolders::PutBack(const std::string& name) const {
  const FileHandle message = LockAbandoned(name);
  // Never over a waiting message of its name: whoever takes that one next takes this one before it. And never without
  // the count, or a deadly message would come back for ever.
  if (!message || FactsOf(new_, name) || CountTry(name) == 0) return;
  (void)MoveFile(cur_, name, new_, name);  // one of its name that came this very instant: another time
}

void QueueFolders::RemoveStaleParts() const {
  const std::int64_t now =
      std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch()).count();
  ForEachName(tmp_, [this, now](const std::string& name) {
    const auto facts = FactsOf(tmp_, name);
    if (facts && !facts->folder && facts->seconds < now - kStaleSeconds) unlinkat(tmp_.Get(), name.c_str(), 0);
  });
}

bool QueueFolders::MoveToFailed(const FileHandle& from, const std::string& name) const {
  constexpr int kNumberedNames = 100;  // then a random name, so that a flood of one id does not try for ever
  int failure = MoveFile(from, name, failed_, name);
  for (int number = 1; failure == EEXIST && number <= kNumberedNames; ++number) {
    failure = MoveFile(from, name, failed_, name + "." + std::to_string(number));
  }
  if (failure == EEXIST) failure = MoveFile(from, name, failed_, name + "." + RandomNamePart());
  return failure == 0;
}

}  // namespace ods
