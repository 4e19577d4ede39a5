#include "platform/queue/QueueFolders.h"

#include <array>
#include <charconv>
#include <chrono>
#include <filesystem>
#include <utility>

#include "common/Error.h"
#include "common/Files.h"
#include "platform/system/Folders.h"

namespace ods {

namespace {

constexpr std::string_view kMessageEnd = ".xml";
constexpr std::int64_t kStaleSeconds = std::int64_t{36} * 3600;

Folder OpenRoot(const std::string& path) {
  if (path.empty()) throw Error(error_number::kOwn, "The queue has no folder.");
  std::filesystem::path level;
  for (const auto& part : PathOf(path)) {
    level /= part;
    // The root and what is there already need no right to create.
    std::error_code ignored;
    if (std::filesystem::exists(level, ignored)) continue;
    const std::error_code failure = MakePrivateFolder(TextOf(level));
    if (failure && failure != std::errc::file_exists) {
      RaiseSystemError("Unable to create the queue folder \"" + TextOf(level) + "\"", failure);
    }
  }
  Folder folder(path, Folder::Link::kFollowed);
  if (!folder) RaiseSystemError("Unable to open the queue folder \"" + path + "\"", folder.Failure());
  return folder;
}

std::string TriesName(const std::string& name) { return name.substr(0, name.size() - kMessageEnd.size()) + ".tries"; }

}  // namespace

bool IsMessageName(std::string_view name) { return name.ends_with(kMessageEnd) && !name.starts_with('.'); }

QueueFolders::QueueFolders(std::string path)
    : path_(std::move(path)),
      root_(OpenRoot(path_)),
      rootFacts_(root_.Facts()),
      wantsSync_(root_.FactsOf("sync").has_value()),
      tmp_(OpenPart("tmp")),
      new_(OpenPart("new")),
      cur_(OpenPart("cur")),
      failed_(OpenPart("failed")) {}

QueueFolders::Part QueueFolders::OpenPart(const std::string& name) const {
  Folder folder = root_.OpenOrMake(name);
  const FileFacts facts = folder.Facts();
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
  if (const auto failure = root_.Sync()) RaiseSystemError("Unable to sync the queue folder \"" + path_ + "\"", failure);
}

bool QueueFolders::HasAllParts() const {
  const auto has = [this](const char* name, const Part& part) {
    const auto named = root_.FactsOf(name);
    return named && named->IsSameFile(part.facts);
  };
  return has("new", new_) && has("cur", cur_) && has("tmp", tmp_) && has("failed", failed_);
}

int QueueFolders::Tries(const std::string& name) const {
  const OpenedFile opened = Cur().OpenForReading(TriesName(name));
  if (!opened) return 0;
  std::array<char, 8> text{};
  std::size_t length = 0;
  if (ReadSome(opened.file, text.data(), text.size(), length)) return 0;
  int tries = 0;
  std::from_chars(text.data(), text.data() + length, tries);
  return tries;
}

void QueueFolders::ForgetTries(const std::string& name) const { (void)Cur().Remove(TriesName(name)); }

void QueueFolders::PutBackAbandoned() const {
  Cur().ForEachName([this](const std::string& name) {
    if (IsMessageName(name)) {
      PutBack(name);
    } else if (name.ends_with(".tries")) {
      const std::string message = name.substr(0, name.size() - std::string_view(".tries").size()) + ".xml";
      if (!New().FactsOf(message) && !Cur().FactsOf(message)) (void)Cur().Remove(name);
    }
  });
}

int QueueFolders::CountTry(const std::string& name) const {
  const int tries = Tries(name) + 1;
  // Always a new file: what stands under the name may be a pipe, or a second name of somebody else's file.
  ForgetTries(name);
  const OpenedFile opened = Cur().CreateNew(TriesName(name));
  if (!opened || WriteAll(opened.file, std::to_string(tries))) return 0;
  Cur().Share(opened.file);
  return tries;
}

FileHandle QueueFolders::LockAbandoned(const std::string& name) const {
  OpenedFile message = Cur().OpenForReading(name);
  if (!message || TryLock(message.file)) return {};  // somebody alive has it
  const auto named = Cur().FactsOf(name);
  return named && named->IsSameFile(FactsOf(message.file)) ? std::move(message.file) : FileHandle();
}

void QueueFolders::PutBack(const std::string& name) const {
  const FileHandle message = LockAbandoned(name);
  // Never over a waiting message of its name: whoever takes that one next takes this one before it. And never without
  // the count, or a deadly message would come back for ever.
  if (!message || New().FactsOf(name) || CountTry(name) == 0) return;
  (void)Cur().Move(name, New(), name);  // one of its name that came this very instant: another time
}

void QueueFolders::RemoveStaleParts() const {
  const std::int64_t now =
      std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch()).count();
  Tmp().ForEachName([this, now](const std::string& name) {
    const auto facts = Tmp().FactsOf(name);
    if (facts && !facts->folder && facts->modified.seconds < now - kStaleSeconds) (void)Tmp().Remove(name);
  });
}

bool QueueFolders::MoveToFailed(const Folder& from, const std::string& name) const {
  constexpr int kNumberedNames = 100;  // then a random name, so that a flood of one id does not try for ever
  std::error_code failure = from.Move(name, Failed(), name);
  for (int number = 1; failure == std::errc::file_exists && number <= kNumberedNames; ++number) {
    failure = from.Move(name, Failed(), name + "." + std::to_string(number));
  }
  if (failure == std::errc::file_exists) failure = from.Move(name, Failed(), name + "." + RandomNamePart());
  return !failure;
}

}  // namespace ods
