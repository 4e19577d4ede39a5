#include "ui/windows/TraceLogModel.h"

#include <QDateTime>
#include <utility>

#include "ui/windows/GeneralDate.h"

namespace ods {

void TraceLogModel::Append(QString description, QString info) {
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

QVariant TraceLogModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= published_) return {};
  // The tip shows what a narrow column cuts off.
  if (role != Qt::DisplayRole && role != Qt::ToolTipRole) return {};
  return Text(rows_[static_cast<std::size_t>(index.row())], index.column());
}

QVariant TraceLogModel::headerData(int section, Qt::Orientation orientation, int role) const {
  constexpr const char* kTitles[kColumnCount] = {"Time", "Description", "Info"};
  const bool isTitle = orientation == Qt::Horizontal && section >= 0 && section < kColumnCount;
  if (!isTitle || role != Qt::DisplayRole) return {};
  return QString(kTitles[section]);
}

QString TraceLogModel::Text(const Row& row, int column) const {
  switch (column) {
    case kTime:
      return GeneralDate(QDateTime::fromSecsSinceEpoch(row.time), locale_);
    case kDescription:
      return row.description;
    default:
      return row.info;
  }
}

}  // namespace ods
