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
  return XmlDocument("<XML>" + EscapeXml(text) + "</XML>").DocumentElement().Text();
}

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
  if (lastBeat_) {
    const int passed = seconds - *lastBeat_;
    if (passed >= 0 && passed <= kHeartbeatSeconds) return;
  }
  Write(aliveFile_, "Running", "", FormatDate(Date{now.seconds, false}));
  lastBeat_ = seconds;
}

void StatusSignals::Write(StatusFile& file, const std::string& type, const std::string& code,
                          const std::string& message) {
  const auto failure = Attempt([&] { WriteStatusFile(type, code, message, file.path); });
  if (!failure) {
    file.failure.Clear();
  } else if (file.failure.IsNew(ErrorText(*failure))) {
    tracer_->Trace("Error writing status file " + file.path + ". " + ErrorText(*failure), -1, severity::kError);
  }
}

}  // namespace ods
