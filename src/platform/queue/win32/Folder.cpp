#include "platform/queue/Folder.h"

#include <aclapi.h>
#include <filesystem>
#include <memory>
#include <utility>

#include "common/Files.h"
#include "platform/system/Folders.h"
#include "platform/system/win32/Win32.h"

namespace ods {

namespace {

/// Others hold a file for moments without leave to move it: virus scanners, the search index, a client that reads.
constexpr int kTries = 20;
constexpr DWORD kPauseMilliseconds = 5;
/// Not through a link, and folders too.
constexpr DWORD kItself = FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT;

/// ERROR_DISK_QUOTA_EXCEEDED, which not all of the system's headers have.
constexpr int kDiskQuotaExceeded = 1295;

/// The failure of the last call. Two of them the library takes for others than they are here.
std::error_code Failure() {
  switch (GetLastError()) {
    case ERROR_SHARING_VIOLATION:
      return std::make_error_code(std::errc::device_or_resource_busy);
    case ERROR_LOCK_VIOLATION:
    case ERROR_IO_PENDING:
      return std::make_error_code(std::errc::operation_would_block);
    default:
      return LastSystemError();
  }
}

/// A call that gives 0 when it fails, tried again for as long as others hold its file.
template <typename Call>
std::error_code Persistently(Call call) {
  for (int tries = 1; call() == 0; ++tries) {
    if (GetLastError() != ERROR_SHARING_VIOLATION || tries == kTries) return Failure();
    Sleep(kPauseMilliseconds);
  }
  return {};
}

OpenedFile Open(const std::wstring& path, DWORD access, DWORD share, DWORD disposition, DWORD flags) {
  FileHandle file = OwnHandle(CreateFileW(path.c_str(), access, share, nullptr, disposition, flags, nullptr));
  const std::error_code failure = file ? std::error_code() : Failure();
  return {std::move(file), failure};
}

/// A file of a folder by its very name: in this form of a path none ("CON.xml") means a device.
std::wstring FileIn(const std::string& folder, const std::string& name) {
  constexpr std::wstring_view kLiteral = L"\\\\?\\";
  std::wstring path = std::filesystem::absolute(PathOf(folder)).make_preferred().wstring();
  if (!path.starts_with(kLiteral)) {
    path = path.starts_with(L"\\\\") ? std::wstring(kLiteral).append(L"UNC").append(path, 1) : kLiteral.data() + path;
  }
  if (!path.ends_with(L'\\')) path += L'\\';
  return path + ToWide(name);
}

/// A folder that nobody may move or remove as long as it is open.
OpenedFile OpenPinned(const std::string& path, Folder::Link link) {
  OpenedFile opened = Open(WidePath(path), FILE_LIST_DIRECTORY | FILE_READ_ATTRIBUTES | READ_CONTROL,
                           FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING,
                           link == Folder::Link::kFollowed ? FILE_FLAG_BACKUP_SEMANTICS : kItself);
  if (opened && !FactsOf(opened.file).folder) return {FileHandle(), SystemError(ERROR_DIRECTORY)};
  return opened;
}

/// True for a folder whose access list is its own, not its parent's: it was prepared by somebody, and what is made in
/// it inherits from it. Any other one has been given to all whom its parent was given to without a thought of a queue.
bool IsPrepared(const FileHandle& folder) {
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  if (GetSecurityInfo(AsHandle(folder), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, nullptr, nullptr,
                      &descriptor) != ERROR_SUCCESS) {
    return false;
  }
  const LocalMemory<void> owned(descriptor);
  SECURITY_DESCRIPTOR_CONTROL control = 0;
  DWORD revision = 0;
  return GetSecurityDescriptorControl(descriptor, &control, &revision) != 0 && (control & SE_DACL_PROTECTED) != 0;
}

struct SearchEnd {
  void operator()(void* search) const { FindClose(search); }
};

}  // namespace

Folder::Folder(std::string path, Link link) : path_(std::move(path)) {
  OpenedFile opened = OpenPinned(path_, link);
  handle_ = std::move(opened.file);
  failure_ = opened.failure;
}

Folder Folder::OpenOrMake(const std::string& name) const {
  std::string path = PathIn(path_, name);
  std::error_code made;
  if (!IsPrepared(handle_)) {
    made = MakePrivateFolder(path);
  } else if (CreateDirectoryW(WidePath(path).c_str(), nullptr) == 0) {
    made = Failure();
  }
  if (made && made != std::errc::file_exists)
    RaiseSystemError("Unable to create the queue folder \"" + path + "\"", made);
  OpenedFile opened = OpenPinned(path, Link::kRefused);
  if (!opened) RaiseSystemError("Unable to open the queue folder \"" + path + "\"", opened.failure);
  return {std::move(path), std::move(opened.file)};
}

std::optional<FileFacts> Folder::FactsOf(const std::string& name) const {
  const OpenedFile opened = Open(FileIn(path_, name), FILE_READ_ATTRIBUTES, kShareAll, OPEN_EXISTING, kItself);
  if (!opened) return std::nullopt;
  return ods::FactsOf(opened.file);
}

OpenedFile Folder::OpenForReading(const std::string& name) const {
  return Open(FileIn(path_, name), GENERIC_READ, kShareAll, OPEN_EXISTING, kItself);
}

OpenedFile Folder::CreateNew(const std::string& name) const {
  return Open(FileIn(path_, name), GENERIC_WRITE, kShareAll, CREATE_NEW, FILE_ATTRIBUTE_NORMAL);
}

void Folder::Share(const FileHandle& /*file*/) const {}  // it has the access list that its folder gives to its files

std::error_code Folder::Remove(const std::string& name) const {
  const std::wstring path = FileIn(path_, name);
  return Persistently([&path] { return DeleteFileW(path.c_str()); });
}

std::error_code Folder::Move(const std::string& name, const Folder& to, const std::string& newName) const {
  const std::wstring from = FileIn(path_, name);
  const std::wstring into = FileIn(to.path_, newName);
  return Persistently([&from, &into] { return MoveFileExW(from.c_str(), into.c_str(), 0); });
}

void Folder::ForEachName(const std::function<void(const std::string&)>& visit) const {
  WIN32_FIND_DATAW entry{};
  const HANDLE search = FindFirstFileExW(FileIn(path_, "*").c_str(), FindExInfoBasic, &entry, FindExSearchNameMatch,
                                         nullptr, FIND_FIRST_EX_LARGE_FETCH);
  if (search == INVALID_HANDLE_VALUE) {
    if (GetLastError() == ERROR_FILE_NOT_FOUND) return;
    RaiseSystemError("Unable to list a folder", Failure());
  }
  const std::unique_ptr<void, SearchEnd> owned(search);
  do {
    const std::string name = FromWide(entry.cFileName);
    if (name != "." && name != "..") visit(name);
  } while (FindNextFileW(search, &entry) != 0);
}

std::error_code Folder::Sync() const {
  const OpenedFile opened = Open(WidePath(path_), GENERIC_WRITE, kShareAll, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS);
  // Names are in the journal of the file system before the next write of the log; some refuse to be asked for more.
  if (!opened || FlushFileBuffers(AsHandle(opened.file)) == 0) {
    const DWORD number = GetLastError();
    if (number != ERROR_ACCESS_DENIED && number != ERROR_INVALID_FUNCTION && number != ERROR_INVALID_HANDLE)
      return Failure();
  }
  return {};
}

std::error_code TryLock(const FileHandle& file) {
  // A lock of this system keeps others from the bytes that it is on: so it lies where no message has one.
  OVERLAPPED where{};
  where.OffsetHigh = 0x7FFFFFFF;
  const BOOL locked = LockFileEx(AsHandle(file), LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &where);
  return locked != 0 ? std::error_code() : Failure();
}

std::error_code SyncFile(const FileHandle& file) {
  return FlushFileBuffers(AsHandle(file)) != 0 ? std::error_code() : Failure();
}

bool IsLackOfRoom(const std::error_code& failure) {
  const int number = failure.value();
  return number == ERROR_DISK_FULL || number == ERROR_HANDLE_DISK_FULL || number == kDiskQuotaExceeded ||
         number == ERROR_FILE_TOO_LARGE;
}

}  // namespace ods
