// Command lines: every text parses, and arguments come back as they were given.
#include "fuzz/Fuzz.h"
#include "server/modCommandLine.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view line = ods::test::InputText(data, size);
  const auto parameters = ods::ParseCommandLine(line);
  std::string again;
  for (const auto& [name, value] : parameters->Entries()) {
    const auto quoted = [](std::string_view text) {
      std::string result = "\"";
      for (const char c : text) result.append(c == '"' ? 2 : 1, c);
      return result + "\"";
    };
    again += quoted(name) + "=" + quoted(*value.GetIf<std::string>()) + " ";
  }
  const auto reread = ods::ParseCommandLine(again);
  // The slash or hyphens that go may be followed by another one, or by a blank: quotes do not keep those.
  for (const std::string& name : parameters->Keys()) {
    if (name.empty() || std::string_view("/- ").find(name.front()) != std::string_view::npos) return 0;
  }
  ods::test::Require(reread->Keys() == parameters->Keys(), "the names come back", again);
  ods::test::Require(reread->marshalldictionary() == parameters->marshalldictionary(), "the values come back", again);
  return 0;
}
