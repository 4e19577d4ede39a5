// Tables of AMQP: arguments that are given, and headers that come.
//
// Internal to this folder.
#pragma once

#include <amqp.h>
#include <cstdint>
#include <string_view>
#include <vector>

#include "platform/queue/AmqpFailure.h"

namespace ods {

/// A table of arguments, and the entries that it points to.
class AmqpTable {
 public:
  void AddText(const char* name, std::string_view text) {
    amqp_table_entry_t& entry = Entry(name, AMQP_FIELD_KIND_UTF8);
    entry.value.value.bytes = BytesOf(text);
  }
  void AddNumber(const char* name, std::int64_t number) {
    amqp_table_entry_t& entry = Entry(name, AMQP_FIELD_KIND_I64);
    entry.value.value.i64 = number;
  }
  void AddTrue(const char* name) {
    amqp_table_entry_t& entry = Entry(name, AMQP_FIELD_KIND_BOOLEAN);
    entry.value.value.boolean = 1;
  }
  void AddTable(const char* name, const AmqpTable& table) {
    amqp_table_entry_t& entry = Entry(name, AMQP_FIELD_KIND_TABLE);
    entry.value.value.table = table.Get();
  }
  /// Valid while the object and the texts in it are as they are.
  [[nodiscard]] amqp_table_t Get() const {
    return {static_cast<int>(entries_.size()), const_cast<amqp_table_entry_t*>(entries_.data())};
  }

 private:
  amqp_table_entry_t& Entry(const char* name, amqp_field_value_kind_t kind) {
    amqp_table_entry_t& entry = entries_.emplace_back();
    entry.key = amqp_cstring_bytes(name);
    entry.value.kind = static_cast<std::uint8_t>(kind);
    return entry;
  }

  std::vector<amqp_table_entry_t> entries_;
};

/// How often a message was delivered and not acknowledged, as a quorum queue writes it into the headers; 0 when nothing
/// of the kind stands there.
[[nodiscard]] std::uint64_t EarlierDeliveries(const amqp_table_t& headers);

}  // namespace ods
