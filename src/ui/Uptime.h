// How long the server has been running, as the main window shows it.
#pragma once

#include <cstdint>
#include <string>

namespace ods {

/// An uptime in seconds as whole days, " d ", hours, ":" and minutes in two digits. The days are rounded down; hours
/// and minutes each are the whole uptime rounded to the nearest, halves to even, then taken modulo 24 and 60: after 31
/// minutes the text is "0 d 1:31". A negative uptime (the clock was set back) counts as 0.
[[nodiscard]] std::string UptimeText(std::int64_t seconds);

}  // namespace ods
