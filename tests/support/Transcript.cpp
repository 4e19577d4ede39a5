#include "support/Transcript.h"

#include <array>
#include <cstddef>
#include <stdexcept>

namespace ods::test {
namespace {

constexpr std::string_view kTitle = "=== ";
constexpr std::string_view kNoLineEnd = "\\ no line end";

/// The sections of an exchange, in their order.
struct Section {
  std::string_view line;
  std::string Exchange::*content;
};
constexpr std::array<Section, 3> kSections{{{"--- request", &Exchange::request},
                                            {"--- statements", &Exchange::statements},
                                            {"--- response", &Exchange::response}}};

/// True for a line that may not stand in a content as it is.
bool NeedsBackslash(std::string_view line) {
  return line.starts_with("===") || line.starts_with("---") || line.starts_with('\\');
}

std::string NumberOf(std::size_t index) {
  const std::string digits = std::to_string(index + 1);
  return digits.size() < 2 ? "0" + digits : digits;
}

void AppendContent(std::string_view content, std::string& text) {
  while (!content.empty()) {
    const std::size_t end = content.find('\n');
    const std::string_view line = content.substr(0, end);
    if (NeedsBackslash(line)) text += '\\';
    text += line;
    text += '\n';
    if (end == std::string_view::npos) {
      text += kNoLineEnd;
      text += '\n';
      return;
    }
    content.remove_prefix(end + 1);
  }
}

/// Walks through the lines of a transcript.
class Reader {
 public:
  explicit Reader(std::string_view text) : rest_(text) {}

  [[nodiscard]] bool AtEnd() const { return rest_.empty(); }
  /// The next line without its line end, which every line has.
  [[nodiscard]] std::string_view Next() const { return rest_.substr(0, rest_.find('\n')); }
  std::string_view Take() {
    ++number_;
    const std::size_t end = rest_.find('\n');
    if (end == std::string_view::npos) Fail("has no line end");
    const std::string_view line = rest_.substr(0, end);
    rest_.remove_prefix(end + 1);
    return line;
  }
  void Take(std::string_view wanted) {
    if (Take() != wanted) Fail("is not \"" + std::string(wanted) + "\"");
  }
  [[noreturn]] void Fail(const std::string& what) const {
    throw std::runtime_error("Line " + std::to_string(number_) + " of the transcript " + what + ".");
  }

 private:
  std::string_view rest_;
  std::size_t number_ = 0;
};

/// Everything up to the next line of the transcript's own. `isLast`: a blank line before it is the transcript's too.
std::string ReadContent(Reader& reader, bool isLast) {
  std::string content;
  while (!reader.AtEnd() && !reader.Next().starts_with("---") && !reader.Next().starts_with("===")) {
    std::string_view line = reader.Take();
    if (line == kNoLineEnd) {
      if (content.empty()) reader.Fail("has nothing before it");
      content.pop_back();
      continue;
    }
    if (line.starts_with('\\')) line.remove_prefix(1);
    content += line;
    content += '\n';
  }
  if (isLast && !reader.AtEnd()) {
    if (!content.ends_with('\n')) reader.Fail("is not followed by a blank line");
    content.pop_back();
  }
  return content;
}

}  // namespace

std::string WriteTranscript(const std::vector<Exchange>& exchanges) {
  std::string text;
  for (std::size_t i = 0; i < exchanges.size(); ++i) {
    if (i > 0) text += '\n';
    text.append(kTitle).append(NumberOf(i)).append(" ").append(exchanges[i].title).append("\n");
    for (const auto& [line, content] : kSections) {
      text.append(line).append("\n");
      AppendContent(exchanges[i].*content, text);
    }
  }
  return text;
}

std::vector<Exchange> ReadTranscript(std::string_view text) {
  std::vector<Exchange> exchanges;
  Reader reader(text);
  while (!reader.AtEnd()) {
    const std::string before = std::string(kTitle) + NumberOf(exchanges.size()) + " ";
    const std::string_view title = reader.Take();
    if (!title.starts_with(before)) reader.Fail("does not begin with \"" + before + "\"");
    Exchange& exchange = exchanges.emplace_back();
    exchange.title = title.substr(before.size());
    for (const auto& [line, content] : kSections) {
      reader.Take(line);
      exchange.*content = ReadContent(reader, line == kSections.back().line);
    }
  }
  return exchanges;
}

}  // namespace ods::test
