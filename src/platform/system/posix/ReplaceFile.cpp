#include "platform/system/ReplaceFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <initializer_list>
#include <optional>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/xattr.h>
#include <system_error>
#include <unistd.h>

#include "platform/system/FileHandle.h"

namespace ods {

namespace {

constexpr mode_t kPrivate = S_IRUSR | S_IWUSR;
constexpr mode_t kModeBits = 07777;
constexpr const char* kAccessList = "system.posix_acl_access";

/// What a call gave that gives 0 when all is well.
std::error_code ToError(int result) { return result == 0 ? std::error_code() : LastSystemError(); }

bool IsOneOf(const std::error_code& failure, std::initializer_list<int> numbers) {
  return std::ranges::find(numbers, failure.value()) != numbers.end();
}

/// A new file beside another one, removed again unless it took that one's place.
class ReplacementFile {
 public:
  explicit ReplacementFile(const std::string& place)
      : place_(place),
        path_(place + "." + RandomNamePart() + ".tmp"),
        handle_(open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, kPrivate)),
        failure_(handle_ ? std::error_code() : LastSystemError()) {}
  ~ReplacementFile() {
    if (!failure_ && !renamed_) unlink(path_.c_str());
  }
  ReplacementFile(const ReplacementFile&) = delete;
  ReplacementFile& operator=(const ReplacementFile&) = delete;
  ReplacementFile(ReplacementFile&&) = delete;
  ReplacementFile& operator=(ReplacementFile&&) = delete;

  /// Why there is no such file.
  [[nodiscard]] const std::error_code& Failure() const { return failure_; }
  [[nodiscard]] std::error_code SetMode(mode_t mode) const { return ToError(fchmod(handle_.Get(), mode)); }
  /// Gives the file the owner, group, mode and access list of the one there.
  [[nodiscard]] std::error_code Resemble(const struct stat& facts) const {
    // The mode comes after the owner: a new owner takes special bits away. And the list after the mode, which is a part
    // of it: the group's bits alone would give the group what the list gives others.
    if (fchown(handle_.Get(), facts.st_uid, facts.st_gid) != 0) return LastSystemError();
    if (const auto failure = SetMode(facts.st_mode & kModeBits)) return failure;
    std::array<char, 8192> list{};
    const ssize_t size = getxattr(place_.c_str(), kAccessList, list.data(), list.size());
    if (size < 0) return errno == ENODATA || errno == EOPNOTSUPP ? std::error_code() : LastSystemError();
    return ToError(fsetxattr(handle_.Get(), kAccessList, list.data(), static_cast<std::size_t>(size), 0));
  }
  /// Has the place hold `text`.
  [[nodiscard]] std::error_code FillAndRename(std::string_view text) {
    if (const auto failure = WriteAll(handle_, text)) return failure;
    if (const auto failure = handle_.Close()) return failure;
    const std::error_code failure = ToError(rename(path_.c_str(), place_.c_str()));
    renamed_ = !failure;
    return failure;
  }

 private:
  std::string place_;
  std::string path_;
  FileHandle handle_;
  std::error_code failure_;
  bool renamed_ = false;
};

std::error_code MakeNew(const std::string& place, std::string_view text, mode_t mode) {
  ReplacementFile file(place);
  if (file.Failure()) return file.Failure();
  if (const auto failure = file.SetMode(mode)) return failure;
  return file.FillAndRename(text);
}

std::error_code WriteInPlace(const std::string& path, std::string_view text) {
  const FileHandle file(open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  if (!file) return LastSystemError();
  const auto size = static_cast<off_t>(text.size());
  // Where the system can tell beforehand that there is no room, the old content stays.
  if (fallocate(file.Get(), FALLOC_FL_KEEP_SIZE, 0, size) != 0 &&
      (errno == ENOSPC || errno == EDQUOT || errno == EFBIG)) {
    return LastSystemError();
  }
  if (const auto failure = WriteAll(file, text)) return failure;
  return ToError(ftruncate(file.Get(), size));
}

std::error_code SendToSocket(const std::string& path, std::string_view text) {
  sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
  if (path.size() >= sizeof address.sun_path) return std::make_error_code(std::errc::filename_too_long);
  path.copy(address.sun_path, path.size());
  for (const int type : {SOCK_DGRAM, SOCK_STREAM, SOCK_SEQPACKET}) {
    const FileHandle socket(::socket(AF_UNIX, type | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket) return LastSystemError();
    if (connect(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
      if (errno == EPROTOTYPE) continue;
      return LastSystemError();
    }
    const ssize_t sent = send(socket.Get(), text.data(), text.size(), MSG_NOSIGNAL);
    if (sent < 0) return LastSystemError();
    if (static_cast<std::size_t>(sent) == text.size()) return {};
    return std::make_error_code(std::errc::resource_unavailable_try_again);
  }
  return std::make_error_code(std::errc::wrong_protocol_type);
}

std::error_code WriteToDevice(const std::string& path, std::string_view text) {
  const FileHandle device(open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  return device ? WriteAll(device, text) : LastSystemError();
}

/// Where a file would be made that opening the path would make: a link may lead to nothing yet.
std::string PlaceOf(const std::string& path) {
  constexpr int kMostLinks = 40;
  std::filesystem::path place = path;
  std::error_code failure;
  for (int links = 0; links < kMostLinks; ++links) {
    const std::filesystem::path target = std::filesystem::read_symlink(place, failure);
    if (failure) break;
    place = place.parent_path() / target;
  }
  return place.string();
}

/// Replaces a plain file; nothing when that cannot be done without changing whose it is.
std::optional<std::error_code> ReplaceAlike(const std::string& path, const struct stat& facts, std::string_view text) {
  if (facts.st_nlink > 1) return std::nullopt;
  std::error_code unknown;
  const std::string place = std::filesystem::canonical(path, unknown).string();
  if (unknown) return std::nullopt;
  ReplacementFile file(place);
  if (IsOneOf(file.Failure(), {ENOSPC, EDQUOT})) return file.Failure();
  if (file.Failure() || file.Resemble(facts)) return std::nullopt;
  const std::error_code failure = file.FillAndRename(text);
  if (IsOneOf(failure, {EACCES, EPERM, EBUSY})) return std::nullopt;
  return failure;
}

std::error_code Replace(const std::string& path, std::string_view text, mode_t newFileMode) {
  struct stat facts {};
  // By the system's own walk: it may refuse a link that somebody put into a folder for all.
  if (stat(path.c_str(), &facts) != 0) {
    return errno == ENOENT ? MakeNew(PlaceOf(path), text, newFileMode) : LastSystemError();
  }
  if (S_ISDIR(facts.st_mode)) return std::make_error_code(std::errc::is_a_directory);
  if (S_ISSOCK(facts.st_mode)) return SendToSocket(path, text);
  if (!S_ISREG(facts.st_mode)) return WriteToDevice(path, text);
  if (const auto failure = ReplaceAlike(path, facts, text)) return *failure;
  return WriteInPlace(path, text);
}

void RaiseWhenFailed(const std::string& path, const std::error_code& failure) {
  if (failure) RaiseSystemError("Unable to write file \"" + path + "\"", failure);
}

}  // namespace

void WriteFileAtomically(const std::string& path, std::string_view text) {
  RaiseWhenFailed(path, MakeNew(path, text, kPrivate));
}

void OverwriteFile(const std::string& path, std::string_view text) { RaiseWhenFailed(path, WriteInPlace(path, text)); }

void ReplaceFile(const std::string& path, std::string_view text, unsigned newFileMode) {
  RaiseWhenFailed(path, Replace(path, text, newFileMode));
}

}  // namespace ods
