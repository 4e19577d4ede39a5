// What this system calls an open file: a descriptor.
#pragma once

namespace ods {

using NativeFile = int;
inline constexpr NativeFile kNoFile = -1;

}  // namespace ods
