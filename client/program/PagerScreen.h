// The terminal under the pager, by ncurses.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

#include "PagerModel.h"

namespace odbc_data {

/// The whole screen of the terminal while the object lives; it is given back as it was.
class PagerScreen {
 public:
  /// Raises `UsageError` for a terminal whose kind is not known.
  PagerScreen();
  ~PagerScreen();
  PagerScreen(const PagerScreen&) = delete;
  PagerScreen& operator=(const PagerScreen&) = delete;
  PagerScreen(PagerScreen&&) = delete;
  PagerScreen& operator=(PagerScreen&&) = delete;

  [[nodiscard]] std::size_t Width() const;
  [[nodiscard]] std::size_t Height() const;
  /// Shows lines; what did not change is not drawn again.
  void Show(const std::vector<Line>& lines, std::optional<std::size_t> cursor);
  /// Shows in the last line that something takes its time.
  void ShowWaiting();
  /// Waits for a key; nothing when the size of the terminal changed, and when none came in half a second.
  [[nodiscard]] std::optional<KeyPress> WaitForKey();

 private:
  struct Terminal;
  std::unique_ptr<Terminal> terminal_;
};

}  // namespace odbc_data
