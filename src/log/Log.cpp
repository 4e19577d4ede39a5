#include "log/Log.h"

#include <cmath>
#include <filesystem>
#include <limits>
#include <system_error>

#include "common/Conversions.h"
#include "common/Error.h"
#include "common/Files.h"
#include "common/Text.h"
#include "platform/system/Folders.h"
#include "platform/system/ReadFile.h"
#include "platform/system/ReplaceFile.h"
#include "platform/system/System.h"

namespace ods {

namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::int64_t kKeptPercent = 80;

// What stays of an overgrown file: from the character at (length - 80 % of the limit), counted from 1, without the line
// that begins there or was cut there.
std::string_view NewestPart(std::string_view content, std::int32_t limit) {
  const double kept = static_cast<double>(limit * kKeptPercent) / 100;
  const auto position = static_cast<std::size_t>(std::nearbyint(static_cast<double>(content.size()) - kept));
  content.remove_prefix(position - 1);
  const std::size_t firstEnd = content.find(kLineEnd);
  return firstEnd == std::string_view::npos ? std::string_view() : content.substr(firstEnd + kLineEnd.size());
}

}  // namespace

Log::Log(std::int32_t entriesBefore) : processId_(CurrentProcessId()), counter_(entriesBefore) {}

std::string Log::PathOf(const Date& day) const {
  const DateParts parts = day.Parts();
  const std::string processId = std::to_string(processId_);
  return JoinPath(folder.empty() ? SystemTempFolder() : folder,
                  ReplaceAll(prefix, "%PID%", processId) + PadNumber(parts.year, 4) + PadNumber(parts.month, 2) +
                      PadNumber(parts.day, 2) + ReplaceAll(postfix, "%PID%", processId));
}

bool Log::isOpen() const { return CanAppendTo(PathOf(LocalNow())); }

void Log::PreLog() {
  if (folder.empty()) folder = SystemTempFolder();
}

void Log::LogEntry(std::int32_t severity, const std::vector<Value>& msg) {
  PreLog();
  if (counter_ == std::numeric_limits<std::int32_t>::max()) throw Error(error_number::kOverflow, "Overflow");
  ++counter_;
  const Date now = LocalNow();
  std::string line =
      "'" + FormatDate({now.seconds}) + "', " + std::to_string(counter_) + ", " + std::to_string(severity);
  for (const Value& item : msg) line.append(", '").append(ReplaceAll(SafeStr(item), "'", "''")).append(1, '\'');
  line += kLineEnd;

  const std::string path = PathOf(now);
  const std::uint64_t size = Append(path, line);
  if (maxsize > 0 && size > static_cast<std::uint64_t>(maxsize)) Trim(path);
}

void Log::LogEntry(std::int32_t severity, const Value& msg) { LogEntry(severity, std::vector<Value>{msg}); }

void Log::LogSysEntry() {
  LogEntry(0, "User=" + CurrentUserName() + ", Computer=" + ComputerName() + ", Process=" + std::to_string(processId_));
}

/// Somebody may have cleared the folder away: it is made anew then.
std::uint64_t Log::Append(const std::string& path, std::string_view line) const {
  try {
    return AppendToPrivateFile(path, line);
  } catch (const Error&) {
    std::error_code unknown;
    if (std::filesystem::exists(ods::PathOf(folder), unknown) || unknown) throw;
  }
  MkDirRecurse(folder);
  return AppendToPrivateFile(path, line);
}

void Log::Trim(const std::string& path) const {
  const std::string content = ReadFileText(path);
  // Somebody may have emptied the file in between.
  if (content.size() <= static_cast<std::size_t>(maxsize)) return;
  OverwriteFile(path, NewestPart(content, maxsize));
}

}  // namespace ods
