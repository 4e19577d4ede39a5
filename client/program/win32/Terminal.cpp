#include "Terminal.h"

#include "platform/system/System.h"
#include "platform/system/win32/Win32.h"

namespace odbc_data {

namespace {

HANDLE Handle(Stream stream) { return GetStdHandle(stream == Stream::kOutput ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE); }

/// The lines and columns that the window of a console shows; 0 for none.
COORD SizeOf(Stream stream) {
  CONSOLE_SCREEN_BUFFER_INFO facts{};
  if (GetConsoleScreenBufferInfo(Handle(stream), &facts) == 0) return {};
  return {static_cast<SHORT>(facts.srWindow.Right - facts.srWindow.Left + 1),
          static_cast<SHORT>(facts.srWindow.Bottom - facts.srWindow.Top + 1)};
}

/// A console that shows nothing of what is typed, until the object goes.
class WithoutEcho {
 public:
  explicit WithoutEcho(HANDLE console) : console_(console) {
    known_ = GetConsoleMode(console_, &before_) != 0;
    // An interrupt would leave it so: it comes as a letter.
    if (known_) SetConsoleMode(console_, ENABLE_LINE_INPUT);
  }
  ~WithoutEcho() {
    if (known_) SetConsoleMode(console_, before_);
  }
  WithoutEcho(const WithoutEcho&) = delete;
  WithoutEcho& operator=(const WithoutEcho&) = delete;
  WithoutEcho(WithoutEcho&&) = delete;
  WithoutEcho& operator=(WithoutEcho&&) = delete;

 private:
  HANDLE console_;
  DWORD before_ = 0;
  bool known_ = false;
};

ods::FileHandle OpenConsole(const wchar_t* name) {
  return ods::OwnHandle(CreateFileW(name, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                    OPEN_EXISTING, 0, nullptr));
}

void Write(const ods::FileHandle& console, const std::string& text) {
  const std::wstring wide = ods::ToWide(text);
  WriteConsoleW(ods::AsHandle(console), wide.data(), static_cast<DWORD>(wide.size()), nullptr, nullptr);
}

}  // namespace

bool IsTerminal(Stream stream) {
  DWORD mode = 0;
  return GetConsoleMode(Handle(stream), &mode) != 0;
}

std::size_t TerminalWidth(Stream stream) {
  const SHORT columns = SizeOf(stream).X;
  return columns <= 0 ? 80 : static_cast<std::size_t>(columns);
}

std::size_t TerminalHeight(Stream stream) {
  const SHORT lines = SizeOf(stream).Y;
  return lines <= 0 ? 24 : static_cast<std::size_t>(lines);
}

bool TakesColours(Stream stream) {
  constexpr DWORD kTakesSequences = 4;  // ENABLE_VIRTUAL_TERMINAL_PROCESSING
  DWORD mode = 0;
  if (GetConsoleMode(Handle(stream), &mode) == 0 || !ods::EnvironmentVariable("NO_COLOR").empty()) return false;
  return ods::EnvironmentVariable("TERM") != "dumb" && SetConsoleMode(Handle(stream), mode | kTakesSequences) != 0;
}

std::optional<std::string> AskHidden(const std::string& question) {
  constexpr wchar_t kInterrupt = 3;  // control and C
  const ods::FileHandle keys = OpenConsole(L"CONIN$");
  const ods::FileHandle screen = OpenConsole(L"CONOUT$");
  if (!keys || !screen) return std::nullopt;
  std::wstring line;
  wchar_t letter = 0;
  {
    const WithoutEcho silence(ods::AsHandle(keys));
    Write(screen, question);
    DWORD got = 0;
    while (ReadConsoleW(ods::AsHandle(keys), &letter, 1, &got, nullptr) != 0 && got == 1 && letter != L'\n' &&
           letter != kInterrupt) {
      if (letter != L'\r') line += letter;
    }
  }
  Write(screen, "\n");
  return letter == kInterrupt ? std::nullopt : std::optional(ods::FromWide(line));
}

}  // namespace odbc_data
