// The cursor shows that the program waits, over all windows, until the object goes.
#pragma once

#include <QCursor>
#include <QGuiApplication>

namespace ods {

class WaitCursor {
 public:
  WaitCursor() { QGuiApplication::setOverrideCursor(Qt::WaitCursor); }
  ~WaitCursor() { QGuiApplication::restoreOverrideCursor(); }
  WaitCursor(const WaitCursor&) = delete;
  WaitCursor& operator=(const WaitCursor&) = delete;
  WaitCursor(WaitCursor&&) = delete;
  WaitCursor& operator=(WaitCursor&&) = delete;
};

}  // namespace ods
