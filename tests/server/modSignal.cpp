#include "server/modSignal.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include "common/Error.h"
#include "common/Text.h"
#include "doubles/ServerDoubles.h"
#include "log/Log.h"
#include "platform/system/ReadFile.h"
#include "platform/xml/Xml.h"
#include "support/RaisedErrors.h"
#include "support/TestSystem.h"

namespace ods {
namespace {

using testing::ElementsAre;
using testing::StartsWith;

class SignalTest : public testing::Test {
 protected:
  SignalTest() {
    auto log = std::make_unique<Log>();
    log->folder = folder_.Path() + "/Logs";
    std::filesystem::create_directory(log->folder);
    tracer_.SetLog(std::move(log));
  }

  [[nodiscard]] Date Clock() const { return now_; }
  [[nodiscard]] static Date At(int hour, int minute, int second) {
    return *Date::FromParts({.year = 2024, .month = 2, .day = 9, .hour = hour, .minute = minute, .second = second});
  }
  StatusSignals Signals(const std::string& message, const std::string& alive) {
    return {tracer_, message, alive, [this] { return now_; }};
  }
  [[nodiscard]] static std::string Message(const std::string& file) {
    return GetNodeText(XmlDocument(ReadFileText(file)), "/XML/Message");
  }

  test::TemporaryFolder folder_;
  test::RecordingUserInterface ui_;
  Tracer tracer_{ui_};
  std::string file_ = folder_.Path() + "/status.xml";
  Date now_ = At(8, 5, 3);
};

TEST_F(SignalTest, AStatusFileHoldsTypeCodeAndMessage) {
  WriteStatusFile("Message", "Code<1>", "a & b", file_);
  EXPECT_EQ(XmlDocument(ReadFileText(file_)).Xml(),
            XmlDocument("<XML xml:space=\"preserve\"><Type>Message</Type><Code>Code&lt;1&gt;</Code>"
                        "<Message>a &amp; b</Message></XML>")
                .Xml());
}

TEST_F(SignalTest, AStatusFileHoldsTheLatestStatusOnly) {
  WriteStatusFile("Message", "1", "first", file_);
  WriteStatusFile("Message", "2", "second", file_);
  EXPECT_EQ(Message(file_), "second");
}

TEST_F(SignalTest, WithoutAFileNameNothingIsWritten) {
  WriteStatusFile("Message", "1", "text", "");
  auto signals = Signals("", "");
  signals.ReportStatus("Message", "1", "text");
  signals.AliveHeartbeat();
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_.Path()), {}), 1) << "only the logs are there";
  EXPECT_THAT(ui_.entries, ElementsAre("Report status: Message - text"));
}

TEST_F(SignalTest, WhatXmlCannotCarryBecomesAQuestionMark) {
  WriteStatusFile("Restart", "Error", "bad \x01 <byte> \xFF.", file_);
  EXPECT_EQ(Message(file_), "bad ? <byte> ?.");
}

TEST_F(SignalTest, AReportIsTracedAndWritten) {
  Signals(file_, "").ReportStatus("Restart", "ErrorProcessingMessage", "why");
  EXPECT_THAT(ui_.entries, ElementsAre("Report status: Restart - why"));
  const XmlDocument document(ReadFileText(file_));
  EXPECT_EQ(GetNodeText(document, "/XML/Type"), "Restart");
  EXPECT_EQ(GetNodeText(document, "/XML/Code"), "ErrorProcessingMessage");
  EXPECT_EQ(GetNodeText(document, "/XML/Message"), "why");
}

TEST_F(SignalTest, TheHeartbeatTellsTheLocalTime) {
  Signals("", file_).AliveHeartbeat();
  const XmlDocument document(ReadFileText(file_));
  EXPECT_EQ(GetNodeText(document, "/XML/Type"), "Running");
  EXPECT_EQ(GetNodeText(document, "/XML/Code"), "");
  EXPECT_EQ(GetNodeText(document, "/XML/Message"), "2024-02-09 08:05:03");
}

TEST_F(SignalTest, AHeartbeatAtMidnightHasItsTimeToo) {
  now_ = At(0, 0, 0);
  Signals("", file_).AliveHeartbeat();
  EXPECT_EQ(Message(file_), "2024-02-09 00:00:00");
}

TEST_F(SignalTest, TwoHeartbeatsWithinFiveSecondsWriteOnce) {
  auto signals = Signals("", file_);
  signals.AliveHeartbeat();
  now_ = At(8, 5, 8);
  signals.AliveHeartbeat();
  EXPECT_EQ(Message(file_), "2024-02-09 08:05:03");
  now_ = At(8, 5, 9);
  signals.AliveHeartbeat();
  EXPECT_EQ(Message(file_), "2024-02-09 08:05:09");
}

TEST_F(SignalTest, AClockThatWentBackWritesAtOnce) {
  auto signals = Signals("", file_);
  now_ = At(23, 59, 59);
  signals.AliveHeartbeat();
  now_ = At(0, 0, 1);
  signals.AliveHeartbeat();
  EXPECT_EQ(Message(file_), "2024-02-09 00:00:01");
}

TEST_F(SignalTest, AFileThatCannotBeWrittenIsTracedOnceUntilItCanBe) {
  const std::string folder = folder_.Path() + "/later";
  auto signals = Signals("", folder + "/alive.xml");
  const auto beat = [&](int minute) {
    now_ = At(9, minute, 0);
    signals.AliveHeartbeat();
  };
  beat(0);
  beat(1);
  EXPECT_THAT(ui_.entries, ElementsAre(StartsWith("Error writing status file " + ReplaceAll(folder, "\\", "\\\\") +
                                                  "/alive.xml. Error 1000. ")));
  std::filesystem::create_directory(folder);
  beat(2);
  EXPECT_EQ(Message(folder + "/alive.xml"), "2024-02-09 09:02:00");
  std::filesystem::remove_all(folder);
  beat(3);
  EXPECT_EQ(ui_.entries.size(), 2U);
}

TEST_F(SignalTest, AnInstanceMutexExistsUntilItIsDestroyed) {
  const std::string name = "ods-test-" + std::to_string(CurrentProcessId()) + "-instance";
  EXPECT_FALSE(MutexExists(name));
  auto handle = CreateInstanceMutex(name);
  EXPECT_TRUE(MutexExists(name));
  DestroyInstanceMutex(handle);
  EXPECT_EQ(handle, nullptr);
  EXPECT_FALSE(MutexExists(name));
  DestroyInstanceMutex(handle);
}

TEST_F(SignalTest, AMutexThatCannotBeCreatedSaysWhy) {
  EXPECT_RAISES(CreateInstanceMutex(test::ImpossibleMutexName()), error_number::kOwn,
                testing::MatchesRegex("Error creating instance mutex \\(.+\\)\\. .+"));
}

TEST_F(SignalTest, TheStateFileTellsConnectionAtOnceAndRequestsNowAndThen) {
  StatusSignals signals = Signals("", "");
  const auto tells = [this](const char* xpath) { return GetNodeText(XmlDocument(ReadFileText(file_)), xpath); };
  signals.TellState({.requests = 1});
  EXPECT_FALSE(std::filesystem::exists(file_)) << "no file was named";
  signals.WriteStateTo(file_);
  signals.TellState({.requests = 1, .connection = "none", .failure = "a \x01 < b"});
  EXPECT_EQ(ReadFileText(file_),
            "<XML xml:space=\"preserve\"><Requests>1</Requests><Connection>none</Connection><Failure>a ? &lt; "
            "b</Failure></XML>");
  signals.TellState({.requests = 2, .connection = "open"});
  EXPECT_EQ(tells("/XML/Connection"), "open");
  EXPECT_EQ(tells("/XML/Requests"), "2");
  signals.TellState({.requests = 3, .connection = "open"});
  EXPECT_EQ(tells("/XML/Requests"), "2");
  now_ = At(8, 5, 9);
  signals.TellState({.requests = 4, .connection = "open"});
  EXPECT_EQ(tells("/XML/Requests"), "4");
  signals.TellState({.requests = 5, .connection = "lost"});
  EXPECT_EQ(tells("/XML/Connection"), "lost");
  EXPECT_EQ(tells("/XML/Requests"), "5");
}

}  // namespace
}  // namespace ods
