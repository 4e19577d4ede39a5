#include "platform/system/Slot.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

#include "common/Error.h"
#include "platform/system/posix/Signals.h"

namespace ods {

namespace {

/// What the process that becomes the program says through the pipe when it does not.
constexpr int kOccupied = -1;
constexpr int kOrphaned = -2;

struct flock WholeFile() {
  struct flock whole {};
  whole.l_type = F_WRLCK;
  whole.l_whence = SEEK_SET;
  return whole;
}

/// Gives the system's error number, 0 when this process occupies the slot now.
int Occupy(const FileHandle& file) {
  struct flock whole = WholeFile();
  return fcntl(file.Get(), F_SETLK, &whole) == 0 ? 0 : errno;
}

bool MeansOccupied(int failure) { return failure == EACCES || failure == EAGAIN; }

FileHandle OpenSlot(const std::string& path) {
  FileHandle file(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR));
  if (!file) RaiseSystemError("Unable to open \"" + path + "\"", LastSystemError());
  return file;
}

[[noreturn]] void TellAndEnd(int pipe, int what) {
  [[maybe_unused]] const ssize_t written = write(pipe, &what, sizeof what);
  _exit(EXIT_FAILURE);
}

/// The life of the child up to the program. Nothing but async-signal-safe functions may be called here.
[[noreturn]] void BecomeProgram(char* const* arguments, const FileHandle& slot, int standardInput, int failed,
                                pid_t parent) {
  if (const int failure = Occupy(slot); failure != 0) TellAndEnd(failed, MeansOccupied(failure) ? kOccupied : failure);
  // The parent may be dead, and another one, which found the slot free, about to start a program of its own: one of
  // the two gets the slot, and a program whose parent is gone is not wanted.
  if (getppid() != parent) TellAndEnd(failed, kOrphaned);
  if (fcntl(slot.Get(), F_SETFD, 0) != 0) TellAndEnd(failed, errno);
  // A session of its own: a process group that only loses its parent gets SIGHUP when a member of it stands still.
  setsid();
  if (dup2(standardInput, STDIN_FILENO) < 0) TellAndEnd(failed, errno);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  for (const int number : kFailureSignals) std::signal(number, SIG_DFL);
  execv(arguments[0], arguments);
  TellAndEnd(failed, errno);
}

}  // namespace

std::optional<int> SlotOccupant(const std::string& path) {
  const FileHandle file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
  if (!file) {
    if (errno == ENOENT) return std::nullopt;
    RaiseSystemError("Unable to open \"" + path + "\"", LastSystemError());
  }
  struct flock whole = WholeFile();
  if (fcntl(file.Get(), F_GETLK, &whole) != 0)
    RaiseSystemError("Unable to look at \"" + path + "\"", LastSystemError());
  if (whole.l_type == F_UNLCK) return std::nullopt;
  return static_cast<int>(whole.l_pid);
}

std::optional<OccupiedSlot> OccupiedSlot::Take(const std::string& path) {
  FileHandle file = OpenSlot(path);
  const int failure = Occupy(file);
  if (failure == 0) return OccupiedSlot(std::move(file));
  if (MeansOccupied(failure)) return std::nullopt;
  RaiseSystemError("Unable to lock \"" + path + "\"", {failure, std::system_category()});
}

std::optional<int> StartInSlot(const std::vector<std::string>& command, const std::string& slot) {
  std::vector<std::string> texts = command;
  std::vector<char*> arguments;
  arguments.reserve(texts.size() + 1);
  for (std::string& text : texts) arguments.push_back(text.data());
  arguments.push_back(nullptr);
  const FileHandle file = OpenSlot(slot);
  const FileHandle nothing(open("/dev/null", O_RDONLY | O_CLOEXEC));
  std::array<int, 2> ends{};
  if (!nothing || pipe2(ends.data(), O_CLOEXEC) != 0)
    RaiseSystemError("Unable to start " + command.front(), LastSystemError());
  const FileHandle reading(ends[0]);
  FileHandle writing(ends[1]);
  const pid_t parent = getpid();
  const pid_t child = fork();
  if (child < 0) RaiseSystemError("Unable to start " + command.front(), LastSystemError());
  if (child == 0) BecomeProgram(arguments.data(), file, nothing.Get(), writing.Get(), parent);
  (void)writing.Close();
  int failure = 0;
  ssize_t got = 0;
  do {
    got = read(reading.Get(), &failure, sizeof failure);
  } while (got < 0 && errno == EINTR);
  if (got == 0) return static_cast<int>(child);
  waitpid(child, nullptr, 0);
  if (failure == kOccupied) return std::nullopt;
  RaiseSystemError("Unable to start " + command.front(), {failure > 0 ? failure : EIO, std::system_category()});
}

}  // namespace ods
