#include "platform/queue/Queue.h"

#include <algorithm>
#include <deque>
#include <filesystem>
#include <system_error>
#include <utility>

#include "common/Error.h"
#include "common/Files.h"
#include "common/PercentCode.h"
#include "platform/queue/MessageProblems.h"
#include "platform/queue/OutgoingFile.h"
#include "platform/queue/QueueFolders.h"
#include "platform/queue/WaitingMessages.h"
#include "platform/system/FileHandle.h"

namespace ods {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr std::size_t kMaxEncodedId = 200;
/// A message that this many servers ended over is not tried again.
constexpr int kMaxTries = 3;
/// How often messages of dead servers are looked for.
constexpr std::chrono::seconds kCareInterval{5};
/// The longest wait in one piece: what no event tells (an exchanged folder) is noticed after it.
constexpr milliseconds kLongestWait{1000};
/// The wait when a message could not be taken just now because another server looks at it.
constexpr milliseconds kBusyWait{10};
/// A message that could not be put back is given again after this pause.
constexpr std::chrono::seconds kHeldPause{1};
/// So many are held at most: each has an open file.
constexpr std::size_t kMostHeld = 64;

[[noreturn]] void RaiseOwn(const std::string& text) { throw Error(error_number::kOwn, text); }

/// The file name of a message; raises error 1000 for an id that cannot be one.
std::string RequireFileName(const std::string& id) {
  auto name = MessageFileName(id);
  if (!name) {
    RaiseOwn("A message id has 1 to " + std::to_string(kMaxEncodedId) + " bytes when percent-encoded, this one " +
             std::to_string(PercentEncode(id).size()) + ".");
  }
  return *std::move(name);
}

std::string IdOf(const std::string& fileName) {
  return PercentDecode(std::string_view(fileName).substr(0, fileName.size() - std::string_view(".xml").size()));
}

/// The message that the last poll returned.
struct TakenMessage {
  std::string id;
  /// Why it lies in `failed`; "" when it lies in `cur`.
  std::string problem;
  std::string fileName;
  /// Where it lies: the queue's path may name other folders by now.
  std::shared_ptr<const QueueFolders> folder;
  /// Its lock says that somebody alive has the message.
  FileHandle file{};
  std::uint64_t size = 0;  ///< when it was looked at last
  bool hasTries = false;
  bool answered = false;
};

/// What became of the attempt to take a message.
enum class Claim {
  kTaken,
  /// An older message of the same name was taken; the waiting one still waits.
  kTakenBefore,
  kGone,
  kBusy,
  /// One of the queue's folders was cleared away.
  kFoldersGone
};

class FolderQueue final : public Queue {
 public:
  explicit FolderQueue(bool synced) : synced_(synced) {}
  ~FolderQueue() override;
  FolderQueue(const FolderQueue&) = delete;
  FolderQueue& operator=(const FolderQueue&) = delete;
  FolderQueue(FolderQueue&&) = delete;
  FolderQueue& operator=(FolderQueue&&) = delete;

  void SetFolder(const std::string& folder) override { path_ = folder; }
  void Create() override;
  std::string Poll(const std::string& id, int waitMilliseconds) override;
  [[nodiscard]] std::string Package() const override;
  void SetPackage(TextPieces text) override { outgoing_ = std::move(text); }
  void Send(const std::string& id) override;
  [[nodiscard]] bool CanSend() override;
  void Answered() override;
  void PutBack() override;

 private:
  void OpenFolders();
  void RequireFolders();
  void RemoveTaken();
  void TakeCare();
  bool TakeHeld();
  Claim TakeNext(const std::string& fileName);
  Claim Take(const std::string& fileName);
  Claim TakeUnopened(const std::string& fileName, const std::error_code& failure);
  Claim TakeLocked(const std::string& fileName, FileHandle file, const FileFacts& facts);
  Claim TakeAbandoned(const std::string& fileName);
  bool GiveUp(const Folder& from, const std::string& fileName, const std::string& problem);
  Claim Reject(const std::string& fileName, const std::string& problem);
  [[nodiscard]] std::error_code SendFile(const std::string& fileName) const;

  const bool synced_;
  std::string path_;
  std::shared_ptr<const QueueFolders> folder_;
  /// Made by the first poll: a queue that is only sent to needs no watch.
  std::unique_ptr<WaitingMessages> waiting_;
  Clock::time_point nextCare_;
  std::optional<TakenMessage> taken_;
  /// Messages that were given back and cannot wait in `new`.
  std::deque<TakenMessage> held_;
  Clock::time_point nextHeld_;
  mutable std::optional<std::string> package_;
  TextPieces outgoing_;
};

FolderQueue::~FolderQueue() {
  if (!taken_ || !taken_->answered) return;
  try {
    RemoveTaken();
  } catch (const Error&) {  // NOLINT(bugprone-empty-catch): the client has its answer, and nobody is there to be told
  }
}

void FolderQueue::Create() {
  if (path_.empty()) RaiseOwn("The queue has no folder.");
  path_ = TextOf(std::filesystem::absolute(PathOf(path_)));
  OpenFolders();
  if (synced_ || folder_->WantsSync()) folder_->Sync();
  folder_->RemoveStaleParts();
  TakeCare();
}

void FolderQueue::OpenFolders() {
  waiting_.reset();
  folder_ = std::make_shared<QueueFolders>(path_);
}

/// The folders as the path names them now: somebody may have cleared them away.
void FolderQueue::RequireFolders() {
  if (!folder_) RaiseOwn("The queue is not open: its folder was not created.");
  if (!folder_->StillThere()) OpenFolders();
}

void FolderQueue::TakeCare() {
  folder_->PutBackAbandoned();
  nextCare_ = Clock::now() + kCareInterval;
}

std::string FolderQueue::Poll(const std::string& id, int waitMilliseconds) {
  const std::string fileName = id.empty() ? "" : RequireFileName(id);
  RemoveTaken();
  const auto end = Clock::now() + milliseconds(waitMilliseconds);
  while (true) {
    const bool careIsDue = Clock::now() >= nextCare_;
    if (careIsDue || !waiting_ || waiting_->All().empty()) RequireFolders();
    if (careIsDue) TakeCare();
    if (!waiting_ || !waiting_->Update()) waiting_ = std::make_unique<WaitingMessages>(*folder_);
    // A folder on another machine may send no events: seldom, and only when idle, it is read all the same.
    if (careIsDue && waiting_->All().empty()) waiting_->ReadFolder();
    if (fileName.empty() && TakeHeld()) return taken_->id;
    const Claim claim = held_.size() < kMostHeld ? TakeNext(fileName) : Claim::kGone;
    if (claim == Claim::kTaken || claim == Claim::kTakenBefore) return taken_->id;
    if (claim == Claim::kFoldersGone) {
      OpenFolders();
      continue;
    }
    const auto rest = std::chrono::ceil<milliseconds>(end - Clock::now());
    if (rest.count() <= 0) return "";
    const auto piece = std::min(rest, claim == Claim::kBusy ? kBusyWait : kLongestWait);
    if (!waiting_->Wait(static_cast<int>(piece.count()))) return "";
  }
}

bool FolderQueue::TakeHeld() {
  if (held_.empty() || Clock::now() < nextHeld_) return false;
  taken_ = std::move(held_.front());
  held_.pop_front();
  return true;
}

/// Takes the message of that file name, the oldest one for "". `kBusy` when something waits that cannot be taken now.
Claim FolderQueue::TakeNext(const std::string& fileName) {
  if (!fileName.empty()) {
    const Claim claim = Take(fileName);
    if (claim == Claim::kTaken || claim == Claim::kGone) waiting_->Remove(fileName);
    return claim;
  }
  Claim found = Claim::kGone;
  for (auto entry = waiting_->All().begin(); entry != waiting_->All().end();) {
    const Claim claim = Take(entry->second);
    if (claim == Claim::kTakenBefore || claim == Claim::kFoldersGone) return claim;
    if (claim == Claim::kBusy) {
      found = claim;
      ++entry;
      continue;
    }
    if (claim == Claim::kGone) waiting_->Forget(entry->second);
    entry = waiting_->Remove(entry);
    if (claim == Claim::kTaken) return claim;
  }
  return found;
}

Claim FolderQueue::Take(const std::string& fileName) {
  OpenedFile opened = folder_->New().OpenForReading(fileName);
  if (!opened) return TakeUnopened(fileName, opened.failure);
  const FileFacts facts = FactsOf(opened.file);
  if (!facts.plain) return Reject(fileName, "is not a plain file.");
  if (const auto failure = TryLock(opened.file)) {
    if (failure == std::errc::operation_would_block) return Claim::kBusy;  // another server takes it, or puts it back
    RaiseSystemError("Unable to lock a message in the queue folder \"" + path_ + "\"", failure);
  }
  const auto named = folder_->New().FactsOf(fileName);
  if (!named || !named->IsSameFile(facts)) return named ? Claim::kBusy : Claim::kGone;
  return TakeLocked(fileName, std::move(opened.file), facts);
}

/// What an opening that failed means for the message.
enum class Unopened { kUnreadable, kGone, kBusy, kNotPlain, kLackOfMeans };

Unopened MeaningOf(const std::error_code& failure) {
  static constexpr std::pair<std::errc, Unopened> kMeanings[] = {
      {std::errc::no_such_file_or_directory, Unopened::kGone},
      {std::errc::device_or_resource_busy, Unopened::kBusy},
      {std::errc::too_many_symbolic_link_levels, Unopened::kNotPlain},  // a link
      {std::errc::no_such_device_or_address, Unopened::kNotPlain},      // a socket
      {std::errc::no_such_device, Unopened::kNotPlain},
      {std::errc::too_many_files_open, Unopened::kLackOfMeans},
      {std::errc::too_many_files_open_in_system, Unopened::kLackOfMeans},
      {std::errc::not_enough_memory, Unopened::kLackOfMeans}};
  const auto* const found =
      std::ranges::find_if(kMeanings, [&failure](const auto& meaning) { return failure == meaning.first; });
  return found != std::end(kMeanings) ? found->second : Unopened::kUnreadable;
}

Claim FolderQueue::TakeUnopened(const std::string& fileName, const std::error_code& failure) {
  switch (MeaningOf(failure)) {
    case Unopened::kGone:
      return Claim::kGone;
    case Unopened::kBusy:
      return Claim::kBusy;
    case Unopened::kNotPlain:
      return Reject(fileName, "is not a plain file.");
    case Unopened::kLackOfMeans:
      RaiseSystemError("Unable to open a message in the queue folder \"" + path_ + "\"", failure);
    case Unopened::kUnreadable:
      break;
  }
  return Reject(fileName, "cannot be read: " + failure.message());
}

Claim FolderQueue::TakeLocked(const std::string& fileName, FileHandle file, const FileFacts& facts) {
  if (facts.size > kMaxMessageBytes) {
    return Reject(fileName, problem::TooLarge());
  }
  const int tries = folder_->Tries(fileName);
  if (tries >= kMaxTries) {
    const Claim claim = Reject(fileName, problem::GivenUp(tries));
    if (claim == Claim::kTaken) folder_->ForgetTries(fileName);
    return claim;
  }
  std::string id = IdOf(fileName);
  if (!MessageFileName(id)) return Reject(fileName, "");
  std::error_code failure = folder_->New().Move(fileName, folder_->Cur(), fileName);
  if (failure == std::errc::file_exists) {
    const auto named = folder_->Cur().FactsOf(fileName);
    if (!named || !named->IsSameFile(facts)) return TakeAbandoned(fileName);
    // Where files are moved by a second name, a server that died can leave both: this message is the one in `cur`.
    failure = folder_->New().Remove(fileName);
  }
  if (failure == std::errc::no_such_file_or_directory) {
    return folder_->HasAllParts() ? Claim::kGone : Claim::kFoldersGone;
  }
  if (failure == std::errc::device_or_resource_busy) return Claim::kBusy;
  if (failure) RaiseSystemError("Unable to take a message in the queue folder \"" + path_ + "\"", failure);
  taken_ = TakenMessage{.id = std::move(id),
                        .problem = "",
                        .fileName = fileName,
                        .folder = folder_,
                        .file = std::move(file),
                        .size = facts.size,
                        .hasTries = tries > 0};
  return Claim::kTaken;
}

/// Takes the older message of a name over from a server that died. When that server lives, the waiting message of the
/// same name has to wait on.
Claim FolderQueue::TakeAbandoned(const std::string& fileName) {
  FileHandle file = folder_->LockAbandoned(fileName);
  const int tries = file ? folder_->CountTry(fileName) : 0;
  if (tries == 0) return Claim::kBusy;
  if (tries >= kMaxTries) {
    if (!GiveUp(folder_->Cur(), fileName, problem::GivenUp(tries))) {
      return folder_->HasAllParts() ? Claim::kBusy : Claim::kFoldersGone;
    }
    folder_->ForgetTries(fileName);
    return Claim::kTakenBefore;
  }
  taken_ = TakenMessage{.id = IdOf(fileName),
                        .problem = "",
                        .fileName = fileName,
                        .folder = folder_,
                        .file = std::move(file),
                        .hasTries = true};
  return Claim::kTakenBefore;
}

/// Moves a message that cannot be handled to `failed`. The poll returns it all the same, so that its sender is told;
/// false when no answer could carry its id, or when it could not be moved.
bool FolderQueue::GiveUp(const Folder& from, const std::string& fileName, const std::string& problem) {
  std::string id = IdOf(fileName);
  if (!folder_->MoveToFailed(from, fileName) || !MessageFileName(id)) return false;
  std::string text = ShownMessage(id) + " " + problem;
  taken_ = TakenMessage{.id = std::move(id), .problem = std::move(text), .fileName = fileName, .folder = folder_};
  return true;
}

Claim FolderQueue::Reject(const std::string& fileName, const std::string& problem) {
  if (GiveUp(folder_->New(), fileName, problem)) return Claim::kTaken;
  return folder_->HasAllParts() ? Claim::kGone : Claim::kFoldersGone;
}

/// Removes the message of the last poll. When that fails it stays taken, so that nobody answers it again.
void FolderQueue::RemoveTaken() {
  package_.reset();
  if (taken_ && taken_->problem.empty()) {
    const std::string& name = taken_->fileName;
    const std::error_code failure = taken_->folder->Cur().Remove(name);
    if (failure && failure != std::errc::no_such_file_or_directory) {
      RaiseSystemError("Unable to remove an answered message from the queue folder \"" + path_ + "\"", failure);
    }
    if (taken_->hasTries) taken_->folder->ForgetTries(name);
    if (waiting_) waiting_->Forget(name);
  }
  taken_.reset();
}

std::string FolderQueue::Package() const {
  if (!taken_) RaiseOwn("The queue has no message: none was polled.");
  if (!taken_->problem.empty()) RaiseOwn(taken_->problem);
  if (!package_) package_ = ReadWhole(taken_->file, taken_->size, kMaxMessageBytes, ShownMessage(taken_->id));
  return *package_;
}

void FolderQueue::Answered() {
  if (taken_) taken_->answered = true;
}

void FolderQueue::PutBack() {
  if (!taken_) return;
  package_.reset();
  TakenMessage message = *std::exchange(taken_, std::nullopt);
  const std::string& name = message.fileName;
  const bool lies = message.problem.empty() && message.folder == folder_ && waiting_;
  if (lies && !folder_->Cur().Move(name, folder_->New(), name)) {
    waiting_->Postpone(name);
    return;
  }
  // It lies in `failed`, or a later one of its name waits: it stays in hand.
  nextHeld_ = Clock::now() + kHeldPause;
  held_.push_back(std::move(message));
}

void FolderQueue::Send(const std::string& id) {
  const std::string fileName = RequireFileName(id);
  RequireFolders();
  std::error_code failure = SendFile(fileName);
  if (failure == std::errc::no_such_file_or_directory) {  // one of the folders was cleared away in between
    OpenFolders();
    failure = SendFile(fileName);
  }
  if (failure == std::errc::file_exists)
    throw Error(error_number::kFileExists, ShownMessage(id) + " is waiting already.");
  if (!failure) return;
  throw Error(IsLackOfRoom(failure) ? error_number::kDiskFull : error_number::kOwn,
              ShownMessage(id) + " cannot be sent to the queue folder \"" + path_ + "\": " + failure.message());
}

std::error_code FolderQueue::SendFile(const std::string& fileName) const {
  return OutgoingFile(folder_->Tmp()).FillAndSend(outgoing_, folder_->New(), fileName, synced_ || folder_->WantsSync());
}

bool FolderQueue::CanSend() {
  try {
    RequireFolders();
    return !OutgoingFile(folder_->Tmp()).Fill("x", false);
  } catch (const Error&) {
    return false;
  }
}

}  // namespace

std::shared_ptr<Queue> CreateFolderQueue(bool synced) { return std::make_shared<FolderQueue>(synced); }

bool Queue::CanCarry(const std::string& id) const { return MessageFileName(id).has_value(); }

std::optional<std::string> MessageFileName(const std::string& id) {
  if (id.empty() || id.size() > kMaxEncodedId) return std::nullopt;
  std::string name = PercentEncode(id);
  if (name.size() > kMaxEncodedId) return std::nullopt;
  return name + ".xml";
}

}  // namespace ods
