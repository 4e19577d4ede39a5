// The names of the waiting messages in order of arrival, kept up to date by the system's events.
//
// The folder is read once; after that a poll costs the same however many messages wait. A message that could not be
// answered now is left out for a while, so that it holds up no other one.
#pragma once

#include <chrono>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "platform/queue/FolderWatch.h"
#include "platform/queue/QueueFolders.h"
#include "platform/system/FileFacts.h"

namespace ods {

class WaitingMessages {
 public:
  /// Modification time, then name.
  using Entry = std::pair<FileTime, std::string>;
  using Entries = std::set<Entry>;

  /// Watches the folder, then reads it. Where the system has no watch left the folder is read at every `Update`
  /// that finds nothing waiting. `folder` must outlive the object. Raises error 1000.
  explicit WaitingMessages(const QueueFolders& folder);

  /// Takes in what has happened. False when the events do not tell all any more: then make a new object.
  [[nodiscard]] bool Update();
  /// Reads the folder anew.
  void ReadFolder();
  /// Waits until something happens. False when a signal, or the request to stop, came first.
  [[nodiscard]] bool Wait(int milliseconds) const;

  /// The messages in their order, without those that are left out.
  [[nodiscard]] const Entries& All() const { return entries_; }
  Entries::iterator Remove(Entries::iterator entry);
  void Remove(const std::string& name);
  /// Leaves a message out: for 0.1 seconds, each further time twice as long, 5 seconds at most.
  void Postpone(const std::string& name);
  /// Forgets how often a message was left out.
  void Forget(const std::string& name) { pauses_.erase(name); }

 private:
  using Clock = std::chrono::steady_clock;
  struct Pause {
    std::chrono::milliseconds length{0};
    bool over = false;
  };

  void Add(const std::string& name);
  void AddThoseDue();

  const QueueFolders& folder_;
  FolderWatch watch_;
  Entries entries_;
  std::unordered_map<std::string_view, Entries::iterator> byName_;  // the keys lie in `entries_`
  std::unordered_map<std::string, Pause> pauses_;
  std::set<std::pair<Clock::time_point, std::string>> due_;
};

}  // namespace ods
