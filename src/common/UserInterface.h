// The narrow door to windows: what the server asks of them. Nothing else of the system knows whether there are any.
#pragma once

#include <cstdint>
#include <string>

namespace ods {

/// The kinds of message box.
enum class BoxStyle { kInformation, kExclamation };

class UserInterface {
 public:
  UserInterface() = default;
  UserInterface(const UserInterface&) = delete;
  UserInterface& operator=(const UserInterface&) = delete;
  UserInterface(UserInterface&&) = delete;
  UserInterface& operator=(UserInterface&&) = delete;
  virtual ~UserInterface() = default;

  /// False where no window can ever be shown: the server then takes the unattended way.
  [[nodiscard]] virtual bool HasWindows() const = 0;
  /// Lets pending window events run, and returns at once.
  virtual void LetEventsRun() = 0;
  virtual void ShowMainWindow() = 0;
  virtual void UnloadMainWindow() = 0;
  virtual void ShowOptionsDialog() = 0;
  /// Shows a box and returns when it was closed. `title` and `text` are UTF-8; lines end with LF.
  virtual void MessageBox(const std::string& title, const std::string& text, BoxStyle style) = 0;
  /// Adds an entry to the trace-log window. `text` is one line.
  virtual void AddTraceEntry(std::int32_t severity, const std::string& text) = 0;
};

}  // namespace ods
