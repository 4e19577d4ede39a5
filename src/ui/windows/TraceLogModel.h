// The rows of the trace-log window. Any number may come: a row is stored at once, cheaply, and shown with the next
// `Publish`, together with all others that came meanwhile.
#pragma once

#include <QAbstractTableModel>
#include <QLocale>
#include <QString>
#include <deque>

namespace ods {

class TraceLogModel final : public QAbstractTableModel {
 public:
  enum Column { kTime, kDescription, kInfo, kColumnCount };

  /// Adds a row of the time now.
  void Append(QString description, QString info);
  /// Makes the rows added since the last time visible.
  void Publish();
  /// Removes every row, also those not visible yet.
  void Clear();

  [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
  [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
  [[nodiscard]] QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
  [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation,
                                    int role = Qt::DisplayRole) const override;

 private:
  struct Row {
    qint64 time;  ///< seconds since 1970, universal time
    QString description;
    QString info;
  };

  [[nodiscard]] QString Text(const Row& row, int column) const;

  QLocale locale_;
  std::deque<Row> rows_;
  int published_ = 0;
};

}  // namespace ods
