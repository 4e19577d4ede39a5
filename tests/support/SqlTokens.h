// A statement cut into what stands inside literals and quoted names, and what stands outside of them: only the server
// itself may write the latter.
#pragma once

#include <algorithm>
#include <array>
#include <cctype>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace ods::test {

/// Reads a statement of a product whose literals know no backslash. `quote` and `closingQuote` are its identifier
/// quotes.
class SqlTokens {
 public:
  /// `moreWords` are what the server writes besides the words of its paging statements.
  SqlTokens(std::string_view sql, char quote, char closingQuote, std::span<const std::string_view> moreWords = {})
      : sql_(sql), quote_(quote), closing_(closingQuote), moreWords_(moreWords) {}

  /// The first text outside literals and quoted names that the server does not write by itself; nothing when the
  /// statement is in order.
  std::optional<std::string> FirstForeignText() {
    while (at_ < sql_.size()) {
      const std::size_t begin = at_;
      if (!TakeToken()) return std::string(sql_.substr(begin, 60));
    }
    return std::nullopt;
  }

 private:
  static bool IsWordPart(char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_'; }
  [[nodiscard]] bool IsOwnWord(std::string_view word) const {
    constexpr auto kOwn = std::to_array<std::string_view>(
        {"SELECT", "TOP",   "FROM", "WHERE", "AND",   "OR",     "ORDER", "BY", "DESC", "LIMIT", "LIKE",         "AS",
         "UPPER",  "UCASE", "CAST", "RTRIM", "LTRIM", "BINARY", "d",     "t",  "ts",   "pred",  "SetFlowFilter"});
    return std::ranges::find(kOwn, word) != kOwn.end() || std::ranges::find(moreWords_, word) != moreWords_.end();
  }
  /// A number, or hexadecimal digits behind 0x.
  static bool IsNumber(std::string_view word) {
    const bool isHex = word.starts_with("0x");
    const auto digits = isHex ? word.substr(2) : word;
    return std::isdigit(static_cast<unsigned char>(word.front())) != 0 && std::ranges::all_of(digits, [&](char c) {
             return isHex ? std::isxdigit(static_cast<unsigned char>(c)) != 0
                          : std::isdigit(static_cast<unsigned char>(c)) != 0 || c == 'E' || c == 'e';
           });
  }

  bool TakeToken() {
    const char c = sql_[at_];
    if (c == '\'') return TakeQuoted('\'');
    if (c == quote_) return TakeQuoted(closing_);
    if (IsWordPart(c)) {
      const std::size_t begin = at_;
      while (at_ < sql_.size() && IsWordPart(sql_[at_])) ++at_;
      const std::string_view word = sql_.substr(begin, at_ - begin);
      return IsOwnWord(word) || IsNumber(word);
    }
    // A minus belongs to a number; two of them would begin a comment. "/" and "#", which begin others, are never
    // written.
    const char next = at_ + 1 < sql_.size() ? sql_[at_ + 1] : '\0';
    ++at_;
    if (c == '-') return std::isdigit(static_cast<unsigned char>(next)) != 0;
    return std::string_view(" ,()=<>{}*.+").find(c) != std::string_view::npos;
  }

  /// Through the closing quote; a doubled one stands for itself. False when there is none.
  bool TakeQuoted(char closing) {
    for (++at_; at_ < sql_.size(); ++at_) {
      if (sql_[at_] != closing) continue;
      if (at_ + 1 >= sql_.size() || sql_[at_ + 1] != closing) {
        ++at_;
        return true;
      }
      ++at_;
    }
    return false;
  }

  std::string_view sql_;
  char quote_;
  char closing_;
  std::span<const std::string_view> moreWords_;
  std::size_t at_ = 0;
};

}  // namespace ods::test
