// The shape of a request handler.
#pragma once

#include <cstddef>
#include <string_view>

#include "database/DataSession.h"
#include "platform/xml/Xml.h"

namespace ods {

/// Fills the empty response document from the request and the database. Reports failure by raising an error.
using RequestHandler = void (*)(const XmlDocument& request, XmlDocument& response, DataSession& session);

/// The largest response, in bytes as it is written out. A larger one becomes an error document of number 1000.
inline constexpr std::size_t kMaxResponseBytes = std::size_t{64} << 20U;
inline constexpr std::string_view kResponseTooLarge =
    "The response is larger than 67108864 bytes (64 MiB). Ask for fewer rows or fields.";
/// The most values in one response: in memory each takes several times what it takes as text.
inline constexpr std::size_t kMaxResponseValues = 2'000'000;
inline constexpr std::string_view kTooManyValues =
    "The response has more than 2000000 values. Ask for fewer rows or fields.";

}  // namespace ods
