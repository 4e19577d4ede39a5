// Counts the events of a kind that come to the objects that it is installed on.
#pragma once

#include <QEvent>
#include <QObject>

namespace ods::test {

class EventCounter final : public QObject {
 public:
  explicit EventCounter(QEvent::Type type) : type_(type) {}
  EventCounter(QObject& watched, QEvent::Type type) : type_(type) { watched.installEventFilter(this); }
  bool eventFilter(QObject* watched, QEvent* event) override {
    if (event->type() == type_) ++count;
    return QObject::eventFilter(watched, event);
  }
  int count = 0;

 private:
  QEvent::Type type_;
};

}  // namespace ods::test
