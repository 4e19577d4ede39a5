#include "platform/system/COpSysInfo.h"

#include <charconv>
#include <utility>

#include "common/Text.h"

namespace ods {

namespace {

/// The value of a shell assignment: in single quotes as it stands, in double quotes with "\" before the characters that
/// mean something to the shell, or bare.
std::string Unquoted(std::string_view value) {
  const char quote = value.empty() ? '\0' : value.front();
  if (quote != '"' && quote != '\'') return std::string(value);
  std::string text;
  for (std::size_t i = 1; i < value.size() && value[i] != quote; ++i) {
    if (quote == '"' && value[i] == '\\' && i + 1 < value.size()) ++i;
    text += value[i];
  }
  return text;
}

/// The value that is assigned last to a variable; "" when none is.
std::string ReleaseValue(std::string_view release, std::string_view variable) {
  std::string value;
  for (const std::string& line : Split(release, "\n")) {
    std::string_view assigned = Trim(line);
    if (!assigned.starts_with(variable)) continue;
    assigned.remove_prefix(variable.size());
    if (!assigned.starts_with('=')) continue;
    if (assigned.ends_with('\r')) assigned.remove_suffix(1);
    value = Unquoted(assigned.substr(1));
  }
  return value;
}

/// Takes the digits at the front of `text` off it; 0 when there are none, or more than a number has.
std::int32_t TakeNumber(std::string_view& text) {
  std::int32_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return error == std::errc() && number >= 0 ? number : 0;
}

}  // namespace

COpSysInfo::COpSysInfo(std::string name, std::string version, std::string machine, std::string_view osRelease)
    : name_(std::move(name)),
      version_(std::move(version)),
      machine_(std::move(machine)),
      distribution_(ReleaseValue(osRelease, "PRETTY_NAME")) {
  std::string_view numbers = version_;
  major_ = TakeNumber(numbers);
  if (!numbers.starts_with('.')) return;
  numbers.remove_prefix(1);
  minor_ = TakeNumber(numbers);
}

bool COpSysInfo::NeedsElevation() const {
  constexpr std::int32_t kFirstWithElevation = 6;
  return name_ == kWindowsName && major_ >= kFirstWithElevation;
}

std::string COpSysInfo::Description() const {
  std::string text = name_ + " " + version_;
  if (!machine_.empty()) text += ", " + machine_;
  if (!distribution_.empty()) text += ", " + distribution_;
  return text;
}

}  // namespace ods
