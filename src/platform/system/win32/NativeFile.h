// What this system calls an open file: a handle, as the number that it is.
#pragma once

#include <cstdint>

namespace ods {

using NativeFile = std::intptr_t;
inline constexpr NativeFile kNoFile = -1;

}  // namespace ods
