#include "common/Dictionary.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <cmath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <random>

#include "common/ComponentRegistry.h"
#include "common/Error.h"
#include "common/Hex.h"
#include "support/RaisedErrors.h"

namespace ods {
namespace {

using ::testing::ElementsAre;
using ::testing::StartsWith;

Value LongValue(std::int32_t number) { return number; }
Value AsValue(std::shared_ptr<Object> object) { return Value(std::move(object)); }

// ---- the container ----

TEST(DictionaryTest, EnumeratesInInsertionOrder) {
  Dictionary dictionary;
  dictionary.Set("c", "3");
  dictionary.Set("a", "1");
  dictionary.Set("b", "2");
  EXPECT_EQ(dictionary.Count(), 3U);
  EXPECT_THAT(dictionary.Keys(), ElementsAre("c", "a", "b"));
  EXPECT_THAT(dictionary.Items(), ElementsAre(Value("3"), Value("1"), Value("2")));
  EXPECT_EQ(dictionary.Name(1), "c");
  EXPECT_EQ(dictionary.Item(std::size_t{3}), Value("2"));
}

TEST(DictionaryTest, SettingAKeyAgainKeepsItsPlace) {
  Dictionary dictionary;
  dictionary.Set("a", "1");
  dictionary.Set("b", "2");
  dictionary.Set("a", "3");
  EXPECT_THAT(dictionary.Keys(), ElementsAre("a", "b"));
  EXPECT_EQ(dictionary.Item("a"), Value("3"));
}

TEST(DictionaryTest, KeysCompareExactly) {
  Dictionary dictionary;
  dictionary.Set("Key", "1");
  dictionary.Set("key", "2");
  dictionary.Set("", "3");
  dictionary.Set(std::string_view("k\0ey", 4), "4");
  EXPECT_EQ(dictionary.Count(), 4U);
  EXPECT_EQ(dictionary.Item("Key"), Value("1"));
  EXPECT_EQ(dictionary.Item(""), Value("3"));
  EXPECT_EQ(dictionary.Item("KEY"), Value());
}

TEST(DictionaryTest, AnAbsentKeyIsAnEmptyValueAndIsNotAdded) {
  const Dictionary dictionary;
  EXPECT_TRUE(dictionary.Item("nothing").IsEmpty());
  EXPECT_FALSE(dictionary.Exists("nothing"));
  EXPECT_EQ(dictionary.Count(), 0U);
}

TEST(DictionaryTest, RemovingLeavesTheOthersInOrder) {
  Dictionary dictionary;
  for (const char* key : {"a", "b", "c", "d"}) dictionary.Set(key, key);
  dictionary.Remove("b");
  dictionary.Remove("absent");
  EXPECT_EQ(dictionary.Count(), 3U);
  EXPECT_EQ(dictionary.Item("c"), Value("c"));
  EXPECT_THAT(dictionary.Keys(), ElementsAre("a", "c", "d"));
  dictionary.Set("b", "again");
  dictionary.Remove("a");
  EXPECT_EQ(dictionary.Name(1), "c");
  EXPECT_THAT(dictionary.Keys(), ElementsAre("c", "d", "b"));
  EXPECT_EQ(dictionary.Item("b"), Value("again"));
}

TEST(DictionaryTest, RemovingLetsGoOfTheItemAtOnce) {
  const auto object = std::make_shared<Dictionary>();
  Dictionary dictionary;
  dictionary.Set("object", AsValue(object));
  EXPECT_EQ(object.use_count(), 2);
  dictionary.Remove("object");
  EXPECT_EQ(object.use_count(), 1);
}

TEST(DictionaryTest, ClearEmptiesIt) {
  Dictionary dictionary;
  dictionary.Set("a", "1");
  dictionary.Clear();
  EXPECT_EQ(dictionary.Count(), 0U);
  EXPECT_FALSE(dictionary.Exists("a"));
  EXPECT_TRUE(dictionary.Entries().empty());
}

TEST(DictionaryTest, PositionsOutsideAreErrors) {
  Dictionary dictionary;
  dictionary.Set("a", "1");
  EXPECT_RAISES(dictionary.Name(0), 9, "Subscript out of range");
  EXPECT_RAISES(dictionary.Name(2), 9, "Subscript out of range");
  EXPECT_RAISES(dictionary.Item(std::size_t{0}), 9, "Subscript out of range");
  EXPECT_RAISES(dictionary.Item(std::size_t{2}), 9, "Subscript out of range");
}

TEST(DictionaryTest, BehavesLikeAListOfPairsUnderAnyMixOfOperations) {
  std::vector<std::pair<std::string, Value>> model;
  Dictionary dictionary;
  std::mt19937 random(11);  // NOLINT(cert-msc51-cpp) the same operations every time
  for (int i = 0; i < 20000; ++i) {
    const std::string key = std::to_string(random() % 40);
    const auto found = std::find_if(model.begin(), model.end(), [&](const auto& entry) { return entry.first == key; });
    if (random() % 2 == 0) {
      const Value item = LongValue(i);
      dictionary.Set(key, item);
      if (found == model.end()) {
        model.emplace_back(key, item);
      } else {
        found->second = item;
      }
    } else {
      dictionary.Remove(key);
      if (found != model.end()) model.erase(found);
    }
    ASSERT_EQ(dictionary.Count(), model.size());
    if (random() % 10 != 0) continue;  // gaps gather in between
    ASSERT_EQ(dictionary.Entries(), model);
  }
  EXPECT_EQ(dictionary.Entries(), model);
}

// ---- components ----

TEST(ComponentsTest, CreatesBothKindsEmpty) {
  const ComponentRegistry components;
  const auto first = CreateHalvikDictionary(components);
  const auto second = CreateTarnwellDictionary(components);
  EXPECT_EQ(first->TypeName(), "IHalvikDictionary");
  EXPECT_EQ(second->TypeName(), "ITarnwellDictionary");
  EXPECT_EQ(first->Count() + second->Count(), 0U);
  EXPECT_TRUE(IsHalvikDictionary(first.get()));
  EXPECT_FALSE(IsHalvikDictionary(second.get()));
  EXPECT_FALSE(IsHalvikDictionary(nullptr));
}

TEST(ComponentsTest, AnUnknownIdentifierIsError429AndNothingMore) {
  const ComponentRegistry components;
  EXPECT_RAISES(CreateObjectChecked(components, "No.Such"), 429, "Error creating object: No.Such");
}

TEST(ComponentsTest, AnyOtherErrorIsTold) {
  ComponentRegistry components;
  components.Register("Bad.One", []() -> std::shared_ptr<Object> { throw Error(-2147467259, "It broke"); });
  EXPECT_RAISES(CreateObjectChecked(components, "Bad.One"), -2147467259,
                "Error creating object: Bad.One. Error -2147467259 (0x80004005): It broke");
}

TEST(ComponentsTest, AComponentOfAnotherClassIsATypeMismatch) {
  class Other : public Object {
    [[nodiscard]] std::string TypeName() const override { return "Other"; }
  };
  ComponentRegistry components;
  components.Register("Halvik.Dictionary", [] { return std::make_shared<Other>(); });
  EXPECT_RAISES(CreateHalvikDictionary(components), 13, "Type mismatch: Halvik.Dictionary");
}

// ---- marshalling ----

void FillWithEveryScalar(Dictionary& dictionary) {
  dictionary.Set("empty", Value());
  dictionary.Set("Null", Null{});
  dictionary.Set("long", LongValue(std::numeric_limits<std::int32_t>::min()));
  dictionary.Set("longlong", std::numeric_limits<std::int64_t>::max());
  dictionary.Set("double", -0.0);
  dictionary.Set("tiny", 5e-324);
  dictionary.Set("infinite", HUGE_VAL);
  dictionary.Set("currency", Currency{-12345});
  dictionary.Set("decimal", Decimal{"-123456789012345678901234567890.0100"});
  dictionary.Set("date", Date{1234567, false});
  dictionary.Set("day", Date{-86400, true});
  dictionary.Set("Åsa O'Neil \xF0\x9F\x98\x80", "text \xC3\xA9");
  dictionary.Set("", "");
  dictionary.Set("true", true);
  dictionary.Set("false", false);
  dictionary.Set("bytes", Bytes{0, 255, 128});
  dictionary.Set("no bytes", Bytes{});
}

Bytes EveryScalarMarshalled() {
  Dictionary dictionary;
  FillWithEveryScalar(dictionary);
  return dictionary.marshalldictionary();
}

// Reads the bytes into a dictionary that must stay as it is when they are refused.
void ReadInto(const Bytes& bytes) {
  Dictionary dictionary;
  dictionary.Set("kept", "as it was");
  try {
    dictionary.unmarshalldictionary(bytes);
  } catch (const Error&) {
    EXPECT_THAT(dictionary.Keys(), ElementsAre("kept"));
    EXPECT_EQ(dictionary.Item("kept"), Value("as it was"));
    throw;
  }
}

TEST(MarshallingTest, EveryScalarReturnsWithItsTypeAndPlace) {
  Dictionary original;
  FillWithEveryScalar(original);
  Dictionary read;
  read.Set("old", "gone afterwards");
  read.unmarshalldictionary(original.marshalldictionary());
  EXPECT_EQ(read.Entries(), original.Entries());
  EXPECT_TRUE(std::signbit(*read.Item("double").GetIf<double>()));
  EXPECT_TRUE(read.Item("day").GetIf<Date>()->dateOnly);
  EXPECT_EQ(read.marshalldictionary(), original.marshalldictionary());
}

TEST(MarshallingTest, ADoubleKeepsEveryBit) {
  const double number = std::bit_cast<double>(std::uint64_t{0x7FF8000000ABCDEF});
  Dictionary original;
  original.Set("nan", number);
  Dictionary read;
  read.unmarshalldictionary(original.marshalldictionary());
  EXPECT_EQ(std::bit_cast<std::uint64_t>(*read.Item("nan").GetIf<double>()), 0x7FF8000000ABCDEFU);
}

TEST(MarshallingTest, TheLayoutIsFixed) {
  Dictionary dictionary;
  dictionary.Set("No", LongValue(258));
  EXPECT_EQ(BytesToHex(dictionary.marshalldictionary()), "0101000000020000004E6F0202010000");
  EXPECT_EQ(BytesToHex(Dictionary().marshalldictionary()), "0100000000");
}

TEST(MarshallingTest, RemovedEntriesDoNotTravel) {
  Dictionary original;
  original.Set("a", "1");
  original.Set("b", "2");
  original.Remove("a");
  Dictionary read;
  read.unmarshalldictionary(original.marshalldictionary());
  EXPECT_THAT(read.Keys(), ElementsAre("b"));
}

TEST(MarshallingTest, ObjectsDoNotTravel) {
  Dictionary dictionary;
  dictionary.Set("object", AsValue(std::make_shared<Dictionary>()));
  EXPECT_RAISES(dictionary.marshalldictionary(), 13, "Type mismatch: an object cannot be marshalled");
}

TEST(MarshallingTest, EveryTruncationIsRefused) {
  const Bytes whole = EveryScalarMarshalled();
  for (std::size_t length = 0; length < whole.size(); ++length) {
    const Bytes part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
    EXPECT_RAISES(ReadInto(part), 1000, StartsWith("Error reading marshalled dictionary, ")) << length;
  }
}

TEST(MarshallingTest, SaysWhatIsWrong) {
  const std::string start = "Error reading marshalled dictionary, ";
  const struct {
    const char* hex;
    const char* error;
  } kCases[] = {
      {"", "header: 1 bytes are wanted where 0 are left"},
      {"02", "header: unknown version 2"},
      {"010100", "header: 4 bytes are wanted where 2 are left"},
      {"01FFFFFFFF", "header: 4294967295 entries cannot fit"},
      {"01020000000000000000", "header: 2 entries cannot fit"},
      {"010000000000", "header: 1 bytes follow the last entry"},
      {"0101000000010000004100FF", "entry 1: 1 bytes follow the last entry"},
      {"010100000001000000410B", "entry 1: unknown type 11"},
      {"01010000000100000041FF", "entry 1: unknown type 255"},
      {"01010000000100000041", "entry 1: 1 bytes are wanted where 0 are left"},
      {"0101000000FFFFFFFF41", "entry 1: 4294967295 bytes are wanted where 1 are left"},
      {"01010000000100000041020000", "entry 1: 4 bytes are wanted where 2 are left"},
      {"01010000000100000041080000000141", "entry 1: 16777216 bytes are wanted where 1 are left"},
      {"01010000000100000041080100000041FF", "entry 1: 1 bytes follow the last entry"},
      {"010100000001000000FF00", "entry 1: the key is not valid UTF-8"},
      {"010100000001000000410801000000FF", "entry 1: the text is not valid UTF-8"},
      {"010200000001000000410001000000410000", "entry 2: the key 'A' comes twice"},
      {"01010000000100000041060000000000", "entry 1: the decimal is no number"},
      {"010100000001000000410601000000"
       "2D",
       "entry 1: the decimal is no number"},
      {"010100000001000000410602000000"
       "2E31",
       "entry 1: the decimal is no number"},
      {"010100000001000000410602000000"
       "312E",
       "entry 1: the decimal is no number"},
      {"010100000001000000410602000000"
       "2B31",
       "entry 1: the decimal is no number"},
      {"010100000001000000410603000000"
       "316535",
       "entry 1: the decimal is no number"},
      {"0101000000010000004107FFFFFFFFFFFFFF7F00", "entry 1: the date is out of range"},
      {"0101000000010000004107000000000000008000", "entry 1: the date is out of range"},
      {"0101000000010000004107000000000000000002", "entry 1: a Boolean is neither 0 nor 1"},
      {"010100000001000000410902", "entry 1: a Boolean is neither 0 nor 1"},
  };
  for (const auto& each : kCases) EXPECT_RAISES(ReadInto(HexToBytes(each.hex)), 1000, start + each.error) << each.hex;
}

TEST(MarshallingTest, MutatedBytesAreReadOrRefusedButNeverHarm) {
  const Bytes whole = EveryScalarMarshalled();
  std::mt19937 random(5);  // NOLINT(cert-msc51-cpp) the same mutations every time
  int accepted = 0;
  int refused = 0;
  for (int i = 0; i < 20000; ++i) {
    Bytes bytes = whole;
    for (auto changes = 1 + random() % 4; changes > 0 && !bytes.empty(); --changes) {
      const auto at = static_cast<std::ptrdiff_t>(random() % bytes.size());
      switch (random() % 4) {
        case 0:
          bytes[static_cast<std::size_t>(at)] = static_cast<std::uint8_t>(random());
          break;
        case 1:
          bytes[static_cast<std::size_t>(at)] ^= static_cast<std::uint8_t>(1U << random() % 8);
          break;
        case 2:
          bytes.erase(bytes.begin() + at, bytes.begin() + std::min<std::ptrdiff_t>(at + 3, std::ssize(bytes)));
          break;
        default:
          bytes.insert(bytes.begin() + at, static_cast<std::uint8_t>(random() % 16));
      }
    }
    Dictionary dictionary;
    try {
      dictionary.unmarshalldictionary(bytes);
      ++accepted;
      ASSERT_EQ(dictionary.marshalldictionary(), bytes);  // one dictionary, one layout
    } catch (const Error& error) {
      ++refused;
      ASSERT_EQ(error.Number(), 1000);
    }
  }
  EXPECT_GT(accepted, 100);
  EXPECT_GT(refused, 10000);
}

TEST(PositionTextTest, CarriesADictionary) {
  const ComponentRegistry components;
  Dictionary position;
  position.Set("No_", "10000");
  const std::string text = BytesToHex(position.marshalldictionary());
  const auto read = UnmarshalDictionary(components, text);
  ASSERT_TRUE(read);
  EXPECT_EQ(read->Entries(), position.Entries());
}

TEST(PositionTextTest, NoTextIsNoObject) { EXPECT_EQ(UnmarshalDictionary(ComponentRegistry(), ""), nullptr); }

TEST(PositionTextTest, MalformedTextIsATypeMismatch) {
  const ComponentRegistry components;
  EXPECT_RAISES(UnmarshalDictionary(components, "0x"), 13, "Type mismatch");
  EXPECT_RAISES(UnmarshalDictionary(components, "09"), 1000,
                "Error reading marshalled dictionary, header: unknown version 9");
}

// ---- sorting ----

// A dictionary of somebody else, with as little as every kind offers.
class ForeignDictionary : public KeyedCollection {
 public:
  explicit ForeignDictionary(std::string typeName) : typeName_(std::move(typeName)) {}
  [[nodiscard]] std::string TypeName() const override { return typeName_; }
  [[nodiscard]] std::size_t Count() const override { return held_.Count(); }
  [[nodiscard]] std::vector<std::string> Keys() const override { return held_.Keys(); }
  [[nodiscard]] std::vector<Value> Items() const override { return held_.Items(); }
  [[nodiscard]] const Value& Item(std::string_view key) const override { return held_.Item(key); }
  void Set(std::string_view key, Value value) override { held_.Set(key, std::move(value)); }
  void Remove(std::string_view key) override { held_.Remove(key); }

 private:
  std::string typeName_;
  Dictionary held_;
};

void Fill(KeyedCollection& dictionary, const std::vector<Value>& items) {
  for (std::size_t i = 0; i < items.size(); ++i) dictionary.Set("k" + std::to_string(i), items[i]);
}

std::vector<Value> SortedItems(const std::vector<Value>& items, bool caseInsensitive = false) {
  Dictionary dictionary;
  Fill(dictionary, items);
  SortDictionary(dictionary, "", caseInsensitive);
  return dictionary.Items();
}

TEST(SortDictionaryTest, SortsByKeyWithoutAPath) {
  Dictionary dictionary;
  for (const char* key : {"b", "C", "a"}) dictionary.Set(key, std::string("item ") + key);
  SortDictionary(dictionary);
  EXPECT_THAT(dictionary.Keys(), ElementsAre("C", "a", "b"));
  SortDictionary(dictionary, std::nullopt, true);
  EXPECT_THAT(dictionary.Keys(), ElementsAre("a", "b", "C"));
  EXPECT_EQ(dictionary.Item("C"), Value("item C"));
}

TEST(SortDictionaryTest, SortsByItemWithTheEmptyPath) {
  EXPECT_THAT(SortedItems({"b", "A", "c"}), ElementsAre(Value("A"), Value("b"), Value("c")));
  EXPECT_THAT(SortedItems({"a", "B"}), ElementsAre(Value("B"), Value("a")));
  EXPECT_THAT(SortedItems({"b", "A", "c"}, true), ElementsAre(Value("A"), Value("b"), Value("c")));
  EXPECT_THAT(SortedItems({"B", "a"}, true), ElementsAre(Value("a"), Value("B")));
}

TEST(SortDictionaryTest, ComparesNumbersAsNumbersAndTextsByByte) {
  EXPECT_THAT(SortedItems({LongValue(10), 9.5, LongValue(-1), Decimal{"9.25"}, std::int64_t{8}}),
              ElementsAre(LongValue(-1), Value(std::int64_t{8}), Value(Decimal{"9.25"}), Value(9.5), LongValue(10)));
  EXPECT_THAT(SortedItems({"9", "10", "\xC3\xA9", "z"}),
              ElementsAre(Value("10"), Value("9"), Value("z"), Value("\xC3\xA9")));
  EXPECT_THAT(SortedItems({std::int64_t{9007199254740993}, std::int64_t{9007199254740992}}),
              ElementsAre(Value(std::int64_t{9007199254740992}), Value(std::int64_t{9007199254740993})));
  EXPECT_THAT(SortedItems({"a", LongValue(1), Null{}}), ElementsAre(Value(Null{}), LongValue(1), Value("a")));
  EXPECT_THAT(SortedItems({Date{5}, Date{-5}}), ElementsAre(Value(Date{-5}), Value(Date{5})));
}

TEST(SortDictionaryTest, SortsByAValueInsideTheItems) {
  Dictionary dictionary;
  for (const auto& [key, position] : {std::pair("x", 2), std::pair("y", 1), std::pair("z", 3)}) {
    const auto inner = std::make_shared<Dictionary>();
    inner->Set("Position", LongValue(position));
    const auto outer = std::make_shared<Dictionary>();
    outer->Set("Sort", AsValue(inner));
    dictionary.Set(key, AsValue(outer));
  }
  const Value itemOfX = dictionary.Item("x");
  SortDictionary(dictionary, "Sort.Position");
  EXPECT_THAT(dictionary.Keys(), ElementsAre("y", "x", "z"));
  EXPECT_EQ(dictionary.Item("x"), itemOfX);
}

TEST(SortDictionaryTest, SortsEveryAcceptedKind) {
  for (const char* typeName : {"Dictionary", "ITarnwellDictionary", "IDictionary", "IHalvikDictionary"}) {
    ForeignDictionary dictionary(typeName);
    Fill(dictionary, {"c", "a", "b"});
    SortDictionary(dictionary, "");
    EXPECT_THAT(dictionary.Keys(), ElementsAre("k1", "k2", "k0")) << typeName;
  }
  TarnwellDictionary own;
  Fill(own, {"c", "a", "b"});
  SortDictionary(own, "");
  EXPECT_THAT(own.Keys(), ElementsAre("k1", "k2", "k0"));
}

TEST(SortDictionaryTest, RefusesOtherKindsOfTwoEntriesOrMore) {
  ForeignDictionary dictionary("Collection");
  dictionary.Set("b", "1");
  SortDictionary(dictionary);
  dictionary.Set("a", "2");
  EXPECT_RAISES(SortDictionary(dictionary), 1000, "Unable to sort dictionary of type Collection");
  EXPECT_THAT(dictionary.Keys(), ElementsAre("b", "a"));
}

// The limit is generous to a slow machine; quadratic work would miss it all the same.
void ExpectManySortQuickly(const std::vector<Value>& items) {
  Dictionary dictionary;
  Fill(dictionary, items);
  const auto start = std::chrono::steady_clock::now();
  SortDictionary(dictionary, "");
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
  const std::vector<Value> sorted = dictionary.Items();
  ASSERT_EQ(sorted.size(), items.size());
  EXPECT_TRUE(std::is_sorted(sorted.begin(), sorted.end(), [](const Value& left, const Value& right) {
    return *left.GetIf<std::int32_t>() < *right.GetIf<std::int32_t>();
  }));
}

TEST(SortDictionaryTest, ManyEntriesSortQuicklyInWhateverOrderTheyCome) {
  ExpectManySortQuickly(std::vector<Value>(100000, LongValue(7)));
  constexpr std::int32_t kSome = 20000;
  std::vector<Value> ascending;
  ascending.reserve(kSome);
  for (std::int32_t i = 0; i < kSome; ++i) ascending.emplace_back(i);
  ExpectManySortQuickly(ascending);
  ExpectManySortQuickly(std::vector<Value>(ascending.rbegin(), ascending.rend()));
  std::shuffle(ascending.begin(), ascending.end(), std::mt19937(1));  // NOLINT(cert-msc51-cpp)
  ExpectManySortQuickly(ascending);
}

// ---- paths ----

TEST(GetValueByPathTest, FollowsTheKeys) {
  const auto inner = std::make_shared<ForeignDictionary>("IDictionary");
  inner->Set("5", "five");
  const auto outer = std::make_shared<ForeignDictionary>("Dictionary");
  outer->Set("inner", AsValue(inner));
  const Value value = AsValue(outer);
  EXPECT_EQ(GetValueByPath(value, {"inner", LongValue(5)}), Value("five"));
  EXPECT_EQ(GetValueByPath(value, {"inner"}), AsValue(inner));
  EXPECT_EQ(GetValueByPath(value, {}), value);
  EXPECT_EQ(GetValueByPath("text", {}), Value("text"));
}

TEST(GetValueByPathTest, IsEmptyWhereAKeyIsMissing) {
  const auto dictionary = std::make_shared<Dictionary>();
  dictionary->Set("text", "a");
  dictionary->Set("null", Null{});
  const Value value = AsValue(dictionary);
  EXPECT_EQ(GetValueByPath(value, {"missing"}), Value());
  EXPECT_EQ(GetValueByPath(value, {"missing", "further", "on"}), Value());
  EXPECT_EQ(GetValueByPath(value, {"text", "further"}), Value());
  EXPECT_EQ(GetValueByPath(value, {"null", "further"}), Value());
  EXPECT_EQ(GetValueByPath(value, {Null{}}), Value());
  EXPECT_EQ(GetValueByPath(Value(), {"a"}), Value());
  EXPECT_EQ(GetValueByPath(AsValue(nullptr), {"a"}), Value());
}

}  // namespace
}  // namespace ods
