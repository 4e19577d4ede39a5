// The bytes of a position: whatever they are, they are refused or read, and what was read can be written and read
// again.
#include "common/Dictionary.h"

#include "common/Error.h"
#include "fuzz/Fuzz.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ods::Bytes bytes;
  for (const std::uint8_t byte : std::basic_string_view<std::uint8_t>(data, size)) {
    bytes.push_back(static_cast<ods::Bytes::value_type>(byte));
  }
  ods::Dictionary dictionary;
  dictionary.Set("before", 1);
  try {
    dictionary.unmarshalldictionary(bytes);
  } catch (const ods::Error&) {
    ods::test::Require(dictionary.Count() == 1 && dictionary.Exists("before"), "a refused text leaves the dictionary");
    return 0;
  }
  const ods::Bytes written = dictionary.marshalldictionary();
  ods::Dictionary again;
  again.unmarshalldictionary(written);
  ods::test::Require(again.Keys() == dictionary.Keys(), "the keys come back");
  ods::test::Require(again.marshalldictionary() == written, "the values come back");
  return 0;
}
