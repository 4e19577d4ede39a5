#include "catalogue/modKeys.h"

#include <algorithm>
#include <array>
#include <unordered_set>

#include "common/Conversions.h"
#include "common/Error.h"
#include "common/Hex.h"
#include "common/Text.h"
#include "database/modDescribe.h"
#include "database/modSelect.h"

namespace ods {
namespace {

constexpr char kFieldSeparator = '\t';
constexpr char kEscape = '\\';

bool IsPlainKeyCharacter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }

/// The byte that two hexadecimal digits at the start of `text` denote.
char UnescapeByte(std::string_view text) {
  const int high = text.empty() ? -1 : HexDigitValue(text[0]);
  const int low = text.size() < 2 ? -1 : HexDigitValue(text[1]);
  if (high < 0 || low < 0) {
    throw Error(error_number::kTypeMismatch, "Type mismatch: a key text has a \"\\\" without two hexadecimal digits.");
  }
  return static_cast<char>(high * 16 + low);
}

/// The column types that a constructed key may use, all of them of bounded size and comparable.
constexpr std::array kKeyTypes = {
    ado_type::kVarChar,
    ado_type::kBigInt,
    ado_type::kBoolean,
    ado_type::kBSTR,
    ado_type::kChar,
    ado_type::kCurrency,
    ado_type::kDate,
    ado_type::kDBDate,
    ado_type::kDBTime,
    ado_type::kDBTimeStamp,
    ado_type::kDecimal,
    ado_type::kDouble,
    ado_type::kFileTime,
    ado_type::kGUID,
    ado_type::kInteger,
    ado_type::kNumeric,
    ado_type::kSingle,
    ado_type::kSmallInt,
    ado_type::kTinyInt,
    ado_type::kUnsignedBigInt,
    ado_type::kUnsignedInt,
    ado_type::kUnsignedSmallInt,
    ado_type::kUnsignedTinyInt,
    ado_type::kVarNumeric,
    ado_type::kVarWChar,
    ado_type::kWChar,
};

/// Adds what the rows of the index schema tell to `keys`.
void ReadIndexes(RecordSet& rows, TableKeys& keys) {
  constexpr std::string_view kClustered = "1";
  if (rows.AtEnd()) return;
  const std::size_t indexColumn = rows.IndexOf("INDEX_NAME");
  const std::size_t fieldColumn = rows.IndexOf("COLUMN_NAME");
  const std::size_t uniqueColumn = rows.IndexOf("UNIQUE");
  const std::size_t typeColumn = rows.IndexOf("TYPE");
  for (; !rows.AtEnd(); rows.MoveNext()) {
    const std::string name = SafeStr(rows.Item(indexColumn));
    const std::string field = SafeStr(rows.Item(fieldColumn));
    if (name.empty() || field.empty()) continue;
    auto key = std::ranges::find(keys.Keys, name, &Key::name);
    if (key == keys.Keys.end()) {
      key = keys.Keys.emplace(key);
      key->name = name;
      key->unique = ToUpper(SafeStr(rows.Item(uniqueColumn))) == "TRUE";
      // A clustered index counts as the declared primary key, whatever the schema says of primary keys.
      if (SafeStr(rows.Item(typeColumn)) == kClustered) {
        key->primary = true;
        keys.PrimaryKey = name;
      }
    }
    if (std::ranges::find(key->fields, field) == key->fields.end()) key->fields.push_back(field);
  }
}

void ReadIndexes(const DataSession& session, const std::string& table, TableKeys& keys) {
  if (GetTableType(table) == kTypeAppView) return;
  const SchemaAndName name = SplitTableName(table, *session.dialect);
  const Value schema = name.schema.empty() ? Value() : Value(name.schema);
  try {
    const auto rows = session.connection->OpenSchema(Schema::kIndexes, {Value(), schema, Value(), Value(), name.name});
    ReadIndexes(*rows, keys);
  } catch (const Error& error) {
    session.Trace("No indexes of " + table + ": " + error.Description(), -1, severity::kWarning);
    keys = TableKeys();
  }
}

/// The unique index with the fewest fields, the first of several; nullptr when none is unique.
const Key* SmallestUnique(const std::vector<Key>& keys) {
  const Key* smallest = nullptr;
  for (const Key& key : keys) {
    if (key.unique && (smallest == nullptr || key.fields.size() < smallest->fields.size())) smallest = &key;
  }
  return smallest;
}

/// The columns that are never null and of a type fit for a key.
std::vector<std::string> ConstructKey(const DataSession& session, const std::string& table) {
  std::vector<std::string> fields;
  for (const Field& field : DescribeTable(session, table)) {
    const bool nullable = (field.attributes & field_attribute::kIsNullable) != 0;
    if (!nullable && std::ranges::find(kKeyTypes, field.type) != kKeyTypes.end()) fields.push_back(field.name);
  }
  return fields;
}

std::string_view Flag(bool value) { return value ? "1" : "0"; }

}  // namespace

std::string KeyToText(const std::vector<std::string>& fields) {
  std::string text;
  for (const char c : Join(fields, std::string_view(&kFieldSeparator, 1))) {
    if (IsPlainKeyCharacter(c)) {
      text += c;
    } else {
      text += kEscape;
      AppendHex(text, static_cast<std::uint8_t>(c));
    }
  }
  return text;
}

std::vector<std::string> TextToKey(std::string_view text) {
  if (text.empty()) return {};
  std::string plain;
  plain.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == kEscape) {
      plain += UnescapeByte(text.substr(i + 1));
      i += 2;
    } else {
      plain += text[i];
    }
  }
  std::vector<std::string> fields;
  std::unordered_set<std::string> seen;
  for (const std::string& field : Split(plain, std::string_view(&kFieldSeparator, 1))) {
    if (seen.insert(field).second) fields.push_back(field);
  }
  return fields;
}

const Key* TableKeys::Find(std::string_view name) const {
  const auto found = std::ranges::find(Keys, name, &Key::name);
  return found == Keys.end() ? nullptr : &*found;
}

TableKeys GetTableKeys(DataSession& session, const std::string& table) {
  TableKeys keys;
  ReadIndexes(session, table, keys);
  if (keys.PrimaryKey.empty()) {
    if (const Key* smallest = SmallestUnique(keys.Keys)) keys.PrimaryKey = smallest->name;
  }
  if (const Key* chosen = keys.PrimaryKey.empty() ? nullptr : keys.Find(keys.PrimaryKey)) {
    keys.ConstructedPrimaryKey = chosen->fields;
    keys.FixedPrimary = !chosen->fields.empty();
  } else if (!session.dialect->constructsKeys) {
    if (!keys.Keys.empty()) keys.ConstructedPrimaryKey = keys.Keys.front().fields;
  } else {
    keys.ConstructedPrimaryKey = ConstructKey(session, table);
    keys.IsConstructed = true;
  }
  return keys;
}

void WriteKeyList(const std::vector<Key>& keys, std::string_view primary, bool choosePrimary, XmlDocument& response) {
  response.LoadXML("<XML><Keys/><ChoosePrimary/></XML>");
  XmlNode list = response.SelectSingleNode("/XML/Keys");
  for (const Key& key : keys) {
    XmlNode node = list.AppendElement("Key");
    XmlNode fields = node.AppendElement("Fields");
    for (const std::string& name : key.fields) {
      XmlNode field = fields.AppendElement("Field");
      field.AppendElement("Id", name);
      field.AppendElement("Caption", name);
    }
    node.AppendElement("Id", KeyToText(key.fields));
    node.AppendElement("Caption", Join(key.fields, ", "));
    node.AppendElement("Unique", Flag(key.unique));
    node.AppendElement("Primary", Flag(key.name == primary));
  }
  response.SelectSingleNode("/XML/ChoosePrimary").SetText(Flag(choosePrimary));
}

void WritePrimaryKey(const std::vector<std::string>& fields, bool constructed, XmlDocument& response) {
  response.LoadXML("<XML><PrimaryKey/><Constructed/></XML>");
  response.SelectSingleNode("/XML/PrimaryKey").SetText(KeyToText(fields));
  response.SelectSingleNode("/XML/Constructed").SetText(Flag(constructed));
}

void ProcessKeyList(const XmlDocument& request, XmlDocument& response, DataSession& session) {
  const TableKeys keys = GetTableKeys(session, GetNodeText(request, "/XML/TableId"));
  WriteKeyList(keys.Keys, keys.PrimaryKey, !keys.FixedPrimary, response);
}

void ProcessPrimaryKey(const XmlDocument& request, XmlDocument& response, DataSession& session) {
  const TableKeys keys = GetTableKeys(session, GetNodeText(request, "/XML/TableId"));
  WritePrimaryKey(keys.ConstructedPrimaryKey, keys.IsConstructed, response);
}

}  // namespace ods
