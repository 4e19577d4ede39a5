#include "platform/system/PrivateFile.h"

#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include "common/Error.h"
#include "platform/system/FileFacts.h"
#include "platform/system/FileHandle.h"

namespace ods {

std::string ReadPrivateFile(const std::string& path, const std::string& what) {
  constexpr std::uint64_t kLargest = std::uint64_t{64} * 1024;
  constexpr mode_t kOfOthers = S_IRWXG | S_IRWXO;
  const std::string named = what + " \"" + path + "\"";
  const auto refuse = [&named](const std::string& why) { throw Error(error_number::kOwn, named + " " + why); };
  // What is checked and what is read is the same open file.
  const FileHandle file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  if (!file) RaiseSystemError(named + " cannot be read", LastSystemError());
  struct stat facts {};
  if (fstat(file.Get(), &facts) != 0) RaiseSystemError(named + " cannot be looked at", LastSystemError());
  if (!S_ISREG(facts.st_mode)) refuse("is not a plain file.");
  if ((facts.st_mode & kOfOthers) != 0) refuse("may be read or written by others than its owner: it needs mode 0600.");
  const uid_t self = geteuid();
  if (self != 0 && facts.st_uid != self && facts.st_uid != 0) refuse("belongs to another user.");
  return ReadWhole(file, kLargest, named);
}

std::string ReadPasswordFile(const std::string& path) {
  std::string text = ReadPrivateFile(path, "The password file");
  if (text.ends_with('\n')) text.pop_back();
  if (text.ends_with('\r')) text.pop_back();
  if (text.empty()) throw Error(error_number::kOwn, "The password file \"" + path + "\" is empty.");
  if (text.find_first_of(std::string_view("\n\r\0", 3)) != std::string::npos) {
    throw Error(error_number::kOwn, "The password file \"" + path + "\" holds more than one line.");
  }
  return text;
}

}  // namespace ods
