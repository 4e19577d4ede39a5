#include "platform/system/IniText.h"

#include <algorithm>
#include <set>
#include <utility>

#include "common/Text.h"

namespace ods {

namespace {

constexpr std::string_view kBlanks = " \t\v\f\r";
constexpr std::string_view kCommentMarks = "#;";

std::string_view WithoutBlanks(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool SameName(std::string_view left, std::string_view right) {
  return left.size() == right.size() && ToLower(left) == ToLower(right);
}

/// Reads a text line by line, and keeps what the last line changed.
class Reader {
 public:
  explicit Reader(std::string_view text) : text_(text) {}

  std::vector<IniSection> Read() {
    for (std::size_t begin = 0; begin < text_.size();) {
      const std::size_t end = std::min(text_.find('\n', begin), text_.size());
      if (!TakeLine(begin, end)) return {};
      begin = end + 1;
    }
    return std::move(sections_);
  }

 private:
  /// False when the driver manager takes the whole text for something else.
  bool TakeLine(std::size_t begin, std::size_t end) {
    std::string_view line = text_.substr(begin, end - begin);
    line = line.substr(0, line.find('\0'));  // what the driver manager sees of it
    const std::string_view content = WithoutBlanks(line);
    if (content.empty() || kCommentMarks.find(content.front()) != std::string_view::npos) return true;
    if (!begun_ && !line.starts_with('[')) return false;
    begun_ = true;
    if (content.front() == '[') {
      BeginSection(content.substr(1));
    } else if (inSection_) {
      AddEntry(content, begin, end);
    }
    if (inSection_) sections_.back().end = end;
    return true;
  }

  void BeginSection(std::string_view content) {
    const std::string_view name = WithoutBlanks(content.substr(0, content.find(']')));
    names_.clear();
    inSection_ = !name.empty() && sectionNames_.insert(ToLower(name)).second;
    if (inSection_) sections_.push_back({std::string(name), {}, 0});
  }

  void AddEntry(std::string_view content, std::size_t begin, std::size_t end) {
    const std::size_t equals = std::min(content.find('='), content.size());
    const std::string_view name = WithoutBlanks(content.substr(0, equals));
    if (name.empty() || !names_.insert(ToLower(name)).second) return;
    const std::string_view value = WithoutBlanks(content.substr(std::min(equals + 1, content.size())));
    sections_.back().entries.push_back({std::string(name), std::string(value), begin, end});
  }

  std::string_view text_;
  std::vector<IniSection> sections_;
  std::set<std::string> sectionNames_;
  std::set<std::string> names_;  ///< of the section at hand
  bool begun_ = false;
  bool inSection_ = false;  ///< false in a section that does not count
};

template <typename Items>
auto FindByName(const Items& items, std::string_view name) {
  const auto found =
      std::find_if(items.begin(), items.end(), [&](const auto& item) { return SameName(item.name, name); });
  return found == items.end() ? nullptr : &*found;
}

/// Where the line break of the line that reaches up to `end` begins: before the carriage return that it has perhaps.
std::size_t BeforeLineBreak(std::string_view text, std::size_t end) {
  return end > 0 && end < text.size() && text[end - 1] == '\r' ? end - 1 : end;
}

/// The line break that the text is written with.
std::string_view LineBreakOf(std::string_view text) {
  const std::size_t first = text.find('\n');
  return first != std::string_view::npos && first > 0 && text[first - 1] == '\r' ? "\r\n" : "\n";
}

bool IsOneLine(std::string_view text) {
  return text.find_first_of(std::string_view("\r\n\0", 3)) == std::string_view::npos;
}

/// `text` when it reads back as it was meant: the section is there, and in it the value when one is given.
std::optional<std::string> IfItReadsBack(std::string text, std::string_view section, const IniEntry* expected) {
  const std::vector<IniSection> sections = ParseIni(text);
  const IniSection* found = FindSection(sections, section);
  if (found == nullptr) return std::nullopt;
  if (expected != nullptr) {
    const IniEntry* entry = FindEntry(*found, expected->name);
    if (entry == nullptr || entry->value != expected->value) return std::nullopt;
  }
  return text;
}

}  // namespace

std::vector<IniSection> ParseIni(std::string_view text) { return Reader(text).Read(); }

const IniSection* FindSection(const std::vector<IniSection>& sections, std::string_view name) {
  return FindByName(sections, name);
}

const IniEntry* FindEntry(const IniSection& section, std::string_view name) {
  return FindByName(section.entries, name);
}

std::optional<std::string> WithIniValue(std::string_view text, std::string_view section, std::string_view name,
                                        std::string_view value) {
  if (!IsOneLine(name) || !IsOneLine(value)) return std::nullopt;
  const std::vector<IniSection> sections = ParseIni(text);
  const IniSection* found = FindSection(sections, section);
  if (found == nullptr) return std::nullopt;
  std::string changed(text);
  if (const IniEntry* entry = FindEntry(*found, name)) {
    const std::string_view line = text.substr(entry->lineBegin, entry->lineEnd - entry->lineBegin);
    const std::size_t equals = line.find('=');
    // The name as it stands there, and the blanks after "=", stay.
    const std::size_t keep = equals == std::string_view::npos
                                 ? std::string_view::npos
                                 : std::min(line.find_first_not_of(" \t", equals + 1), line.size());
    const std::string newLine = keep == std::string_view::npos ? entry->name + "=" : std::string(line.substr(0, keep));
    const std::size_t lineEnd = BeforeLineBreak(text, entry->lineEnd);
    changed.replace(entry->lineBegin, lineEnd - entry->lineBegin, newLine + std::string(value));
  } else {
    const std::string line = std::string(LineBreakOf(text)).append(name).append("=").append(value);
    changed.insert(BeforeLineBreak(text, found->end), line);
  }
  const IniEntry expected{std::string(name), std::string(WithoutBlanks(value)), 0, 0};
  return IfItReadsBack(std::move(changed), section, &expected);
}

std::optional<std::string> WithIniSection(std::string_view text, std::string_view section) {
  if (!IsOneLine(section)) return std::nullopt;
  if (FindSection(ParseIni(text), section) != nullptr) return std::string(text);
  const std::string_view lineBreak = LineBreakOf(text);
  std::string changed(text);
  if (!changed.empty() && !changed.ends_with('\n')) changed += lineBreak;
  if (!changed.empty()) changed += lineBreak;
  changed.append("[").append(section).append("]").append(lineBreak);
  return IfItReadsBack(std::move(changed), section, nullptr);
}

}  // namespace ods
