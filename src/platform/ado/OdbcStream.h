// A statement whose rows go into a sink on the driver's thread, straight from the buffers that they were fetched into.
//
// Internal to this folder. One hand-over to the thread runs the statement and gives the sink many rows: a page of
// ordinary size is one hand-over.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/ado/DriverThread.h"
#include "platform/ado/OdbcDatabase.h"
#include "platform/ado/Rows.h"

namespace ods::odbc {

class OdbcStream final : public RowStream {
 public:
  /// Runs a statement and gives `sink` its first rows. `limit` bounds this, and each later reading. Raises what
  /// `DriverThread::Run` raises; an error of the sink is raised by `ReadToEnd`.
  OdbcStream(std::shared_ptr<DriverThread> thread, std::shared_ptr<OdbcDatabase> database, const std::string& sql,
             std::int32_t maxRecords, ReadForm form, CallLimit limit, std::shared_ptr<RowSink> sink);
  OdbcStream(const OdbcStream&) = delete;
  OdbcStream& operator=(const OdbcStream&) = delete;
  OdbcStream(OdbcStream&&) = delete;
  OdbcStream& operator=(OdbcStream&&) = delete;
  /// Frees everything, without waiting for it.
  ~OdbcStream() override;

  void ReadToEnd() override;

 private:
  struct Rows;

  std::shared_ptr<DriverThread> thread_;
  std::shared_ptr<Rows> rows_;
};

}  // namespace ods::odbc
