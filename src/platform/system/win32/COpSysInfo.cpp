#include "platform/system/COpSysInfo.h"

#include "platform/system/win32/Win32.h"

namespace ods {

namespace {

/// Asked of the kernel: the documented functions tell a program without the right manifest of an older system.
std::string KernelVersion() {
  using Ask = LONG(WINAPI*)(OSVERSIONINFOW*);
  const HMODULE kernel = GetModuleHandleW(L"ntdll.dll");
  if (kernel == nullptr) return "";
  const auto ask = reinterpret_cast<Ask>(reinterpret_cast<void*>(GetProcAddress(kernel, "RtlGetVersion")));
  OSVERSIONINFOW facts{};
  facts.dwOSVersionInfoSize = sizeof facts;
  if (ask == nullptr || ask(&facts) != 0) return "";
  return std::to_string(facts.dwMajorVersion) + "." + std::to_string(facts.dwMinorVersion) + "." +
         std::to_string(facts.dwBuildNumber);
}

std::string ProcessorKind() {
  SYSTEM_INFO facts{};
  GetNativeSystemInfo(&facts);
  switch (facts.wProcessorArchitecture) {
    case PROCESSOR_ARCHITECTURE_AMD64:
      return "x86_64";
    case PROCESSOR_ARCHITECTURE_INTEL:
      return "i686";
    case PROCESSOR_ARCHITECTURE_ARM64:
      return "aarch64";
    default:
      return "";
  }
}

}  // namespace

COpSysInfo::COpSysInfo() : COpSysInfo(kWindowsName, KernelVersion(), ProcessorKind(), "") {}

}  // namespace ods
