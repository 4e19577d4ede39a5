// The name of the product, under which its windows appear and its folders lie.
#pragma once

namespace ods {

inline constexpr const char* kProductName = "Korvanta";

}  // namespace ods
