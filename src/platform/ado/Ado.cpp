#include "platform/ado/Ado.h"

#include <algorithm>
#include <utility>

#include "common/Error.h"
#include "common/Text.h"

namespace ods {

std::size_t IndexOfField(const std::vector<Field>& fields, std::string_view name) {
  auto found = std::find_if(fields.begin(), fields.end(), [&](const Field& field) { return field.name == name; });
  if (found == fields.end()) {
    const std::string lowered = ToLower(name);
    found = std::find_if(fields.begin(), fields.end(), [&](const Field& field) {
      return field.name.size() == lowered.size() && ToLower(field.name) == lowered;
    });
  }
  if (found == fields.end()) {
    throw Error(error_number::kItemNotFound, "The record set has no field '" + std::string(name) + "'.");
  }
  return static_cast<std::size_t>(found - fields.begin());
}

std::unique_ptr<RowStream> Connection::OpenStream(const std::string& sql, std::int32_t maxRecords, bool exact,
                                                  std::shared_ptr<RowSink> sink) {
  return StreamOf(exact ? OpenExactRecordSet(sql, maxRecords) : OpenRecordSet(sql, maxRecords), std::move(sink));
}

std::string Connection::Property(std::string_view name) const { return PropertyOf(Properties(), name); }

std::string PropertyOf(const std::vector<ConnectionProperty>& properties, std::string_view name) {
  const auto found = std::find_if(properties.begin(), properties.end(),
                                  [&](const ConnectionProperty& property) { return property.name == name; });
  return found == properties.end() ? std::string() : found->value;
}

MemoryRecordSet::MemoryRecordSet(std::vector<Field> fields, std::vector<std::vector<Value>> rows)
    : fields_(std::move(fields)), rows_(std::move(rows)) {}

void MemoryRecordSet::MoveNext() {
  if (AtEnd()) throw Error(error_number::kNoCurrentRecord, "There is no current record.");
  ++row_;
}

const Value& MemoryRecordSet::Item(std::size_t index) const {
  if (index >= fields_.size()) {
    throw Error(error_number::kItemNotFound, "The record set has no field number " + std::to_string(index) + ".");
  }
  if (AtEnd()) throw Error(error_number::kNoCurrentRecord, "There is no current record.");
  return rows_[row_].at(index);
}

}  // namespace ods
