#include "platform/queue/FolderWatch.h"

#include <array>
#include <vector>

#include "platform/system/FileHandle.h"
#include "platform/system/win32/Win32.h"

namespace ods {

namespace {

constexpr DWORD kWatched = FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_DIR_NAME | FILE_NOTIFY_CHANGE_LAST_WRITE;
/// Folders on other machines take no more.
constexpr DWORD kBufferBytes = 64 * 1024;

}  // namespace

struct FolderWatch::Implementation {
  FileHandle folder;
  /// Set while there is something to read.
  FileHandle event{OwnHandle(CreateEventW(nullptr, TRUE, FALSE, nullptr))};
  OVERLAPPED pending{};
  std::vector<DWORD> buffer = std::vector<DWORD>(kBufferBytes / sizeof(DWORD));
  /// The system has been asked, and has not answered yet.
  bool asked = false;

  bool Ask() {
    pending = {};
    pending.hEvent = AsHandle(event);
    asked = ReadDirectoryChangesW(AsHandle(folder), buffer.data(), kBufferBytes, FALSE, kWatched, nullptr, &pending,
                                  nullptr) != 0;
    return asked;
  }

  /// The system writes into the buffer until it says that it does not any more.
  void End() {
    if (asked) {
      DWORD ignored = 0;
      CancelIoEx(AsHandle(folder), &pending);
      GetOverlappedResult(AsHandle(folder), &pending, &ignored, TRUE);
    }
    asked = false;
    folder.Close();
  }
};

FolderWatch::FolderWatch() : implementation_(std::make_unique<Implementation>()) {}

FolderWatch::~FolderWatch() { implementation_->End(); }

bool FolderWatch::Works() const { return implementation_->asked; }

bool FolderWatch::Follow(const std::string& path) {
  Implementation& state = *implementation_;
  if (state.asked) return true;
  state.End();
  constexpr DWORD kFlags = FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT | FILE_FLAG_OVERLAPPED;
  state.folder = OwnHandle(
      CreateFileW(WidePath(path).c_str(), FILE_LIST_DIRECTORY, kShareAll, nullptr, OPEN_EXISTING, kFlags, nullptr));
  return state.event && state.folder && state.Ask();
}

bool FolderWatch::Read(const std::function<void(const std::string&)>& visit) {
  Implementation& state = *implementation_;
  if (!state.asked) return false;
  DWORD bytes = 0;
  if (GetOverlappedResult(AsHandle(state.folder), &state.pending, &bytes, FALSE) == 0) {
    if (GetLastError() == ERROR_IO_INCOMPLETE) return true;
    state.asked = false;
    return false;
  }
  const auto* at = reinterpret_cast<const char*>(state.buffer.data());
  for (bool more = bytes > 0; more;) {
    const auto* change = reinterpret_cast<const FILE_NOTIFY_INFORMATION*>(at);
    if (change->Action != FILE_ACTION_REMOVED && change->Action != FILE_ACTION_RENAMED_OLD_NAME) {
      visit(FromWide({change->FileName, change->FileNameLength / sizeof(wchar_t)}));
    }
    more = change->NextEntryOffset != 0;
    at += change->NextEntryOffset;
  }
  // What has happened since is kept for the next answer. An answer of nothing: it was too much to be told.
  return state.Ask() && bytes > 0;
}

bool FolderWatch::Wait(int milliseconds) const {
  std::array<HANDLE, 2> handles{};
  DWORD count = 0;
  const HANDLE stop = StopEvent();
  if (stop != nullptr) handles[count++] = stop;
  if (implementation_->asked) handles[count++] = AsHandle(implementation_->event);
  if (count == 0) {
    Sleep(static_cast<DWORD>(milliseconds));
    return true;
  }
  const DWORD result = WaitForMultipleObjects(count, handles.data(), FALSE, static_cast<DWORD>(milliseconds));
  return stop == nullptr || result != WAIT_OBJECT_0;
}

}  // namespace ods
