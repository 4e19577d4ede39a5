#include "ui/windows/frmTraceLog.h"

#include <QCloseEvent>
#include <QEvent>
#include <QHeaderView>
#include <QSettings>
#include <cmath>
#include <optional>

#include "ui/windows/modTabOrder.h"

namespace ods {

namespace {

constexpr double kTwipsPerInch = 1440;
constexpr int kMaxTwips = 100 * static_cast<int>(kTwipsPerInch);
constexpr int kRefreshMilliseconds = 100;

/// The list leaves this much of the window's inner size free: a margin on three sides, the buttons below.
constexpr int kFreeWidth = 240;
constexpr int kFreeHeight = 800;
constexpr int kMargin = kFreeWidth / 2;

constexpr QSize kFirstSizeInTwips(8200, 5400);

struct ColumnSetting {
  const char* key;
  int defaultTwips;
};

constexpr ColumnSetting kColumnSettings[TraceLogModel::kColumnCount] = {
    {"Trace.Headers.Time.Width", 1620},
    {"Trace.Headers.Description.Width", 4000},
    {"Trace.Headers.Info.Width", 1000},
};

constexpr const char* kSection = "Settings";

/// A width in twips that somebody may have written by hand.
std::optional<int> StoredWidth(const QVariant& value) {
  bool isNumber = false;
  const int twips = value.toInt(&isNumber);
  if (!isNumber || twips < 0 || twips > kMaxTwips) return std::nullopt;
  return twips;
}

void InitButton(QPushButton& button, const char* name, const char* text, const char* toolTip) {
  button.setObjectName(name);
  button.setText(text);
  button.setToolTip(toolTip);
  button.setAutoDefault(false);
}

}  // namespace

frmTraceLog::frmTraceLog(const ServerView& server)
    : organisation_(QString::fromStdString(server.ProductName())),
      application_(QString::fromStdString(server.ApplicationTitle())) {
  setObjectName("frmTraceLog");
  setWindowTitle("Trace Log");
  lvTrace.setObjectName("lvTrace");
  lvTrace.setAccessibleName("Trace Log");
  Arrange();
  Form_Load();
  connect(&cmdClear, &QPushButton::clicked, this, [this] { ClearLog(); });
  connect(&cmdClose, &QPushButton::clicked, this, [this] { CloseLog(); });
  refresh_.setSingleShot(true);
  refresh_.setInterval(kRefreshMilliseconds);
  connect(&refresh_, &QTimer::timeout, this, [this] { ShowNewest(); });
}

void frmTraceLog::Arrange() {
  const int margin = PixelsOf(kMargin);
  layout_.setContentsMargins(margin, margin, margin, 0);
  layout_.setSpacing(0);
  layout_.addWidget(&lvTrace);
  layout_.addWidget(&buttonRow_);
  buttonRow_.setMinimumHeight(PixelsOf(kFreeHeight) - margin);
  buttonRow_.setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
  buttonLayout_.setContentsMargins(0, 0, 0, 0);
  buttonLayout_.addWidget(&cmdClear);
  buttonLayout_.addStretch();
  buttonLayout_.addWidget(&cmdClose);
  buttonLayout_.addWidget(&cmdHelp);
  resize(PixelsOf(kFirstSizeInTwips.width()), PixelsOf(kFirstSizeInTwips.height()));
}

void frmTraceLog::Form_Load() {
  InitButton(cmdClear, "cmdClear", "C&lear", "Clear the trace log window");
  InitButton(cmdClose, "cmdClose", "&Close", "Close the window");
  InitButton(cmdHelp, "cmdHelp", "&Help", "Open online help");  // nothing happens at it
  MakeColumns();
  const QSize size = this->size();
  SetTabOrder(*this);
  resize(size);
}

void frmTraceLog::MakeColumns() {
  lvTrace.setModel(&model_);
  lvTrace.setSelectionBehavior(QAbstractItemView::SelectRows);
  lvTrace.setEditTriggers(QAbstractItemView::NoEditTriggers);
  lvTrace.setTabKeyNavigation(false);
  lvTrace.setWordWrap(false);
  lvTrace.setShowGrid(false);
  lvTrace.horizontalHeader()->setHighlightSections(false);
  lvTrace.horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
  lvTrace.verticalHeader()->hide();
  // All rows are equally high, so that none has to be measured.
  lvTrace.verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
  lvTrace.verticalHeader()->setDefaultSectionSize(lvTrace.verticalHeader()->minimumSectionSize());
  QSettings settings(organisation_, application_);
  settings.beginGroup(kSection);
  for (int column = 0; column < TraceLogModel::kColumnCount; ++column) {
    const ColumnSetting& setting = kColumnSettings[column];
    const int twips = StoredWidth(settings.value(setting.key)).value_or(setting.defaultTwips);
    columnWidths_[static_cast<std::size_t>(column)] = twips;
    lvTrace.setColumnWidth(column, PixelsOf(twips));
  }
}

void frmTraceLog::AddEntry(const std::string& description, const std::string& info) {
  if (!active_) return;
  model_.Append(QString::fromStdString(description), QString::fromStdString(info));
  if (!refresh_.isActive()) refresh_.start();
}

void frmTraceLog::ShowNewest() {
  model_.Publish();
  lvTrace.scrollToBottom();
}

void frmTraceLog::ClearLog() { model_.Clear(); }

void frmTraceLog::CloseLog() {
  hide();
  ClearLog();
  active_ = false;
}

void frmTraceLog::Form_Unload() {
  QSettings settings(organisation_, application_);
  settings.beginGroup(kSection);
  for (int column = 0; column < TraceLogModel::kColumnCount; ++column) {
    // A width that nobody changed keeps its twips, whatever the pixels made of them.
    int& twips = columnWidths_[static_cast<std::size_t>(column)];
    const int pixels = lvTrace.columnWidth(column);
    if (pixels != PixelsOf(twips)) twips = TwipsOf(pixels);
    settings.setValue(kColumnSettings[column].key, twips);
  }
  CloseLog();
}

bool frmTraceLog::event(QEvent* event) {
  if (event->type() == QEvent::WindowActivate) active_ = true;
  return QWidget::event(event);
}

/// A desktop may show a window without giving it the input; whoever looks at it wants to see the entries.
void frmTraceLog::showEvent(QShowEvent* event) {
  active_ = true;
  QWidget::showEvent(event);
}

void frmTraceLog::closeEvent(QCloseEvent* event) {
  CloseLog();
  event->accept();
}

int frmTraceLog::PixelsOf(int twips) const {
  return static_cast<int>(std::lround(twips * logicalDpiX() / kTwipsPerInch));
}

int frmTraceLog::TwipsOf(int pixels) const {
  return static_cast<int>(std::lround(pixels * kTwipsPerInch / logicalDpiX()));
}

}  // namespace ods
