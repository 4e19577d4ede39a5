// What the fuzzers share: the shape of a target and how one says that a promise was broken.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace ods::test {

inline std::string_view InputText(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

/// Ends the run, with the input kept, when a promise does not hold.
inline void Require(bool holds, std::string_view promise, std::string_view detail = {}) {
  if (holds) return;
  std::cerr << "broken: " << promise << ' ' << detail << '\n';
  std::abort();
}

}  // namespace ods::test
