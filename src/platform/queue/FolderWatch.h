// What the system tells of a folder as it happens: the names that appear in it.
//
// Internal to this folder.
#pragma once

#include <functional>
#include <memory>
#include <string>

namespace ods {

class FolderWatch {
 public:
  /// Watches nothing yet.
  FolderWatch();
  ~FolderWatch();
  FolderWatch(const FolderWatch&) = delete;
  FolderWatch& operator=(const FolderWatch&) = delete;
  FolderWatch(FolderWatch&&) = delete;
  FolderWatch& operator=(FolderWatch&&) = delete;

  /// Watches what the path names now; a folder that is watched already is watched on. False when there is none, or when
  /// the system has no watch left for it.
  bool Follow(const std::string& path);
  /// True while `Follow` has found something to watch.
  [[nodiscard]] bool Works() const;
  /// Calls `visit` for the names that have appeared, each at least once. False when the events do not tell all any
  /// more.
  [[nodiscard]] bool Read(const std::function<void(const std::string&)>& visit);
  /// Waits until something happens in the folder, at most for `milliseconds`; where the watch does not work, for all of
  /// them. False when a signal, or the request to stop, came first.
  [[nodiscard]] bool Wait(int milliseconds) const;

 private:
  struct Implementation;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace ods
