#include "ui/windows/TraceLogModel.h"

#include <QDateTime>
#include <utility>

#include "ui/windows/GeneralDate.h"
#include "ui/windows/ShownText.h"

namespace ods {

void TraceLogModel::Append(std::string description, std::string info) {
  rows_.push_back({QDateTime::currentSecsSinceEpoch(), std::move(description), std::move(info)});
}

void TraceLogModel::Publish() {
  const int count = static_cast<int>(rows_.size());
  if (count == published_) return;
  beginInsertRows({}, published_, count - 1);
  published_ = count;
  endInsertRows();
}

void TraceLogModel::Clear() {
  beginResetModel();
  rows_.clear();
  published_ = 0;
  endResetModel();
}

int TraceLogModel::rowCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : published_; }

int TraceLogModel::columnCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : kColumnCount; }

QString TraceLogModel::Description(int row) const { return QString::fromStdString(RowAt(row).description); }

QString TraceLogModel::Time(int row) const {
  return GeneralDate(QDateTime::fromSecsSinceEpoch(RowAt(row).time), locale_);
}

QString TraceLogModel::WholeRow(int row) const {
  return Time(row) + '\t' + Description(row) + '\t' + QString::fromStdString(RowAt(row).info);
}

QVariant TraceLogModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= published_) return {};
  if (role == Qt::DisplayRole) return CellText(index.row(), index.column());
  // The tip shows what a narrow column cuts off.
  if (role == Qt::ToolTipRole) return ToolTipOf(CellText(index.row(), index.column()));
  return {};
}

QVariant TraceLogModel::headerData(int section, Qt::Orientation orientation, int role) const {
  constexpr const char* kTitles[kColumnCount] = {"Time", "Description", "Info"};
  const bool isTitle = orientation == Qt::Horizontal && section >= 0 && section < kColumnCount;
  if (!isTitle || role != Qt::DisplayRole) return {};
  return QString(kTitles[section]);
}

QString TraceLogModel::CellText(int row, int column) const {
  if (column == kTime) return Time(row);
  return ShownText(column == kDescription ? RowAt(row).description : RowAt(row).info);
}

}  // namespace ods
