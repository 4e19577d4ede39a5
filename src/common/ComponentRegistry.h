// Components by programmatic identifier, and the uniform report when one cannot be created.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>

#include "common/Error.h"
#include "common/Object.h"

namespace ods {

/// The factories of the process, filled once at start-up.
class ComponentRegistry {
 public:
  using Factory = std::function<std::shared_ptr<Object>()>;

  /// Knows "Halvik.Dictionary" and "Tarnwell.Dictionary" from the start.
  ComponentRegistry();

  void Register(const std::string& progId, Factory factory);
  /// A new object. Raises error 429 for an unknown identifier, and whatever the factory raises.
  [[nodiscard]] std::shared_ptr<Object> Create(const std::string& progId) const;

 private:
  std::map<std::string, Factory> factories_;
};

/// Creates the object of `progId`. A failure is raised again with its number: 429 with "Error creating object: " +
/// identifier, any other number n with "Error creating object: " + identifier + ". Error " + n + " (0x" + hexadecimal n
/// +
/// "): " + the description.
[[nodiscard]] std::shared_ptr<Object> CreateObjectChecked(const ComponentRegistry& components,
                                                          const std::string& progId);

/// The same, as an object of class `T`. Raises error 13 when the component is of another class.
template <typename T>
[[nodiscard]] std::shared_ptr<T> CreateObjectChecked(const ComponentRegistry& components, const std::string& progId) {
  auto object = std::dynamic_pointer_cast<T>(CreateObjectChecked(components, progId));
  if (!object) throw Error(error_number::kTypeMismatch, "Type mismatch: " + progId);
  return object;
}

}  // namespace ods
