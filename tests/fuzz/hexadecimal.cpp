// Hexadecimal text of clients: refused, or bytes that give the same digits again.
#include "common/Error.h"
#include "common/Hex.h"
#include "common/Text.h"
#include "fuzz/Fuzz.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = ods::test::InputText(data, size);
  ods::Bytes bytes;
  try {
    bytes = ods::HexToBytes(text);
  } catch (const ods::Error&) {
    return 0;
  }
  const std::string digits = ods::BytesToHex(bytes);
  if (size % 2 == 0) ods::test::Require(digits == ods::ToUpper(text), "the digits come back", digits);
  ods::test::Require(ods::HexToBytes(digits) == bytes, "the bytes come back", digits);
  return 0;
}
