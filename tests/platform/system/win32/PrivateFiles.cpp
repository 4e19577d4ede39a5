#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <string>

#include "platform/system/DefaultFolders.h"
#include "platform/system/FileFacts.h"
#include "platform/system/Folders.h"
#include "platform/system/ReplaceFile.h"
#include "platform/system/System.h"
#include "platform/system/TestFolder.h"
#include "platform/system/win32/Win32.h"
#include "support/RaisedErrors.h"

namespace ods {
namespace {

using ::testing::HasSubstr;
using testing::ReadText;
using ::testing::StartsWith;
using testing::TestFolder;
using testing::WriteText;

/// The access list of a file as the system writes it.
std::string AccessOf(const std::string& path) {
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  if (GetNamedSecurityInfoW(WidePath(path).data(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, nullptr,
                            nullptr, &descriptor) != ERROR_SUCCESS) {
    return "none";
  }
  const LocalMemory<void> owned(descriptor);
  wchar_t* text = nullptr;
  ConvertSecurityDescriptorToStringSecurityDescriptorW(descriptor, SDDL_REVISION_1, DACL_SECURITY_INFORMATION, &text,
                                                       nullptr);
  const LocalMemory<wchar_t> ownedText(text);
  return text != nullptr ? FromWide(text) : "";
}

std::size_t EntriesOf(const std::string& access) { return static_cast<std::size_t>(std::ranges::count(access, '(')); }

void ExpectPrivate(const std::string& path) {
  const std::string access = AccessOf(path);
  EXPECT_THAT(access, HasSubstr("FA;;;SY)")) << path;
  EXPECT_EQ(EntriesOf(access), 2U) << path << ": " << access << ": the user and the system";
  EXPECT_EQ(access.find(";;;WD)"), std::string::npos) << path << ": everybody";
}

TEST(PrivateSecurity, FoldersAndFilesLetInTheUserAndTheSystem) {
  const TestFolder folder;
  MkDirRecurse(folder / "a/b");
  AppendToPrivateFile(folder / "log", "x");
  WriteFileAtomically(folder / "whole", "x");
  ReplaceFile(folder / "status", "x", 0600);
  for (const char* name : {"a", "a/b", "log", "whole", "status"}) ExpectPrivate(folder / name);
}

TEST(PrivateSecurity, WhatIsMadeInAPrivateFolderIsPrivateToo) {
  const TestFolder folder;
  MkDirRecurse(folder / "a");
  WriteText(folder / "a/file", "x");
  if (EntriesOf(AccessOf(folder / "a/file")) == 3) GTEST_SKIP() << "Wine hands no access list down";
  ExpectPrivate(folder / "a/file");
}

TEST(WindowsReplaceFile, KeepsTheAccessListOfTheFile) {
  const TestFolder folder;
  const std::string path = folder / "status";
  ReplaceFile(path, "old", 0600);
  const std::string before = AccessOf(path);
  ReplaceFile(path, "new", 0644);
  EXPECT_EQ(AccessOf(path), before);
  EXPECT_EQ(ReadText(path), "new");
}

/// A reader that shares what `share` says.
FileHandle Reader(const std::string& path, DWORD share) {
  return OwnHandle(CreateFileW(WidePath(path).c_str(), GENERIC_READ, share, nullptr, OPEN_EXISTING, 0, nullptr));
}

TEST(WindowsReplaceFile, WhoKeepsTheFileFromBeingRemovedGetsTheNewTextInPlace) {
  const TestFolder folder;
  const std::string path = folder / "status";
  ReplaceFile(path, "a much longer old content", 0600);
  const FileHandle reader = Reader(path, FILE_SHARE_READ | FILE_SHARE_WRITE);
  ASSERT_TRUE(reader);
  ReplaceFile(path, "new", 0600);
  EXPECT_EQ(ReadWhole(reader, 100, path), "new");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(PathOf(folder.Path())), {}), 1);
}

TEST(WindowsReplaceFile, WhoKeepsTheFileFromBeingWrittenIsNotWaitedForLong) {
  const TestFolder folder;
  const std::string path = folder / "status";
  ReplaceFile(path, "old", 0600);
  {
    const FileHandle reader = Reader(path, FILE_SHARE_READ);
    ASSERT_TRUE(reader);
    EXPECT_RAISES(ReplaceFile(path, "new", 0600), 1000, StartsWith("Unable to write file \"" + path + "\": "));
    EXPECT_RAISES(WriteFileAtomically(path, "new"), 1000, StartsWith("Unable to write file \"" + path + "\": "));
  }
  EXPECT_EQ(ReadText(path), "old");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(PathOf(folder.Path())), {}), 1);
  ReplaceFile(path, "new", 0600);
  EXPECT_EQ(ReadText(path), "new");
}

TEST(WindowsFiles, APathMayBeLong) {
  const TestFolder folder;
  std::string path = folder.Path();
  for (int i = 0; i < 6; ++i) path += "\\" + std::string(60, static_cast<char>('a' + i));
  MkDirRecurse(path);
  AppendToPrivateFile(path + "/log", "x");
  WriteFileAtomically(path + "/log", "whole");
  const auto facts = FactsOf(path + "/log");
  ASSERT_TRUE(facts);
  EXPECT_EQ(facts->size, 5U);
  EXPECT_TRUE(facts->plain);
  EXPECT_NE(DeleteFileW(WidePath(path + "/log").c_str()), 0);
  for (; path != folder.Path(); path = FolderOf(path)) EXPECT_NE(RemoveDirectoryW(WidePath(path).c_str()), 0);
}

TEST(WindowsFiles, StampsTellTheSmallestChange) {
  const TestFolder folder;
  const std::string path = folder / "file";
  WriteText(path, "");
  const auto stampAt = [&path](DWORD ticks) {
    const FileHandle file = OwnHandle(
        CreateFileW(WidePath(path).c_str(), FILE_WRITE_ATTRIBUTES, kShareAll, nullptr, OPEN_EXISTING, 0, nullptr));
    const FILETIME time{.dwLowDateTime = ticks, .dwHighDateTime = 31'000'000};
    EXPECT_NE(SetFileTime(AsHandle(file), nullptr, nullptr, &time), 0);
    return FileModificationStamp(path);
  };
  EXPECT_EQ(stampAt(5), stampAt(5));
  EXPECT_NE(stampAt(5), stampAt(6));
}

TEST(WindowsFiles, TellsTimesAndIdentity) {
  const TestFolder folder;
  WriteText(folder / "one", "x");
  WriteText(folder / "two", "x");
  const auto one = FactsOf(folder / "one");
  const auto two = FactsOf(folder / "two");
  ASSERT_TRUE(one && two);
  EXPECT_TRUE(one->IsSameFile(*FactsOf(folder / "one")));
  EXPECT_FALSE(one->IsSameFile(*two));
  EXPECT_FALSE(IsSettled(one->modified));
  EXPECT_TRUE(IsSettled({one->modified.seconds - 10, 0}));
  EXPECT_TRUE(FactsOf(folder.Path())->folder);
  EXPECT_FALSE(FactsOf(folder / "none"));
}

}  // namespace
}  // namespace ods
