#include "ui/SwitchingUserInterface.h"

#include <utility>

namespace ods {

void SwitchingUserInterface::SwitchTo(std::unique_ptr<UserInterface> windows, const ServerView& server) {
  windows_ = std::move(windows);
  server_ = &server;
}

void SwitchingUserInterface::MessageBox(const std::string& title, const std::string& text, BoxStyle style) {
  const bool isUnattended = server_ != nullptr && server_->Unattended();
  (isUnattended ? headless_ : Shown()).MessageBox(title, text, style);
}

}  // namespace ods
