#include "log/Trace.h"

#include <algorithm>
#include <cmath>
#include <iostream>

#include "common/Attempt.h"

namespace ods {

namespace {

// One entry is one line: "\" doubled, every kind of line break as the two characters "\n".
std::string OneLine(std::string_view text) {
  std::string line;
  line.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    switch (text[i]) {
      case '\\':
        line += "\\\\";
        break;
      case '\r':
        if (text.substr(i + 1).starts_with('\n')) ++i;
        line += "\\n";
        break;
      case '\n':
        line += "\\n";
        break;
      default:
        line += text[i];
    }
  }
  return line;
}

std::string ElapsedSuffix(double elapsed) {
  constexpr double kMost = 1e15;  // far beyond any uptime; keeps a wild number within an integer
  if (elapsed == -1 || std::isnan(elapsed)) return {};
  const auto milliseconds = static_cast<std::int64_t>(std::clamp(elapsed * 1000, -kMost, kMost));
  return " (" + std::to_string(milliseconds) + " ms)";
}

}  // namespace

void Tracer::Trace(std::string_view text, double elapsed, std::int32_t severity) {
  if (!log_) return;
  const std::string entry = OneLine(text) + ElapsedSuffix(elapsed);
  const auto failure = Attempt([&] { log_->LogEntry(severity, entry); });
  if (!failure) {
    failure_.Clear();
  } else if (failure_.IsNew(failure->Description())) {
    std::cerr << "The log cannot be written: " << failure->Description() << '\n';
  }
  ui_->AddTraceEntry(severity, entry);
}

}  // namespace ods
