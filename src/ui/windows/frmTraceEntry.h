// A small window with one whole entry of the trace log, to read and to copy from.
#pragma once

#include <QHBoxLayout>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QString>
#include <QVBoxLayout>
#include <QWidget>

namespace ods {

/// A text to read, of any length. A paragraph costs as much as all its characters, and only those that are seen are
/// laid out: a long text is shown as several. What is copied is the text as it was.
class EntryText final : public QPlainTextEdit {
 public:
  using QPlainTextEdit::QPlainTextEdit;

  void SetText(const QString& text);

 protected:
  [[nodiscard]] QMimeData* createMimeDataFromSelection() const override;
};

class frmTraceEntry final : public QWidget {
 public:
  /// Stays in front of `traceLog`.
  frmTraceEntry(const QString& time, const QString& description, QWidget& traceLog);

 protected:
  void keyPressEvent(QKeyEvent* event) override;

 private:
  // What contains comes before what it contains, and so goes after it.
  QVBoxLayout layout_{this};
  EntryText txtEntry{this};
  QHBoxLayout buttonLayout_;
  QPushButton cmdClose{this};
};

}  // namespace ods
