// Other processes: held so that their number cannot come to mean another one, ended, and looked at.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/system/FileHandle.h"

namespace ods {

/// One process. It need not be a child of this one.
class ProcessHandle {
 public:
  /// The process of that number now; nothing when there is none. Who has the number from elsewhere asks there again
  /// afterwards, to be sure that it still means the same. Raises error 1000.
  [[nodiscard]] static std::optional<ProcessHandle> Open(int pid);

  [[nodiscard]] int Pid() const { return pid_; }
  /// Readable, for `WaitForAny`, once the process has ended.
  [[nodiscard]] int Descriptor() const { return handle_.Get(); }
  /// True once the process has ended; a child is then taken leave of.
  [[nodiscard]] bool HasEnded();
  /// How a child ended, once `HasEnded` is true: "status 1", "signal 9"; "" when nobody tells.
  [[nodiscard]] const std::string& HowEnded() const { return how_; }
  /// SIGTERM, SIGKILL. One that has ended is no failure.
  void Terminate() const;
  void Kill() const;

 private:
  ProcessHandle(int pid, FileHandle handle) : pid_(pid), handle_(std::move(handle)) {}

  int pid_;
  FileHandle handle_;
  std::string how_;
  bool ended_ = false;
};

struct ProcessFacts {
  double uptime = 0;                ///< seconds
  std::uint64_t residentBytes = 0;  ///< memory
};
/// Nothing when there is no such process, or the system hides it.
[[nodiscard]] std::optional<ProcessFacts> FactsOfProcess(int pid);
/// Its path and arguments as it was started; empty when there is no such process.
[[nodiscard]] std::vector<std::string> CommandLineOf(int pid);

/// What a service is told by signals: SIGTERM and SIGINT, SIGHUP. They are held back and seen here. One per process.
class ServiceSignals {
 public:
  ServiceSignals();
  ~ServiceSignals();
  ServiceSignals(const ServiceSignals&) = delete;
  ServiceSignals& operator=(const ServiceSignals&) = delete;
  ServiceSignals(ServiceSignals&&) = delete;
  ServiceSignals& operator=(ServiceSignals&&) = delete;

  [[nodiscard]] int Descriptor() const { return signals_.Get(); }
  /// True once SIGTERM or SIGINT came; stays true.
  [[nodiscard]] bool StopRequested();
  /// True when SIGHUP came since the last question.
  [[nodiscard]] bool ReloadRequested();

 private:
  void Read();

  FileHandle signals_;
  bool stop_ = false;
  bool reload_ = false;
};

/// Waits until one of the descriptors is readable, so many milliseconds at most.
void WaitForAny(const std::vector<int>& descriptors, int milliseconds);

}  // namespace ods
