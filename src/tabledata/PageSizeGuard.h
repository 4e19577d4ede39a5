// Counts the values of a page while they are read, so that a page that no response can carry ends before it fills the
// memory.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "database/Response.h"

namespace ods {

class PageSizeGuard {
 public:
  /// A value of the field `name` that takes at least `length` bytes. Raises error 1000 when the page has become too
  /// large.
  void Add(const std::string& name, std::size_t length) {
    constexpr std::size_t kMarkup = std::string_view("<V Id=\"\"></V>").size();
    bytes_ += kMarkup + name.size() + length;
    RequireResponseBytes(bytes_);
    RequireResponseValues(++values_);
  }

 private:
  std::size_t bytes_ = 0;
  std::size_t values_ = 0;
};

}  // namespace ods
