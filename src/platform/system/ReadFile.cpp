#include "platform/system/ReadFile.h"

#include <cstddef>
#include <system_error>

#include "common/Error.h"
#include "platform/system/FileHandle.h"

namespace ods {

namespace {

Error ReadError(const std::string& path, const std::error_code& failure) {
  return {error_number::kOwn, "Error reading file " + path + ": " + failure.message()};
}

FileHandle Open(const std::string& path) {
  if (path.empty()) {
    throw Error(error_number::kOwn, "Function ReadFile does not accept an empty file name as parameter.");
  }
  OpenedFile opened = OpenForReading(path);
  if (opened) return std::move(opened.file);
  if (opened.failure == std::errc::too_many_files_open || opened.failure == std::errc::too_many_files_open_in_system) {
    throw Error(error_number::kOwn, "Function ReadFile was not able to get a free file handle.");
  }
  if (opened.failure == std::errc::no_such_file_or_directory) {
    throw Error(error_number::kFileNotFound, "File not found: " + path);
  }
  throw ReadError(path, opened.failure);
}

template <typename Container>
Container ReadWhole(const std::string& path) {
  constexpr std::size_t kFirstBlock = 16384;
  const FileHandle file = Open(path);
  Container content;
  std::size_t size = 0;
  std::size_t got = 0;
  do {
    if (size == content.size()) content.resize(size == 0 ? kFirstBlock : size * 2);
    if (const std::error_code failure = ReadSome(file, content.data() + size, content.size() - size, got)) {
      throw ReadError(path, failure);
    }
    size += got;
  } while (got > 0);
  content.resize(size);
  return content;
}

}  // namespace

Bytes ReadFile(const std::string& path) { return ReadWhole<Bytes>(path); }

std::string ReadFileText(const std::string& path) { return ReadWhole<std::string>(path); }

}  // namespace ods
