// What the pager shows and does, apart from any terminal: keys go in, lines come out.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Asking.h"
#include "OdbcDataClient.h"
#include "Sheet.h"

namespace odbc_data {

enum class KeyName : std::uint8_t {
  kLetter,  ///< a character
  kLeft,
  kRight,
  kUp,
  kDown,
  kPageUp,
  kPageDown,
  kHome,
  kEnd,
  kEnter,
  kEscape,
  kBackspace,
  kClear,  ///< the whole of what was typed
  kOther,
};

struct KeyPress {
  KeyName key = KeyName::kOther;
  std::string letter = {};  ///< the character in UTF-8
};

enum class LineStyle : std::uint8_t { kPlain, kTitle, kNames, kFaint, kHint, kError };

/// A part of a line, without control characters.
struct Span {
  std::string text;
  LineStyle style = LineStyle::kPlain;
};
using Line = std::vector<Span>;

class PagerModel {
 public:
  /// Asks the server for a page. May raise `Failure`.
  using Ask = std::function<Page(const Question& question, Navigate navigate, const Place& from)>;

  PagerModel(KnownTable table, Question question, Ask ask);

  /// The size of the screen in columns and lines. Before `Start`, and whenever it changes: the page is then read again
  /// from its first row, as far as it fits.
  void Resize(std::size_t width, std::size_t height);
  /// Reads the first page, or the last. Raises what asking raises.
  void Start(bool atEnd);
  /// Does what a key stands for. Errors of asking, and of what was typed, are shown.
  void Press(const KeyPress& press);
  [[nodiscard]] bool Ended() const { return ended_; }

  /// As many lines as the screen has, none wider than it.
  [[nodiscard]] std::vector<Line> Draw() const;
  /// The column of the last line where typing goes on; nothing when nothing is typed.
  [[nodiscard]] std::optional<std::size_t> Cursor() const;

 private:
  enum class Prompt : std::uint8_t { kNone, kSearch, kSort, kFilter };

  void PressInPrompt(const KeyPress& press);
  void Open(Prompt prompt, std::string text);
  void AnswerPrompt();
  void Go(Navigate navigate);
  void Scroll(bool right);
  /// Shows the first page of another question. The old one stays when the server does not answer the new one.
  void Change(Question question);
  /// Runs an action; an error it raises is shown.
  void Try(const std::function<void()>& action);
  void Take(Page page);
  [[nodiscard]] std::size_t RowsOnScreen() const;
  [[nodiscard]] std::string Title() const;
  [[nodiscard]] std::string RowNumbers() const;
  [[nodiscard]] std::vector<std::size_t> ShownWidths() const;
  [[nodiscard]] std::string PromptText() const;
  [[nodiscard]] Line LastLine() const;

  KnownTable table_;
  Question question_;
  Ask ask_;
  std::vector<SheetColumn> columns_;
  Page page_;
  std::optional<std::int64_t> total_;
  std::optional<std::int64_t> firstRow_;  ///< the number of the first row shown, where it is known
  std::size_t firstColumn_ = 0;
  std::size_t width_ = 80;
  std::size_t height_ = 24;
  Prompt prompt_ = Prompt::kNone;
  std::string typed_;
  std::string message_;
  bool isError_ = false;
  bool ended_ = false;
};

}  // namespace odbc_data
