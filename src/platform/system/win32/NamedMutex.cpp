#include "platform/system/NamedMutex.h"

#include <optional>

#include "platform/system/win32/Win32.h"

namespace ods {

namespace {

/// The name under which other sessions see a mutex; nothing for one that says itself where it belongs.
std::optional<std::wstring> NameOfAllSessions(const std::wstring& name) {
  if (name.find(L'\\') != std::wstring::npos) return std::nullopt;
  return L"Global\\" + name;
}

FileHandle Create(const wchar_t* name) { return OwnHandle(CreateMutexW(nullptr, FALSE, name)); }

/// Why there is no mutex of the name; no error when there is one.
std::error_code Look(const std::wstring& name) {
  const FileHandle mutex = OwnHandle(OpenMutexW(SYNCHRONIZE, FALSE, name.c_str()));
  if (mutex) return {};
  const DWORD number = GetLastError();
  // Somebody else's, whom only he himself may open.
  return number == ERROR_ACCESS_DENIED ? std::error_code() : SystemError(number);
}

}  // namespace

struct NamedMutex::Implementation {
  FileHandle mutex;
  FileHandle ofAllSessions;
};

NamedMutex::NamedMutex(const std::string& name) : implementation_(std::make_unique<Implementation>()) {
  const std::wstring wide = ToWide(name);
  implementation_->mutex = Create(name.empty() ? nullptr : wide.c_str());
  if (!implementation_->mutex) RaiseNumberedSystemError("Error creating instance mutex", LastSystemError());
  if (name.empty()) return;
  // Where it cannot be had, another session's counts as well as this one's would.
  if (const auto global = NameOfAllSessions(wide)) implementation_->ofAllSessions = Create(global->c_str());
}

NamedMutex::~NamedMutex() = default;

void NamedMutex::Destroy() {
  implementation_->ofAllSessions.Close();
  if (const auto failure = implementation_->mutex.Close()) {
    RaiseNumberedSystemError("Error destroying instance mutex handle", failure);
  }
}

bool MutexExists(const std::string& name) {
  if (name.empty()) return false;
  const std::wstring wide = ToWide(name);
  std::error_code failure = Look(wide);
  if (!failure) return true;
  if (failure != SystemError(ERROR_FILE_NOT_FOUND))
    RaiseSystemError("Unable to test the mutex \"" + name + "\"", failure);
  const auto global = NameOfAllSessions(wide);
  return global && !Look(*global);
}

}  // namespace ods
