#include "platform/queue/QueueChoice.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "common/Error.h"
#include "common/Files.h"
#include "common/Text.h"
#include "platform/queue/Broker.h"
#include "platform/system/FileFacts.h"

namespace ods {

namespace {

constexpr std::string_view kFileScheme = "file://";

[[noreturn]] void Refuse(const std::string& text, const std::string& why) {
  throw Error(error_number::kOwn, "The queue \"" + text + "\" cannot be used: " + why);
}

QueueAddress ParseFileUri(const std::string& text) {
  const std::string_view rest = std::string_view(text).substr(kFileScheme.size());
  if (!rest.starts_with('/')) Refuse(text, "the URI of a folder begins with \"file:///\".");
  const std::size_t queryAt = std::min(rest.find('?'), rest.size());
  const std::string_view query = rest.substr(queryAt);
  const auto path = DecodeUriPart(rest.substr(0, queryAt));
  const bool known = query.empty() || query == "?sync=0" || query == "?sync=1";
  if (rest.find('#') != std::string_view::npos || !path || !known) {
    Refuse(text, "it is no URI of a folder; the only option is \"?sync=1\".");
  }
  // On Windows what begins with a drive is the path behind the slash.
  const bool hasDrive = PathOf(path->substr(1)).has_root_name();
  return {.synced = query == "?sync=1", .folder = hasDrive ? path->substr(1) : *path};
}

/// A queue that knows only with its address what it is.
class ChosenQueue final : public Queue {
 public:
  void SetFolder(const std::string& folder) override {
    const QueueAddress address = ParseQueueAddress(folder);
    queue_ = address.broker ? CreateBrokerQueue() : CreateFolderQueue(address.synced);
    queue_->WhileWaiting(giveUp_);
    queue_->SetFolder(address.broker ? folder : address.folder);
  }
  void Create() override { Chosen().Create(); }
  std::string Poll(const std::string& id, int waitMilliseconds) override { return Chosen().Poll(id, waitMilliseconds); }
  [[nodiscard]] std::string Package() const override { return Chosen().Package(); }
  [[nodiscard]] bool Reply(const std::string& text) override { return Chosen().Reply(text); }
  void SetPackage(std::string text) override { Chosen().SetPackage(std::move(text)); }
  void Send(const std::string& id) override { Chosen().Send(id); }
  [[nodiscard]] bool CanSend() override { return Chosen().CanSend(); }
  void Answered() override { Chosen().Answered(); }
  void PutBack() override { Chosen().PutBack(); }
  [[nodiscard]] bool CanCarry(const std::string& id) const override { return Chosen().CanCarry(id); }
  void WhileWaiting(const std::function<bool()>& giveUp) override {
    giveUp_ = giveUp;
    if (queue_) queue_->WhileWaiting(giveUp_);
  }

 private:
  [[nodiscard]] Queue& Chosen() const {
    if (!queue_) throw Error(error_number::kOwn, "The queue has no folder.");
    return *queue_;
  }

  std::shared_ptr<Queue> queue_;
  std::function<bool()> giveUp_;
};

class FolderClient final : public MessageClient {
 public:
  FolderClient(const QueueAddress& requests, const std::string& results)
      : requests_(CreateFolderQueue(requests.synced)), results_(results) {
    requests_->SetFolder(requests.folder);
    requests_->Create();
  }

  void Send(const std::string& id, const std::string& text) override {
    requests_->SetPackage(text);
    requests_->Send(id);
  }
  [[nodiscard]] std::optional<std::string> Receive(const std::string& id, std::chrono::milliseconds timeout) override {
    return results_.Receive(id, timeout);
  }

 private:
  std::shared_ptr<Queue> requests_;
  AnswerFolder results_;
};

}  // namespace

QueueAddress ParseQueueAddress(const std::string& text) {
  if (IsBrokerUri(text)) {
    RequireBrokerSupport();
    return {.broker = ParseBrokerUri(text)};
  }
  if (ToLower(text.substr(0, kFileScheme.size())) == kFileScheme) return ParseFileUri(text);
  return {.folder = text};
}

bool IsSameQueue(const QueueAddress& one, const QueueAddress& other) {
  if (one.broker && other.broker) {
    return one.broker->hosts == other.broker->hosts && one.broker->vhost == other.broker->vhost &&
           one.broker->queue == other.broker->queue;
  }
  if (one.broker || other.broker) return false;
  const auto facts = FactsOf(one.folder);
  const auto otherFacts = FactsOf(other.folder);
  return facts && otherFacts && facts->IsSameFile(*otherFacts);
}

std::shared_ptr<Queue> CreateQueue() { return std::make_shared<ChosenQueue>(); }

std::unique_ptr<MessageClient> CreateMessageClient(const std::string& requests, const std::string& results,
                                                   const ClientWaiting& waiting) {
  const QueueAddress to = ParseQueueAddress(requests);
  if (!to.broker) {
    const QueueAddress from = ParseQueueAddress(results);
    if (from.broker) Refuse(from.Shown(), "requests to a folder are answered in a folder.");
    return std::make_unique<FolderClient>(to, from.folder);
  }
  if (!results.empty()) Refuse(to.Shown(), "a broker brings the answers by itself. Name no place for them.");
  return CreateBrokerClient(*to.broker, waiting);
}

}  // namespace ods
