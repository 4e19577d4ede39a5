#include "sqlformat/modSafeVal.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "common/Conversions.h"
#include "common/Error.h"
#include "common/Hex.h"
#include "common/Text.h"
#include "database/modSelect.h"
#include "sqlformat/modTypes.h"

namespace ods {
namespace {

std::string Parameter(const TypeEntry& type, std::size_t index) {
  return index < type.SafeValParameters.size() ? SafeStr(type.SafeValParameters[index]) : std::string();
}

struct LiteralRow {
  std::string_view name;
  LiteralRoutine routine;
};

constexpr std::string_view kString = "String";
constexpr std::string_view kBinaryHex = "BinaryHex";

constexpr std::array kLiterals = {
    LiteralRow{"Boolean",
               [](const DataSession&, const TypeEntry&, const Value& value) { return SafeVal_Boolean(value); }},
    LiteralRow{kString, [](const DataSession& session, const TypeEntry&,
                           const Value& value) { return SafeVal_String(*session.dialect, value); }},
    LiteralRow{"Integer",
               [](const DataSession&, const TypeEntry&, const Value& value) { return SafeVal_Integer(value); }},
    LiteralRow{"Float", [](const DataSession&, const TypeEntry&, const Value& value) { return SafeVal_Float(value); }},
    LiteralRow{"Date", [](const DataSession&, const TypeEntry&, const Value& value) { return SafeVal_Date(value); }},
    LiteralRow{"Time", [](const DataSession&, const TypeEntry&, const Value& value) { return SafeVal_Time(value); }},
    LiteralRow{"DBTimeStamp",
               [](const DataSession&, const TypeEntry&, const Value& value) { return SafeVal_DBTimeStamp(value); }},
    LiteralRow{kBinaryHex,
               [](const DataSession&, const TypeEntry& type, const Value& value) {
                 return Parameter(type, 0) + SafeVal_Binary(value) + Parameter(type, 1);
               }},
};

/// The routine of a name; nullptr when there is none.
LiteralRoutine FindLiteral(std::string_view name) {
  const auto* const found = std::ranges::find(kLiterals, name, &LiteralRow::name);
  return found == kLiterals.end() ? nullptr : found->routine;
}

std::string WriteLiteral(LiteralRoutine routine, const DataSession& session, const TypeEntry& type,
                         const Value& value) {
  if (routine == nullptr) {
    throw Error(error_number::kOwn, "Unsupported datatype in SafeVal funciton: " + type.SafeValFunction);
  }
  return routine(session, type, value);
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
  return WriteLiteral(FindLiteral(type.SafeValFunction), session, type, value);
}

std::string SafeQuote(DataSession& session, const std::string& table, const std::string& field) {
  return Column(session, table, field).Expression();
}

void Column::LookUp() {
  if (type_ != nullptr) return;
  type_ = &GetTypeEntry(*session_, DataType());
  literal_ = FindLiteral(type_->SafeValFunction);
}

std::int32_t Column::DataType() {
  if (!dataType_) {
    const FieldDescription& description = RequireField(*session_, *table_, field_);
    definedSize_ = description.DefinedSize;
    dataType_ = description.Type;
  }
  return *dataType_;
}

const TypeEntry& Column::Type() {
  LookUp();
  return *type_;
}

const std::string& Column::Expression() {
  constexpr std::int64_t kGuidBytes = 16;
  if (expression_) return *expression_;
  LookUp();
  std::string quoted = QuoteIdentifier(*session_, field_);
  if (literal_ == nullptr) {
    throw Error(error_number::kOwn, "Unknown datatype in SafeQuote function: " + type_->SafeValFunction);
  }
  const Dialect& dialect = *session_->dialect;
  if (dialect.trimsTexts && type_->SafeValFunction == kString) {
    quoted = "RTRIM(LTRIM(" + quoted + "))";
  } else if (dialect.castsSixteenBytes && type_->SafeValFunction == kBinaryHex && definedSize_ == kGuidBytes) {
    quoted = "CAST(" + quoted + " AS BINARY(16))";
  }
  return expression_.emplace(std::move(quoted));
}

std::string Column::Literal(const Value& value) {
  LookUp();
  return WriteLiteral(literal_, *session_, *type_, value);
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
