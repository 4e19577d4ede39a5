// The daily, size-limited log file of a process: one line an entry, the file opened and closed for each.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "common/Value.h"

namespace ods {

class Log {
 public:
  /// `entriesBefore` is where the counting of entries starts.
  explicit Log(std::int32_t entriesBefore = 0);

  std::string folder;        ///< "" becomes the system's folder for temporary files at the first entry
  std::string prefix;        ///< start of the file name; "%PID%" stands for the process id
  std::string postfix;       ///< end of the file name, likewise
  std::int32_t maxsize = 0;  ///< bytes; 0 or less: no limit. A larger file is cut to about its newest 80 %

  /// True when today's file can be opened for appending.
  [[nodiscard]] bool isOpen() const;
  /// Writes one line: 'yyyy-mm-dd hh:nn:ss', counter, severity, 'item', ... in local time, ended by CR LF.
  /// A folder that is missing is made, readable by its owner alone. Raises error 1000 when the file cannot be written,
  /// error 6 when the counter overflows.
  void LogEntry(std::int32_t severity, const std::vector<Value>& msg);
  void LogEntry(std::int32_t severity, const Value& msg);
  /// Writes the user, the computer and the process as one entry.
  void LogSysEntry();

  /// The path of the file of a day; in the system's folder for temporary files while `folder` is "".
  [[nodiscard]] std::string PathOf(const Date& day) const;

 private:
  void PreLog();
  [[nodiscard]] std::uint64_t Append(const std::string& path, std::string_view line) const;
  void Trim(const std::string& path) const;

  std::uint32_t processId_;
  std::int32_t counter_;
};

}  // namespace ods
