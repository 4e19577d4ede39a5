// An environment variable that has a value as long as the object lives.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace ods::test {

class EnvironmentValue {
 public:
  EnvironmentValue(const char* name, const std::string& value) : name_(name) {
    if (const char* before = std::getenv(name)) before_ = before;
    setenv(name, value.c_str(), 1);
  }
  ~EnvironmentValue() {
    if (before_) {
      setenv(name_, before_->c_str(), 1);
    } else {
      unsetenv(name_);
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
