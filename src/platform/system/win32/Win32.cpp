#include "platform/system/win32/Win32.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace ods {

namespace {

/// The user of this process as the system writes it ("S-1-5-21-..."); "" when it does not tell.
std::wstring OwnSid() {
  HANDLE opened = nullptr;
  if (OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &opened) == 0) return {};
  const FileHandle token = OwnHandle(opened);
  DWORD size = 0;
  GetTokenInformation(AsHandle(token), TokenUser, nullptr, 0, &size);
  std::vector<std::max_align_t> buffer(size / sizeof(std::max_align_t) + 1);
  if (GetTokenInformation(AsHandle(token), TokenUser, buffer.data(), size, &size) == 0) return {};
  wchar_t* text = nullptr;
  if (ConvertSidToStringSidW(reinterpret_cast<TOKEN_USER*>(buffer.data())->User.Sid, &text) == 0) return {};
  const LocalMemory<wchar_t> owned(text);
  return text;
}

/// A path with a name this long is beyond what the calls take in the usual form (folders: 248, with room for a name).
constexpr std::size_t kLongPath = 240;
constexpr std::wstring_view kLiteral = L"\\\\?\\";

std::wstring FullPath(const std::wstring& path) {
  const DWORD size = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
  std::wstring full(size, L'\0');
  const DWORD length = GetFullPathNameW(path.c_str(), size, full.data(), nullptr);
  full.resize(std::min(length, size));
  return full;
}

}  // namespace

std::wstring ToWide(std::string_view text) {
  if (text.empty()) return {};
  const int size = static_cast<int>(text.size());
  std::wstring wide(static_cast<std::size_t>(MultiByteToWideChar(CP_UTF8, 0, text.data(), size, nullptr, 0)), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, text.data(), size, wide.data(), static_cast<int>(wide.size()));
  return wide;
}

std::string FromWide(std::wstring_view text) {
  if (text.empty()) return {};
  const int size = static_cast<int>(text.size());
  const int needed = WideCharToMultiByte(CP_UTF8, 0, text.data(), size, nullptr, 0, nullptr, nullptr);
  std::string narrow(static_cast<std::size_t>(needed), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), size, narrow.data(), needed, nullptr, nullptr);
  return narrow;
}

std::wstring WidePath(std::string_view path) {
  std::wstring wide = ToWide(path);
  std::ranges::replace(wide, L'/', L'\\');
  if (wide.size() < kLongPath || wide.starts_with(kLiteral)) return wide;
  const std::wstring full = FullPath(wide);
  if (full.starts_with(L"\\\\")) return std::wstring(kLiteral).append(L"UNC").append(full, 1);
  return std::wstring(kLiteral) + full;
}

PrivateSecurity::PrivateSecurity() {
  const std::wstring user = OwnSid();
  if (user.empty()) return;
  // "P" keeps out what the folder above would hand down; FA is all access, OI and CI hand it down to files and folders.
  const std::wstring text = L"O:" + user + L"D:P(A;OICI;FA;;;" + user + L")(A;OICI;FA;;;SY)";
  PSECURITY_DESCRIPTOR made = nullptr;
  if (ConvertStringSecurityDescriptorToSecurityDescriptorW(text.c_str(), SDDL_REVISION_1, &made, nullptr) == 0) return;
  descriptor_.reset(static_cast<SECURITY_DESCRIPTOR*>(made));
  attributes_ = {.nLength = sizeof attributes_, .lpSecurityDescriptor = made, .bInheritHandle = FALSE};
}

}  // namespace ods
