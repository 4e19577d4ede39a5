#include "common/Dictionary.h"

#include <algorithm>
#include <bit>
#include <limits>

#include "common/ComponentRegistry.h"
#include "common/Conversions.h"
#include "common/Error.h"
#include "common/Hex.h"
#include "common/Text.h"

namespace ods {

namespace {

constexpr std::int32_t kSubscriptOutOfRange = 9;

const Value& EmptyValue() {
  static const Value empty;
  return empty;
}

// ---- marshalled bytes ----
//
//   version   1 byte, kVersion
//   count     4 bytes
//   count times: key (text), type (1 byte), payload of the type
//
// Numbers stand with the lowest byte first, texts and bytes as a length of 4 bytes and their bytes. Payloads: none for
// empty and null; 4 bytes for a long; 8 bytes for a long long, a double (its IEEE 754 bits) and a currency; the text of
// a decimal; for a date 8 bytes of seconds since the zero date and 1 byte, its date-only flag; the text of a string;
// 1 byte, 0 or 1, for a Boolean; the bytes of bytes. Keys and texts are UTF-8, and no key comes twice.

constexpr std::uint8_t kVersion = 1;

enum class Type : std::uint8_t {
  kEmpty,
  kNull,
  kLong,
  kLongLong,
  kDouble,
  kCurrency,
  kDecimal,
  kDate,
  kString,
  kBoolean,
  kBytes,
};

class Writer {
 public:
  void Byte(std::uint8_t byte) { bytes_.push_back(byte); }
  template <typename Integer>
  void Number(Integer number) {
    auto bits = static_cast<std::make_unsigned_t<Integer>>(number);
    for (std::size_t i = 0; i < sizeof bits; ++i, bits >>= 8) Byte(static_cast<std::uint8_t>(bits));
  }
  void Size(std::size_t size) {
    if (size > std::numeric_limits<std::uint32_t>::max()) throw Error(error_number::kOverflow, "Overflow");
    Number(static_cast<std::uint32_t>(size));
  }
  template <typename Container>
  void Block(const Container& block) {
    Size(block.size());
    bytes_.insert(bytes_.end(), block.begin(), block.end());
  }
  void Item(const Value& value) {
    std::visit([this](const auto& held) { Put(held); }, value.Get());
  }
  [[nodiscard]] Bytes Take() { return std::move(bytes_); }

 private:
  Writer& Tag(Type type) {
    Byte(static_cast<std::uint8_t>(type));
    return *this;
  }
  void Put(std::monostate /*empty*/) { Tag(Type::kEmpty); }
  void Put(Null /*null*/) { Tag(Type::kNull); }
  void Put(std::int32_t number) { Tag(Type::kLong).Number(number); }
  void Put(std::int64_t number) { Tag(Type::kLongLong).Number(number); }
  void Put(double number) { Tag(Type::kDouble).Number(std::bit_cast<std::uint64_t>(number)); }
  void Put(const Currency& amount) { Tag(Type::kCurrency).Number(amount.tenThousandths); }
  void Put(const Decimal& decimal) { Tag(Type::kDecimal).Block(decimal.digits); }
  void Put(const Date& date) {
    Tag(Type::kDate).Number(date.seconds);
    Byte(date.dateOnly ? 1 : 0);
  }
  void Put(const std::string& text) { Tag(Type::kString).Block(text); }
  void Put(bool flag) { Tag(Type::kBoolean).Byte(flag ? 1 : 0); }
  void Put(const Bytes& bytes) { Tag(Type::kBytes).Block(bytes); }
  [[noreturn]] void Put(const std::shared_ptr<Object>& /*object*/) {
    throw Error(error_number::kTypeMismatch, "Type mismatch: an object cannot be marshalled");
  }

  Bytes bytes_;
};

bool IsDecimalText(std::string_view text) {
  constexpr std::string_view kDigits = "0123456789";
  if (text.starts_with('-')) text.remove_prefix(1);
  const std::size_t point = std::min(text.find('.'), text.size());
  const auto isDigits = [&](std::string_view part) {
    return !part.empty() && part.find_first_not_of(kDigits) == std::string_view::npos;
  };
  return isDigits(text.substr(0, point)) && (point == text.size() || isDigits(text.substr(point + 1)));
}

// Reads marshalled bytes; every step checks that the bytes are there, and says where they are wrong.
class Reader {
 public:
  explicit Reader(const Bytes& bytes) : bytes_(&bytes) {}

  [[nodiscard]] std::size_t Left() const { return bytes_->size() - position_; }
  void StartEntry(std::size_t number) { where_ = "entry " + std::to_string(number); }

  [[noreturn]] void Fail(const std::string& what) const {
    throw Error(error_number::kOwn, "Error reading marshalled dictionary, " + where_ + ": " + what);
  }
  std::uint8_t Byte() { return *Take(1); }
  template <typename Integer>
  Integer Number() {
    using Bits = std::make_unsigned_t<Integer>;
    const std::uint8_t* bytes = Take(sizeof(Integer));
    Bits bits = 0;
    for (std::size_t i = sizeof(Integer); i-- > 0;) bits = static_cast<Bits>(bits << 8 | bytes[i]);
    return static_cast<Integer>(bits);
  }
  template <typename Container>
  Container Block() {
    const auto size = Number<std::uint32_t>();
    const std::uint8_t* bytes = Take(size);
    return Container(bytes, bytes + size);
  }
  std::string Text(const char* what) {
    auto text = Block<std::string>();
    if (!IsValidUtf8(text)) Fail(std::string(what) + " is not valid UTF-8");
    return text;
  }
  Value Item() {
    const std::uint8_t type = Byte();
    switch (static_cast<Type>(type)) {
      case Type::kEmpty:
        return {};
      case Type::kNull:
        return Null{};
      case Type::kLong:
        return Number<std::int32_t>();
      case Type::kLongLong:
        return Number<std::int64_t>();
      case Type::kDouble:
        return std::bit_cast<double>(Number<std::uint64_t>());
      case Type::kCurrency:
        return Currency{Number<std::int64_t>()};
      case Type::kDecimal:
        return DecimalItem();
      case Type::kDate:
        return DateItem();
      case Type::kString:
        return Text("the text");
      case Type::kBoolean:
        return Flag();
      case Type::kBytes:
        return Block<Bytes>();
    }
    Fail("unknown type " + std::to_string(type));
  }

 private:
  const std::uint8_t* Take(std::size_t count) {
    if (count > Left()) {
      Fail(std::to_string(count) + " bytes are wanted where " + std::to_string(Left()) + " are left");
    }
    const std::uint8_t* taken = bytes_->data() + position_;
    position_ += count;
    return taken;
  }
  bool Flag() {
    const std::uint8_t flag = Byte();
    if (flag > 1) Fail("a Boolean is neither 0 nor 1");
    return flag == 1;
  }
  Decimal DecimalItem() {
    Decimal decimal{Block<std::string>()};
    if (!IsDecimalText(decimal.digits)) Fail("the decimal is no number");
    return decimal;
  }
  Date DateItem() {
    Date date{Number<std::int64_t>(), false};
    date.dateOnly = Flag();
    if (!date.IsInRange()) Fail("the date is out of range");
    return date;
  }

  const Bytes* bytes_;
  std::size_t position_ = 0;
  std::string where_ = "header";
};

// ---- sorting ----

// The order of values of different kinds; within a kind numbers compare as numbers, texts by their bytes.
enum class Rank { kNull, kNumber, kText, kOther };

struct SortKey {
  Rank rank = Rank::kOther;
  long double number = 0;  // holds every 64-bit integer and every double exactly where it has a mantissa of 64 bits
  std::string text;

  friend bool operator<(const SortKey& left, const SortKey& right) {
    if (left.rank != right.rank) return left.rank < right.rank;
    if (left.rank == Rank::kNumber) return left.number < right.number;
    return left.text < right.text;
  }
};

SortKey SortKeyOf(const Value& value, bool caseInsensitive) {
  if (value.IsNull()) return {Rank::kNull, 0, {}};
  if (value.Is<Bytes>() || value.Is<std::shared_ptr<Object>>()) return {};
  if (const auto* text = value.GetIf<std::string>()) return {Rank::kText, 0, caseInsensitive ? ToUpper(*text) : *text};
  if (const auto* number = value.GetIf<std::int64_t>()) return {Rank::kNumber, static_cast<long double>(*number), {}};
  if (const auto* amount = value.GetIf<Currency>()) {
    return {Rank::kNumber, static_cast<long double>(amount->tenThousandths) / 10000, {}};
  }
  return {Rank::kNumber, SafeDbl(value), {}};
}

bool IsSortable(const std::string& typeName) {
  return typeName == "Dictionary" || typeName == "ITarnwellDictionary" || typeName == "IDictionary" ||
         typeName == "IHalvikDictionary";
}

}  // namespace

// ---- Dictionary ----

std::vector<std::string> Dictionary::Keys() const {
  std::vector<std::string> keys;
  keys.reserve(Count());
  for (const auto& [key, item] : Entries()) keys.push_back(key);
  return keys;
}

std::vector<Value> Dictionary::Items() const {
  std::vector<Value> items;
  items.reserve(Count());
  for (const auto& [key, item] : Entries()) items.push_back(item);
  return items;
}

const Value& Dictionary::Item(std::string_view key) const {
  const auto found = index_.find(key);
  return found == index_.end() ? EmptyValue() : entries_[found->second].second;
}

void Dictionary::Set(std::string_view key, Value value) {
  if (const auto found = index_.find(key); found != index_.end()) {
    entries_[found->second].second = std::move(value);
    return;
  }
  if (entries_.size() > 2 * Count() + 16) CloseGaps();
  entries_.emplace_back(key, std::move(value));
  index_.emplace(key, entries_.size() - 1);
}

void Dictionary::Remove(std::string_view key) {
  const auto found = index_.find(key);
  if (found == index_.end()) return;
  entries_[found->second].second = Value();  // the item goes now, its place later
  index_.erase(found);
}

void Dictionary::Clear() {
  entries_.clear();
  index_.clear();
}

bool Dictionary::Exists(std::string_view key) const { return index_.find(key) != index_.end(); }

const std::string& Dictionary::Name(std::size_t index) const {
  if (index < 1 || index > Count()) throw Error(kSubscriptOutOfRange, "Subscript out of range");
  return Entries()[index - 1].first;
}

const Value& Dictionary::Item(std::size_t index) const {
  if (index < 1 || index > Count()) throw Error(kSubscriptOutOfRange, "Subscript out of range");
  return Entries()[index - 1].second;
}

const std::vector<Dictionary::Entry>& Dictionary::Entries() const {
  if (entries_.size() != index_.size()) CloseGaps();
  return entries_;
}

void Dictionary::CloseGaps() const {
  std::size_t alive = 0;
  for (std::size_t i = 0; i < entries_.size(); ++i) {
    const auto found = index_.find(entries_[i].first);
    if (found == index_.end() || found->second != i) continue;
    found->second = alive;
    if (alive != i) entries_[alive] = std::move(entries_[i]);
    ++alive;
  }
  entries_.resize(alive);
}

Bytes Dictionary::marshalldictionary() const {
  Writer writer;
  writer.Byte(kVersion);
  writer.Size(Count());
  for (const auto& [key, item] : Entries()) {
    writer.Block(key);
    writer.Item(item);
  }
  return writer.Take();
}

void Dictionary::unmarshalldictionary(const Bytes& bytes) {
  constexpr std::size_t kSmallestEntry = sizeof(std::uint32_t) + 1;
  Reader reader(bytes);
  const std::uint8_t version = reader.Byte();
  if (version != kVersion) reader.Fail("unknown version " + std::to_string(version));
  const auto count = reader.Number<std::uint32_t>();
  if (count > reader.Left() / kSmallestEntry) reader.Fail(std::to_string(count) + " entries cannot fit");

  std::vector<Entry> entries;
  Index index;
  entries.reserve(count);
  while (entries.size() < count) {
    reader.StartEntry(entries.size() + 1);
    std::string key = reader.Text("the key");
    if (!index.emplace(key, entries.size()).second) reader.Fail("the key '" + key + "' comes twice");
    Value item = reader.Item();
    entries.emplace_back(std::move(key), std::move(item));
  }
  if (reader.Left() > 0) reader.Fail(std::to_string(reader.Left()) + " bytes follow the last entry");
  entries_ = std::move(entries);
  index_ = std::move(index);
}

// ---- operations on dictionaries ----

std::shared_ptr<Dictionary> CreateHalvikDictionary(const ComponentRegistry& components) {
  return CreateObjectChecked<Dictionary>(components, "Halvik.Dictionary");
}

std::shared_ptr<KeyedCollection> CreateTarnwellDictionary(const ComponentRegistry& components) {
  return CreateObjectChecked<KeyedCollection>(components, "Tarnwell.Dictionary");
}

bool IsHalvikDictionary(const Object* object) { return object != nullptr && object->TypeName() == "IHalvikDictionary"; }

std::shared_ptr<Dictionary> UnmarshalDictionary(const ComponentRegistry& components, std::string_view text) {
  if (text.empty()) return nullptr;
  auto dictionary = CreateHalvikDictionary(components);
  dictionary->unmarshalldictionary(HexToBytes(text));
  return dictionary;
}

void SortDictionary(KeyedCollection& dictionary, const std::optional<std::string>& path, bool caseInsensitive) {
  if (dictionary.Count() < 2) return;
  const std::string typeName = dictionary.TypeName();
  if (!IsSortable(typeName)) throw Error(error_number::kOwn, "Unable to sort dictionary of type " + typeName);

  struct Pair {
    SortKey sortKey;
    std::string key;
    Value item;
  };
  std::vector<Value> pathKeys;
  if (path && !path->empty()) {
    for (std::string& key : Split(*path, ".")) pathKeys.emplace_back(std::move(key));
  }
  std::vector<std::string> keys = dictionary.Keys();
  std::vector<Value> items = dictionary.Items();
  std::vector<Pair> pairs;
  pairs.reserve(keys.size());
  for (std::size_t i = 0; i < keys.size(); ++i) {
    // Without a path the key decides, with the empty one the item: `GetValueByPath` gives it back for no keys.
    SortKey sortKey = SortKeyOf(path ? GetValueByPath(items[i], pathKeys) : Value(keys[i]), caseInsensitive);
    pairs.push_back({std::move(sortKey), std::move(keys[i]), std::move(items[i])});
  }
  // A merge sort: n log n comparisons and a shallow stack whatever the entries are.
  std::stable_sort(pairs.begin(), pairs.end(),
                   [](const Pair& left, const Pair& right) { return left.sortKey < right.sortKey; });
  for (Pair& pair : pairs) {
    dictionary.Remove(pair.key);
    dictionary.Set(pair.key, std::move(pair.item));
  }
}

Value GetValueByPath(const Value& value, const std::vector<Value>& keys) {
  Value current = value;
  for (const Value& key : keys) {
    const auto* object = current.GetIf<std::shared_ptr<Object>>();
    const auto collection = object != nullptr ? std::dynamic_pointer_cast<KeyedCollection>(*object) : nullptr;
    if (!collection) return {};
    current = collection->Item(SafeStr(key));
    if (current.IsEmpty()) break;
  }
  return current;
}

}  // namespace ods
