// Messages as the tests of the schemas put them together.
#pragma once

#include <string>

namespace ods::test {

inline constexpr const char* kSession = "<DataSession>00000000-0000-4000-8000-00000000000A</DataSession>";

inline std::string Request(const std::string& type, const std::string& elements = "") {
  return "<XML><Type>" + type + "</Type>" + elements + "</XML>";
}

inline std::string Response(const std::string& elements) { return "<XML>" + elements + kSession + "</XML>"; }

}  // namespace ods::test
