#include "sqlformat/modSafeVal.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "common/Conversions.h"
#include "common/Error.h"
#include "common/Hex.h"
#include "common/Text.h"
#include "database/modSelect.h"
#include "sqlformat/modTypes.h"

namespace ods {
namespace {

using LiteralRoutine = std::string (*)(const DataSession& session, const TypeEntry& type, const Value& value);

std::string Parameter(const TypeEntry& type, std::size_t index) {
  return index < type.SafeValParameters.size() ? SafeStr(type.SafeValParameters[index]) : std::string();
}

struct Literal {
  std::string_view name;
  LiteralRoutine routine;
};

constexpr std::string_view kString = "String";
constexpr std::string_view kBinaryHex = "BinaryHex";

constexpr std::array kLiterals = {
    Literal{"Boolean", [](const DataSession&, const TypeEntry&, const Value& value) { return SafeVal_Boolean(value); }},
    Literal{kString, [](const DataSession& session, const TypeEntry&,
                        const Value& value) { return SafeVal_String(*session.dialect, value); }},
    Literal{"Integer", [](const DataSession&, const TypeEntry&, const Value& value) { return SafeVal_Integer(value); }},
    Literal{"Float", [](const DataSession&, const TypeEntry&, const Value& value) { return SafeVal_Float(value); }},
    Literal{"Date", [](const DataSession&, const TypeEntry&, const Value& value) { return SafeVal_Date(value); }},
    Literal{"Time", [](const DataSession&, const TypeEntry&, const Value& value) { return SafeVal_Time(value); }},
    Literal{"DBTimeStamp",
            [](const DataSession&, const TypeEntry&, const Value& value) { return SafeVal_DBTimeStamp(value); }},
    Literal{kBinaryHex,
            [](const DataSession&, const TypeEntry& type, const Value& value) {
              return Parameter(type, 0) + SafeVal_Binary(value) + Parameter(type, 1);
            }},
};

const Literal* FindLiteral(std::string_view name) {
  const auto* const found = std::ranges::find(kLiterals, name, &Literal::name);
  return found == kLiterals.end() ? nullptr : found;
}

}  // namespace

const FieldDescription& RequireField(DataSession& session, const std::string& table, const std::string& field) {
  const FieldDescription* description = LookupField(session, table, field);
  if (description == nullptr) {
    throw Error(error_number::kOwn, "Unable to get information about field '" + field + "' in table '" + table +
                                        "'. Please make sure that the field exist.");
  }
  return *description;
}

std::string SafeVal(DataSession& session, const std::string& table, const std::string& field, const Value& value) {
  const FieldDescription* description = LookupField(session, table, field);
  if (description == nullptr) {
    throw Error(error_number::kObjectMissing, "There is no field '" + field + "' in table '" + table + "'.");
  }
  const TypeEntry& type = GetTypeEntry(session, description->Type);
  const Literal* literal = FindLiteral(type.SafeValFunction);
  if (literal == nullptr) {
    throw Error(error_number::kOwn, "Unsupported datatype in SafeVal funciton: " + type.SafeValFunction);
  }
  return literal->routine(session, type, value);
}

std::string SafeQuote(DataSession& session, const std::string& table, const std::string& field) {
  constexpr std::int64_t kGuidBytes = 16;
  const FieldDescription& description = RequireField(session, table, field);
  const TypeEntry& type = GetTypeEntry(session, description.Type);
  std::string quoted = QuoteIdentifier(session, field);
  if (FindLiteral(type.SafeValFunction) == nullptr) {
    throw Error(error_number::kOwn, "Unknown datatype in SafeQuote function: " + type.SafeValFunction);
  }
  if (type.SafeValFunction == kString && session.dialect->trimsTexts) {
    return "RTRIM(LTRIM(" + quoted + "))";
  }
  if (type.SafeValFunction == kBinaryHex && session.dialect->castsSixteenBytes &&
      description.DefinedSize == kGuidBytes) {
    return "CAST(" + quoted + " AS BINARY(16))";
  }
  return quoted;
}

std::string SafeVal_String(const Dialect& dialect, const Value& value) {
  const std::string text = SafeStr(value);
  if (text.find('\0') != std::string::npos) {
    throw Error(error_number::kOwn, "A text value holds a NUL character, which no statement can carry.");
  }
  std::string literal = "'" + ReplaceAll(text, "'", "''") + "'";
  return dialect.splitsBraces ? ReplaceAll(literal, "{", "{'+'") : literal;
}

std::string SafeVal_Integer(const Value& value) { return std::to_string(SafeLng(value)); }

std::string SafeVal_Float(const Value& value) { return FormatDouble(SafeDbl(value)); }

std::string SafeVal_Boolean(const Value& value) { return SafeBool(value) ? "1" : "0"; }

std::string SafeVal_Date(const Value& value) { return "{d '" + FormatDay(SafeDate(value)) + "'}"; }

std::string SafeVal_Time(const Value& value) { return "{t '" + FormatTime(SafeDate(value)) + "'}"; }

std::string SafeVal_DBTimeStamp(const Value& value) { return "{ts '" + FormatMoment(SafeDate(value)) + "'}"; }

std::string SafeVal_Binary(const Value& value) {
  if (value.TypeName().ends_with("()")) return BytesToHex(value);
  if (const auto* text = value.GetIf<std::string>()) return BytesToHex(HexToBytes(*text));
  throw Error(error_number::kOwn,
              "SafeVal_Binary: Value is not an array. Type is " + value.TypeName() + ". Value is " + SafeStr(value));
}

}  // namespace ods
