// Does what a person does at the windows of this process: looks at them, and works with keyboard and mouse. Keys and
// clicks are real ones: they come from the X server, through the window manager, to the window that has the focus.
//
// A robot has a thread of its own; the windows live in the main thread, which looks at them for it.
#pragma once

#include <QImage>
#include <QRect>
#include <QWidget>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <vector>

namespace ods::test {

class Robot {
 public:
  /// Raises std::runtime_error "… did not happen in time" when the windows of this process are not there in time.
  Robot();

  /// Runs `look` in the windows' thread and gives what it gives. Raises std::runtime_error when that thread is gone.
  template <typename Look>
  auto InWindows(Look look) -> decltype(look()) {
    using Result = decltype(look());
    auto task = std::make_shared<std::packaged_task<Result()>>(std::move(look));
    std::future<Result> result = task->get_future();
    Post([task] { (*task)(); });
    if (result.wait_for(kPatience) != std::future_status::ready) RaiseTooLate("The main thread's answer");
    return result.get();
  }

  /// Waits until `condition`, looked at in the windows' thread, is true.
  void WaitUntil(const std::string& what, const std::function<bool()>& condition);
  /// Waits until a control of that object name is on the screen.
  void WaitForWidget(const std::string& name);
  /// Waits until the control's text is this one.
  void WaitForText(const std::string& name, const std::string& text);
  /// Waits until a window of that title has the keyboard.
  void WaitForActiveWindow(const std::string& title);

  [[nodiscard]] std::string TextOf(const std::string& name);
  /// The text of a message box, which has to be there.
  [[nodiscard]] std::string TextOfBox();

  /// Clicks into the middle of a control.
  void Click(const std::string& name);
  /// Clicks at a place on the screen; button 1 is the left one, 3 the right one.
  static void ClickAt(const QPoint& place, int button = 1, int times = 1);
  /// Moves the mouse there, in two steps: it rests only after it was moved.
  static void MoveTo(const QPoint& place);
  /// Presses keys, one after the other; names as X knows them, "alt+t", "Return", "F1".
  void Press(const std::vector<std::string>& keys);
  void Type(const std::string& text);

  /// Writes what the screen shows of the window and its frame as a PNG file.
  void TakePicture(const std::string& windowName, const std::string& file);

  /// What the screen shows at a place, with pixels of 32 bits. In the windows' thread only.
  [[nodiscard]] static QImage OnScreen(const QRect& place);
  /// A visible control of that object name, nullptr when there is none. In the windows' thread only.
  [[nodiscard]] static QWidget* Find(const std::string& name);

 private:
  static constexpr std::chrono::seconds kPatience{20};
  static void Post(std::function<void()> task);
  [[noreturn]] static void RaiseTooLate(const std::string& what);
};

}  // namespace ods::test
