// What every response has in common: the form of an error, and how large it may become.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "common/Error.h"
#include "platform/xml/Xml.h"

namespace ods {

/// Makes `response` an error document. `description` goes in as it is; where that gives no well-formed document, or one
/// with more than an error and its message, as text.
void FillErrorDocument(XmlDocument& response, std::int32_t number, const std::string& description);
void FillErrorDocument(XmlDocument& response, const Error& error);

/// The largest response, in bytes as it is written out.
inline constexpr std::size_t kMaxResponseBytes = std::size_t{64} << 20U;
/// The most values in one response: in memory each takes several times what it takes as text.
inline constexpr std::size_t kMaxResponseValues = 2'000'000;

/// They raise error 1000 with a text that names the limit.
[[noreturn]] void RaiseTooManyBytes();
[[noreturn]] void RaiseTooManyValues();
/// Raise so when a response has more than it may have.
inline void RequireResponseBytes(std::size_t bytes) {
  if (bytes > kMaxResponseBytes) RaiseTooManyBytes();
}
inline void RequireResponseValues(std::size_t values) {
  if (values > kMaxResponseValues) RaiseTooManyValues();
}

}  // namespace ods
