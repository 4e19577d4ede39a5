#include "common/Files.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <system_error>

#include "common/Error.h"
#include "common/Text.h"

namespace ods {

namespace {

namespace fs = std::filesystem;

struct FileCloser {
  void operator()(std::FILE* file) const {
    static_cast<void>(std::fclose(file));  // NOLINT(cppcoreguidelines-owning-memory) the owner's part
  }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

Error ReadError(const std::string& path, int systemError) {
  return {error_number::kOwn, "Error reading file " + path + ": " + std::generic_category().message(systemError)};
}

File OpenForReading(const std::string& path) {
  if (path.empty()) {
    throw Error(error_number::kOwn, "Function ReadFile does not accept an empty file name as parameter.");
  }
  File file(std::fopen(path.c_str(), "rb"));
  const int systemError = errno;
  if (file) return file;
  if (systemError == EMFILE || systemError == ENFILE) {
    throw Error(error_number::kOwn, "Function ReadFile was not able to get a free file handle.");
  }
  if (systemError == ENOENT) throw Error(error_number::kFileNotFound, "File not found: " + path);
  throw ReadError(path, systemError);
}

template <typename Container>
Container ReadWhole(const std::string& path) {
  constexpr std::size_t kFirstBlock = 16384;
  const File file = OpenForReading(path);
  // Blocks go straight into the result, so the stream needs no buffer of its own.
  static_cast<void>(std::setvbuf(file.get(), nullptr, _IONBF, 0));
  Container content;
  std::size_t size = 0;
  do {
    content.resize(size == 0 ? kFirstBlock : size * 2);
    errno = 0;
    size += std::fread(content.data() + size, 1, content.size() - size, file.get());
    if (std::ferror(file.get()) != 0) throw ReadError(path, errno);
  } while (size == content.size());
  content.resize(size);
  return content;
}

}  // namespace

std::string JoinPath(std::string_view folder, std::string_view name) {
  std::string path;
  path.reserve(folder.size() + 1 + name.size());
  return path.append(folder).append(1, kPathSeparator).append(name);
}

bool IsAbsolutePath(std::string_view path) {
  if (path.starts_with('/') || path.starts_with("\\\\")) return true;
  return path.size() >= 3 && path[1] == ':' && (path[2] == '\\' || path[2] == '/');
}

std::vector<std::string> FolderLevels(std::string_view path, char separator) {
  const std::string_view one(&separator, 1);
  const std::string prepared = separator == '\\' ? ReplaceAll(path, "/", one) : std::string(path);
  const bool isNetworkPath = prepared.starts_with(std::string(2, separator));
  std::size_t namesToSkip = isNetworkPath ? 2 : 0;
  std::string level = isNetworkPath ? std::string(one) : "";
  if (prepared.starts_with(separator)) level += separator;

  std::vector<std::string> levels;
  for (const std::string& name : Split(prepared, one)) {
    if (name.empty()) continue;
    if (!level.empty() && level.back() != separator) level += separator;
    const bool isDrive = separator == '\\' && level.empty() && name.size() == 2 && name[1] == ':';
    level += name;
    if (namesToSkip > 0) {
      --namesToSkip;
    } else if (!isDrive) {
      levels.push_back(level);
    }
  }
  return levels;
}

Bytes ReadFile(const std::string& path) { return ReadWhole<Bytes>(path); }

std::string ReadFileText(const std::string& path) { return ReadWhole<std::string>(path); }

}  // namespace ods
