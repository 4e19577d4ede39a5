// Stands between clients that are programs of their own and a server: their messages pass through it, and are held
// against the schemas of docs/schema.
#pragma once

#include <atomic>
#include <cstddef>
#include <string>
#include <thread>

#include "e2e/ServerProcess.h"

namespace ods::test {

class QueueRelay {
 public:
  /// The relay to the server of the folders, which must outlive it. Its own queue folders are there from now on.
  explicit QueueRelay(const ServerFolders& server);

  [[nodiscard]] std::string Requests() const { return folders_.Requests(); }
  [[nodiscard]] std::string Results() const { return folders_.Results(); }
  /// How many answers have come through.
  [[nodiscard]] std::size_t Answered() const { return answered_; }

 private:
  void Run(const std::stop_token& stop);

  const ServerFolders& server_;
  ServerFolders folders_;  ///< of the clients
  std::shared_ptr<Queue> incoming_;
  std::shared_ptr<Queue> outgoing_;
  std::atomic<std::size_t> answered_ = 0;
  std::jthread thread_;
};

}  // namespace ods::test
