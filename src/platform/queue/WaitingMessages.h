// The names of the waiting messages in order of arrival, kept up to date by the kernel's events.
//
// The folder is read once; after that a poll costs the same however many messages wait.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <unordered_map>

#include "platform/queue/QueueFolders.h"
#include "platform/system/FileHandle.h"

namespace ods {

class WaitingMessages {
 public:
  /// Modification time (seconds, nanoseconds), then name.
  using Entry = std::tuple<std::int64_t, std::int64_t, std::string>;
  using Entries = std::set<Entry>;

  /// Watches the folder, then reads it. Where the system has no watch left the folder is read at every `Update`
  /// that finds nothing waiting. `folder` must outlive the object. Raises error 1000.
  explicit WaitingMessages(const QueueFolders& folder);

  /// Takes in what has happened. False when the events do not tell all any more: then make a new object.
  [[nodiscard]] bool Update();
  /// Reads the folder anew.
  void ReadFolder();
  /// Waits until something happens. False when a signal came first.
  [[nodiscard]] bool Wait(int milliseconds) const;

  [[nodiscard]] const Entries& All() const { return entries_; }
  Entries::iterator Remove(Entries::iterator entry);
  void Remove(const std::string& name);

 private:
  void Add(const std::string& name);

  const QueueFolders& folder_;
  FileHandle events_;
  Entries entries_;
  std::unordered_map<std::string_view, Entries::iterator> byName_;  // the keys lie in `entries_`
};

}  // namespace ods
