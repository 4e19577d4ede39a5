// The base of everything that can be created by a programmatic identifier or held in a `Value`.
#pragma once

#include <string>

namespace ods {

/// A component. Shared by `std::shared_ptr`; its run-time type name decides what callers may do with it.
class Object {
 public:
  Object() = default;
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;
  Object(Object&&) = delete;
  Object& operator=(Object&&) = delete;
  virtual ~Object() = default;

  /// The run-time type name, such as "IHalvikDictionary".
  [[nodiscard]] virtual std::string TypeName() const = 0;
};

}  // namespace ods
