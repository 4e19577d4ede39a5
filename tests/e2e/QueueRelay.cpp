#include "e2e/QueueRelay.h"

#include <chrono>
#include <memory>
#include <vector>

namespace ods::test {
namespace {

std::shared_ptr<Queue> OpenQueue(const std::string& folder) {
  auto queue = CreateFolderQueue();
  queue->SetFolder(folder);
  queue->Create();
  return queue;
}

}  // namespace

QueueRelay::QueueRelay(const ServerFolders& server)
    : server_(server), incoming_(OpenQueue(Requests())), outgoing_(OpenQueue(Results())) {
  thread_ = std::jthread([this](const std::stop_token& stop) { Run(stop); });
}

void QueueRelay::Run(const std::stop_token& stop) {
  const std::shared_ptr<Queue> requests = OpenQueue(server_.Requests());
  AnswerFolder results(server_.Results());
  std::vector<std::string> waiting;
  while (!stop.stop_requested()) {
    constexpr int kIdle = 20;  // milliseconds
    const std::string id = incoming_->Poll("", waiting.empty() ? kIdle : 1);
    if (!id.empty()) {
      const std::string request = incoming_->Package();
      server_.Watch().Sent(id, request);
      requests->SetPackage(request);
      requests->Send(id);
      incoming_->Answered();
      waiting.push_back(id);
    }
    std::erase_if(waiting, [&](const std::string& each) {
      const auto answer = results.Receive(each, std::chrono::milliseconds(0));
      if (!answer) return false;
      server_.Watch().Received(each, *answer);
      outgoing_->SetPackage(*answer);
      outgoing_->Send(each);
      ++answered_;
      return true;
    });
  }
}

}  // namespace ods::test
