#include "tabledata/RecordsText.h"

#include <algorithm>
#include <utility>

namespace ods {

/// In place, since a page may be as large as a response may be: all of it is turned round, and then each row is.
std::string RecordsText::Take() {
  if (!reverse_) return std::move(text_);
  std::ranges::reverse(text_);
  std::size_t end = text_.size();
  for (auto begin = begins_.rbegin(); begin != begins_.rend(); end = *begin++) {
    std::reverse(text_.end() - static_cast<std::ptrdiff_t>(end), text_.end() - static_cast<std::ptrdiff_t>(*begin));
  }
  return std::move(text_);
}

}  // namespace ods
