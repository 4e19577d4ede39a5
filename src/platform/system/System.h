// What the operating system tells and does: the process, its signals, GUIDs, private files.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/Value.h"

namespace ods {

[[nodiscard]] std::uint32_t CurrentProcessId();
/// The arguments of `main` in UTF-8, without the program's name.
[[nodiscard]] std::vector<std::string> ProgramArguments(int argc, const char* const* argv);
/// The command line as it was written, in UTF-8 and without the program's name; nothing where the system hands on
/// arguments alone.
[[nodiscard]] std::optional<std::string> RawCommandLine();
/// The name of the user that the process runs as, "" when the system does not know it.
[[nodiscard]] std::string CurrentUserName();
[[nodiscard]] std::string ComputerName();
/// The path of the running executable.
[[nodiscard]] std::string ExecutablePath();
/// An environment variable, "" when it is not set.
[[nodiscard]] std::string EnvironmentVariable(const char* name);
/// Gives an environment variable of this process a value unless it has one. To be called before there are threads.
void SetEnvironmentDefault(const char* name, const char* value);
/// True when the environment names a display to show windows on: DISPLAY, WAYLAND_DISPLAY, or a platform of the
/// windows' library, QT_QPA_PLATFORM. Windows always has one.
[[nodiscard]] bool HasDisplay();
/// The home folder of the user that the process runs as: what the environment variable HOME says, else the system's
/// list of users; on Windows USERPROFILE. "" when nobody says.
[[nodiscard]] std::string HomeFolder();
/// True when the process may make files in a folder that exists.
[[nodiscard]] bool IsWritableFolder(const std::string& path);
/// The system's folder for temporary files.
[[nodiscard]] std::string SystemTempFolder();

/// Now, local time.
[[nodiscard]] Date LocalNow();
/// The modification time of a file with the file system's full resolution, as an opaque number that changes with it;
/// nothing is 0 (no such file).
[[nodiscard]] std::int64_t FileModificationStamp(const std::string& path);
/// The modification time of a file, local time; the zero date when there is no such file.
[[nodiscard]] Date FileModificationTime(const std::string& path);

/// Gives memory that the program has freed back to the system, as far as the C library can: left to itself, that keeps
/// what one large piece of work took whenever something small that is still in use lies behind it.
void GiveBackFreeMemory();

/// Ends the process with what is in its output buffers written, but without the end of its static objects: for when
/// another thread may still be using them.
[[noreturn]] void EndProcessNow(int status);

/// Sleeps; a signal, or a request to stop, ends the sleep early.
void SleepMilliseconds(int milliseconds);

/// A new random GUID (RFC 9562, version 4) in the form of `FormatGuid`. Raises error 1000 "Error generating guid.
/// Function did not return S_OK" when the system gives none.
[[nodiscard]] std::string NewGuidText();
/// The sixteen bytes of a GUID, in the order of its text, as 8-4-4-4-12 upper-case hexadecimal digits without braces.
[[nodiscard]] std::string FormatGuid(const std::uint8_t (&bytes)[16]);

/// Appends to a file, creating it for this user alone (as `MakePrivateFolder` a folder; POSIX: mode 0600), and returns
/// its size in bytes afterwards. Raises error 1000 "Unable to get file handle in function PreLog" when the process has
/// no handle left, else error 1000 naming the path.
std::uint64_t AppendToPrivateFile(const std::string& path, std::string_view text);
/// True when a file can be opened for appending.
[[nodiscard]] bool CanAppendTo(const std::string& path);
/// Starts another program, on its own: it is nobody's child here, has a session of its own, and takes all signals
/// again, also those that `StopSignals` holds back and `TakeFailuresInsteadOfSignals` ignores. Where Windows wants an
/// administrator to run it, the user is asked. False when it cannot be executed.
[[nodiscard]] bool StartProgram(const std::string& path, const std::vector<std::string>& arguments);

/// A program that runs on its own, and of which somebody wants to know whether it failed.
class WatchedProgram {
 public:
  WatchedProgram() = default;
  virtual ~WatchedProgram() = default;
  WatchedProgram(const WatchedProgram&) = delete;
  WatchedProgram& operator=(const WatchedProgram&) = delete;
  WatchedProgram(WatchedProgram&&) = delete;
  WatchedProgram& operator=(WatchedProgram&&) = delete;

  /// The exit status with which the program ended, when that was not 0; by the shell's rules 126 or 127 when it could
  /// not be executed, 128 and the number of the signal that ended it. Nothing while it runs and when it ended well.
  [[nodiscard]] virtual std::optional<int> FailedStatus() = 0;
};

/// Starts a program as `StartProgram` does, through the shell. Its standard output goes to standard error. It runs on
/// when the object goes. Nothing when there is no shell.
[[nodiscard]] std::unique_ptr<WatchedProgram> StartWatchedProgram(const std::string& path,
                                                                  const std::vector<std::string>& arguments);

/// From here on a pipe without a reader and a file that may not grow do not end the process, and a medium that is
/// missing does not have Windows show a box: the call fails.
void TakeFailuresInsteadOfSignals();

/// Watches for a stop from outside. One per process.
///
/// SIGTERM and SIGINT are held back and seen here. On Windows a stop is Ctrl+C, Ctrl+Break, the end of the console or
/// of the user's session, and the named event "odbc-data-server-stop-" + process id, which anybody who may sets.
class StopSignals {
 public:
  StopSignals();
  ~StopSignals();
  StopSignals(const StopSignals&) = delete;
  StopSignals& operator=(const StopSignals&) = delete;
  StopSignals(StopSignals&&) = delete;
  StopSignals& operator=(StopSignals&&) = delete;

  /// True once a stop was asked for; stays true.
  [[nodiscard]] bool Requested();

 private:
  struct Implementation;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace ods
