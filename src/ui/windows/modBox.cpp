#include "ui/windows/modBox.h"

#include <QAccessible>
#include <QPushButton>
#include <QScreen>
#include <QStyle>
#include <QTextDocument>
#include <QTextOption>
#include <algorithm>
#include <memory>

#include "common/Text.h"
#include "ui/windows/ShownText.h"

namespace ods {

namespace {

constexpr qsizetype kMostCharacters = 100'000;
/// Lines are broken at this width, in characters of a common width.
constexpr int kLineCharacters = 72;
/// A line of more characters is too wide in any font.
constexpr qsizetype kSurelyTooLong = 4000;
/// Looking for a better place to break it takes too long in a word of more characters than this.
constexpr qsizetype kLongWord = 2000;
/// The part of the screen that the text of a box takes at most.
constexpr double kPartOfScreen = 0.7;
/// What stands beside the title in a title bar (an icon, buttons, gaps), in heights of a line.
constexpr int kTitleBarLines = 9;

int WidestLine(const QFontMetrics& metrics, const QString& text, int most) {
  int widest = 0;
  for (const QString& line : text.split('\n')) {
    if (line.size() > kSurelyTooLong) return most;
    widest = std::max(widest, metrics.horizontalAdvance(line));
  }
  return std::min(widest, most);
}

bool HasLongWord(const QString& text) {
  qsizetype length = 0;
  return std::ranges::any_of(text, [&length](QChar c) { return (length = c.isSpace() ? 0 : length + 1) > kLongWord; });
}

}  // namespace

Box::Box(QWidget* parent, const std::string& title, const std::string& text, BoxStyle style)
    : QDialog(parent, Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                          Qt::WindowCloseButtonHint),
      style_(style) {
  setObjectName("messageBox");
  setWindowModality(Qt::ApplicationModal);
  setWindowTitle(QString::fromStdString(title));
  text_.setObjectName("boxText");
  text_.setAccessibleName(windowTitle());
  // Connection strings and drivers' texts may look like markup.
  text_.setAcceptRichText(false);
  text_.setPlainText(ShownText(ReplaceAll(text, "\r\n", "\n"), kMostCharacters));
  text_.setReadOnly(true);
  text_.setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  text_.setTabChangesFocus(true);
  Arrange();
  FitText();
  buttons_.button(QDialogButtonBox::Ok)->setDefault(true);
  buttons_.button(QDialogButtonBox::Ok)->setFocus();
  connect(&buttons_, &QDialogButtonBox::accepted, this, &QDialog::accept);
}

void Box::Arrange() {
  const auto picture =
      style_ == BoxStyle::kExclamation ? QStyle::SP_MessageBoxWarning : QStyle::SP_MessageBoxInformation;
  const int size = style()->pixelMetric(QStyle::PM_MessageBoxIconSize, nullptr, this);
  icon_.setPixmap(style()->standardIcon(picture, nullptr, this).pixmap(QSize(size, size), devicePixelRatioF()));
  // The text stands on the box itself, as on a label.
  text_.setFrameShape(QFrame::NoFrame);
  text_.viewport()->setAutoFillBackground(false);
  QPalette palette = text_.palette();
  palette.setColor(QPalette::Text, palette.color(QPalette::WindowText));
  text_.setPalette(palette);
  text_.setWordWrapMode(HasLongWord(Text()) ? QTextOption::WrapAnywhere : QTextOption::WrapAtWordBoundaryOrAnywhere);
  text_.setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  contentLayout_.addWidget(&icon_, 0, Qt::AlignTop);
  contentLayout_.addWidget(&text_, 1);
  contentLayout_.setSpacing(style()->pixelMetric(QStyle::PM_LayoutLeftMargin, nullptr, this));
  layout_.addLayout(&contentLayout_);
  layout_.addWidget(&buttons_);
  layout_.setSizeConstraint(QLayout::SetFixedSize);
}

/// Makes the text as large as it needs to be, wide enough for the title too.
void Box::FitText() {
  const QSize most = screen()->availableSize() * kPartOfScreen;
  const QFontMetrics metrics = text_.fontMetrics();
  const int margins = 2 * static_cast<int>(text_.document()->documentMargin());
  const int mostWidth = std::min(most.width(), metrics.averageCharWidth() * kLineCharacters);
  const int titleWidth = metrics.horizontalAdvance(windowTitle()) + kTitleBarLines * metrics.height();
  const int width = std::max(WidestLine(metrics, Text(), mostWidth), std::min(titleWidth, mostWidth)) + margins +
                    metrics.maxWidth() / 2;
  // A copy, since the field lays out its own by the width that it has just now.
  const std::unique_ptr<QTextDocument> document(text_.document()->clone());
  document->setTextWidth(width);
  const int height = static_cast<int>(document->size().height()) + 1;
  const bool isScrolled = height > most.height();
  const int scrollBar = isScrolled ? text_.style()->pixelMetric(QStyle::PM_ScrollBarExtent, nullptr, &text_) : 0;
  text_.setVerticalScrollBarPolicy(isScrolled ? Qt::ScrollBarAlwaysOn : Qt::ScrollBarAlwaysOff);
  text_.setFixedSize(width + scrollBar, std::max(std::min(height, most.height()), icon_.sizeHint().height()));
}

void Box::showEvent(QShowEvent* event) {
  QDialog::showEvent(event);
  QAccessibleEvent alert(this, QAccessible::Alert);  // a screen reader reads it out
  QAccessible::updateAccessibility(&alert);
}

void ShowBox(QWidget* parent, const std::string& title, const std::string& text, BoxStyle style) {
  Box(parent, title, text, style).exec();
}

}  // namespace ods
