// What a process has used: processor time and memory.
#pragma once

#include <cstddef>
#include <fstream>
#include <string>
#include <sys/types.h>
#include <time.h>
#include <unistd.h>

namespace ods::bench {

/// Processor time that a process has used, of the user and of the system, all threads, in seconds, to the nanosecond
/// (clock_getcpuclockid(3)); 0 where the process is gone.
inline double ProcessorSeconds(pid_t process) {
  clockid_t clock{};
  timespec time{};
  if (clock_getcpuclockid(process, &clock) != 0 || clock_gettime(clock, &time) != 0) return 0;
  constexpr double kNanosecond = 1e-9;
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * kNanosecond;
}

/// Resident memory of a process in MiB (proc(5), statm field 2).
inline double ResidentMebibytes(pid_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/statm");
  double total = 0;
  double resident = 0;
  file >> total >> resident;
  return resident * static_cast<double>(sysconf(_SC_PAGESIZE)) / (1024 * 1024);
}

/// The most that a process ever had resident, in MiB (proc(5), VmHWM of status); 0 where the process is gone.
inline double PeakMebibytes(pid_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/status");
  constexpr double kKilobytes = 1024;
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("VmHWM:")) return std::stod(line.substr(line.find_first_of("0123456789"))) / kKilobytes;
  }
  return 0;
}

}  // namespace ods::bench
