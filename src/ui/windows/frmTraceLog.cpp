#include "ui/windows/frmTraceLog.h"

#include <QClipboard>
#include <QCloseEvent>
#include <QEvent>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QSettings>
#include <QStringList>
#include <QStyle>
#include <algorithm>
#include <cmath>
#include <optional>

#include "ui/windows/GeneralDate.h"
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
  button.setAutoDefault(true);  // the Return key presses the button that has the keyboard
}

constexpr double kSmallestPointSize = 6;
constexpr double kPointSizeStep = 0.25;

/// The widest text that the general date of a locale can have in a font: as in a date of wide months, with the font's
/// widest digit for every other one.
double WidestTime(const QFontMetricsF& metrics, const QLocale& locale) {
  QChar widest('0');
  for (QChar digit('1'); digit <= QChar('9'); digit = QChar(digit.unicode() + 1)) {
    if (metrics.horizontalAdvance(digit) > metrics.horizontalAdvance(widest)) widest = digit;
  }
  double width = 0;
  for (int month = 1; month <= 12; ++month) {
    for (const int hour : {11, 23}) {  // the two halves of the day
      QString text = GeneralDate(QDateTime(QDate(2028, month, 28), QTime(hour, 58, 58)), locale);
      std::replace_if(
          text.begin(), text.end(), [](QChar c) { return c.isDigit(); }, widest);
      width = std::max(width, metrics.horizontalAdvance(text));
    }
  }
  return width;
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
  MakeList();
  MakeColumns();
  const QSize size = this->size();
  SetTabOrder(*this);
  resize(size);
}

void frmTraceLog::MakeList() {
  lvTrace.setModel(&model_);
  lvTrace.setFont(ListFont());
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
  mnuCopy.setObjectName("mnuCopy");
  mnuCopy.setText("&Copy");
  mnuCopy.setShortcut(QKeySequence::Copy);
  mnuCopy.setShortcutContext(Qt::WidgetShortcut);
  lvTrace.addAction(&mnuCopy);
  lvTrace.setContextMenuPolicy(Qt::ActionsContextMenu);
  connect(&mnuCopy, &QAction::triggered, this, [this] { mnuCopy_Click(); });
  connect(&lvTrace, &QTableView::doubleClicked, this, [this](const QModelIndex& index) { ShowEntry(index.row()); });
}

/// The largest font, up to the usual one, in which the default width of the column shows the whole time.
QFont frmTraceLog::ListFont() const {
  const int margin = lvTrace.style()->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, &lvTrace) + 1;
  const double room = PixelsOf(kColumnSettings[TraceLogModel::kTime].defaultTwips) - 2 * margin;
  QFont font = lvTrace.font();
  for (double size = font.pointSizeF(); size >= kSmallestPointSize; size -= kPointSizeStep) {
    font.setPointSizeF(size);
    if (WidestTime(QFontMetricsF(font, &lvTrace), QLocale()) <= room) break;
  }
  return font;
}

void frmTraceLog::MakeColumns() {
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
  model_.Append(description, info);
  if (!refresh_.isActive()) refresh_.start();
}

void frmTraceLog::ShowNewest() {
  model_.Publish();
  lvTrace.scrollToBottom();
}

void frmTraceLog::ClearLog() { model_.Clear(); }

void frmTraceLog::CloseLog() {
  hide();
  entries_.clear();
  ClearLog();
  active_ = false;
}

void frmTraceLog::Form_Unload() {
  SaveColumnWidths();
  CloseLog();
}

void frmTraceLog::SaveColumnWidths() {
  QSettings settings(organisation_, application_);
  settings.beginGroup(kSection);
  for (int column = 0; column < TraceLogModel::kColumnCount; ++column) {
    // A width that nobody changed keeps its twips, whatever the pixels made of them.
    int& twips = columnWidths_[static_cast<std::size_t>(column)];
    const int pixels = lvTrace.columnWidth(column);
    if (pixels != PixelsOf(twips)) twips = TwipsOf(pixels);
    settings.setValue(kColumnSettings[column].key, twips);
  }
}

/// Copies the selected rows, whole, one a line.
void frmTraceLog::mnuCopy_Click() {
  QModelIndexList selected = lvTrace.selectionModel()->selectedRows();
  std::ranges::sort(selected, {}, &QModelIndex::row);
  QStringList rows;
  for (const QModelIndex& index : selected) rows.append(model_.WholeRow(index.row()));
  if (!rows.isEmpty()) QGuiApplication::clipboard()->setText(rows.join('\n'));
}

void frmTraceLog::ShowEntry(int row) {
  std::erase_if(entries_, [](const std::unique_ptr<frmTraceEntry>& entry) { return !entry->isVisible(); });
  entries_.push_back(std::make_unique<frmTraceEntry>(model_.Time(row), model_.Description(row), *this));
  entries_.back()->show();
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
  Form_Unload();
  event->accept();
}

int frmTraceLog::PixelsOf(int twips) const {
  return static_cast<int>(std::lround(twips * logicalDpiX() / kTwipsPerInch));
}

int frmTraceLog::TwipsOf(int pixels) const {
  return static_cast<int>(std::lround(pixels * kTwipsPerInch / logicalDpiX()));
}

}  // namespace ods
