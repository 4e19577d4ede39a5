// Key texts of clients: refused, or fields that make the same key again.
#include "catalogue/modKeys.h"
#include "common/Error.h"
#include "fuzz/Fuzz.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<std::string> fields;
  try {
    fields = ods::TextToKey(ods::test::InputText(data, size));
  } catch (const ods::Error&) {
    return 0;
  }
  const std::string text = ods::KeyToText(fields);
  const auto isPlain = [](char c) { return c == '\\' || c == '_' || (c >= '0' && c <= '9') || (c >= 'A' && c <= 'z'); };
  for (const char c : text) ods::test::Require(isPlain(c), "a key text has few characters", text);
  if (!text.empty()) ods::test::Require(ods::TextToKey(text) == fields, "the fields come back", text);
  return 0;
}
