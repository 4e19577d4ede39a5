#include "tabledata/Navigation.h"

#include <algorithm>
#include <array>

namespace ods {
namespace {

constexpr std::array kNavigations = {
    Navigation{kGoToFirst, Navigation::From::kNone, false, false},
    Navigation{kGoToLast, Navigation::From::kNone, true, false},
    Navigation{kGoToNext, Navigation::From::kLast, false, false},
    Navigation{kGoToPrev, Navigation::From::kFirst, true, false},
    Navigation{"", Navigation::From::kFirst, false, true},
};

}  // namespace

const Navigation& FindNavigation(std::string_view name) {
  const auto* const found = std::ranges::find(kNavigations, name, &Navigation::name);
  return found == kNavigations.end() ? kNavigations.front() : *found;
}

bool LacksPosition(std::string_view name, bool hasFirst, bool hasLast) {
  const Navigation::From from = FindNavigation(name).from;
  return (from == Navigation::From::kFirst && !hasFirst) || (from == Navigation::From::kLast && !hasLast);
}

std::string_view NavigationAfter(std::string_view name) {
  if (name == kGoToFirst || name == kGoToLast) return "";
  return name == kGoToNext ? kGoToLast : kGoToFirst;
}

void BeginPage(XmlDocument& response, std::string_view name, bool moreRows) {
  response.LoadXML("<XML><FirstPosition/><LastPosition/><HasNextPage/><HasPreviousPage/><Columns/><Records/></XML>");
  const bool reverse = FindNavigation(name).reverse;
  const bool next = reverse ? name != kGoToLast : moreRows;
  const bool previous = reverse ? moreRows : name != kGoToFirst;
  response.SelectSingleNode("/XML/HasNextPage").SetText(next ? "1" : "0");
  response.SelectSingleNode("/XML/HasPreviousPage").SetText(previous ? "1" : "0");
}

}  // namespace ods
