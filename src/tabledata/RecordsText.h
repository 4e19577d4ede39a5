// The records of a page as the markup that they are in the response, written while the rows are read. A page that no
// response can carry ends before it fills the memory.
#pragma once

#include <cstddef>
#include <vector>

#include "common/TextBuffer.h"
#include "database/Response.h"

namespace ods {

class RecordsText {
 public:
  /// @param reverse rows are read against the order: the last one comes first
  explicit RecordsText(bool reverse) : reverse_(reverse) {}

  void BeginRow() {
    if (reverse_) begins_.push_back(text_.Size());
    text_.Append("<R>");
  }
  /// Has `append` add one value to the text of the row. Raises what it raises, and error 1000 when the page has become
  /// too large.
  template <typename Append>
  void AddValue(Append append) {
    append(text_);
    RequireResponseBytes(text_.Size());
    RequireResponseValues(++values_);
  }
  void EndRow() { text_.Append("</R>"); }

  /// The text of all rows in the order of the page.
  [[nodiscard]] TextBuffer Take();

 private:
  bool reverse_;
  TextBuffer text_;
  std::vector<std::size_t> begins_;  ///< where the text of each row begins, if they are read in reverse
  std::size_t values_ = 0;
};

}  // namespace ods
