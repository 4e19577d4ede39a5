// A session of a benchmark's own process, as a server opens it, without a log.
#pragma once

#include <string>

#include "common/ComponentRegistry.h"
#include "log/Trace.h"
#include "server/modConnect.h"
#include "ui/HeadlessUserInterface.h"

namespace ods::bench {

/// Connected to the database of an ODBC connection string, with or without exact paging. Raises the driver's errors.
class OwnSession {
 public:
  OwnSession(const std::string& connection, bool exact) : tracer_(ui_) {
    PrepareForDrivers();
    components_.Register("ADODB.Connection", CreateOdbcConnection);
    state_.ui = &ui_;
    state_.tracer = &tracer_;
    state_.components = &components_;
    state_.exact = exact;
    state_.limits.statementSeconds = 0;  // making a table takes as long as it takes
    database_ = ConnectDatabase(state_, connection);
  }
  [[nodiscard]] DataSession& Session() { return *database_.session; }

 private:
  HeadlessUserInterface ui_;
  Tracer tracer_;
  ComponentRegistry components_;
  ProcessState state_;
  Database database_;
};

}  // namespace ods::bench
