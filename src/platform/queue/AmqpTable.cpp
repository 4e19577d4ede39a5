#include "platform/queue/AmqpTable.h"

#include <algorithm>

namespace ods {

namespace {

/// A number that a broker may write in any of its longer integer types; 0 for anything else.
std::uint64_t CountOf(const amqp_field_value_t& value) {
  std::int64_t number = 0;
  switch (value.kind) {
    case AMQP_FIELD_KIND_U8:
      number = value.value.u8;
      break;
    case AMQP_FIELD_KIND_I16:
      number = value.value.i16;
      break;
    case AMQP_FIELD_KIND_U16:
      number = value.value.u16;
      break;
    case AMQP_FIELD_KIND_I32:
      number = value.value.i32;
      break;
    case AMQP_FIELD_KIND_U32:
      number = value.value.u32;
      break;
    case AMQP_FIELD_KIND_I64:
      number = value.value.i64;
      break;
    default:
      break;
  }
  return static_cast<std::uint64_t>(std::max<std::int64_t>(number, 0));
}

}  // namespace

std::uint64_t EarlierDeliveries(const amqp_table_t& headers) {
  for (int i = 0; i < headers.num_entries; ++i) {
    if (TextOf(headers.entries[i].key) == "x-delivery-count") return CountOf(headers.entries[i].value);
  }
  return 0;
}

}  // namespace ods
