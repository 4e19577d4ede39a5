#include "ui/windows/ValueLabel.h"

#include <algorithm>

namespace ods {

void ValueLabel::SetWidestTexts(const QStringList& texts) {
  widest_ = texts;
  updateGeometry();
}

QSize ValueLabel::sizeHint() const {
  const QFontMetrics metrics = fontMetrics();
  int width = 0;
  for (const QString& text : widest_) width = std::max(width, metrics.horizontalAdvance(text));
  const QMargins margins = contentsMargins();
  const int spare = metrics.averageCharWidth();
  return {width + spare + margins.left() + margins.right(), metrics.height() + margins.top() + margins.bottom()};
}

}  // namespace ods
