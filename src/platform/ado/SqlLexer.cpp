#include "platform/ado/SqlLexer.h"

#include <algorithm>

namespace ods::odbc {

namespace {

using Kind = SqlToken::Kind;

bool IsBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsWordStart(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || static_cast<unsigned char>(c) >= 0x80;
}
bool IsWordPart(char c) { return IsWordStart(c) || IsDigit(c) || c == '$'; }

}  // namespace

SqlToken SqlLexer::Next() {
  while (at_ < sql_.size() && IsBlank(sql_[at_])) ++at_;
  if (at_ == sql_.size()) return {};
  const std::size_t begin = at_;
  const Kind kind = Pass();
  return {kind, sql_.substr(begin, at_ - begin)};
}

Kind SqlLexer::Pass() {
  const char c = sql_[at_];
  if (AtLineComment()) return PassLineComment();
  if (c == '/' && Peek(1) == '*') return PassBlockComment();
  if (c == '\'') return PassQuoted('\'', false);
  if (nameQuotes_.find(c) != std::string_view::npos) return PassQuoted(c == '[' ? ']' : c, false);
  if (c == '$' && lexis_ == SqlLexis::kPostgreSql) return PassDollarQuoted();
  if (IsWordStart(c)) return PassWord();
  if (IsDigit(c)) {
    SkipWordParts();
    return Kind::kNumber;
  }
  ++at_;
  return Kind::kSymbol;
}

bool SqlLexer::AtLineComment() const {
  const char c = Peek();
  const bool dashes = c == '-' && Peek(1) == '-';
  if (lexis_ != SqlLexis::kMariaDb) return dashes;
  return c == '#' || (dashes && static_cast<unsigned char>(Peek(2)) <= ' ');
}

void SqlLexer::SkipWordParts() {
  while (at_ < sql_.size() && IsWordPart(sql_[at_])) ++at_;
}

Kind SqlLexer::PassRest() {
  at_ = sql_.size();
  return Kind::kUnterminated;
}

Kind SqlLexer::PassLineComment() {
  at_ = std::min(sql_.find_first_of(lexis_ == SqlLexis::kPostgreSql ? "\r\n" : "\n", at_), sql_.size());
  return Kind::kLineComment;
}

Kind SqlLexer::PassBlockComment() {
  const bool executed = lexis_ == SqlLexis::kMariaDb && (Peek(2) == '!' || Peek(2) == 'M');
  const bool nests = lexis_ == SqlLexis::kPostgreSql;
  at_ += 2;
  for (std::size_t open = 1; at_ < sql_.size();) {
    if (nests && Peek() == '/' && Peek(1) == '*') {
      ++open;
      at_ += 2;
    } else if (Peek() == '*' && Peek(1) == '/') {
      at_ += 2;
      if (--open == 0) return executed ? Kind::kExecutedComment : Kind::kBlockComment;
    } else {
      ++at_;
    }
  }
  return PassRest();
}

/// A doubled closing quote stands for itself.
Kind SqlLexer::PassQuoted(char closing, bool backslashEscapes) {
  for (++at_; at_ < sql_.size(); ++at_) {
    const char c = sql_[at_];
    if (c == '\\' && backslashEscapes) {
      ++at_;
    } else if (c == closing && Peek(1) != closing) {
      ++at_;
      return Kind::kQuoted;
    } else if (c == closing) {
      ++at_;
    }
  }
  return PassRest();
}

/// $$...$$ or $tag$...$tag$. A "$" that opens none is a symbol, with the tag that was none, so that no text is looked
/// at again.
Kind SqlLexer::PassDollarQuoted() {
  std::size_t tagEnd = at_ + 1;
  if (tagEnd < sql_.size() && IsWordStart(sql_[tagEnd])) {
    while (tagEnd < sql_.size() && IsWordPart(sql_[tagEnd]) && sql_[tagEnd] != '$') ++tagEnd;
  }
  if (tagEnd == sql_.size() || sql_[tagEnd] != '$') {
    at_ = tagEnd;
    return Kind::kSymbol;
  }
  const std::string_view tag = sql_.substr(at_, tagEnd + 1 - at_);
  const std::size_t closing = sql_.find(tag, tagEnd + 1);
  if (closing == std::string_view::npos) return PassRest();
  at_ = closing + tag.size();
  return Kind::kQuoted;
}

Kind SqlLexer::PassWord() {
  const std::size_t begin = at_;
  SkipWordParts();
  const bool isEscape = at_ == begin + 1 && (sql_[begin] == 'E' || sql_[begin] == 'e');
  if (isEscape && lexis_ == SqlLexis::kPostgreSql && Peek() == '\'') return PassQuoted('\'', true);
  return Kind::kWord;
}

}  // namespace ods::odbc
