#include "platform/system/ReplaceFile.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <sys/xattr.h>

#include "common/Error.h"
#include "platform/system/FileHandle.h"
#include "platform/system/TestFolder.h"
#include "platform/system/posix/Child.h"
#include "support/MountedFolder.h"
#include "support/RaisedErrors.h"

namespace ods {
namespace {

using testing::Child;
using testing::ModeOf;
using testing::ReadText;
using testing::Report;
using testing::TestFolder;
using testing::WriteText;

constexpr unsigned kPrivate = 0600;
constexpr uid_t kOther = 2000001;

struct stat FactsOf(const std::string& path) {
  struct stat facts {};
  EXPECT_EQ(stat(path.c_str(), &facts), 0) << path;
  return facts;
}

std::string ErrorText(const std::string& path, const std::string& reason) {
  return "Unable to write file \"" + path + "\": " + reason;
}

/// Replaces a file as another user, and gives what was raised.
std::string ReplaceAs(uid_t user, const std::string& path, const std::string& text) {
  Child other([&](int pipe) {
    if (setresgid(user, user, user) != 0 || setresuid(user, user, user) != 0) _exit(3);
    try {
      ReplaceFile(path, text, kPrivate);
      Report(pipe, "replaced");
    } catch (const Error& error) {
      Report(pipe, error.Description());
    }
  });
  return other.Line();
}

TEST(WriteFileAtomically, ReplacesTheContentByANewFile) {
  const TestFolder folder;
  const std::string path = folder / "status.xml";
  WriteText(path, "a much longer old content");
  std::ifstream reader(path);  // who reads meanwhile keeps the whole old content
  WriteFileAtomically(path, "new");
  EXPECT_EQ(ReadText(path), "new");
  EXPECT_EQ(ModeOf(path), 0600U);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(reader), {}), "a much longer old content");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}), 1) << "nothing is left beside it";
}

TEST(WriteFileAtomically, NamesThePathAndLeavesNothingWhenItFails) {
  const TestFolder folder;
  EXPECT_RAISES(WriteFileAtomically(folder / "no/file", "x"), 1000,
                ErrorText(folder / "no/file", "No such file or directory"));
  std::filesystem::create_directories(folder / "taken/full");
  EXPECT_RAISES(WriteFileAtomically(folder / "taken", "x"), 1000, ErrorText(folder / "taken", "Is a directory"));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}), 1) << "only the folder is there";
}

TEST(ReplaceFile, ANewFileHasTheModeWhateverTheMask) {
  const TestFolder folder;
  const mode_t before = umask(0077);
  ReplaceFile(folder / "file", "text", 0644);
  umask(0);
  ReplaceFile(folder / "private", "text", kPrivate);
  umask(before);
  EXPECT_EQ(ReadText(folder / "file"), "text");
  EXPECT_EQ(ModeOf(folder / "file"), 0644U);
  EXPECT_EQ(ModeOf(folder / "private"), 0600U);
}

TEST(ReplaceFile, KeepsTheModeAndReplacesInOneStep) {
  const TestFolder folder;
  WriteText(folder / "file", "a much longer old content");
  chmod((folder / "file").c_str(), 0664);
  std::ifstream reader(folder / "file");
  ReplaceFile(folder / "file", "new", kPrivate);
  EXPECT_EQ(ReadText(folder / "file"), "new");
  EXPECT_EQ(ModeOf(folder / "file"), 0664U);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(reader), {}), "a much longer old content");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}), 1) << "nothing is left beside it";
}

TEST(ReplaceFile, RootKeepsOwnerAndGroup) {
  if (geteuid() != 0) GTEST_SKIP() << "needs the right to give files away";
  const TestFolder folder;
  WriteText(folder / "file", "old");
  ASSERT_EQ(chown((folder / "file").c_str(), kOther, kOther + 1), 0);
  chmod((folder / "file").c_str(), 0640);
  ReplaceFile(folder / "file", "new", kPrivate);
  EXPECT_EQ(ReadText(folder / "file"), "new");
  EXPECT_EQ(FactsOf(folder / "file").st_uid, kOther);
  EXPECT_EQ(FactsOf(folder / "file").st_gid, kOther + 1);
  EXPECT_EQ(ModeOf(folder / "file"), 0640U);
}

TEST(ReplaceFile, KeepsTheLinkAndReplacesWhatItLeadsTo) {
  const TestFolder folder;
  std::filesystem::create_directory(folder / "far");
  WriteText(folder / "far/file", "old");
  std::filesystem::create_symlink("far/file", folder / "link");
  std::filesystem::create_symlink(folder / "link", folder / "linked twice");
  ReplaceFile(folder / "linked twice", "new", kPrivate);
  EXPECT_EQ(ReadText(folder / "far/file"), "new");
  EXPECT_TRUE(std::filesystem::is_symlink(folder / "link"));
  EXPECT_TRUE(std::filesystem::is_symlink(folder / "linked twice"));
}

TEST(ReplaceFile, ALinkToNothingYetGetsItsFile) {
  const TestFolder folder;
  std::filesystem::create_directory(folder / "far");
  std::filesystem::create_symlink("far/file", folder / "link");
  ReplaceFile(folder / "link", "new", kPrivate);
  EXPECT_TRUE(std::filesystem::is_symlink(folder / "link"));
  EXPECT_EQ(ReadText(folder / "far/file"), "new");
  std::filesystem::create_symlink("circle", folder / "circle");
  EXPECT_RAISES(ReplaceFile(folder / "circle", "new", kPrivate), 1000,
                ErrorText(folder / "circle", "Too many levels of symbolic links"));
}

TEST(ReplaceFile, AFileOfTwoNamesKeepsBoth) {
  const TestFolder folder;
  WriteText(folder / "file", "a much longer old content");
  std::filesystem::create_hard_link(folder / "file", folder / "second");
  ReplaceFile(folder / "file", "new", kPrivate);
  EXPECT_EQ(ReadText(folder / "second"), "new");
}

TEST(ReplaceFile, KeepsTheAccessList) {
  const TestFolder folder;
  WriteText(folder / "file", "old");
  // user::rw-, user:2000001:rw-, group::---, mask::rw-, other::---, in the system's own form (acl_ea.h).
  const std::string list(
      "\2\0\0\0"
      "\1\0\6\0\377\377\377\377"
      "\2\0\6\0\201\204\36\0"
      "\4\0\0\0\377\377\377\377"
      "\20\0\6\0\377\377\377\377"
      "\40\0\0\0\377\377\377\377",
      44);
  if (setxattr((folder / "file").c_str(), "system.posix_acl_access", list.data(), list.size(), 0) != 0) {
    GTEST_SKIP() << "the file system has no access lists";
  }
  ReplaceFile(folder / "file", "new", kPrivate);
  std::string kept(100, '\0');
  kept.resize(static_cast<std::size_t>(
      std::max<ssize_t>(getxattr((folder / "file").c_str(), "system.posix_acl_access", kept.data(), kept.size()), 0)));
  EXPECT_EQ(kept, list);
  EXPECT_EQ(ReadText(folder / "file"), "new");
}

TEST(ReplaceFile, InAFolderThatMayNotBeWrittenTheFileIsWrittenInPlace) {
  if (geteuid() != 0) GTEST_SKIP() << "needs to become another user";
  const TestFolder folder;
  chmod(folder.Path().c_str(), 0755);
  WriteText(folder / "file", "a much longer old content");
  ASSERT_EQ(chown((folder / "file").c_str(), kOther, kOther), 0);
  EXPECT_EQ(ReplaceAs(kOther, folder / "file", "new"), "replaced");
  EXPECT_EQ(ReadText(folder / "file"), "new");
  EXPECT_EQ(ReplaceAs(kOther, folder / "file", "and a longer one again"), "replaced");
  EXPECT_EQ(ReadText(folder / "file"), "and a longer one again");
  EXPECT_EQ(ReplaceAs(kOther, folder / "missing", "new"), ErrorText(folder / "missing", "Permission denied"));
}

TEST(ReplaceFile, WhoMayNotGiveTheFileToItsOwnerWritesItInPlace) {
  if (geteuid() != 0) GTEST_SKIP() << "needs to become another user";
  const TestFolder folder;
  chmod(folder.Path().c_str(), 0777);
  WriteText(folder / "file", "a much longer old content");
  ASSERT_EQ(chown((folder / "file").c_str(), kOther, kOther + 5), 0);
  chmod((folder / "file").c_str(), 0666);
  for (const uid_t user : {kOther, kOther + 1}) {
    const std::string text = "by " + std::to_string(user);
    EXPECT_EQ(ReplaceAs(user, folder / "file", text), "replaced");
    EXPECT_EQ(ReadText(folder / "file"), text);
    EXPECT_EQ(FactsOf(folder / "file").st_uid, kOther);
    EXPECT_EQ(FactsOf(folder / "file").st_gid, kOther + 5);
  }
  chmod((folder / "file").c_str(), 0644);
  EXPECT_EQ(ReplaceAs(kOther + 1, folder / "file", "new"), ErrorText(folder / "file", "Permission denied"));
  EXPECT_EQ(ReadText(folder / "file"), "by " + std::to_string(kOther + 1));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}), 1) << "nothing is left beside it";
}

TEST(ReplaceFile, WithoutRoomTheOldContentStays) {
  const test::MountedFolder full("tmpfs", "size=64k");
  if (!full.Mounted()) GTEST_SKIP() << "nobody may mount a file system here";
  const std::string path = full.Path() + "/file";
  WriteText(path, "old");
  const std::string filling = test::FillUp(full.Path());
  const std::string large(10000, 'x');
  EXPECT_RAISES(ReplaceFile(path, large, kPrivate), 1000, ErrorText(path, "No space left on device"));
  EXPECT_EQ(ReadText(path), "old");
  // In place as well.
  std::filesystem::create_hard_link(path, full.Path() + "/second");
  EXPECT_RAISES(ReplaceFile(path, large, kPrivate), 1000, ErrorText(path, "No space left on device"));
  EXPECT_EQ(ReadText(path), "old");
  std::filesystem::remove(filling);
  ReplaceFile(path, large, kPrivate);
  EXPECT_EQ(ReadText(path), large);
}

/// Linux's device "null" (minor 3) or "full" (minor 7), made in a folder of the test's own: root could do harm to the
/// real one. Somebody else may use that. "" where none can be opened.
std::string Device(const TestFolder& folder, const char* name, unsigned minor) {
  if (geteuid() != 0) return std::string("/dev/") + name;
  const std::string path = folder / name;
  const bool made = mknod(path.c_str(), S_IFCHR | 0666, makedev(1, minor)) == 0;
  return made && FileHandle(open(path.c_str(), O_WRONLY)) ? path : "";
}

TEST(ReplaceFile, ADeviceIsWrittenTo) {
  const TestFolder folder;
  const std::string nothing = Device(folder, "null", 3);
  const std::string full = Device(folder, "full", 7);
  if (nothing.empty() || full.empty()) GTEST_SKIP() << "no device can be made here";
  ReplaceFile(nothing, "text", kPrivate);
  EXPECT_TRUE(std::filesystem::is_character_file(nothing));
  EXPECT_RAISES(ReplaceFile(full, "text", kPrivate), 1000, ErrorText(full, "No space left on device"));
  std::filesystem::create_symlink(nothing, folder / "link");
  ReplaceFile(folder / "link", "text", kPrivate);
  EXPECT_TRUE(std::filesystem::is_character_file(folder / "link"));
}

TEST(ReplaceFile, APipeIsWrittenToAndNeverWaitedFor) {
  const TestFolder folder;
  ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
  EXPECT_RAISES(ReplaceFile(folder / "pipe", "text", kPrivate), 1000,
                ErrorText(folder / "pipe", "No such device or address"));
  const FileHandle reader(open((folder / "pipe").c_str(), O_RDONLY | O_NONBLOCK));
  ReplaceFile(folder / "pipe", "one", kPrivate);
  ReplaceFile(folder / "pipe", "two", kPrivate);
  std::string text(10, '\0');
  text.resize(static_cast<std::size_t>(read(reader.Get(), text.data(), text.size())));
  EXPECT_EQ(text, "onetwo");
  EXPECT_TRUE(std::filesystem::is_fifo(folder / "pipe"));
  EXPECT_RAISES(ReplaceFile(folder / "pipe", std::string(1000000, 'x'), kPrivate), 1000,
                ErrorText(folder / "pipe", "Resource temporarily unavailable"));
}

TEST(ReplaceFile, ASocketIsSentTo) {
  for (const int type : {SOCK_DGRAM, SOCK_STREAM}) {
    const TestFolder folder;
    const std::string path = folder / "socket";
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    FileHandle listener(socket(AF_UNIX, type | SOCK_CLOEXEC, 0));
    ASSERT_EQ(bind(listener.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(listen(listener.Get(), 1), type == SOCK_STREAM ? 0 : -1);
    ReplaceFile(path, "text", kPrivate);
    const FileHandle accepted(type == SOCK_STREAM ? accept(listener.Get(), nullptr, nullptr) : dup(listener.Get()));
    std::string text(10, '\0');
    text.resize(static_cast<std::size_t>(read(accepted.Get(), text.data(), text.size())));
    EXPECT_EQ(text, "text");
    EXPECT_TRUE(std::filesystem::is_socket(path));
    listener.Close();
  }
  const TestFolder folder;
  const FileHandle nobody(socket(AF_UNIX, SOCK_STREAM, 0));
  sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
  (folder / "deaf").copy(address.sun_path, sizeof address.sun_path - 1);
  ASSERT_EQ(bind(nobody.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  EXPECT_RAISES(ReplaceFile(folder / "deaf", "text", kPrivate), 1000, ErrorText(folder / "deaf", "Connection refused"));
}

TEST(ReplaceFile, AFolderIsNoFile) {
  const TestFolder folder;
  EXPECT_RAISES(ReplaceFile(folder.Path(), "text", kPrivate), 1000, ErrorText(folder.Path(), "Is a directory"));
}

}  // namespace
}  // namespace ods
