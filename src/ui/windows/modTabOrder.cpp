#include "ui/windows/modTabOrder.h"

#include <QLayout>
#include <QList>
#include <algorithm>
#include <map>
#include <string>

#include "common/Conversions.h"
#include "common/Dictionary.h"

namespace ods {

namespace {

constexpr int kDigits = 8;

/// Lays out a window that was never shown, from the outside in: a container places its controls when it has its size.
void LayOut(QWidget& widget) {
  if (widget.layout() != nullptr) {
    widget.layout()->invalidate();
    widget.layout()->activate();
  }
  for (QWidget* child : widget.findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
    if (!child->isWindow()) LayOut(*child);
  }
}

bool IsControl(const QWidget& widget) {
  const QString name = widget.objectName();
  return !widget.isWindow() && !name.isEmpty() && !name.startsWith("qt_") && (widget.focusPolicy() & Qt::TabFocus) != 0;
}

std::string SortText(const QWidget& control, const QWidget& window) {
  const QPoint position = control.mapTo(&window, QPoint(0, 0));
  return PadNumber(std::max(position.y(), 0), kDigits) + "," + PadNumber(std::max(position.x(), 0), kDigits);
}

}  // namespace

void SetTabOrder(QWidget& window) {
  if (!window.isVisible()) {
    window.ensurePolished();
    window.adjustSize();
    LayOut(window);
  }
  std::map<std::string, QWidget*> controls;
  Dictionary order;
  for (QWidget* widget : window.findChildren<QWidget*>()) {
    if (widget->window() != &window || !IsControl(*widget)) continue;
    const std::string name = widget->objectName().toStdString();
    controls[name] = widget;
    order.Set(name, SortText(*widget, window));
  }
  SortDictionary(order, "");
  QWidget* previous = nullptr;
  for (const std::string& name : order.Keys()) {
    QWidget* control = controls.at(name);
    if (previous != nullptr) QWidget::setTabOrder(previous, control);
    previous = control;
  }
}

}  // namespace ods
