// A record set whose rows are read on the driver's thread, many at a time.
//
// Internal to this folder. One hand-over to the thread runs the statement and reads the first rows, and each further
// one reads many more: a page of ordinary size is one hand-over.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/ado/Ado.h"
#include "platform/ado/DriverThread.h"
#include "platform/ado/OdbcDatabase.h"

namespace ods::odbc {

class OdbcReader final : public RecordSet {
 public:
  /// Runs a statement and reads its first rows. `limit` bounds this, and each later reading. Raises what
  /// `DriverThread::Run` raises.
  OdbcReader(std::shared_ptr<DriverThread> thread, std::shared_ptr<OdbcDatabase> database, const std::string& sql,
             std::int32_t maxRecords, ReadForm form, CallLimit limit);
  OdbcReader(const OdbcReader&) = delete;
  OdbcReader& operator=(const OdbcReader&) = delete;
  OdbcReader(OdbcReader&&) = delete;
  OdbcReader& operator=(OdbcReader&&) = delete;
  /// Frees everything, without waiting for it.
  ~OdbcReader() override;

  [[nodiscard]] const std::vector<Field>& Fields() const override { return fields_; }
  [[nodiscard]] bool AtEnd() const override { return atEnd_; }
  /// An error of the driver is raised at the row that it met, not before; nothing but a further step is of use then.
  void MoveNext() override;
  using RecordSet::Item;
  [[nodiscard]] const Value& Item(std::size_t index) const override;

 private:
  /// What the thread works on. Between two calls it is the reader's.
  struct Rows;

  void Read();

  std::shared_ptr<DriverThread> thread_;
  std::shared_ptr<Rows> rows_;
  std::vector<Field> fields_;
  std::size_t row_ = 0;  ///< the current one of those that were read
  bool atEnd_ = false;
};

}  // namespace ods::odbc
