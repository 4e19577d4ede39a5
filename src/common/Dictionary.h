// Insertion-ordered dictionaries from text keys to values, their marshalled bytes, and what runs over any kind of them.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "common/Object.h"
#include "common/Value.h"

namespace ods {

/// What every kind of dictionary offers. Keys compare exactly, case kept; enumeration is in insertion order.
class KeyedCollection : public Object {
 public:
  [[nodiscard]] virtual std::size_t Count() const = 0;
  /// The keys and the items, each in insertion order.
  [[nodiscard]] virtual std::vector<std::string> Keys() const = 0;
  [[nodiscard]] virtual std::vector<Value> Items() const = 0;
  /// The item of a key; an empty value when the key is absent.
  [[nodiscard]] virtual const Value& Item(std::string_view key) const = 0;
  /// Sets the item of a key; a new key goes to the end, an existing one keeps its place.
  virtual void Set(std::string_view key, Value value) = 0;
  /// Removes a key; an absent one is left alone.
  virtual void Remove(std::string_view key) = 0;
};

/// The ordered dictionary. `TypeName` is "IHalvikDictionary". A reference that it hands out holds until the next call
/// that changes it, or, after a `Remove`, until the next that enumerates it.
class Dictionary : public KeyedCollection {
 public:
  using Entry = std::pair<std::string, Value>;

  [[nodiscard]] std::string TypeName() const override { return "IHalvikDictionary"; }
  [[nodiscard]] std::size_t Count() const override { return index_.size(); }
  [[nodiscard]] std::vector<std::string> Keys() const override;
  [[nodiscard]] std::vector<Value> Items() const override;
  [[nodiscard]] const Value& Item(std::string_view key) const override;
  void Set(std::string_view key, Value value) override;
  void Remove(std::string_view key) override;
  void Clear();

  [[nodiscard]] bool Exists(std::string_view key) const;
  /// The key at a position from 1 to `Count`; raises error 9 "Subscript out of range" outside.
  [[nodiscard]] const std::string& Name(std::size_t index) const;
  /// The item at a position from 1 to `Count`; raises error 9 outside.
  [[nodiscard]] const Value& Item(std::size_t index) const;
  /// The entries in order, for range-for.
  [[nodiscard]] const std::vector<Entry>& Entries() const;

  /// The whole dictionary as bytes (layout in Dictionary.cpp: a version byte, the count, then each key and typed
  /// value). Raises error 13 for an object item: only scalars travel.
  [[nodiscard]] Bytes marshalldictionary() const;
  /// Replaces the contents by what `bytes` describe. Raises error 1000 naming what is wrong, and leaves the dictionary
  /// as it was, when the bytes are not exactly one marshalled dictionary. Never allocates more than the input can hold.
  void unmarshalldictionary(const Bytes& bytes);

 private:
  // A tree, not a hash table: keys come from clients, and none that they choose makes a tree slow.
  using Index = std::map<std::string, std::size_t, std::less<>>;

  void CloseGaps() const;

  // An entry is alive when the index leads to its position. A removed one leaves a gap that is closed at the next
  // enumeration, or when the gaps outnumber the living: removing and adding again, as a sort does, stays cheap.
  mutable std::vector<Entry> entries_;
  mutable Index index_;
};

/// The plain ordered dictionary of the second maker: the same container under another type name.
class TarnwellDictionary final : public Dictionary {
 public:
  [[nodiscard]] std::string TypeName() const override { return "ITarnwellDictionary"; }
};

class ComponentRegistry;

/// A new empty dictionary of the component "Halvik.Dictionary". Raises error 429 when it is not registered.
[[nodiscard]] std::shared_ptr<Dictionary> CreateHalvikDictionary(const ComponentRegistry& components);
/// The same of "Tarnwell.Dictionary", whose `TypeName` is "ITarnwellDictionary".
[[nodiscard]] std::shared_ptr<KeyedCollection> CreateTarnwellDictionary(const ComponentRegistry& components);
/// True exactly when the type name of `object` is "IHalvikDictionary"; false for no object.
[[nodiscard]] bool IsHalvikDictionary(const Object* object);
/// The dictionary that a position text describes; no object for "". Raises as `HexToBytes` and `unmarshalldictionary`.
[[nodiscard]] std::shared_ptr<Dictionary> UnmarshalDictionary(const ComponentRegistry& components,
                                                              std::string_view text);

/// Sorts the entries of a dictionary in place. No path: by key. The empty path: by item. A dotted path: by the value
/// that `GetValueByPath` reaches inside each item. The flag compares texts in upper case. Fewer than two entries:
/// nothing happens. Raises error 1000 "Unable to sort dictionary of type " + type name for a kind other than
/// "Dictionary", "ITarnwellDictionary", "IDictionary" and "IHalvikDictionary".
void SortDictionary(KeyedCollection& dictionary, const std::optional<std::string>& path = std::nullopt,
                    bool caseInsensitive = false);

/// The value reached from `value` through dictionaries by one key after the other; empty as soon as one is missing.
[[nodiscard]] Value GetValueByPath(const Value& value, const std::vector<Value>& keys);

}  // namespace ods
