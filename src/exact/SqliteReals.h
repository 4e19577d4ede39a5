// How reals of SQLite travel that are too near to zero for its printf() and for its reading of numbers: by their
// multiple with a power of two. Both are right for 17 digits down to 1e-280.
//
// Internal to this folder.
#pragma once

#include <string_view>

namespace ods {

inline constexpr int kSqliteScaleExponent = 496;
/// 2 to that power, which SQLite reads exactly from these digits.
inline constexpr std::string_view kSqliteScale = "2.0458691299350887e149";
/// What is nearer to zero is told by its multiple.
inline constexpr double kSqliteLeast = 1e-250;

}  // namespace ods
