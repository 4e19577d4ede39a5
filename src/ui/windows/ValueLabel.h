// A label for a text that changes: as wide as the widest text it is made for, so that a change moves nothing around it.
#pragma once

#include <QLabel>
#include <QStringList>

namespace ods {

class ValueLabel final : public QLabel {
 public:
  using QLabel::QLabel;

  /// The texts that there has to be room for.
  void SetWidestTexts(const QStringList& texts);

  [[nodiscard]] QSize sizeHint() const override;
  [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

 private:
  QStringList widest_;
};

}  // namespace ods
