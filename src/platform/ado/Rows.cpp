#include "platform/ado/Rows.h"

#include <string>
#include <utility>

#include "common/Overloaded.h"
#include "platform/ado/Ado.h"

namespace ods {

namespace {

class RecordSetStream final : public RowStream {
 public:
  RecordSetStream(std::shared_ptr<RecordSet> rows, std::shared_ptr<RowSink> sink)
      : rows_(std::move(rows)), sink_(std::move(sink)) {}

  void ReadToEnd() override {
    const std::vector<Field>& fields = rows_->Fields();
    sink_->Begin(fields);
    std::vector<CellView> cells(fields.size());
    for (; !rows_->AtEnd(); rows_->MoveNext()) {
      for (std::size_t i = 0; i < cells.size(); ++i) cells[i] = ViewOf(rows_->Item(i));
      if (!sink_->Take(cells)) return;
    }
  }

 private:
  std::shared_ptr<RecordSet> rows_;
  std::shared_ptr<RowSink> sink_;
};

}  // namespace

CellView ViewOf(const Value& value) {
  return std::visit(Overloaded{
                        [&](const auto&) -> CellView { return &value; },
                        [](Null) -> CellView { return Null{}; },
                        [](std::int32_t number) -> CellView { return number; },
                        [](std::int64_t number) -> CellView { return number; },
                        [](double number) -> CellView { return number; },
                        [](bool flag) -> CellView { return flag; },
                        [](const Decimal& decimal) -> CellView { return DecimalDigits{decimal.digits}; },
                        [](const Date& date) -> CellView {
                          return Moment{date.Parts(), date.dateOnly};
                        },
                        [](const std::string& text) -> CellView { return std::string_view(text); },
                        [](const Bytes& bytes) -> CellView { return std::span<const std::uint8_t>(bytes); },
                    },
                    value.Get());
}

Value ValueOf(const CellView& cell) {
  return std::visit(Overloaded{
                        [](const auto& plain) -> Value { return plain; },
                        [](const DecimalDigits& decimal) -> Value { return Decimal{std::string(decimal.digits)}; },
                        [](const Moment& moment) -> Value {
                          Date date = Date::FromParts(moment.parts).value_or(Date());
                          date.dateOnly = moment.dateOnly;
                          return date;
                        },
                        [](std::span<const std::uint8_t> bytes) -> Value { return Bytes(bytes.begin(), bytes.end()); },
                        [](const Value* value) -> Value { return *value; },
                    },
                    cell);
}

std::size_t BytesOf(const CellView& cell) {
  if (const auto* const text = std::get_if<std::string_view>(&cell)) return text->size();
  if (const auto* const bytes = std::get_if<std::span<const std::uint8_t>>(&cell)) return bytes->size();
  return 0;
}

std::unique_ptr<RowStream> StreamOf(std::shared_ptr<RecordSet> rows, std::shared_ptr<RowSink> sink) {
  return std::make_unique<RecordSetStream>(std::move(rows), std::move(sink));
}

}  // namespace ods
