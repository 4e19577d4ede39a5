// Names in order, each once.
#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

namespace ods {

class NameList {
 public:
  void Add(const std::string& name) {
    if (indexes_.emplace(name, names_.size()).second) names_.push_back(name);
  }
  void Add(const std::vector<std::string>& names) {
    for (const std::string& name : names) Add(name);
  }
  [[nodiscard]] const std::vector<std::string>& Names() const { return names_; }
  /// Where a name that was added stands.
  [[nodiscard]] std::size_t IndexOf(const std::string& name) const { return indexes_.at(name); }

 private:
  std::vector<std::string> names_;
  std::unordered_map<std::string, std::size_t> indexes_;
};

}  // namespace ods
