#include "platform/ado/SqlLexer.h"

#include <algorithm>
#include <array>

namespace ods::odbc {

namespace {

using Kind = SqlToken::Kind;

enum class CharacterClass : std::uint8_t { kOther, kBlank, kQuote, kCommentStart, kWordStart, kDigit, kDollar };

/// The classes of all characters: most of a statement is looked at by them alone.
constexpr std::array<CharacterClass, 256> kClasses = [] {
  std::array<CharacterClass, 256> classes{};
  const auto set = [&](std::size_t first, std::size_t last, CharacterClass value) {
    for (std::size_t c = first; c <= last; ++c) classes[c] = value;
  };
  set(' ', ' ', CharacterClass::kBlank);
  set('\t', '\r', CharacterClass::kBlank);
  set('a', 'z', CharacterClass::kWordStart);
  set('A', 'Z', CharacterClass::kWordStart);
  set('_', '_', CharacterClass::kWordStart);
  set(0x80, 0xFF, CharacterClass::kWordStart);
  set('0', '9', CharacterClass::kDigit);
  set('$', '$', CharacterClass::kDollar);
  for (const std::size_t c : std::u8string_view(u8"'\"`[")) classes[c] = CharacterClass::kQuote;
  for (const std::size_t c : std::u8string_view(u8"-#/")) classes[c] = CharacterClass::kCommentStart;
  return classes;
}();

CharacterClass ClassOf(char c) { return kClasses[static_cast<unsigned char>(c)]; }
bool IsWordPart(char c) { return ClassOf(c) >= CharacterClass::kWordStart; }

}  // namespace

SqlToken SqlLexer::Next() {
  std::size_t begin = at_;
  while (begin < sql_.size() && ClassOf(sql_[begin]) == CharacterClass::kBlank) ++begin;
  at_ = begin;
  if (begin == sql_.size()) return {};
  const Kind kind = Pass();
  return {kind, sql_.substr(begin, at_ - begin)};
}

Kind SqlLexer::Pass() {
  const char c = sql_[at_];
  switch (ClassOf(c)) {
    case CharacterClass::kWordStart:
      return PassWord();
    case CharacterClass::kDigit:
      SkipWordParts();
      return Kind::kNumber;
    case CharacterClass::kDollar:
      if (lexis_ == SqlLexis::kPostgreSql) return PassDollarQuoted();
      break;
    case CharacterClass::kQuote:
      if (c == '\'' || nameQuotes_.find(c) != std::string_view::npos) return PassQuoted(c == '[' ? ']' : c);
      break;
    case CharacterClass::kCommentStart:
      if (AtLineComment()) return PassLineComment();
      if (c == '/' && Peek(1) == '*') return PassBlockComment();
      break;
    default:
      break;
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
  std::size_t end = at_;
  while (end < sql_.size() && IsWordPart(sql_[end])) ++end;
  at_ = end;
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
Kind SqlLexer::PassQuoted(char closing) {
  for (std::size_t end = sql_.find(closing, at_ + 1); end != std::string_view::npos;
       end = sql_.find(closing, end + 2)) {
    at_ = end;
    if (Peek(1) != closing) {
      ++at_;
      return Kind::kQuoted;
    }
  }
  return PassRest();
}

/// The literal of E'...', from its quote on.
Kind SqlLexer::PassEscaped() {
  for (++at_; at_ < sql_.size(); ++at_) {
    const bool quote = sql_[at_] == '\'';
    if (quote && Peek(1) != '\'') {
      ++at_;
      return Kind::kQuoted;
    }
    if (quote || sql_[at_] == '\\') ++at_;
  }
  return PassRest();
}

/// $$...$$ or $tag$...$tag$. A "$" that opens none is a symbol, with the tag that was none, so that no text is looked
/// at again.
Kind SqlLexer::PassDollarQuoted() {
  std::size_t tagEnd = at_ + 1;
  if (tagEnd < sql_.size() && ClassOf(sql_[tagEnd]) == CharacterClass::kWordStart) {
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
  if (isEscape && lexis_ == SqlLexis::kPostgreSql && Peek() == '\'') return PassEscaped();
  return Kind::kWord;
}

}  // namespace ods::odbc
