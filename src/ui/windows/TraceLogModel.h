// The rows of the trace-log window. Any number may come, of any length: a row is stored at once, cheaply, and shown
// with the next `Publish`, together with all others that came meanwhile. Cells show the beginning of a long entry.
#pragma once

#include <QAbstractTableModel>
#include <QLocale>
#include <QString>
#include <deque>
#include <string>

namespace ods {

class TraceLogModel final : public QAbstractTableModel {
 public:
  enum Column { kTime, kDescription, kInfo, kColumnCount };

  /// Adds a row of the time now. The texts are UTF-8.
  void Append(std::string description, std::string info);
  /// Makes the rows added since the last time visible.
  void Publish();
  /// Removes every row, also those not visible yet.
  void Clear();

  /// The whole description of a visible row, and its time as it is shown.
  [[nodiscard]] QString Description(int row) const;
  [[nodiscard]] QString Time(int row) const;
  /// Time, whole description and whole information of a visible row, with tabs between them.
  [[nodiscard]] QString WholeRow(int row) const;

  [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
  [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
  [[nodiscard]] QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
  [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation,
                                    int role = Qt::DisplayRole) const override;

 private:
  struct Row {
    qint64 time;  ///< seconds since 1970, universal time
    std::string description;
    std::string info;
  };

  [[nodiscard]] const Row& RowAt(int row) const { return rows_[static_cast<std::size_t>(row)]; }
  [[nodiscard]] QString CellText(int row, int column) const;

  QLocale locale_;
  std::deque<Row> rows_;
  int published_ = 0;
};

}  // namespace ods
