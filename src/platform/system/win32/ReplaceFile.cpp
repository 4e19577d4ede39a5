#include "platform/system/ReplaceFile.h"

#include "platform/system/FileFacts.h"
#include "platform/system/win32/Win32.h"

namespace ods {

namespace {

/// Readers, virus scanners and the search index hold a file for moments without leave to replace it. A writer that
/// has other things to do does not wait longer than a twentieth of a second in all.
constexpr int kTries = 10;
constexpr DWORD kPauseMilliseconds = 5;
/// What others than the owner may do with a file: with any of these bits it takes the access list of its folder.
constexpr unsigned kOfOthers = 077;

bool IsHeldForAMoment(const std::error_code& failure) {
  return failure == SystemError(ERROR_SHARING_VIOLATION) || failure == SystemError(ERROR_ACCESS_DENIED) ||
         failure == SystemError(ERROR_USER_MAPPED_FILE);
}

/// A new file beside another one, removed again unless it took that one's place.
class ReplacementFile {
 public:
  ReplacementFile(std::wstring place, SECURITY_ATTRIBUTES* security)
      : place_(std::move(place)),
        path_(place_ + L"." + ToWide(RandomNamePart()) + L".tmp"),
        handle_(OwnHandle(CreateFileW(path_.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE, security,
                                      CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr))),
        failure_(handle_ ? std::error_code() : LastSystemError()) {}
  ~ReplacementFile() {
    handle_.Close();
    if (!failure_ && !renamed_) DeleteFileW(path_.c_str());
  }
  ReplacementFile(const ReplacementFile&) = delete;
  ReplacementFile& operator=(const ReplacementFile&) = delete;
  ReplacementFile(ReplacementFile&&) = delete;
  ReplacementFile& operator=(ReplacementFile&&) = delete;

  /// Has the place hold `text`.
  [[nodiscard]] std::error_code FillAndRename(std::string_view text) {
    if (failure_) return failure_;
    if (const auto failure = WriteAll(handle_, text)) return failure;
    if (const auto failure = handle_.Close()) return failure;
    std::error_code failure = Rename();
    for (int tries = 1; IsHeldForAMoment(failure) && tries < kTries; ++tries) {
      Sleep(kPauseMilliseconds);
      failure = Rename();
    }
    renamed_ = !failure;
    return failure;
  }

 private:
  [[nodiscard]] std::error_code Rename() const {
    return MoveFileExW(path_.c_str(), place_.c_str(), MOVEFILE_REPLACE_EXISTING) != 0 ? std::error_code()
                                                                                      : LastSystemError();
  }

  std::wstring place_;
  std::wstring path_;
  FileHandle handle_;
  std::error_code failure_;
  bool renamed_ = false;
};

std::error_code MakeNew(const std::wstring& place, std::string_view text, unsigned mode) {
  PrivateSecurity security;
  return ReplacementFile(place, (mode & kOfOthers) == 0 ? security.Attributes() : nullptr).FillAndRename(text);
}

/// An opened file that is there, as it is without its links.
struct ExistingFile {
  std::wstring place;
  LocalMemory<void> descriptor;  ///< its owner and its access list; nullptr where they cannot be read
};

std::wstring FinalPath(const FileHandle& file) {
  std::wstring path(MAX_PATH, L'\0');
  while (true) {
    const DWORD size = GetFinalPathNameByHandleW(AsHandle(file), path.data(), static_cast<DWORD>(path.size()), 0);
    if (size < path.size()) return path.substr(0, size);
    path.resize(size + 1);
  }
}

ExistingFile Describe(const FileHandle& file, const std::wstring& path) {
  ExistingFile existing{FinalPath(file), nullptr};
  if (existing.place.empty()) existing.place = path;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  if (GetSecurityInfo(AsHandle(file), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, nullptr, nullptr,
                      &descriptor) == ERROR_SUCCESS) {
    existing.descriptor.reset(descriptor);
  }
  return existing;
}

std::error_code ReplaceAlike(const ExistingFile& existing, std::string_view text) {
  SECURITY_ATTRIBUTES alike{
      .nLength = sizeof alike, .lpSecurityDescriptor = existing.descriptor.get(), .bInheritHandle = FALSE};
  return ReplacementFile(existing.place, existing.descriptor ? &alike : nullptr).FillAndRename(text);
}

std::error_code WriteInPlace(const std::wstring& path, std::string_view text) {
  const FileHandle file =
      OwnHandle(CreateFileW(path.c_str(), GENERIC_WRITE, kShareAll, nullptr, OPEN_EXISTING, 0, nullptr));
  if (!file) return LastSystemError();
  if (const auto failure = WriteAll(file, text)) return failure;
  return SetEndOfFile(AsHandle(file)) != 0 ? std::error_code() : LastSystemError();
}

std::error_code Replace(const std::wstring& path, std::string_view text, unsigned newFileMode) {
  // Only what a look takes: nobody is kept from the file, and nobody who has it keeps this from it.
  const FileHandle file = OwnHandle(CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES | READ_CONTROL, kShareAll, nullptr,
                                                OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  if (!file) {
    const DWORD number = GetLastError();
    if (number == ERROR_FILE_NOT_FOUND) return MakeNew(path, text, newFileMode);
    if (number == ERROR_PATH_NOT_FOUND) return SystemError(number);
    return WriteInPlace(path, text);
  }
  const FileFacts facts = FactsOf(file);
  if (facts.folder) return std::make_error_code(std::errc::is_a_directory);
  if (!facts.plain) return WriteInPlace(path, text);  // a device or a pipe
  const std::error_code failure = ReplaceAlike(Describe(file, path), text);
  return IsHeldForAMoment(failure) ? WriteInPlace(path, text) : failure;
}

void RaiseWhenFailed(const std::string& path, const std::error_code& failure) {
  if (failure) RaiseSystemError("Unable to write file \"" + path + "\"", failure);
}

}  // namespace

void WriteFileAtomically(const std::string& path, std::string_view text) {
  RaiseWhenFailed(path, MakeNew(WidePath(path), text, 0));
}

void ReplaceFile(const std::string& path, std::string_view text, unsigned newFileMode) {
  RaiseWhenFailed(path, Replace(WidePath(path), text, newFileMode));
}

}  // namespace ods
