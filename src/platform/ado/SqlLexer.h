// Takes the text of a statement apart, as far as it must be known where a literal, a quoted name or a comment ends.
//
// Internal to this folder.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace ods::odbc {

/// The peculiarities of a product's SQL that decide where a literal or a comment ends.
enum class SqlLexis : std::uint8_t {
  kStandard,
  kPostgreSql,  ///< comments nest, E'...' has backslash escapes, and $tag$...$tag$ is a literal
  kMariaDb,     ///< "#" begins a comment, "--" only before a blank, and what stands in /*! */ is run
};

/// A piece of a statement.
struct SqlToken {
  enum class Kind : std::uint8_t {
    kEnd,  ///< nothing is left
    kWord,
    kNumber,  ///< all letters and digits from a digit on
    kQuoted,  ///< a literal or a quoted name
    kSymbol,
    kLineComment,
    kBlockComment,
    kExecutedComment,  ///< a comment to other products only
    kUnterminated,     ///< a literal, name or comment that does not end: the rest of the statement
  };
  Kind kind = Kind::kEnd;
  std::string_view text;  ///< where it stands in the statement

  [[nodiscard]] bool IsSymbol(char c) const { return kind == Kind::kSymbol && text.front() == c; }
};

/// Gives the tokens of a statement one after the other; blanks between them are none. Looks at every byte once.
class SqlLexer {
 public:
  /// @param sql        must outlive the lexer and its tokens
  /// @param nameQuotes characters that open a quoted name, of ", ` and [
  SqlLexer(std::string_view sql, SqlLexis lexis, std::string_view nameQuotes)
      : sql_(sql), lexis_(lexis), nameQuotes_(nameQuotes) {}

  [[nodiscard]] SqlToken Next();

 private:
  /// The character `ahead` of the current one; a null behind the end.
  [[nodiscard]] char Peek(std::size_t ahead = 0) const { return at_ + ahead < sql_.size() ? sql_[at_ + ahead] : '\0'; }
  [[nodiscard]] bool AtLineComment() const;
  void SkipWordParts();
  // Each goes behind the token that begins here, and tells what it is.
  [[nodiscard]] SqlToken::Kind Pass();
  [[nodiscard]] SqlToken::Kind PassLineComment();
  [[nodiscard]] SqlToken::Kind PassBlockComment();
  [[nodiscard]] SqlToken::Kind PassQuoted(char closing);
  [[nodiscard]] SqlToken::Kind PassEscaped();
  [[nodiscard]] SqlToken::Kind PassDollarQuoted();
  [[nodiscard]] SqlToken::Kind PassWord();
  [[nodiscard]] SqlToken::Kind PassRest();

  std::string_view sql_;
  SqlLexis lexis_;
  std::string_view nameQuotes_;
  std::size_t at_ = 0;
};

}  // namespace ods::odbc
