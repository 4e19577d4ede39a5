#include "database/Dialect.h"

#include <gtest/gtest.h>

namespace ods {
namespace {

TEST(Dialect, EveryKindHasItsRow) {
  for (std::int32_t number = 0; number <= 8; ++number) {
    const auto kind = static_cast<DatabaseKind>(number);
    ASSERT_NE(FindDialect(kind), nullptr) << number;
    EXPECT_EQ(FindDialect(kind)->kind, kind);
    EXPECT_EQ(&DialectOf(kind), FindDialect(kind)) << "always the same row";
  }
  EXPECT_EQ(UnknownDialect().kind, DatabaseKind::DbUnknown);
}

TEST(Dialect, ANumberThatIsNoKindHasNoneAndIsTreatedAsUnknown) {
  for (const std::int32_t number : {-1, 9, 100}) {
    const auto kind = static_cast<DatabaseKind>(number);
    EXPECT_EQ(FindDialect(kind), nullptr) << number;
    EXPECT_EQ(&DialectOf(kind), &UnknownDialect()) << number;
  }
}

}  // namespace
}  // namespace ods
