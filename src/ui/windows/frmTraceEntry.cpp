#include "ui/windows/frmTraceEntry.h"

#include <QKeyEvent>
#include <QMimeData>
#include <QTextCursor>
#include <algorithm>
#include <memory>

namespace ods {

namespace {

constexpr int kWidthInCharacters = 80;
constexpr int kHeightInLines = 16;
/// Lines are broken between paragraphs too: so these are long.
constexpr qsizetype kParagraph = 2000;

/// `end`, or one less where a character that takes two units lies across it.
qsizetype BetweenCharacters(const QString& text, qsizetype end) {
  const bool isAcross = end < text.size() && text[end].isLowSurrogate() && text[end - 1].isHighSurrogate();
  return isAcross ? end - 1 : end;
}

}  // namespace

void EntryText::SetText(const QString& text) {
  QString paragraphs;
  paragraphs.reserve(text.size() + text.size() / kParagraph + 1);
  for (qsizetype begin = 0; begin < text.size();) {
    const qsizetype end = BetweenCharacters(text, std::min(begin + kParagraph, text.size()));
    if (begin > 0) paragraphs += QChar::ParagraphSeparator;
    paragraphs += QStringView(text).sliced(begin, end - begin);
    begin = end;
  }
  setPlainText(paragraphs);
}

QMimeData* EntryText::createMimeDataFromSelection() const {
  QString text = textCursor().selectedText();  // which has paragraph separators between paragraphs
  text.remove(QChar::ParagraphSeparator);
  auto copied = std::make_unique<QMimeData>();
  copied->setText(text);
  return copied.release();  // the library takes it over
}

frmTraceEntry::frmTraceEntry(const QString& time, const QString& description, QWidget& traceLog)
    : QWidget(&traceLog, Qt::Window) {
  setObjectName("frmTraceEntry");
  setWindowTitle("Trace Log - " + time);
  txtEntry.setObjectName("txtEntry");
  txtEntry.setAccessibleName("Entry");
  txtEntry.setReadOnly(true);
  txtEntry.setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  txtEntry.setTabChangesFocus(true);
  txtEntry.SetText(description);
  cmdClose.setObjectName("cmdCloseEntry");
  cmdClose.setText("&Close");
  cmdClose.setAutoDefault(true);  // the Return key presses it
  connect(&cmdClose, &QPushButton::clicked, this, [this] { close(); });
  layout_.addWidget(&txtEntry);
  buttonLayout_.addStretch();
  buttonLayout_.addWidget(&cmdClose);
  layout_.addLayout(&buttonLayout_);
  const QFontMetrics metrics = txtEntry.fontMetrics();
  resize(metrics.averageCharWidth() * kWidthInCharacters, metrics.lineSpacing() * kHeightInLines);
}

void frmTraceEntry::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Escape) {
    close();
    return;
  }
  QWidget::keyPressEvent(event);
}

}  // namespace ods
