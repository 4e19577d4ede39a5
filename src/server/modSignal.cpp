#include "server/modSignal.h"

#include <utility>

#include "common/Attempt.h"
#include "common/Conversions.h"
#include "platform/xml/Xml.h"

namespace ods {

namespace {

constexpr int kHeartbeatSeconds = 5;

/// A driver's text may hold what XML cannot: the report goes out all the same.
std::string AsXmlText(const std::string& text) {
  if (IsXmlText(text)) return text;
  return GetNodeText(XmlDocument("<XML>" + EscapeXml(text) + "</XML>"), "/XML");
}

/// True when the last write is more than 5 seconds ago, or the day has changed since: `last` and `now` are seconds
/// since midnight.
bool IsDue(const std::optional<int>& last, int now) { return !last || now < *last || now - *last > kHeartbeatSeconds; }

}  // namespace

std::unique_ptr<NamedMutex> CreateInstanceMutex(const std::string& name) { return std::make_unique<NamedMutex>(name); }

void DestroyInstanceMutex(std::unique_ptr<NamedMutex>& handle) {
  if (const std::unique_ptr<NamedMutex> held = std::move(handle)) held->Destroy();
}

void WriteStatusFile(const std::string& type, const std::string& code, const std::string& message,
                     const std::string& file) {
  if (file.empty()) return;
  XmlDocument document("<XML><Type/><Code/><Message/></XML>");
  SetXmlSpacePreserve(document);
  document.SelectSingleNode("/XML/Type").SetText(AsXmlText(type));
  document.SelectSingleNode("/XML/Code").SetText(AsXmlText(code));
  document.SelectSingleNode("/XML/Message").SetText(AsXmlText(message));
  document.Save(file);
}

StatusSignals::StatusSignals(Tracer& tracer, std::string messageFile, std::string aliveFile, Clock clock)
    : tracer_(&tracer),
      messageFile_{std::move(messageFile)},
      aliveFile_{std::move(aliveFile)},
      clock_(std::move(clock)) {}

void StatusSignals::ReportStatus(const std::string& type, const std::string& code, const std::string& message) {
  tracer_->Trace("Report status: " + type + " - " + message);
  Write(messageFile_, type, code, message);
}

void StatusSignals::AliveHeartbeat() {
  if (aliveFile_.path.empty()) return;
  const Date now = clock_();
  const int seconds = now.SecondOfDay();
  if (!IsDue(lastBeat_, seconds)) return;
  Write(aliveFile_, "Running", "", FormatDate(Date{now.seconds, false}));
  lastBeat_ = seconds;
}

void StatusSignals::Write(StatusFile& file, const std::string& type, const std::string& code,
                          const std::string& message) {
  TraceFailure(file, Attempt([&] { WriteStatusFile(type, code, message, file.path); }));
}

void StatusSignals::TellState(const StateReport& state) {
  if (stateFile_.path.empty() || told_ == state) return;
  const int seconds = clock_().SecondOfDay();
  const bool sameConnection = told_ && told_->connection == state.connection && told_->failure == state.failure;
  if (sameConnection && !IsDue(toldAt_, seconds)) return;
  TraceFailure(stateFile_, Attempt([&] {
                 XmlDocument document("<XML><Requests/><Connection/><Failure/></XML>");
                 SetXmlSpacePreserve(document);
                 document.SelectSingleNode("/XML/Requests").SetText(std::to_string(state.requests));
                 document.SelectSingleNode("/XML/Connection").SetText(state.connection);
                 document.SelectSingleNode("/XML/Failure").SetText(AsXmlText(state.failure));
                 document.Save(stateFile_.path);
               }));
  told_ = state;
  toldAt_ = seconds;
}

void StatusSignals::TraceFailure(StatusFile& file, const std::optional<Error>& failure) {
  if (!failure) {
    file.failure.Clear();
  } else if (file.failure.IsNew(ErrorText(*failure))) {
    tracer_->Trace("Error writing status file " + file.path + ". " + ErrorText(*failure), -1, severity::kError);
  }
}

}  // namespace ods
