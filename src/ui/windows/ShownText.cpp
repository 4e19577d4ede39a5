#include "ui/windows/ShownText.h"

#include <cstddef>

namespace ods {

namespace {

constexpr QChar kEllipsis(0x2026);
/// Invisible; a line may be broken there.
constexpr QChar kBreak(0x200B);
constexpr qsizetype kUnbroken = 20;
constexpr std::size_t kMostBytesOfACharacter = 4;

/// The number of UTF-16 units that the first `count` characters of a text have; all of them when it has no more.
qsizetype UnitsOf(const QString& text, qsizetype count) {
  qsizetype units = 0;
  for (; count > 0 && units < text.size(); --count) {
    const bool isPair = text[units].isHighSurrogate() && units + 1 < text.size() && text[units + 1].isLowSurrogate();
    units += isPair ? 2 : 1;
  }
  return units;
}

}  // namespace

QString ShownText(std::string_view utf8, qsizetype most) {
  // One character more than is shown tells whether there are more.
  const std::string_view part = utf8.substr(0, (static_cast<std::size_t>(most) + 1) * kMostBytesOfACharacter);
  QString text = QString::fromUtf8(part.data(), static_cast<qsizetype>(part.size()));
  const qsizetype units = UnitsOf(text, most);
  if (units == text.size()) return text;
  text.truncate(units);
  return text + kEllipsis;
}

QString ToolTipOf(const QString& text) {
  QString broken;
  qsizetype unbroken = 0;
  for (const QChar c : text) {
    unbroken = c.isSpace() ? 0 : unbroken + 1;
    if (unbroken > kUnbroken && !c.isLowSurrogate() && !c.isMark()) {
      broken += kBreak;
      unbroken = 1;
    }
    broken += c;
  }
  return "<p style=\"white-space:pre-wrap\">" + broken.toHtmlEscaped() + "</p>";
}

}  // namespace ods
