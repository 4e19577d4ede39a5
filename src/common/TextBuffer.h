// A text that grows while it is written, without wiping out what it has room for.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace ods {

class TextBuffer {
 public:
  TextBuffer() = default;
  ~TextBuffer() = default;
  TextBuffer(const TextBuffer&) = delete;
  TextBuffer& operator=(const TextBuffer&) = delete;
  TextBuffer(TextBuffer&& other) noexcept { *this = std::move(other); }
  TextBuffer& operator=(TextBuffer&& other) noexcept {
    text_ = std::exchange(other.text_, nullptr);
    size_ = std::exchange(other.size_, 0);
    room_ = std::exchange(other.room_, 0);
    return *this;
  }

  [[nodiscard]] std::size_t Size() const { return size_; }
  [[nodiscard]] std::string_view View() const { return {text_.get(), size_}; }
  [[nodiscard]] char* Begin() { return text_.get(); }
  [[nodiscard]] char* End() { return text_.get() + size_; }

  /// The end of the text, with room for `bytes` more behind it. What is written there belongs to the text after
  /// `EndAt`.
  [[nodiscard]] char* Room(std::size_t bytes) {
    if (room_ - size_ < bytes) Grow(bytes);
    return End();
  }
  /// Makes `end` the end of the text: one within what there is room for.
  void EndAt(const char* end) { size_ = static_cast<std::size_t>(end - text_.get()); }
  void Truncate(std::size_t size) { size_ = std::min(size, size_); }
  void Append(std::string_view text) { EndAt(Put(Room(text.size()), text)); }

  /// Copies `text` to `to`, and gives the end of the copy.
  static char* Put(char* to, std::string_view text) {
    std::char_traits<char>::copy(to, text.data(), text.size());  // none of nothing
    return to + text.size();
  }

 private:
  void Grow(std::size_t bytes) {
    constexpr std::size_t kLeast = 4096;
    const std::size_t room = std::max({kLeast, 2 * room_, size_ + bytes});
    auto text = std::make_unique_for_overwrite<char[]>(room);  // NOLINT(*-avoid-c-arrays): memory of a size
    if (size_ > 0) std::memcpy(text.get(), text_.get(), size_);
    text_ = std::move(text);
    room_ = room;
  }

  std::unique_ptr<char[]> text_;  // NOLINT(*-avoid-c-arrays): likewise
  std::size_t size_ = 0;
  std::size_t room_ = 0;
};

}  // namespace ods
