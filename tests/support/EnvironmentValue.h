// An environment variable that has a value as long as the object lives.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>

#include "support/TestSystem.h"

namespace ods::test {

class EnvironmentValue {
 public:
  EnvironmentValue(const char* name, const std::string& value) : name_(name) {
    if (const char* before = std::getenv(name)) before_ = before;
    SetEnvironment(name, value);
  }
  ~EnvironmentValue() {
    if (before_) {
      SetEnvironment(name_, *before_);
    } else {
      UnsetEnvironment(name_);
    }
  }
  EnvironmentValue(const EnvironmentValue&) = delete;
  EnvironmentValue& operator=(const EnvironmentValue&) = delete;
  EnvironmentValue(EnvironmentValue&&) = delete;
  EnvironmentValue& operator=(EnvironmentValue&&) = delete;

 private:
  const char* name_;
  std::optional<std::string> before_;
};

}  // namespace ods::test
