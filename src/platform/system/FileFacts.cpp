#include "platform/system/FileFacts.h"

#include <chrono>
#include <cstddef>
#include <utility>

#include "common/Error.h"

namespace ods {

bool IsSettled(const FileTime& time) {
  // Clocks of file systems go in steps of up to 2 seconds (FAT).
  constexpr std::int64_t kCoarsestSeconds = 2;
  constexpr std::int64_t kBillion = 1'000'000'000;
  const std::int64_t now =
      std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::system_clock::now().time_since_epoch()).count();
  return std::pair(time.seconds + kCoarsestSeconds, time.nanoseconds) < std::pair(now / kBillion, now % kBillion);
}

std::string ReadWhole(const FileHandle& file, std::uint64_t limit, const std::string& what) {
  const std::uint64_t size = FactsOf(file).size;
  if (size > limit) {
    throw Error(error_number::kOwn, what + " is larger than " + std::to_string(limit) + " bytes.");
  }
  std::string text(static_cast<std::size_t>(size), '\0');
  std::size_t done = 0;
  while (done < text.size()) {
    std::size_t got = 0;
    if (const auto failure = ReadSomeAt(file, done, text.data() + done, text.size() - done, got)) {
      RaiseSystemError(what + " cannot be read", failure);
    }
    if (got == 0) break;  // it became shorter in the meantime
    done += got;
  }
  text.resize(done);
  return text;
}

std::string ReadWhole(const FileHandle& file, std::uint64_t size, std::uint64_t limit, const std::string& what) {
  if (size > limit) return ReadWhole(file, limit, what);
  // One byte more than there should be: as many as there should be are all then.
  std::string text(static_cast<std::size_t>(size) + 1, '\0');
  std::size_t got = 0;
  if (ReadSomeAt(file, 0, text.data(), text.size(), got) || got != size) return ReadWhole(file, limit, what);
  text.resize(got);
  return text;
}

}  // namespace ods
