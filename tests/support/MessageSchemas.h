// The schemas of docs/schema: whether a message is one that they describe.
#pragma once

#include <string>
#include <string_view>

namespace ods::test {

/// What a server calls the request: its type, as the server reads it. "" for what is no document, or has no type.
[[nodiscard]] std::string RequestType(const std::string& request);

/// Why a request is none of the type that it names: the message with numbered lines, and by these what is wrong. ""
/// when nothing is.
/// @param exact  of a server that was started with `exact`
[[nodiscard]] std::string FaultOfRequest(const std::string& request, bool exact);

/// Why a text is no response to a request of the type; "" when it is one. Beside what the schema says, each row has one
/// value for each column, in their order, and a null has no text. A type that there is not is answered by an error.
[[nodiscard]] std::string FaultOfResponse(const std::string& response, std::string_view requestType, bool exact);

/// Why a document is none of a schema, "files/users.xsd" say; "" when it is.
[[nodiscard]] std::string FaultOfDocument(const std::string& document, const std::string& schema);

}  // namespace ods::test
