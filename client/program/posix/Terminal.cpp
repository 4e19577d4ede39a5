#include "Terminal.h"

#include <cstdlib>
#include <fcntl.h>
#include <string_view>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include "platform/system/FileHandle.h"
#include "platform/system/System.h"

namespace odbc_data {

namespace {

constexpr char kInterrupt = 3;  // control and C

int Handle(Stream stream) { return stream == Stream::kOutput ? STDOUT_FILENO : STDERR_FILENO; }

winsize SizeOf(Stream stream) {
  winsize size{};
  if (ioctl(Handle(stream), TIOCGWINSZ, &size) != 0) return {};
  return size;
}

/// A terminal that shows nothing of what is typed, until the object goes.
class WithoutEcho {
 public:
  explicit WithoutEcho(int terminal) : terminal_(terminal) {
    known_ = tcgetattr(terminal_, &before_) == 0;
    termios silent = before_;
    silent.c_lflag &= ~static_cast<tcflag_t>(ECHO | ISIG);  // an interrupt would leave it so
    if (known_) tcsetattr(terminal_, TCSAFLUSH, &silent);
  }
  ~WithoutEcho() {
    if (known_) tcsetattr(terminal_, TCSAFLUSH, &before_);
  }
  WithoutEcho(const WithoutEcho&) = delete;
  WithoutEcho& operator=(const WithoutEcho&) = delete;
  WithoutEcho(WithoutEcho&&) = delete;
  WithoutEcho& operator=(WithoutEcho&&) = delete;

 private:
  int terminal_;
  bool known_ = false;
  termios before_{};
};

void Write(int handle, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(handle, text.data(), text.size());
    if (written <= 0) return;
    text.remove_prefix(static_cast<std::size_t>(written));
  }
}

}  // namespace

bool IsTerminal(Stream stream) { return isatty(Handle(stream)) == 1; }

std::size_t TerminalWidth(Stream stream) {
  const std::size_t columns = SizeOf(stream).ws_col;
  return columns == 0 ? 80 : columns;
}

std::size_t TerminalHeight(Stream stream) {
  const std::size_t lines = SizeOf(stream).ws_row;
  return lines == 0 ? 24 : lines;
}

bool TakesColours(Stream stream) {
  const std::string kind = ods::EnvironmentVariable("TERM");
  return IsTerminal(stream) && ods::EnvironmentVariable("NO_COLOR").empty() && !kind.empty() && kind != "dumb";
}

std::optional<std::string> AskHidden(const std::string& question) {
  const ods::FileHandle terminal(open("/dev/tty", O_RDWR | O_CLOEXEC));
  if (!terminal) return std::nullopt;
  std::string line;
  bool interrupted = false;
  {
    const WithoutEcho silence(terminal.Get());
    Write(terminal.Get(), question);
    char letter = 0;
    while (read(terminal.Get(), &letter, 1) == 1 && letter != '\n' && letter != kInterrupt) line += letter;
    interrupted = letter == kInterrupt;
  }
  Write(terminal.Get(), "\n");
  return interrupted ? std::nullopt : std::optional(line);
}

}  // namespace odbc_data
