// The message box of all windows.
#pragma once

#include <QWidget>
#include <string>

#include "common/UserInterface.h"

namespace ods {

/// Shows a box with one button "OK" and returns when it was closed; meanwhile no other window takes input. `title` and
/// `text` are UTF-8 and shown as they are, never as markup; lines end with LF or CR LF. `parent`, the window that it
/// belongs to, may be nullptr.
void ShowBox(QWidget* parent, const std::string& title, const std::string& text, BoxStyle style);

}  // namespace ods
