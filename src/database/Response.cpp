#include "database/Response.h"

namespace ods {

namespace {

std::string ErrorDocumentText(std::int32_t number, const std::string& message) {
  return "<XML><Error>" + std::to_string(number) + "</Error><Message>" + message + "</Message></XML>";
}

/// Whether the root has an error and its message and nothing else: a description may hold elements, but it may as well
/// close its own and go on with others.
bool IsErrorDocument(const XmlDocument& document) { return document.SelectNodes("/XML/node()").size() == 2; }

[[noreturn]] void RaiseTooMuch(const std::string& what) {
  throw Error(error_number::kOwn, "The response " + what + ". Ask for fewer rows or fields.");
}

}  // namespace

void FillErrorDocument(XmlDocument& response, std::int32_t number, const std::string& description) {
  if (response.LoadXML(ErrorDocumentText(number, description)) && IsErrorDocument(response)) return;
  response.LoadXML(ErrorDocumentText(number, EscapeXml(description)));
}

void FillErrorDocument(XmlDocument& response, const Error& error) {
  FillErrorDocument(response, error.Number(), error.Description());
}

void RaiseTooManyBytes() { RaiseTooMuch("is larger than " + std::to_string(kMaxResponseBytes) + " bytes (64 MiB)"); }

void RaiseTooManyValues() { RaiseTooMuch("has more than " + std::to_string(kMaxResponseValues) + " values"); }

}  // namespace ods
