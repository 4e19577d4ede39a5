// The same row again and again, counted: the reader is to give up.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "platform/ado/Ado.h"

namespace ods::test {

class EndlessRows final : public RecordSet {
 public:
  EndlessRows(std::vector<Field> fields, std::vector<Value> row) : fields_(std::move(fields)), row_(std::move(row)) {}
  [[nodiscard]] const std::vector<Field>& Fields() const override { return fields_; }
  [[nodiscard]] bool AtEnd() const override { return false; }
  void MoveNext() override { ++read; }
  using RecordSet::Item;
  [[nodiscard]] const Value& Item(std::size_t index) const override { return row_.at(index); }

  int read = 0;  ///< rows that were stepped over

 private:
  std::vector<Field> fields_;
  std::vector<Value> row_;
};

}  // namespace ods::test
