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

  /// Lets pending window events run, and returns at once.
  virtual void LetEventsRun() = 0;
  virtual void ShowMainWindow() = 0;
  /// From here to `EndLongWork` the server does something that takes long: the windows show its state as it is now, and
  /// that it waits. Use `LongWork`.
  virtual void BeginLongWork() {}
  virtual void EndLongWork() {}
  /// Closes the main window, and the other windows with it.
  virtual void UnloadMainWindow() = 0;
  /// Shows the dialog and returns at once.
  virtual void ShowOptionsDialog() = 0;
  /// Lets window events run until no window is left open, or the server has to stop.
  virtual void WaitUntilClosed() = 0;
  /// Shows a box and returns when it was closed. `title` ("" for the application's) and `text` are UTF-8; lines end
  /// with LF.
  virtual void MessageBox(const std::string& title, const std::string& text, BoxStyle style) = 0;
  /// Adds an entry to the trace-log window. `text` is one line.
  virtual void AddTraceEntry(std::int32_t severity, const std::string& text) = 0;
};

/// Work that takes long, from here to the end of the object.
class LongWork {
 public:
  /// `ui` outlives the object.
  explicit LongWork(UserInterface& ui) : ui_(ui) { ui_.BeginLongWork(); }
  ~LongWork() { ui_.EndLongWork(); }
  LongWork(const LongWork&) = delete;
  LongWork& operator=(const LongWork&) = delete;
  LongWork(LongWork&&) = delete;
  LongWork& operator=(LongWork&&) = delete;

 private:
  UserInterface& ui_;
};

}  // namespace ods
