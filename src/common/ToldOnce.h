// News that would come round after round, told once until it changes.
#pragma once

#include <string>
#include <utility>

namespace ods {

class ToldOnce {
 public:
  /// True when the caller has to tell `text`: it is not what was told last.
  [[nodiscard]] bool IsNew(std::string text) {
    if (told_ && text_ == text) return false;
    told_ = true;
    text_ = std::move(text);
    return true;
  }

  /// The matter is settled: whatever comes next is new.
  void Clear() { told_ = false; }

  /// True while something told has not been settled.
  [[nodiscard]] bool Stands() const { return told_; }

 private:
  bool told_ = false;
  std::string text_;
};

}  // namespace ods
