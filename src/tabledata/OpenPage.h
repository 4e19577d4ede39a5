// The statement of a page on its way into the sink of the page.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "database/modODBC.h"
#include "tabledata/modDecimalFactor.h"

namespace ods {

/// Runs a statement whose rows go into `sink`, which is told the decimal factor before. While that is not known the
/// rows are read on this thread, since finding it out takes a statement behind this one. Raises what `ExecuteSQL` and
/// `SettleDecimalFactor` raise.
template <typename Sink>
[[nodiscard]] std::unique_ptr<RowStream> OpenPage(const DataSession& session, const std::string& sql,
                                                  std::int32_t limit, const std::shared_ptr<Sink>& sink,
                                                  const ExecuteOptions& options = {}) {
  if (DecimalFactorIsSettled(session)) {
    sink->SetDecimalFactor(session.process->decimalFactor);
    return StreamSQL(session, sql, limit, sink, options);
  }
  auto rows = ExecuteSQL(session, sql, limit, options);
  SettleDecimalFactor(session);
  sink->SetDecimalFactor(session.process->decimalFactor);
  return StreamOf(std::move(rows), sink);
}

}  // namespace ods
