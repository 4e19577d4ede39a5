// `TableList`: the identifiers and captions of every table and view that a client may browse.
#pragma once

#include <string>

#include "common/Dictionary.h"
#include "database/RequestHandler.h"

namespace ods {

/// True when a row of the tables schema is offered to clients.
[[nodiscard]] bool IsListed(ListedTables listed, const std::string& type, const std::string& schema);
/// What clients call a table without a schema.
[[nodiscard]] std::string TableCaption(const Dialect& dialect, const std::string& name);
/// Adds the server-side views to `entries`, which are captions by identifiers, and answers with all of them by their
/// order.
void WriteTableList(const DataSession& session, Dictionary& entries, XmlDocument& response);

void ProcessTableList(const XmlDocument& request, XmlDocument& response, DataSession& session);

}  // namespace ods
