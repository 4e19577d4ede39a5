// Takes all rows of a stream as values.
#pragma once

#include <span>
#include <vector>

#include "platform/ado/Ado.h"

namespace ods::test {

class GatheredRows final : public RowSink {
 public:
  void Begin(const std::vector<Field>& given) override { fields = given; }
  [[nodiscard]] bool Take(std::span<const CellView> row) override {
    std::vector<Value>& values = rows.emplace_back();
    for (const CellView& cell : row) values.push_back(ValueOf(cell));
    return rows.size() != wanted;
  }

  std::vector<Field> fields;
  std::vector<std::vector<Value>> rows;
  std::size_t wanted = 0;  ///< rows; 0 for all
};

}  // namespace ods::test
