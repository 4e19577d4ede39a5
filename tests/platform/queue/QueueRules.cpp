// The rules of the queue, on every system.
#include <algorithm>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <map>
#include <thread>

#include "common/Error.h"
#include "common/Files.h"
#include "platform/queue/Queue.h"
#include "platform/queue/TwoServers.h"
#include "support/RaisedErrors.h"
#include "support/TemporaryFolder.h"
#include "support/TestSystem.h"

namespace ods {
namespace {

using test::RaisedText;
using test::SendToTwo;
using test::SetTime;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

class QueueRules : public ::testing::Test {
 protected:
  static constexpr int kLong = 20000;  // milliseconds that no test ever waits to the end

  static std::shared_ptr<Queue> Open(const std::string& folder) {
    auto queue = CreateFolderQueue();
    queue->SetFolder(folder);
    queue->Create();
    return queue;
  }
  static void Send(const std::string& folder, const std::string& id, const std::string& text) {
    const auto queue = Open(folder);
    queue->SetPackage(text);
    queue->Send(id);
  }
  [[nodiscard]] static std::vector<std::string> NamesIn(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(PathOf(folder))) {
      names.push_back(TextOf(entry.path().filename()));
    }
    std::ranges::sort(names);
    return names;
  }
  [[nodiscard]] static std::string ReadText(const std::string& path) {
    std::ifstream file(PathOf(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  static void WriteText(const std::string& path, const std::string& text) {
    std::ofstream(PathOf(path), std::ios::binary) << text;
  }
  /// Answers one message as the server does, and gives its id.
  static std::string AnswerOne(Queue& queue) {
    std::string id = queue.Poll("", 0);
    if (!id.empty()) queue.Answered();
    return id;
  }
  /// A server that takes the next message and ends over it.
  void EndOverAMessage() const { EXPECT_NE(Open(folder_)->Poll("", kLong), ""); }

  [[nodiscard]] std::string New(const std::string& name) const { return folder_ + "/new/" + name; }
  /// A message from a sender that is no queue object.
  void Arrive(const std::string& name, const std::string& text) const {
    WriteText(folder_ + "/tmp/part", text);
    std::filesystem::rename(folder_ + "/tmp/part", New(name));
  }

  test::TemporaryFolder base_;
  std::string folder_ = base_.Path() + "/queue";
};

TEST_F(QueueRules, NeedsToBeCreatedBeforeUse) {
  const auto queue = CreateFolderQueue();
  queue->SetFolder(folder_);
  EXPECT_EQ(queue->TypeName(), "IHalvikQueue");
  EXPECT_RAISES(queue->Poll("", 0), 1000, "The queue is not open: its folder was not created.");
  EXPECT_RAISES(queue->Send("a"), 1000, "The queue is not open: its folder was not created.");
  EXPECT_RAISES(queue->Package(), 1000, "The queue has no message: none was polled.");
}

TEST_F(QueueRules, AnEmptyMessageIsAMessage) {
  Send(folder_, "empty", "");
  const auto queue = Open(folder_);
  EXPECT_EQ(queue->Poll("", 0), "empty");
  EXPECT_EQ(queue->Package(), "");
}

TEST_F(QueueRules, SendNeverOverwritesAWaitingMessage) {
  Send(folder_, "a b", "first");
  EXPECT_RAISES(Send(folder_, "a b", "second"), 58, "The message \"a%20b\" is waiting already.");
  EXPECT_EQ(ReadText(New("a%20b.xml")), "first");
  EXPECT_THAT(NamesIn(folder_ + "/tmp"), IsEmpty());
}

TEST(MessageFileName, EncodesAnyId) {
  const std::map<std::string, std::string> names = {
      {"0A1B2C3D-0001-00FF-8A9B-00C0FFEE0123", "0A1B2C3D-0001-00FF-8A9B-00C0FFEE0123.xml"},
      {"../../etc/passwd", "%2E.%2F..%2Fetc%2Fpasswd.xml"},
      {".", "%2E.xml"},
      {"..", "%2E..xml"},
      {"a.b", "a.b.xml"},
      {std::string("a\0b", 3), "a%00b.xml"},
      {"gr\xC3\xBC\xC3\x9F", "gr%C3%BC%C3%9F.xml"},
      {"50%", "50%25.xml"},
      {"a\nb\\c", "a%0Ab%5Cc.xml"},
      {std::string(200, 'x'), std::string(200, 'x') + ".xml"},
  };
  for (const auto& [id, name] : names) EXPECT_EQ(MessageFileName(id), name);
}

TEST(MessageFileName, RefusesEmptyAndTooLongIds) {
  EXPECT_EQ(MessageFileName(""), std::nullopt);
  EXPECT_EQ(MessageFileName(std::string(201, 'x')), std::nullopt);
  EXPECT_EQ(MessageFileName(std::string(250, 'x')), std::nullopt);
  EXPECT_EQ(MessageFileName(std::string(66, ' ') + "xxx"), std::nullopt) << "198 + 3 bytes encoded";
  EXPECT_NE(MessageFileName(std::string(66, ' ') + "xx"), std::nullopt);
}

TEST_F(QueueRules, CarriesAnyId) {
  const std::vector<std::string> ids = {"../../etc/passwd",
                                        ".",
                                        "..",
                                        std::string("a\0b", 3),
                                        "gr\xC3\xBC\xC3\x9F",
                                        std::string(200, 'x'),
                                        "50%",
                                        "a%41b",
                                        "\xFF\xFE"};
  for (const std::string& id : ids) {
    Send(folder_, id, "text");
    const auto queue = Open(folder_);
    EXPECT_EQ(queue->Poll("", 0), id);
    EXPECT_EQ(queue->Package(), "text");
    queue->Answered();
  }
  EXPECT_THAT(NamesIn(base_.Path()), ElementsAre("queue")) << "nothing was written outside";
}

TEST_F(QueueRules, RefusesIdsThatCannotBeNames) {
  EXPECT_RAISES(Send(folder_, "", "x"), 1000, "A message id has 1 to 200 bytes when percent-encoded, this one 0.");
  EXPECT_RAISES(Send(folder_, std::string(250, 'x'), "x"), 1000,
                "A message id has 1 to 200 bytes when percent-encoded, this one 250.");
  const auto queue = Open(folder_);
  EXPECT_RAISES(queue->Poll(std::string(250, 'x'), 0), 1000,
                "A message id has 1 to 200 bytes when percent-encoded, this one 250.");
}

TEST_F(QueueRules, OtherNamesAreLeftAlone) {
  const auto queue = Open(folder_);
  for (const char* name : {"readme.txt", ".hidden.xml", ".xml", "a.XML", "a.xml~"}) WriteText(New(name), "x");
  EXPECT_EQ(queue->Poll("", 0), "");
  EXPECT_EQ(Open(folder_)->Poll("", 0), "");
  EXPECT_THAT(NamesIn(folder_ + "/new"), ElementsAre(".hidden.xml", ".xml", "a.XML", "a.xml~", "readme.txt"));
}

TEST_F(QueueRules, ANameThatIsNotTheCanonicalEncodingIsAnsweredAllTheSame) {
  Open(folder_);
  WriteText(New("a b%2g%41.xml"), "text");
  const auto queue = Open(folder_);
  EXPECT_EQ(queue->Poll("", 0), "a b%2gA");
  EXPECT_EQ(queue->Package(), "text");
}

TEST_F(QueueRules, AnIdThatNoAnswerCanCarryGoesToFailedUnanswered) {
  Open(folder_);
  const std::string name = std::string(210, 'x') + ".xml";
  WriteText(New(name), "text");
  const auto queue = Open(folder_);
  EXPECT_EQ(queue->Poll("", 0), "");
  EXPECT_THAT(NamesIn(folder_ + "/failed"), ElementsAre(name));
}

TEST_F(QueueRules, MessagesComeInOrderOfTheirTimesThenNames) {
  for (const char* id : {"late", "b", "a", "early", "nano"}) Send(folder_, id, id);
  SetTime(New("late.xml"), 2000, 0);
  SetTime(New("b.xml"), 1000, 700);
  SetTime(New("a.xml"), 1000, 700);
  SetTime(New("nano.xml"), 1000, 600);
  SetTime(New("early.xml"), -5, 999999900);  // before 1970
  const auto queue = Open(folder_);
  std::vector<std::string> ids;
  for (std::string id = queue->Poll("", 0); !id.empty(); id = queue->Poll("", 0)) ids.push_back(id);
  EXPECT_THAT(ids, ElementsAre("early", "nano", "a", "b", "late"));
}

TEST_F(QueueRules, ArrivalsWhileOthersWaitKeepTheOrder) {
  Send(folder_, "first", "");
  Send(folder_, "third", "");
  SetTime(New("first.xml"), 1000, 0);
  SetTime(New("third.xml"), 3000, 0);
  const auto queue = Open(folder_);
  EXPECT_EQ(queue->Poll("", 0), "first");
  WriteText(folder_ + "/tmp/x", "");
  SetTime(folder_ + "/tmp/x", 2000, 0);
  std::filesystem::rename(folder_ + "/tmp/x", New("second.xml"));
  EXPECT_EQ(queue->Poll("", 0), "second");
  EXPECT_EQ(queue->Poll("", 0), "third");
}

TEST_F(QueueRules, AMessageCanBePolledByItsId) {
  for (const char* id : {"a", "b", "c"}) Send(folder_, id, id);
  const auto queue = Open(folder_);
  EXPECT_EQ(queue->Poll("b", 0), "b");
  EXPECT_EQ(queue->Package(), "b");
  EXPECT_EQ(queue->Poll("none", 0), "");
  EXPECT_EQ(queue->Poll("", 0), "a");
  EXPECT_EQ(queue->Poll("", 0), "c");
  EXPECT_EQ(queue->Poll("", 0), "");
}

TEST_F(QueueRules, PollWaitsNoLongerThanAsked) {
  const auto queue = Open(folder_);
  const auto start = Clock::now();
  EXPECT_EQ(queue->Poll("", 100), "");
  EXPECT_GE(Clock::now() - start, milliseconds(100));
  EXPECT_LT(Clock::now() - start, milliseconds(2000));
}

TEST_F(QueueRules, AMessageMayArriveByALink) {
  const auto queue = Open(folder_);
  EXPECT_EQ(queue->Poll("", 0), "");
  WriteText(folder_ + "/tmp/part", "text");
  std::filesystem::create_hard_link(folder_ + "/tmp/part", New("linked.xml"));
  EXPECT_EQ(queue->Poll("", kLong), "linked");
  EXPECT_EQ(queue->Package(), "text");
}

TEST_F(QueueRules, NoArrivalIsLostWhenTheEventsOverflow) {
  const auto queue = Open(folder_);
  EXPECT_EQ(queue->Poll("", 0), "");
  // More events (three a message) than the system keeps (max_queued_events, 16384 as a rule).
  constexpr int kMessages = 12000;
  for (int i = 0; i < kMessages; ++i) WriteText(New(std::to_string(i) + ".xml"), "");
  int taken = 0;
  while (!queue->Poll("", 0).empty()) ++taken;
  EXPECT_EQ(taken, kMessages);
}

TEST_F(QueueRules, AMessageTooLargeGoesToFailed) {
  Open(folder_);
  WriteText(New("big.xml"), "");
  std::filesystem::resize_file(New("big.xml"), 16777217);
  WriteText(New("fits.xml"), "");
  std::filesystem::resize_file(New("fits.xml"), 16777216);
  SetTime(New("big.xml"), 1000, 0);
  const auto queue = Open(folder_);
  EXPECT_EQ(queue->Poll("", 0), "big");
  EXPECT_RAISES(queue->Package(), 1000, "The message \"big\" is larger than 16777216 bytes.");
  EXPECT_THAT(NamesIn(folder_ + "/failed"), ElementsAre("big.xml"));
  EXPECT_EQ(queue->Poll("", 0), "fits");
  EXPECT_EQ(queue->Package().size(), 16777216U);
}

TEST_F(QueueRules, AMessageThatGrowsAfterItWasTakenIsNotReadBeyondTheLimit) {
  Send(folder_, "grows", "x");
  const auto queue = Open(folder_);
  EXPECT_EQ(queue->Poll("", 0), "grows");
  std::filesystem::resize_file(folder_ + "/cur/grows.xml", 16777217);
  EXPECT_RAISES(queue->Package(), 1000, "The message \"grows\" is larger than 16777216 bytes.");
}

TEST_F(QueueRules, FailedMessagesOfOneNameAreAllKept) {
  const auto queue = Open(folder_);
  for (int i = 0; i < 105; ++i) {
    std::filesystem::create_directory(New("x.xml"));
    ASSERT_EQ(queue->Poll("", kLong), "x");
  }
  const auto names = NamesIn(folder_ + "/failed");
  EXPECT_EQ(names.size(), 105U);
  for (const char* name : {"x.xml", "x.xml.1", "x.xml.2", "x.xml.100"}) {
    EXPECT_THAT(names, ::testing::Contains(name));
  }
}

TEST_F(QueueRules, AnAnsweredMessageIsRemovedWithTheQueue) {
  Send(folder_, "a", "");
  EXPECT_EQ(AnswerOne(*Open(folder_)), "a");
  EXPECT_THAT(NamesIn(folder_ + "/cur"), IsEmpty());
  EXPECT_THAT(NamesIn(folder_ + "/new"), IsEmpty());
}

TEST_F(QueueRules, AnUnansweredMessageStaysTakenUntilTheNextCreate) {
  Send(folder_, "a", "");
  EXPECT_EQ(Open(folder_)->Poll("", 0), "a");
  EXPECT_THAT(NamesIn(folder_ + "/cur"), ElementsAre("a.xml"));
  EXPECT_EQ(AnswerOne(*Open(folder_)), "a");
  EXPECT_THAT(NamesIn(folder_ + "/cur"), IsEmpty());
}

TEST_F(QueueRules, AMessageInHandIsNotPutBackByASecondQueueObject) {
  Send(folder_, "a", "");
  const auto first = Open(folder_);
  EXPECT_EQ(first->Poll("", 0), "a");
  const auto second = Open(folder_);
  EXPECT_EQ(second->Poll("", 0), "");
  EXPECT_THAT(NamesIn(folder_ + "/cur"), ElementsAre("a.xml"));
}

TEST_F(QueueRules, AMessageOfAnIdInHandWaitsForItsTurn) {
  Send(folder_, "a", "first");
  const auto first = Open(folder_);
  EXPECT_EQ(first->Poll("", 0), "a");
  Send(folder_, "a", "second");
  const auto second = Open(folder_);
  EXPECT_EQ(second->Poll("", 0), "");
  EXPECT_EQ(first->Poll("", kLong), "a");
  EXPECT_EQ(first->Package(), "second");
}

TEST_F(QueueRules, CreateClearsWhatSendersLeftLongAgo) {
  (void)Open(folder_);
  constexpr std::int64_t kHour = 3600;
  const std::int64_t now = std::time(nullptr);
  for (const char* name : {"/tmp/old", "/tmp/recent"}) WriteText(folder_ + name, "x");
  std::filesystem::create_directory(folder_ + "/tmp/folder");
  SetTime(folder_ + "/tmp/old", now - 36 * kHour - 60, 0);
  SetTime(folder_ + "/tmp/recent", now - 36 * kHour + 60, 0);
  SetTime(folder_ + "/tmp/folder", now - 37 * kHour, 0);
  WriteText(folder_ + "/cur/gone.tries", "2");
  Open(folder_);
  EXPECT_THAT(NamesIn(folder_ + "/tmp"), ElementsAre("folder", "recent"));
  EXPECT_THAT(NamesIn(folder_ + "/cur"), IsEmpty()) << "a count without its message";
}

TEST_F(QueueRules, AMessagePutBackWaitsBehindTheOthers) {
  for (const char* id : {"a", "b"}) Send(folder_, id, id);
  SetTime(New("a.xml"), 1000, 0);
  const auto queue = Open(folder_);
  const auto start = Clock::now();
  EXPECT_EQ(queue->Poll("", 0), "a");
  queue->PutBack();
  EXPECT_EQ(RaisedText([&] { (void)queue->Package(); }), "1000 The queue has no message: none was polled.");
  EXPECT_THAT(NamesIn(folder_ + "/new"), ElementsAre("a.xml", "b.xml"));
  EXPECT_THAT(NamesIn(folder_ + "/cur"), IsEmpty());
  EXPECT_EQ(queue->Poll("", 0), "b");
  EXPECT_EQ(queue->Poll("", kLong), "a");
  EXPECT_EQ(queue->Package(), "a");
  EXPECT_GE(Clock::now() - start, milliseconds(100));
  EXPECT_THAT(NamesIn(folder_ + "/cur"), ElementsAre("a.xml")) << "and nothing that counts tries";
}

TEST_F(QueueRules, EachTimeAMessageIsPutBackItWaitsLonger) {
  Send(folder_, "a", "");
  const auto queue = Open(folder_);
  EXPECT_EQ(queue->Poll("", 0), "a");
  for (const int wait : {100, 200, 400}) {
    const auto start = Clock::now();
    queue->PutBack();
    EXPECT_EQ(queue->Poll("", kLong), "a");
    EXPECT_GE(Clock::now() - start, milliseconds(wait));
  }
  queue->Answered();
  EXPECT_EQ(queue->Poll("", 0), "");
  // A later message of the same id has nothing to do with it.
  Send(folder_, "a", "");
  EXPECT_EQ(queue->Poll("", 0), "a");
  queue->PutBack();
  const auto start = Clock::now();
  EXPECT_EQ(queue->Poll("", kLong), "a");
  EXPECT_LT(Clock::now() - start, milliseconds(700));
}

TEST_F(QueueRules, WhatWasPutBackOftenIsNeverGivenUp) {
  Send(folder_, "a", "text");
  for (int i = 0; i < 5; ++i) {
    const auto queue = Open(folder_);
    ASSERT_EQ(queue->Poll("", 0), "a");
    queue->PutBack();
  }
  EXPECT_EQ(Open(folder_)->Poll("", 0), "a");
}

TEST_F(QueueRules, AMessagePutBackMayBeTakenByAnotherServer) {
  Send(folder_, "a", "text");
  const auto first = Open(folder_);
  const auto second = Open(folder_);
  EXPECT_EQ(first->Poll("", 0), "a");
  first->PutBack();
  EXPECT_EQ(second->Poll("", 0), "a");
  EXPECT_EQ(first->Poll("", 300), "");
  second->Answered();
  EXPECT_EQ(second->Poll("", 0), "");
  EXPECT_EQ(first->Poll("", 0), "");
}

TEST_F(QueueRules, HundredsPutBackAreEachGivenAgainOnce) {
  constexpr int kMessages = 300;
  std::vector<std::string> sent;
  for (int i = 0; i < kMessages; ++i) sent.push_back(std::to_string(1000 + i));
  for (const std::string& id : sent) Send(folder_, id, id);
  const auto queue = Open(folder_);
  for (const std::string& id : sent) {
    ASSERT_EQ(queue->Poll("", 0), id);
    queue->PutBack();
  }
  std::vector<std::string> taken;
  for (std::size_t i = 0; i < sent.size(); ++i) {
    taken.push_back(queue->Poll("", kLong));
    EXPECT_EQ(queue->Package(), taken.back());
  }
  EXPECT_EQ(queue->Poll("", 0), "");
  EXPECT_THAT(taken, ::testing::UnorderedElementsAreArray(sent));
  for (const char* name : {"/new", "/cur", "/failed"}) EXPECT_THAT(NamesIn(folder_ + name), IsEmpty()) << name;
}

TEST_F(QueueRules, AFailedMessageCanBePutBackToo) {
  Open(folder_);
  std::filesystem::create_directory(New("folder.xml"));
  const auto queue = Open(folder_);
  EXPECT_EQ(queue->Poll("", 0), "folder");
  queue->PutBack();
  EXPECT_EQ(queue->Poll("", 0), "");
  EXPECT_EQ(queue->Poll("", kLong), "folder");
  EXPECT_EQ(RaisedText([&] { (void)queue->Package(); }), "1000 The message \"folder\" is not a plain file.");
  EXPECT_THAT(NamesIn(folder_ + "/failed"), ElementsAre("folder.xml"));
}

TEST_F(QueueRules, AMessageIsNotPutBackOverALaterOneOfItsName) {
  Send(folder_, "a", "first");
  const auto queue = Open(folder_);
  EXPECT_EQ(queue->Poll("", 0), "a");
  Arrive("a.xml", "second");
  queue->PutBack();
  EXPECT_EQ(queue->Poll("", kLong), "a");
  EXPECT_EQ(queue->Package(), "first");
  queue->Answered();
  EXPECT_EQ(queue->Poll("", kLong), "a");
  EXPECT_EQ(queue->Package(), "second");
  EXPECT_EQ(queue->Poll("", 0), "");
}

TEST_F(QueueRules, ReadsAndRemovesTheAnswerThatIsThere) {
  Send(folder_, "a b", "answer");
  Send(folder_, "other", "not mine");
  EXPECT_EQ(AnswerFolder(folder_).Receive("a b", milliseconds(0)), "answer");
  EXPECT_THAT(NamesIn(folder_ + "/new"), ElementsAre("other.xml"));
}

TEST_F(QueueRules, GivesUpAfterTheTimeout) {
  Open(folder_);
  const auto start = Clock::now();
  EXPECT_EQ(AnswerFolder(folder_).Receive("none", milliseconds(100)), std::nullopt);
  EXPECT_GE(Clock::now() - start, milliseconds(100));
}

TEST_F(QueueRules, AnAnswerMayBeLargerThanARequest) {
  Send(folder_, "big", std::string(kMaxMessageBytes + 1, 'x'));
  const auto answer = AnswerFolder(folder_).Receive("big", milliseconds(0));
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->size(), kMaxMessageBytes + 1);
}

TEST_F(QueueRules, AMessageOfAServerThatEndedIsPutBack) {
  Send(folder_, "precious", "text");
  EndOverAMessage();
  EXPECT_THAT(NamesIn(folder_ + "/cur"), ElementsAre("precious.xml"));
  const auto queue = Open(folder_);
  EXPECT_EQ(queue->Poll("", 0), "precious");
  EXPECT_EQ(queue->Package(), "text");
  EXPECT_EQ(ReadText(folder_ + "/cur/precious.tries"), "1");
  EXPECT_EQ(queue->Poll("", 0), "");
  EXPECT_THAT(NamesIn(folder_ + "/cur"), IsEmpty()) << "the count goes with the message";
}

TEST_F(QueueRules, TheThirdEndOverAMessageGivesItUp) {
  Send(folder_, "deadly", "text");
  for (int end = 1; end <= 3; ++end) EndOverAMessage();
  const auto queue = Open(folder_);
  EXPECT_EQ(queue->Poll("", 0), "deadly");
  EXPECT_RAISES((void)queue->Package(), 1000,
                "The message \"deadly\" was given up: the server ended 3 times while it answered it.");
  EXPECT_THAT(NamesIn(folder_ + "/failed"), ElementsAre("deadly.xml"));
  EXPECT_THAT(NamesIn(folder_ + "/cur"), IsEmpty());
}

TEST_F(QueueRules, APollEndsWhenAMessageArrives) {
  const auto queue = Open(folder_);
  EXPECT_EQ(queue->Poll("", 0), "");
  std::thread sender([this] {
    std::this_thread::sleep_for(milliseconds(50));
    Send(folder_, "hello", "");
  });
  EXPECT_EQ(queue->Poll("", kLong), "hello");
  sender.join();
}

TEST_F(QueueRules, AClientWaitsForItsAnswer) {
  std::thread server([this] {
    std::this_thread::sleep_for(milliseconds(50));
    Send(folder_, "other", "not mine");
    Send(folder_, "mine", "answer");
  });
  EXPECT_EQ(AnswerFolder(folder_).Receive("mine", milliseconds(kLong)), "answer");
  server.join();
}

TEST_F(QueueRules, EachMessageGoesToOneOfTwoServers) {
  constexpr int kMessages = 300;
  const auto serve = [this](std::vector<std::string>& taken) {
    const auto queue = Open(folder_);
    for (std::string id = queue->Poll("", kLong); !id.starts_with("stop"); id = queue->Poll("", kLong)) {
      taken.push_back(id + "=" + queue->Package());
    }
    queue->Answered();
  };
  std::vector<std::string> taken;
  std::vector<std::string> takenByOther;
  std::thread one(serve, std::ref(taken));
  std::thread other(serve, std::ref(takenByOther));
  const std::vector<std::string> sent = SendToTwo(*Open(folder_), kMessages);
  one.join();
  other.join();
  taken.insert(taken.end(), takenByOther.begin(), takenByOther.end());
  EXPECT_THAT(taken, ::testing::UnorderedElementsAreArray(sent));
  for (const char* name : {"/new", "/cur", "/failed", "/tmp"}) EXPECT_THAT(NamesIn(folder_ + name), IsEmpty()) << name;
}

}  // namespace
}  // namespace ods
