#include "platform/system/COpSysInfo.h"

#include <sys/utsname.h>

#include "common/Attempt.h"
#include "platform/system/ReadFile.h"

namespace ods {

namespace {

/// Where the distribution describes itself: the first place is the administrator's (os-release(5)).
constexpr const char* kReleaseFiles[] = {"/etc/os-release", "/usr/lib/os-release"};

std::string ReleaseText() {
  std::string text;
  for (const char* file : kReleaseFiles) {
    if (!Attempt([&] { text = ReadFileText(file); })) break;
  }
  return text;
}

utsname SystemNames() {
  utsname names{};
  (void)uname(&names);
  return names;
}

}  // namespace

COpSysInfo::COpSysInfo() {
  const utsname names = SystemNames();
  *this = COpSysInfo(names.sysname, names.release, names.machine, ReleaseText());
}

}  // namespace ods
