// A text whose middle may be large: it goes its way without being copied into one piece.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include "common/TextBuffer.h"

namespace ods {

class TextPieces {
 public:
  TextPieces() = default;
  TextPieces(std::string text)
      : before_(std::move(text)) {}                // NOLINT(google-explicit-constructor): a text is one piece
  TextPieces(const char* text) : before_(text) {}  // NOLINT(google-explicit-constructor): likewise
  TextPieces(std::string before, TextBuffer middle, std::string after)
      : before_(std::move(before)), middle_(std::move(middle)), after_(std::move(after)) {}

  [[nodiscard]] std::size_t Size() const { return before_.size() + middle_.Size() + after_.size(); }
  /// In order; some may be empty.
  [[nodiscard]] std::array<std::string_view, 3> Pieces() const { return {before_, middle_.View(), after_}; }
  [[nodiscard]] std::string Joined() const {
    std::string text;
    text.reserve(Size());
    for (const std::string_view piece : Pieces()) text += piece;
    return text;
  }

 private:
  std::string before_;
  TextBuffer middle_;
  std::string after_;
};

}  // namespace ods
