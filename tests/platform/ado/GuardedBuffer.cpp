#include "platform/ado/GuardedBuffer.h"

#include <cstdint>
#include <gtest/gtest.h>

namespace ods::odbc {
namespace {

template <typename Element>
class GuardedBufferOf : public ::testing::Test {};
using Elements = ::testing::Types<std::byte, std::uint16_t, std::int64_t>;
TYPED_TEST_SUITE(GuardedBufferOf, Elements);

TYPED_TEST(GuardedBufferOf, SeesAWriteBehindItsElements) {
  for (const std::size_t count : {1U, 2U, 64U, 100'000U}) {
    GuardedBuffer<TypeParam, true> buffer;
    buffer.Resize(count);
    EXPECT_EQ(buffer.Size(), count);
    std::ranges::fill(buffer.Elements(), TypeParam{7});
    EXPECT_TRUE(buffer.IsIntact()) << count;
    auto* const bytes = reinterpret_cast<std::byte*>(buffer.Data());
    const std::size_t end = count * sizeof(TypeParam);
    for (const std::size_t offset : {0U, 1U, 63U}) {
      const std::byte old = bytes[end + offset];
      bytes[end + offset] = std::byte{0};
      EXPECT_FALSE(buffer.IsIntact()) << count << " elements, byte " << offset << " behind them";
      bytes[end + offset] = old;
    }
    EXPECT_TRUE(buffer.IsIntact());
  }
}

TYPED_TEST(GuardedBufferOf, KeepsItsElementsAndGuardsAnewWhenItGrows) {
  GuardedBuffer<TypeParam, true> buffer;
  EXPECT_TRUE(buffer.IsIntact());
  buffer.Resize(3);
  std::ranges::fill(buffer.Elements(), TypeParam{7});
  buffer.Resize(200);
  EXPECT_EQ(std::ranges::count(buffer.Elements(), TypeParam{7}), 3);
  EXPECT_EQ(std::ranges::count(buffer.Elements(), TypeParam{0}), 197);
  EXPECT_TRUE(buffer.IsIntact());
  buffer.Resize(2);
  EXPECT_EQ(std::ranges::count(buffer.Elements(), TypeParam{7}), 2);
  EXPECT_TRUE(buffer.IsIntact());
}

TYPED_TEST(GuardedBufferOf, WithoutGuardIsItsElementsAlone) {
  GuardedBuffer<TypeParam, false> buffer;
  buffer.Resize(5);
  EXPECT_EQ(buffer.Size(), 5U);
  EXPECT_TRUE(buffer.IsIntact());
}

}  // namespace
}  // namespace ods::odbc
