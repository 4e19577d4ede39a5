#include "platform/system/Slot.h"

#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "common/Attempt.h"
#include "platform/system/Processes.h"
#include "support/TemporaryFolder.h"

namespace ods {
namespace {

class SlotTest : public ::testing::Test {
 protected:
  /// A program that lives until its handle is told to end.
  ProcessHandle StartSleeper() {
    const std::optional<int> pid = StartInSlot({"/bin/sleep", "100"}, slot_);
    EXPECT_TRUE(pid);
    return ProcessHandle::Open(pid.value()).value();
  }
  static void WaitForEnd(ProcessHandle& process) {
    for (int i = 0; i < 1000 && !process.HasEnded(); ++i) WaitForAny({process.Descriptor()}, 20);
    EXPECT_TRUE(process.HasEnded());
  }

  test::TemporaryFolder folder_;
  std::string slot_ = folder_.Path() + "/slot";
};

TEST_F(SlotTest, NobodyOccupiesAFileThatIsMissingOrUnused) {
  EXPECT_FALSE(SlotOccupant(slot_));
  ProcessHandle process = StartSleeper();
  process.Kill();
  WaitForEnd(process);
  EXPECT_FALSE(SlotOccupant(slot_));
  EXPECT_EQ(process.HowEnded(), "signal 9");
}

TEST_F(SlotTest, TheKernelNamesTheProgramFromItsStartToItsEnd) {
  ProcessHandle process = StartSleeper();
  EXPECT_EQ(SlotOccupant(slot_), process.Pid());
  EXPECT_FALSE(process.HasEnded());
  process.Terminate();
  WaitForEnd(process);
  EXPECT_EQ(process.HowEnded(), "signal 15") << "SIGTERM is not held back";
}

TEST_F(SlotTest, NoSecondProgramStartsInIt) {
  ProcessHandle process = StartSleeper();
  EXPECT_FALSE(StartInSlot({"/bin/sleep", "100"}, slot_));
  EXPECT_FALSE(OccupiedSlot::Take(slot_));
  process.Kill();
  WaitForEnd(process);
  EXPECT_TRUE(OccupiedSlot::Take(slot_));
}

TEST_F(SlotTest, ManyStartersAtOnceGetOneProgram) {
  constexpr int kStarters = 8;
  std::vector<pid_t> starters;
  for (int i = 0; i < kStarters; ++i) {
    const pid_t pid = fork();
    if (pid == 0) {
      const std::optional<int> started = StartInSlot({"/bin/sleep", "100"}, slot_);
      _exit(started ? 1 : 0);
    }
    starters.push_back(pid);
  }
  int started = 0;
  for (const pid_t pid : starters) {
    int status = 0;
    waitpid(pid, &status, 0);
    started += WEXITSTATUS(status);
  }
  EXPECT_EQ(started, 1);
  const std::optional<int> occupant = SlotOccupant(slot_);
  ASSERT_TRUE(occupant) << "it outlives its starter";
  kill(*occupant, SIGKILL);
}

TEST_F(SlotTest, AProgramThatIsNotThereIsAnError) {
  const auto failure = Attempt([&] { (void)StartInSlot({folder_.Path() + "/nothing"}, slot_); });
  ASSERT_TRUE(failure);
  EXPECT_NE(failure->Description().find("No such file"), std::string::npos) << failure->Description();
  EXPECT_FALSE(SlotOccupant(slot_));
}

TEST_F(SlotTest, ChildrenOfTheProgramDoNotOccupyIt) {
  const std::optional<int> pid = StartInSlot({"/bin/sh", "-c", "sleep 100 & echo $! > " + slot_ + ".child"}, slot_);
  ProcessHandle process = ProcessHandle::Open(pid.value()).value();
  WaitForEnd(process);
  EXPECT_FALSE(SlotOccupant(slot_));
  std::FILE* file = std::fopen((slot_ + ".child").c_str(), "r");
  ASSERT_NE(file, nullptr);
  int child = 0;
  ASSERT_EQ(std::fscanf(file, "%d", &child), 1);
  std::fclose(file);
  kill(child, SIGKILL);
}

TEST_F(SlotTest, FactsAndCommandLineOfAProcess) {
  ProcessHandle process = StartSleeper();
  EXPECT_EQ(CommandLineOf(process.Pid()), (std::vector<std::string>{"/bin/sleep", "100"}));
  ProcessFacts facts;
  // The kernel counts the memory of a program that has just begun a little later.
  for (int i = 0; i < 100 && facts.residentBytes == 0; ++i) {
    facts = FactsOfProcess(process.Pid()).value();
    WaitForAny({}, 20);
  }
  EXPECT_LT(facts.uptime, 30);
  EXPECT_GT(facts.residentBytes, 1000U);
  process.Kill();
  WaitForEnd(process);
  EXPECT_FALSE(FactsOfProcess(process.Pid()));
  EXPECT_TRUE(CommandLineOf(process.Pid()).empty());
}

TEST(ServiceSignalsTest, AreSeenAndNotActedOn) {
  ServiceSignals signals;
  EXPECT_FALSE(signals.StopRequested());
  EXPECT_FALSE(signals.ReloadRequested());
  kill(getpid(), SIGHUP);
  WaitForAny({signals.Descriptor()}, 1000);
  EXPECT_TRUE(signals.ReloadRequested());
  EXPECT_FALSE(signals.ReloadRequested());
  kill(getpid(), SIGTERM);
  WaitForAny({signals.Descriptor()}, 1000);
  EXPECT_TRUE(signals.StopRequested());
  EXPECT_TRUE(signals.StopRequested());
}

}  // namespace
}  // namespace ods
