// File rights as somebody has them who is no administrator.
#pragma once

#include <unistd.h>

namespace ods::test {

/// The number of the user "nobody", and of the group, on every Linux.
inline constexpr unsigned kNobody = 65534;

/// As long as it lives, an administrator's process has the rights of a plain user; anybody else's has its own.
class PlainUser {
 public:
  PlainUser() : isChanged_(geteuid() == 0 && seteuid(kNobody) == 0) {}
  ~PlainUser() {
    if (isChanged_) (void)!seteuid(0);
  }
  PlainUser(const PlainUser&) = delete;
  PlainUser& operator=(const PlainUser&) = delete;
  PlainUser(PlainUser&&) = delete;
  PlainUser& operator=(PlainUser&&) = delete;

 private:
  bool isChanged_;
};

}  // namespace ods::test
