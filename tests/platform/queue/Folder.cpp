// An open folder and the watch on it: what the queue's rules stand on, on every system.
#include "platform/queue/Folder.h"

#include <algorithm>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

#include "common/Files.h"
#include "platform/queue/FolderWatch.h"
#include "support/TemporaryFolder.h"

namespace ods {
namespace {

using testing::Contains;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class Folders : public ::testing::Test {
 protected:
  void Write(const std::string& name, const std::string& text) const {
    std::ofstream(PathOf(PathIn(root_.Path(), name)), std::ios::binary) << text;
  }
  [[nodiscard]] static std::vector<std::string> NamesIn(const Folder& folder) {
    std::vector<std::string> names;
    folder.ForEachName([&names](const std::string& name) { names.push_back(name); });
    return names;
  }
  [[nodiscard]] static std::string TextOf(const Folder& folder, const std::string& name) {
    const OpenedFile opened = folder.OpenForReading(name);
    return opened ? ReadWhole(opened.file, 1000, name) : opened.failure.message();
  }

  test::TemporaryFolder root_;
  Folder folder_{root_.Path(), Folder::Link::kFollowed};
};

TEST_F(Folders, AMissingOneSaysWhy) {
  const Folder missing(PathIn(root_.Path(), "missing"), Folder::Link::kRefused);
  EXPECT_FALSE(missing);
  EXPECT_EQ(missing.Failure(), std::errc::no_such_file_or_directory);
}

TEST_F(Folders, AFileIsNone) {
  Write("file", "text");
  EXPECT_FALSE(Folder(PathIn(root_.Path(), "file"), Folder::Link::kFollowed));
}

TEST_F(Folders, OneInAnotherIsMadeOnce) {
  const Folder made = folder_.OpenOrMake("part");
  const Folder found = folder_.OpenOrMake("part");
  EXPECT_TRUE(made.Facts().folder);
  EXPECT_TRUE(made.Facts().IsSameFile(found.Facts()));
  EXPECT_THAT(NamesIn(folder_), UnorderedElementsAre("part"));
}

TEST_F(Folders, NamesOfAllAlphabetsAreListedAndFound) {
  const std::string name = "\xC3\x9C\xD0\x96\xE6\x97\xA5.xml";
  Write(name, "text");
  EXPECT_THAT(NamesIn(folder_), UnorderedElementsAre(name));
  EXPECT_EQ(TextOf(folder_, name), "text");
}

TEST_F(Folders, NamesOfDevicesAreNamesOfFiles) {
  for (const std::string name : {"CON.xml", "nul.xml", "COM1.xml", "aux", "a b. .xml"}) {
    const OpenedFile created = folder_.CreateNew(name);
    ASSERT_TRUE(created) << name << ": " << created.failure.message();
    ASSERT_FALSE(WriteAll(created.file, name)) << name;
  }
  EXPECT_EQ(NamesIn(folder_).size(), 5U);
  EXPECT_EQ(TextOf(folder_, "nul.xml"), "nul.xml");
  for (const std::string& name : NamesIn(folder_)) EXPECT_FALSE(folder_.Remove(name)) << name;
  EXPECT_THAT(NamesIn(folder_), IsEmpty());
}

TEST_F(Folders, ANewFileNeverTakesThePlaceOfAnother) {
  Write("file", "old");
  const OpenedFile created = folder_.CreateNew("file");
  EXPECT_FALSE(created);
  EXPECT_EQ(created.failure, std::errc::file_exists);
  EXPECT_EQ(TextOf(folder_, "file"), "old");
}

TEST_F(Folders, AMovedFileNeverTakesThePlaceOfAnother) {
  const Folder other = folder_.OpenOrMake("other");
  Write("one", "first");
  Write("two", "second");
  EXPECT_FALSE(folder_.Move("one", other, "name"));
  EXPECT_EQ(folder_.Move("two", other, "name"), std::errc::file_exists);
  EXPECT_EQ(TextOf(other, "name"), "first");
  EXPECT_EQ(TextOf(folder_, "two"), "second");
  EXPECT_EQ(folder_.Move("one", other, "again"), std::errc::no_such_file_or_directory);
}

TEST_F(Folders, AnOpenAndLockedFileIsReadAndMovedAndRemoved) {
  const Folder other = folder_.OpenOrMake("other");
  Write("message", "text");
  const OpenedFile opened = folder_.OpenForReading("message");
  ASSERT_TRUE(opened);
  ASSERT_FALSE(TryLock(opened.file));
  EXPECT_EQ(TextOf(folder_, "message"), "text");
  EXPECT_FALSE(folder_.Move("message", other, "message"));
  EXPECT_EQ(TextOf(other, "message"), "text");
  EXPECT_EQ(ReadWhole(opened.file, 1000, "it"), "text");
  EXPECT_FALSE(other.Remove("message"));
}

TEST_F(Folders, ALockIsForOneAndEndsWithItsHandle) {
  Write("message", "text");
  OpenedFile first = folder_.OpenForReading("message");
  const OpenedFile second = folder_.OpenForReading("message");
  EXPECT_FALSE(TryLock(first.file));
  EXPECT_EQ(TryLock(second.file), std::errc::operation_would_block);
  first.file.Close();
  EXPECT_FALSE(TryLock(second.file));
}

TEST_F(Folders, WhatIsNotThereIsToldSo) {
  EXPECT_FALSE(folder_.FactsOf("nothing"));
  EXPECT_EQ(folder_.OpenForReading("nothing").failure, std::errc::no_such_file_or_directory);
  EXPECT_EQ(folder_.Remove("nothing"), std::errc::no_such_file_or_directory);
}

TEST_F(Folders, AFolderInItIsNoPlainFile) {
  (void)folder_.OpenOrMake("part");
  const auto facts = folder_.FactsOf("part");
  ASSERT_TRUE(facts);
  EXPECT_FALSE(facts->plain);
  const OpenedFile opened = folder_.OpenForReading("part");
  EXPECT_TRUE(!opened || !FactsOf(opened.file).plain);
}

TEST_F(Folders, ItsNamesAndFilesCanBeHadOnTheDisk) {
  const OpenedFile created = folder_.CreateNew("message");
  ASSERT_FALSE(WriteAll(created.file, "text"));
  EXPECT_FALSE(SyncFile(created.file));
  EXPECT_FALSE(folder_.Sync());
}

TEST_F(Folders, AWholeFileIsReadThoughItIsNoLongerAsLongAsItWas) {
  Write("message", "some text");
  const OpenedFile opened = folder_.OpenForReading("message");
  for (const std::uint64_t size : {0U, 4U, 9U, 10U, 500U}) {
    EXPECT_EQ(ReadWhole(opened.file, size, 1000, "it"), "some text") << size;
  }
}

/// The names that a watch tells of until `last` is among them, or nothing more comes.
std::vector<std::string> NamesUntil(FolderWatch& watch, const std::string& last) {
  std::vector<std::string> names;
  for (int waits = 0; waits < 100 && std::ranges::find(names, last) == names.end(); ++waits) {
    EXPECT_TRUE(watch.Wait(100));
    EXPECT_TRUE(watch.Read([&names](const std::string& name) { names.push_back(name); }));
  }
  return names;
}

TEST_F(Folders, AWatchTellsOfWhatIsMovedIntoThem) {
  const Folder other = folder_.OpenOrMake("other");
  Write("one", "text");
  Write("two", "text");
  FolderWatch watch;
  EXPECT_FALSE(watch.Works());
  ASSERT_TRUE(watch.Follow(other.Path()));
  ASSERT_FALSE(folder_.Move("one", other, "one.xml"));
  EXPECT_THAT(NamesUntil(watch, "one.xml"), Contains("one.xml"));
  ASSERT_TRUE(watch.Follow(other.Path()));
  ASSERT_FALSE(folder_.Move("two", other, "two.xml"));
  EXPECT_THAT(NamesUntil(watch, "two.xml"), UnorderedElementsAre("two.xml"));
}

TEST_F(Folders, AWatchEndsAWait) {
  FolderWatch watch;
  ASSERT_TRUE(watch.Follow(root_.Path()));
  std::thread sender([this] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    Write("message", "text");
  });
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_TRUE(watch.Wait(60000));
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30));
  sender.join();
}

TEST_F(Folders, AWatchTellsWhenItCannotTellAll) {
  FolderWatch watch;
  ASSERT_TRUE(watch.Follow(root_.Path()));
  bool toldAll = true;
  constexpr int kManyNames = 10000;  // some times as many are more than any system keeps
  for (int i = 1; i <= 5 * kManyNames && toldAll; ++i) {
    const std::string name = std::string(100, 'x') + std::to_string(i);
    const OpenedFile created = folder_.CreateNew(name);
    ASSERT_TRUE(created);
    (void)folder_.Remove(name);
    for (int reads = 0; i % kManyNames == 0 && reads < 100 && toldAll; ++reads) {
      toldAll = watch.Read([](const std::string&) {});
    }
  }
  EXPECT_FALSE(toldAll);
}

TEST_F(Folders, NothingIsWatchedWhereThereIsNothing) {
  FolderWatch watch;
  EXPECT_FALSE(watch.Follow(PathIn(root_.Path(), "missing")));
  EXPECT_FALSE(watch.Works());
  EXPECT_TRUE(watch.Wait(1));
}

}  // namespace
}  // namespace ods
