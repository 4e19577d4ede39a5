#include "platform/system/FileFacts.h"

#include "platform/system/posix/FileStat.h"

namespace ods {

FileFacts ToFacts(const struct stat& facts) {
  constexpr mode_t kModeBits = 07777;
  return {.device = facts.st_dev,
          .inode = facts.st_ino,
          .plain = S_ISREG(facts.st_mode),
          .folder = S_ISDIR(facts.st_mode),
          .mode = facts.st_mode & kModeBits,
          .group = facts.st_gid,
          .size = static_cast<std::uint64_t>(facts.st_size),
          .modified = {facts.st_mtim.tv_sec, facts.st_mtim.tv_nsec},
          .changed = {facts.st_ctim.tv_sec, facts.st_ctim.tv_nsec}};
}

FileFacts FactsOf(const FileHandle& file) {
  struct stat facts {};
  if (fstat(file.Get(), &facts) != 0) RaiseSystemError("Unable to look at a file", LastSystemError());
  return ToFacts(facts);
}

std::optional<FileFacts> FactsOf(const std::string& path) {
  struct stat facts {};
  if (stat(path.c_str(), &facts) != 0) return std::nullopt;
  return ToFacts(facts);
}

}  // namespace ods
