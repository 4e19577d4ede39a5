#include "ui/HeadlessUserInterface.h"

namespace ods {

void HeadlessUserInterface::ShowMainWindow() { TraceNotShown("main window", severity::kInformation); }

void HeadlessUserInterface::ShowOptionsDialog() { TraceNotShown("options dialog", severity::kWarning); }

void HeadlessUserInterface::MessageBox(const std::string& title, const std::string& text, BoxStyle style) {
  TraceNotShown("message box \"" + title + "\": " + text,
                style == BoxStyle::kExclamation ? severity::kWarning : severity::kInformation);
}

void HeadlessUserInterface::AddTraceEntry(std::int32_t /*severity*/, const std::string& /*text*/) {}

void HeadlessUserInterface::TraceNotShown(std::string_view what, std::int32_t severity) {
  if (tracer_ == nullptr) return;
  tracer_->Trace(std::string("Window not shown: ").append(what), -1, severity);
}

}  // namespace ods
