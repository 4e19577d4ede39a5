// A buffer that a driver writes into. Drivers have been seen to write beyond what they were given: so debug and
// sanitizer builds keep guard bytes behind it, which nothing but a driver's mistake changes. A release build has none.
//
// Internal to this folder.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <span>
#include <vector>

namespace ods::odbc {

#if !defined(NDEBUG) || defined(__SANITIZE_ADDRESS__)
inline constexpr bool kGuardsBuffers = true;
#else
inline constexpr bool kGuardsBuffers = false;
#endif

/// Elements in one piece of memory. `kGuarded` tells whether guard bytes follow them.
template <typename Element, bool kGuarded = kGuardsBuffers>
class GuardedBuffer {
 public:
  /// Gives the buffer `count` elements: those that it had keep their values, new ones are zero.
  void Resize(std::size_t count) {
    elements_.resize(Size());  // without the guard's
    elements_.resize(count);
    guard_ = 0;
    if constexpr (!kGuarded) return;
    elements_.resize(count + GuardElements(count));
    guard_ = elements_.size() - count;
    std::ranges::fill(std::as_writable_bytes(std::span(elements_).last(guard_)), kGuardByte);
  }
  [[nodiscard]] std::size_t Size() const { return elements_.size() - guard_; }
  [[nodiscard]] Element* Data() { return elements_.data(); }
  [[nodiscard]] const Element* Data() const { return elements_.data(); }
  [[nodiscard]] std::span<Element> Elements() { return std::span(elements_).first(Size()); }
  [[nodiscard]] std::span<const Element> Elements() const { return std::span(elements_).first(Size()); }
  /// False when something was written behind the elements.
  [[nodiscard]] bool IsIntact() const {
    // In one comparison, since it is made after each fetch: every byte is the first one when each is its neighbour.
    const auto guard = std::as_bytes(std::span(elements_).last(guard_));
    return guard.empty() ||
           (guard.front() == kGuardByte && std::memcmp(guard.data(), guard.data() + 1, guard.size() - 1) == 0);
  }

 private:
  static constexpr std::byte kGuardByte{0xA7};
  static constexpr std::size_t kLeastGuardBytes = 64;
  static constexpr std::size_t kMostGuardBytes = std::size_t{64} << 10U;

  /// As many as there are elements, within bounds: a driver that takes its cells for twice as large is seen.
  static std::size_t GuardElements(std::size_t count) {
    return std::clamp(count, kLeastGuardBytes / sizeof(Element), kMostGuardBytes / sizeof(Element));
  }

  std::vector<Element> elements_;  ///< the guard's behind the others
  std::size_t guard_ = 0;          ///< number of the guard's
};

}  // namespace ods::odbc
