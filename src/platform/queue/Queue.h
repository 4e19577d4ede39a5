// The message queue component: a folder that any language can take part in, or a queue of a broker (docs/queue.md tells
// the rules of both).
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "common/Object.h"
#include "common/TextPieces.h"

namespace ods {

/// The largest message that is taken, in bytes.
inline constexpr std::size_t kMaxMessageBytes = std::size_t{16} * 1024 * 1024;
/// The largest answer that a client reads, in bytes: it may be larger than a request, but nobody reads without an end.
inline constexpr std::size_t kMaxAnswerBytes = std::size_t{1} << 30U;

/// One end of a message queue. Not shared between threads.
class Queue : public Object {
 public:
  [[nodiscard]] std::string TypeName() const override { return "IHalvikQueue"; }

  /// The folder of the queue, or the URI of one of a broker; set before `Create`. Raises error 1000 for a broken URI.
  virtual void SetFolder(const std::string& folder) = 0;
  /// Prepares the folder, and puts back what a dead server had taken. Raises error 1000 naming the folder. The
  /// connection to a broker is only begun: until there is one, and while it is lost, the other members raise error 1000
  /// with the reason, once that is known.
  virtual void Create() = 0;
  /// Takes the oldest waiting message, or the one of `id` when that is not empty, and returns its id; "" when there is
  /// none after `waitMilliseconds`. Returns at once when a message arrives, and early when a signal arrives. Removes
  /// the message of the poll before.
  virtual std::string Poll(const std::string& id, int waitMilliseconds) = 0;
  /// The text of the message that was taken. Raises error 1000 that says why, when it could not be taken as a message
  /// (too large, unreadable, not a plain file, given up after three tries): it then lies in `failed`.
  [[nodiscard]] virtual std::string Package() const = 0;
  /// Sends `text` to the receiver that the message taken names for its answer. False when it names none: the answer
  /// then goes to the outgoing queue. Raises error 53 when that receiver is not there or does not take it, and error
  /// 1000 when it could not be sent now.
  [[nodiscard]] virtual bool Reply([[maybe_unused]] const TextPieces& text) { return false; }
  /// The text of the next message to send.
  virtual void SetPackage(TextPieces text) = 0;
  /// Sends the text as the message `id`. Raises error 58 when a message of that id is waiting, error 61 when there is
  /// no room for it (full file system, quota, limit of a file's size), error 1000 naming what is wrong for an id that
  /// cannot be a name and for a folder that cannot be written.
  virtual void Send(const std::string& id) = 0;
  /// True when any message could be sent now: one of a byte was written, and removed again.
  [[nodiscard]] virtual bool CanSend() = 0;
  /// Tells the queue that the message taken was answered: it is then removed also when the queue object ends before
  /// the next `Poll`. Without this the message stays taken, and the next `Create` puts it back.
  virtual void Answered() = 0;
  /// Gives the message taken back: it could not be answered now. It waits again, without counting as tried, and a poll
  /// gives it again after a while: 0.1 seconds, each further time twice as long, 5 seconds at most. Others come first
  /// meanwhile.
  virtual void PutBack() = 0;
  /// True when a message can have that id.
  [[nodiscard]] virtual bool CanCarry(const std::string& id) const;
  /// Something to be done some fifty times a second while a broker is waited for; true gives the waiting up.
  virtual void WhileWaiting([[maybe_unused]] const std::function<bool()>& giveUp) {}
};

/// A new queue over a folder.
/// @param synced what was sent outlives the machine, as it does in every queue whose folder has a file "sync"
[[nodiscard]] std::shared_ptr<Queue> CreateFolderQueue(bool synced = false);

/// The file name of a message: its id, percent-encoded outside A-Z a-z 0-9 . _ - (a leading dot too), and ".xml".
/// Nothing for an empty id and for one of more than 200 encoded bytes.
[[nodiscard]] std::optional<std::string> MessageFileName(const std::string& id);

/// The client's end of an outgoing queue: waits for answers, reads and removes them. One object serves many answers;
/// ending its watch costs some milliseconds in the kernel, so a client that sends more than one request keeps it.
class AnswerFolder {
 public:
  /// `folder` may be missing yet.
  explicit AnswerFolder(std::string folder);
  ~AnswerFolder();
  AnswerFolder(const AnswerFolder&) = delete;
  AnswerFolder& operator=(const AnswerFolder&) = delete;
  AnswerFolder(AnswerFolder&&) = delete;
  AnswerFolder& operator=(AnswerFolder&&) = delete;

  /// Waits up to `timeout` for the answer to the message `id`; nothing when it has not come. Raises error 1000 naming
  /// the folder or the file when it cannot be read.
  [[nodiscard]] std::optional<std::string> Receive(const std::string& id, std::chrono::milliseconds timeout);

 private:
  struct Watch;
  std::string folder_;
  std::unique_ptr<Watch> watch_;
};

}  // namespace ods
