// Where a page starts and which way it is read.
#pragma once

#include <string>
#include <string_view>

#include "platform/xml/Xml.h"

namespace ods {

inline constexpr std::string_view kGoToFirst = "gotofirst";
inline constexpr std::string_view kGoToNext = "gotonext";
inline constexpr std::string_view kGoToPrev = "gotoprev";
inline constexpr std::string_view kGoToLast = "gotolast";

/// One value of `Navigate`.
struct Navigation {
  enum class From { kNone, kFirst, kLast };
  std::string_view name;
  From from;       ///< the position that the page starts at
  bool reverse;    ///< read against the order, and turned round afterwards
  bool inclusive;  ///< the row of the position belongs to the page
};

/// The navigation of a name; an unknown one reads from the start like the first page.
[[nodiscard]] const Navigation& FindNavigation(std::string_view name);

/// True when the position that a navigation starts at is missing: the first page is read then.
[[nodiscard]] bool LacksPosition(std::string_view name, bool hasFirst, bool hasLast);

/// What is read instead when a navigation has found no row; "" when that is the answer.
[[nodiscard]] std::string_view NavigationAfter(std::string_view name);

/// Begins the response with a page: its elements, empty but for `HasNextPage` and `HasPreviousPage`.
/// @param name     the navigation by which it was read, as the client or `NavigationAfter` calls it
/// @param moreRows whether rows followed the page in the direction in which it was read
void BeginPage(XmlDocument& response, std::string_view name, bool moreRows);

}  // namespace ods
