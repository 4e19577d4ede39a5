#include "tabledata/ExactPosition.h"

#include <charconv>
#include <system_error>

#include "common/Error.h"
#include "common/Hex.h"

namespace ods {
namespace {

// "<table>,<order>,f|b,<count>," and for each value its kind, the number of its bytes, ":" and the bytes. Numbers are
// decimal.
constexpr char kSeparator = ',';
constexpr char kLengthEnd = ':';
constexpr std::string_view kKinds = "NDTB";  // in the order of ExactValue::Kind

[[noreturn]] void RaiseDamaged() {
  throw Error(error_number::kTypeMismatch, "Type mismatch: the position is damaged.");
}

/// Takes a position apart from the front to the back.
class Reader {
 public:
  explicit Reader(std::string_view text) : text_(text) {}

  template <typename Number>
  [[nodiscard]] Number TakeNumber(char end) {
    Number number = 0;
    const auto [stop, error] = std::from_chars(text_.data(), text_.data() + text_.size(), number);
    if (error != std::errc()) RaiseDamaged();
    text_.remove_prefix(static_cast<std::size_t>(stop - text_.data()));
    if (TakeCharacter() != end) RaiseDamaged();
    return number;
  }
  [[nodiscard]] char TakeCharacter() {
    if (text_.empty()) RaiseDamaged();
    const char c = text_.front();
    text_.remove_prefix(1);
    return c;
  }
  [[nodiscard]] std::string TakeBytes(std::size_t length) {
    if (length > text_.size()) RaiseDamaged();
    std::string bytes(text_.substr(0, length));
    text_.remove_prefix(length);
    return bytes;
  }
  [[nodiscard]] bool AtEnd() const { return text_.empty(); }

 private:
  std::string_view text_;
};

ExactValue TakeValue(Reader& reader) {
  const std::size_t kind = kKinds.find(reader.TakeCharacter());
  if (kind == std::string_view::npos) RaiseDamaged();
  ExactValue value;
  value.kind = static_cast<ExactValue::Kind>(kind);
  value.text = reader.TakeBytes(reader.TakeNumber<std::size_t>(kLengthEnd));
  if (value.IsNull() && !value.text.empty()) RaiseDamaged();
  return value;
}

}  // namespace

std::string PositionText(const ExactPosition& position) {
  std::string text = std::to_string(position.table) + kSeparator + std::to_string(position.order) + kSeparator;
  text += position.from == CountedFrom::kFront ? 'f' : 'b';
  text += kSeparator + std::to_string(position.count) + kSeparator;
  for (const ExactValue& value : position.values) {
    text += kKinds[static_cast<std::size_t>(value.kind)] + std::to_string(value.text.size()) + kLengthEnd + value.text;
  }
  return std::string(kExactPositionMark) + BytesToHex(Bytes(text.begin(), text.end()));
}

ExactPosition ParsePosition(std::string_view text) {
  if (!text.starts_with(kExactPositionMark)) {
    throw Error(error_number::kTypeMismatch,
                "Type mismatch: the position was not made with exact paging, which this server uses.");
  }
  const Bytes bytes = HexToBytes(text.substr(kExactPositionMark.size()));
  Reader reader({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  ExactPosition position;
  position.table = reader.TakeNumber<std::uint64_t>(kSeparator);
  position.order = reader.TakeNumber<std::uint64_t>(kSeparator);
  const char from = reader.TakeCharacter();
  if ((from != 'f' && from != 'b') || reader.TakeCharacter() != kSeparator) RaiseDamaged();
  position.from = from == 'f' ? CountedFrom::kFront : CountedFrom::kBack;
  position.count = reader.TakeNumber<std::uint32_t>(kSeparator);
  if (position.count == 0) RaiseDamaged();
  while (!reader.AtEnd()) position.values.push_back(TakeValue(reader));
  return position;
}

}  // namespace ods
