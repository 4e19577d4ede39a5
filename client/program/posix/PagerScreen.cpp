#include "PagerScreen.h"

#define NCURSES_NOMACROS 1
#include <algorithm>
#include <array>
#include <cstdio>
#include <curses.h>
#include <poll.h>
#include <unistd.h>

#include "ExitStatus.h"
#include "Terminal.h"
#include "common/Text.h"

namespace odbc_data {

namespace {

constexpr short kErrorColours = 1;
constexpr int kEscapeMilliseconds = 25;  // how long a terminal may take to send the rest of a key

constexpr int kLookMilliseconds = 500;  // how often the size of the terminal is looked at

struct KeyCode {
  wint_t code;
  KeyName key;
};

/// Of keys that have a code of their own, and of those that are control characters.
constexpr auto kFunctionKeys = std::to_array<KeyCode>({
    {KEY_LEFT, KeyName::kLeft},
    {KEY_RIGHT, KeyName::kRight},
    {KEY_UP, KeyName::kUp},
    {KEY_DOWN, KeyName::kDown},
    {KEY_PPAGE, KeyName::kPageUp},
    {KEY_NPAGE, KeyName::kPageDown},
    {KEY_HOME, KeyName::kHome},
    {KEY_END, KeyName::kEnd},
    {KEY_ENTER, KeyName::kEnter},
    {KEY_BACKSPACE, KeyName::kBackspace},
});
constexpr auto kControlKeys = std::to_array<KeyCode>({
    {L'\r', KeyName::kEnter},
    {L'\n', KeyName::kEnter},
    {0x1B, KeyName::kEscape},
    {0x7F, KeyName::kBackspace},
    {0x08, KeyName::kBackspace},
    {0x15, KeyName::kClear},
});

template <std::size_t kSize>
KeyName KeyOf(const std::array<KeyCode, kSize>& keys, wint_t code) {
  const auto* const found = std::ranges::find(keys, code, &KeyCode::code);
  return found == keys.end() ? KeyName::kOther : found->key;
}

}  // namespace

struct PagerScreen::Terminal {
  Terminal() : screen(newterm(nullptr, stdout, stdin)) {
    if (screen == nullptr)
      throw UsageError("The terminal is of a kind that is not known (TERM): no pager can be shown.");
    cbreak();
    noecho();
    nonl();
    keypad(stdscr, TRUE);
    wtimeout(stdscr, kLookMilliseconds);
    set_escdelay(kEscapeMilliseconds);
    if (has_colors()) {
      start_color();
      use_default_colors();
      init_pair(kErrorColours, COLOR_RED, -1);
    }
  }
  ~Terminal() {
    endwin();
    delscreen(screen);
  }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;
  Terminal(Terminal&&) = delete;
  Terminal& operator=(Terminal&&) = delete;

  /// No key came in a while. The signal of a new size is lost when it comes just before a key is waited for.
  static std::optional<KeyPress> WithoutKey() {
    pollfd input{.fd = STDIN_FILENO, .events = POLLIN, .revents = 0};
    if (poll(&input, 1, 0) > 0 && (input.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0) {
      return KeyPress{.key = KeyName::kLetter, .letter = "q"};  // the terminal is gone
    }
    const auto lines = static_cast<int>(TerminalHeight(Stream::kOutput));
    const auto columns = static_cast<int>(TerminalWidth(Stream::kOutput));
    if (is_term_resized(lines, columns)) resizeterm(lines, columns);
    return std::nullopt;
  }

  [[nodiscard]] static attr_t Attributes(LineStyle style) {
    switch (style) {
      case LineStyle::kTitle:
        return A_REVERSE;
      case LineStyle::kNames:
        return A_BOLD | A_UNDERLINE;
      case LineStyle::kFaint:
      case LineStyle::kHint:
        return A_DIM;
      case LineStyle::kError:
        return has_colors() ? A_BOLD | static_cast<attr_t>(COLOR_PAIR(kErrorColours)) : A_BOLD;
      case LineStyle::kPlain:
        break;
    }
    return A_NORMAL;
  }

  SCREEN* screen;
};

PagerScreen::PagerScreen() : terminal_(std::make_unique<Terminal>()) {}
PagerScreen::~PagerScreen() = default;

std::size_t PagerScreen::Width() const { return static_cast<std::size_t>(std::max(getmaxx(stdscr), 1)); }
std::size_t PagerScreen::Height() const { return static_cast<std::size_t>(std::max(getmaxy(stdscr), 1)); }

void PagerScreen::Show(const std::vector<Line>& lines, std::optional<std::size_t> cursor) {
  werase(stdscr);
  for (std::size_t y = 0; y < lines.size(); ++y) {
    wmove(stdscr, static_cast<int>(y), 0);
    for (const Span& span : lines[y]) {
      wattrset(stdscr, static_cast<int>(Terminal::Attributes(span.style)));
      waddnstr(stdscr, span.text.c_str(), -1);
    }
  }
  wattrset(stdscr, A_NORMAL);
  curs_set(cursor ? 1 : 0);
  if (cursor) wmove(stdscr, static_cast<int>(lines.size()) - 1, static_cast<int>(*cursor));
  wrefresh(stdscr);
}

void PagerScreen::ShowWaiting() {
  wmove(stdscr, static_cast<int>(Height()) - 1, 0);
  wclrtoeol(stdscr);
  waddnstr(stdscr, "Waiting for the server ...", static_cast<int>(Width()) - 1);
  wrefresh(stdscr);
}

std::optional<KeyPress> PagerScreen::WaitForKey() {
  wint_t code = 0;
  const int kind = wget_wch(stdscr, &code);
  if (kind == ERR) return Terminal::WithoutKey();
  if (kind == KEY_CODE_YES) {
    if (code == KEY_RESIZE) return std::nullopt;
    return KeyPress{.key = KeyOf(kFunctionKeys, code)};
  }
  if (const KeyName key = KeyOf(kControlKeys, code); key != KeyName::kOther) return KeyPress{.key = key};
  if (code < 0x20) return KeyPress{};
  KeyPress press{.key = KeyName::kLetter};
  ods::AppendCharacter(press.letter, static_cast<char32_t>(code));
  return press;
}

}  // namespace odbc_data
