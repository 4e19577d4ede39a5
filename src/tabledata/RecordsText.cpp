#include "tabledata/RecordsText.h"

#include <algorithm>
#include <utility>

namespace ods {

/// In place, since a page may be as large as a response may be: all of it is turned round, and then each row is.
TextBuffer RecordsText::Take() {
  if (!reverse_) return std::move(text_);
  std::reverse(text_.Begin(), text_.End());
  std::size_t end = text_.Size();
  for (auto begin = begins_.rbegin(); begin != begins_.rend(); end = *begin++) {
    std::reverse(text_.End() - end, text_.End() - *begin);
  }
  return std::move(text_);
}

}  // namespace ods
