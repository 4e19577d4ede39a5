// The check that comes before the parser, which is more lenient than XML 1.0: one pass over the text, without recursion
// and in time linear in its length, whatever a client sends.
#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/Hex.h"
#include "common/Text.h"
#include "platform/xml/Characters.h"
#include "platform/xml/Xml.h"

namespace ods {

namespace {

constexpr std::size_t kGreatestDepth = 256;
constexpr std::size_t kMostAttributes = 256;
constexpr std::size_t kLongestName = 1000;
/// What becomes a node or an attribute of the loaded document takes 40 to 64 bytes there, however short it is written.
constexpr std::size_t kMostNodes = 1'000'000;
constexpr std::string_view kWhiteSpace = " \t\r\n";

class Checker {
 public:
  explicit Checker(std::string_view xml) : rest_(xml) {}

  /// The text begins with production 1, document, and ends with it.
  bool Document() {
    if (IsDeclaration() && !Declaration()) return false;
    while (!rest_.empty()) {
      if (!rest_.starts_with("</") && !Counted()) return false;
      if (!(rest_.front() == '<' ? Markup() : CharacterData())) return false;
    }
    return hasRoot_ && open_.empty();
  }

 private:
  /// One more node; false when it is one too many.
  bool Counted() { return ++nodes_ <= kMostNodes; }

  // ---- small steps: take what is expected, or say no ----

  bool Take(std::string_view expected) {
    if (!rest_.starts_with(expected)) return false;
    rest_.remove_prefix(expected.size());
    return true;
  }
  bool WhiteSpace() {
    const std::size_t length = std::min(rest_.find_first_not_of(kWhiteSpace), rest_.size());
    rest_.remove_prefix(length);
    return length > 0;
  }
  /// Takes a name; an empty one stands for none, or for one that is too long.
  std::string_view Name() {
    const std::size_t length = xml::NamePrefix(rest_.substr(0, kLongestName + 1));
    if (length > kLongestName) return {};
    const std::string_view name = rest_.substr(0, length);
    rest_.remove_prefix(name.size());
    return name;
  }
  bool Equals() {
    WhiteSpace();
    if (!Take("=")) return false;
    WhiteSpace();
    return true;
  }
  std::optional<std::string_view> Quoted() {
    if (rest_.empty() || (rest_.front() != '"' && rest_.front() != '\'')) return std::nullopt;
    const std::size_t end = rest_.find(rest_.front(), 1);
    if (end == std::string_view::npos) return std::nullopt;
    const std::string_view value = rest_.substr(1, end - 1);
    rest_.remove_prefix(end + 1);
    return value;
  }
  /// Takes everything up to and with `end`.
  bool Through(std::string_view end) {
    const std::size_t hit = rest_.find(end);
    if (hit == std::string_view::npos) return false;
    rest_.remove_prefix(hit + end.size());
    return true;
  }

  // ---- the declaration ----

  [[nodiscard]] bool IsDeclaration() const {
    return rest_.starts_with("<?xml") && rest_.size() > 5 && kWhiteSpace.find(rest_[5]) != std::string_view::npos;
  }
  /// The value of a pseudo attribute; nothing, and nothing taken, when another comes.
  std::optional<std::string_view> Pseudo(std::string_view name) {
    const std::string_view before = rest_;
    if (WhiteSpace() && Take(name) && Equals()) {
      if (const auto value = Quoted()) return value;
    }
    rest_ = before;
    return std::nullopt;
  }
  bool Declaration() {
    rest_.remove_prefix(5);
    const auto version = Pseudo("version");
    if (!version || !version->starts_with("1.") || version->size() < 3 ||
        version->find_first_not_of("0123456789", 2) != std::string_view::npos) {
      return false;
    }
    if (const auto encoding = Pseudo("encoding")) {
      const std::string name = ToUpper(*encoding);
      if (name != "UTF-8" && !(name == "US-ASCII" && AsciiPrefix(rest_) == rest_.size())) return false;
    }
    if (const auto standalone = Pseudo("standalone")) {
      if (*standalone != "yes" && *standalone != "no") return false;
    }
    WhiteSpace();
    return Take("?>");
  }

  // ---- content ----

  bool Markup() {
    if (Take("</")) return EndTag();
    if (Take("<!--")) return Through("--") && Take(">");
    if (Take("<![CDATA[")) return !open_.empty() && Through("]]>");
    if (Take("<?")) return Instruction();
    // "<!", and so every document type declaration, fails here: "!" begins no name.
    return Take("<") && StartTag();
  }

  bool Instruction() {
    const std::string_view target = Name();
    if (target.empty() || ToLower(target) == "xml") return false;
    return Take("?>") || (WhiteSpace() && Through("?>"));
  }

  bool CharacterData() {
    const std::string_view text = rest_.substr(0, rest_.find('<'));
    rest_.remove_prefix(text.size());
    if (open_.empty()) return text.find_first_not_of(kWhiteSpace) == std::string_view::npos;
    return text.find("]]>") == std::string_view::npos && ReferencesHold(text);
  }

  bool StartTag() {
    if (open_.empty() && hasRoot_) return false;
    const std::string_view name = Name();
    if (name.empty()) return false;
    hasRoot_ = true;
    attributes_.clear();
    for (;;) {
      const bool blank = WhiteSpace();
      if (Take("/>")) return open_.size() < kGreatestDepth && AttributesDiffer();
      if (Take(">")) break;
      if (!blank || !Attribute()) return false;
    }
    open_.push_back(name);
    return open_.size() <= kGreatestDepth && AttributesDiffer();
  }

  bool Attribute() {
    const std::string_view name = Name();
    if (name.empty() || attributes_.size() >= kMostAttributes || !Counted() || !Equals()) return false;
    attributes_.push_back(name);
    const auto value = Quoted();
    return value && value->find('<') == std::string_view::npos && ReferencesHold(*value);
  }

  bool AttributesDiffer() {
    std::sort(attributes_.begin(), attributes_.end());
    return std::adjacent_find(attributes_.begin(), attributes_.end()) == attributes_.end();
  }

  bool EndTag() {
    if (open_.empty() || Name() != open_.back()) return false;
    open_.pop_back();
    WhiteSpace();
    return Take(">");
  }

  // ---- references ----

  static bool ReferencesHold(std::string_view text) {
    for (std::size_t at = text.find('&'); at != std::string_view::npos; at = text.find('&', at + 1)) {
      if (!ReferenceHolds(text.substr(at + 1))) return false;
    }
    return true;
  }
  static bool ReferenceHolds(std::string_view text) {
    constexpr std::array<std::string_view, 5> kEntities{"lt;", "gt;", "amp;", "apos;", "quot;"};
    if (text.starts_with("#x")) return CharacterHolds(text.substr(2), 16);
    if (text.starts_with('#')) return CharacterHolds(text.substr(1), 10);
    return std::any_of(kEntities.begin(), kEntities.end(),
                       [&](std::string_view name) { return text.starts_with(name); });
  }
  static bool CharacterHolds(std::string_view digits, std::uint32_t base) {
    constexpr std::uint32_t kBeyond = 0x110000;
    std::uint32_t character = 0;
    std::size_t i = 0;
    for (; i < digits.size() && digits[i] != ';'; ++i) {
      const int value = HexDigitValue(digits[i]);
      if (value < 0 || static_cast<std::uint32_t>(value) >= base) return false;
      character = std::min(character * base + static_cast<std::uint32_t>(value), kBeyond);
    }
    return i > 0 && i < digits.size() && xml::IsChar(character);
  }

  std::string_view rest_;
  std::vector<std::string_view> open_;
  std::vector<std::string_view> attributes_;
  std::size_t nodes_ = 0;
  bool hasRoot_ = false;
};

}  // namespace

bool IsWellFormed(std::string_view xml) {
  const std::string_view text = WithoutByteOrderMark(xml);
  return IsXmlText(text) && Checker(text).Document();
}

}  // namespace ods
