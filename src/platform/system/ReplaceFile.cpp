#include "platform/system/ReplaceFile.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
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

/// A new file beside another one, removed again unless it took that one's place.
class ReplacementFile {
 public:
  explicit ReplacementFile(const std::string& place)
      : place_(place),
        path_(place + "." + RandomNamePart() + ".tmp"),
        handle_(open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, kPrivate)),
        failure_(handle_ ? 0 : errno) {}
  ~ReplacementFile() {
    if (failure_ == 0 && !renamed_) unlink(path_.c_str());
  }
  ReplacementFile(const ReplacementFile&) = delete;
  ReplacementFile& operator=(const ReplacementFile&) = delete;
  ReplacementFile(ReplacementFile&&) = delete;
  ReplacementFile& operator=(ReplacementFile&&) = delete;

  /// Why there is no such file; 0 when there is one.
  [[nodiscard]] int Failure() const { return failure_; }
  /// Gives the system's error number, 0 when the file has the mode.
  [[nodiscard]] int SetMode(mode_t mode) const { return fchmod(handle_.Get(), mode) == 0 ? 0 : errno; }
  /// Gives the system's error number, 0 when the file has the owner, group, mode and access list of the one there.
  [[nodiscard]] int Resemble(const struct stat& facts) const {
    // The mode comes after the owner: a new owner takes special bits away. And the list after the mode, which is a part
    // of it: the group's bits alone would give the group what the list gives others.
    if (fchown(handle_.Get(), facts.st_uid, facts.st_gid) != 0) return errno;
    if (const int failure = SetMode(facts.st_mode & kModeBits); failure != 0) return failure;
    std::array<char, 8192> list{};
    const ssize_t size = getxattr(place_.c_str(), kAccessList, list.data(), list.size());
    if (size < 0) return errno == ENODATA || errno == EOPNOTSUPP ? 0 : errno;
    return fsetxattr(handle_.Get(), kAccessList, list.data(), static_cast<std::size_t>(size), 0) == 0 ? 0 : errno;
  }
  /// Gives the system's error number, 0 when the place now holds `text`.
  [[nodiscard]] int FillAndRename(std::string_view text) {
    if (const int failure = WriteAll(handle_.Get(), text); failure != 0) return failure;
    if (const int failure = handle_.Close(); failure != 0) return failure;
    renamed_ = rename(path_.c_str(), place_.c_str()) == 0;
    return renamed_ ? 0 : errno;
  }

 private:
  std::string place_;
  std::string path_;
  FileHandle handle_;
  int failure_;
  bool renamed_ = false;
};

/// Each of these gives the system's error number, 0 when all is well.

int MakeNew(const std::string& place, std::string_view text, mode_t mode) {
  ReplacementFile file(place);
  if (file.Failure() != 0) return file.Failure();
  if (const int failure = file.SetMode(mode); failure != 0) return failure;
  return file.FillAndRename(text);
}

int WriteInPlace(const std::string& path, std::string_view text) {
  const FileHandle file(open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  if (!file) return errno;
  const auto size = static_cast<off_t>(text.size());
  // Where the system can tell beforehand that there is no room, the old content stays.
  if (fallocate(file.Get(), FALLOC_FL_KEEP_SIZE, 0, size) != 0 &&
      (errno == ENOSPC || errno == EDQUOT || errno == EFBIG)) {
    return errno;
  }
  if (const int failure = WriteAll(file.Get(), text); failure != 0) return failure;
  return ftruncate(file.Get(), size) == 0 ? 0 : errno;
}

int SendToSocket(const std::string& path, std::string_view text) {
  sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
  if (path.size() >= sizeof address.sun_path) return ENAMETOOLONG;
  path.copy(address.sun_path, path.size());
  for (const int type : {SOCK_DGRAM, SOCK_STREAM, SOCK_SEQPACKET}) {
    const FileHandle socket(::socket(AF_UNIX, type | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket) return errno;
    if (connect(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
      if (errno == EPROTOTYPE) continue;
      return errno;
    }
    const ssize_t sent = send(socket.Get(), text.data(), text.size(), MSG_NOSIGNAL);
    if (sent < 0) return errno;
    return static_cast<std::size_t>(sent) == text.size() ? 0 : EAGAIN;
  }
  return EPROTOTYPE;
}

int WriteToDevice(const std::string& path, std::string_view text) {
  const FileHandle device(open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  return device ? WriteAll(device.Get(), text) : errno;
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
std::optional<int> ReplaceAlike(const std::string& path, const struct stat& facts, std::string_view text) {
  if (facts.st_nlink > 1) return std::nullopt;
  std::error_code unknown;
  const std::string place = std::filesystem::canonical(path, unknown).string();
  if (unknown) return std::nullopt;
  ReplacementFile file(place);
  if (file.Failure() == ENOSPC || file.Failure() == EDQUOT) return file.Failure();
  if (file.Failure() != 0 || file.Resemble(facts) != 0) return std::nullopt;
  const int failure = file.FillAndRename(text);
  if (failure == EACCES || failure == EPERM || failure == EBUSY) return std::nullopt;
  return failure;
}

int Replace(const std::string& path, std::string_view text, mode_t newFileMode) {
  struct stat facts {};
  // By the system's own walk: it may refuse a link that somebody put into a folder for all.
  if (stat(path.c_str(), &facts) != 0) return errno == ENOENT ? MakeNew(PlaceOf(path), text, newFileMode) : errno;
  if (S_ISDIR(facts.st_mode)) return EISDIR;
  if (S_ISSOCK(facts.st_mode)) return SendToSocket(path, text);
  if (!S_ISREG(facts.st_mode)) return WriteToDevice(path, text);
  if (const auto failure = ReplaceAlike(path, facts, text)) return *failure;
  return WriteInPlace(path, text);
}

void RaiseWhenFailed(const std::string& path, int failure) {
  if (failure != 0) RaiseSystemError("Unable to write file \"" + path + "\"", failure);
}

}  // namespace

void WriteFileAtomically(const std::string& path, std::string_view text) {
  RaiseWhenFailed(path, MakeNew(path, text, kPrivate));
}

void ReplaceFile(const std::string& path, std::string_view text, unsigned newFileMode) {
  RaiseWhenFailed(path, Replace(path, text, newFileMode));
}

}  // namespace ods
