// A slot: a file that at most one process at a time occupies, and whose occupant the kernel names.
//
// It is a record lock of fcntl(2): it belongs to the process that took it, outlives an execve, is not inherited by its
// children, and is gone the moment the process is. So whoever looks later, even after a crash of the program that had
// started the occupant, learns from the kernel whether it still lives and which process it is. A process must not open
// the file of the slot that it occupies again: closing any handle of it gives the slot up.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/system/FileHandle.h"

namespace ods {

/// The process that occupies the slot; nothing when none does. Raises error 1000 naming the file.
[[nodiscard]] std::optional<int> SlotOccupant(const std::string& path);

/// A slot that this process occupies, until the object ends.
class OccupiedSlot {
 public:
  /// Nothing when another process occupies it. The file is made when it is missing, with mode 0600. Raises error 1000
  /// naming the file.
  [[nodiscard]] static std::optional<OccupiedSlot> Take(const std::string& path);

 private:
  explicit OccupiedSlot(FileHandle file) : file_(std::move(file)) {}

  FileHandle file_;
};

/// Starts a program, a path and its arguments, which occupies the slot from before its first instruction to its end. It
/// is a child of this process in a session of its own, reads nothing from standard input, and takes all signals.
/// Nothing when another process occupies the slot. Should this process die in the meantime, either the program runs in
/// the slot or it does not run at all. Raises error 1000 when it cannot be executed.
[[nodiscard]] std::optional<int> StartInSlot(const std::vector<std::string>& command, const std::string& slot);

}  // namespace ods
