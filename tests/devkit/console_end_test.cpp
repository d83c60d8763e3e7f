// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <gmock/gmock.h>

#include <csignal>
#include <ostream>

#include "tests/devkit/console_test.h"
#include "tests/devkit/usage.h"

namespace devkit_test {
namespace {

using ::testing::ElementsAre;
using ::testing::StartsWith;

class ConsoleEnd : public ConsoleTest {
 protected:
  support::ExitStatus status_;
};

TEST_F(ConsoleEnd, TheSessionIsRemovedAfterTheLastNotification) {
  ASSERT_TRUE(startAccepted({"--count", "1"}));
  source_.notify("s", "{}");
  EXPECT_EQ(exitStatus(), 0);
  EXPECT_EQ(source_.calls().size(), 3U);
  EXPECT_EQ(source_.calls().back(), "RemoveSession(s)");
}

TEST_F(ConsoleEnd, NotificationsPastTheCountAreNotPrinted) {
  source_.holdBack("RemoveSession");
  ASSERT_TRUE(startAccepted({"--count", "1"}));
  source_.notify("s", "1");
  ASSERT_TRUE(source_.waitForCalls(3));
  EXPECT_TRUE(support::BusClient::await(source_.notify("s", "2")).ok());
  source_.release();
  EXPECT_EQ(exitStatus(), 0);
  EXPECT_EQ(lines().size(), 2U);
}

TEST_F(ConsoleEnd, SecondsWithANotificationAreDone) {
  start({"--seconds", "2.5"});
  ASSERT_TRUE(source_.waitForCalls(2));
  // Right behind each other, so that the time is not over between them.
  source_.respond("s");
  source_.notify("s", "{}");
  EXPECT_EQ(exitStatus(), 0);
  EXPECT_EQ(source_.calls().back(), "RemoveSession(s)");
}

TEST_F(ConsoleEnd, SecondsWithoutANotificationAreATimeOut) {
  ASSERT_TRUE(startAccepted({"--seconds", "0.1"}));
  EXPECT_EQ(exitStatus(), 4);
  EXPECT_EQ(lastError(), "lumenfeed-console: 0 notifications came in 0.1 s");
  EXPECT_EQ(source_.calls().back(), "RemoveSession(s)");
}

TEST_F(ConsoleEnd, SecondsBeforeTheCountAreATimeOut) {
  start({"--seconds", "2.5", "--count", "2"});
  ASSERT_TRUE(source_.waitForCalls(2));
  source_.respond("s");
  source_.notify("s", "{}");
  EXPECT_EQ(exitStatus(), 4);
  EXPECT_EQ(lastError(), "lumenfeed-console: 1 of 2 notifications came in 2.5 s");
}

TEST_F(ConsoleEnd, SigintAndSigtermRemoveTheSession) {
  for (const int number : {SIGINT, SIGTERM}) {
    const std::size_t before = source_.calls().size();
    start();
    ASSERT_TRUE(source_.waitForCalls(before + 2));
    source_.respond("s");
    ASSERT_TRUE(console_->waitForLine("response"));
    console_->signal(number);
    EXPECT_EQ(exitStatus(), 0);
    EXPECT_EQ(source_.calls().size(), before + 3);
    EXPECT_EQ(source_.calls().back(), "RemoveSession(s)");
  }
}

TEST_F(ConsoleEnd, ASignalBeforeTheCountIsATimeOut) {
  ASSERT_TRUE(startAccepted({"--count", "3"}));
  console_->signal(SIGINT);
  EXPECT_EQ(exitStatus(), 4);
  EXPECT_EQ(lastError(), "lumenfeed-console: interrupted: 0 of 3 notifications came");
  EXPECT_EQ(source_.calls().back(), "RemoveSession(s)");
}

TEST_F(ConsoleEnd, ASignalWhileTheSessionIsOpenedStillRemovesIt) {
  source_.holdBack("CreateSession");
  start({"--count", "1"});
  ASSERT_TRUE(source_.waitForCalls(1));
  console_->signal(SIGTERM);
  ASSERT_TRUE(console_->waitForLine("interrupted"));
  source_.release();
  EXPECT_EQ(exitStatus(), 4);
  EXPECT_THAT(source_.calls(), ElementsAre("CreateSession(s)", "RemoveSession(s)"));
}

TEST_F(ConsoleEnd, ASecondSignalEndsItAtOnce) {
  source_.holdBack("RemoveSession");
  ASSERT_TRUE(startAccepted());
  console_->signal(SIGINT);
  ASSERT_TRUE(source_.waitForCalls(3));
  console_->signal(SIGTERM);
  EXPECT_EQ(exitStatus(), -SIGTERM);
}

TEST_F(ConsoleEnd, ARemovalWithoutReplyIsToldAndChangesNothing) {
  source_.refuse("RemoveSession", "com.ovra.X", "not now");
  ASSERT_TRUE(startAccepted({"--count", "1"}));
  source_.notify("s", "{}");
  EXPECT_EQ(exitStatus(), 0);
  EXPECT_THAT(lastError(), StartsWith("lumenfeed-console: the session was not removed: "));
}

TEST_F(ConsoleEnd, ASessionThatIsRefusedIsNotRemoved) {
  source_.refuse("CreateSession", "com.ovra.WSDataStreaming1.DataSource.Error.SessionAlreadyUsed",
                 "Session s already exists");
  start();
  EXPECT_EQ(exitStatus(), 3);
  EXPECT_EQ(lastError(),
            "lumenfeed-console: CreateSession was refused: "
            "com.ovra.WSDataStreaming1.DataSource.Error.SessionAlreadyUsed: "
            "Session s already exists");
  EXPECT_THAT(source_.calls(), ElementsAre("CreateSession(s)"));
}

TEST_F(ConsoleEnd, ARequestThatIsRefusedEndsTheSession) {
  source_.refuse("HandleRequest", "com.ovra.WSDataStreaming1.DataSource.Error.InvalidSource",
                 "wrong");
  start();
  EXPECT_EQ(exitStatus(), 3);
  EXPECT_EQ(lastError(),
            "lumenfeed-console: HandleRequest was refused: "
            "com.ovra.WSDataStreaming1.DataSource.Error.InvalidSource: wrong");
  EXPECT_EQ(source_.calls().back(), "RemoveSession(s)");
}

TEST_F(ConsoleEnd, AMuteDataSourceIsATimeOut) {
  source_.holdBack("CreateSession");
  start({"--wait", "2.5"});
  EXPECT_EQ(exitStatus(), 4);
  EXPECT_EQ(lastError(), "lumenfeed-console: no reply to CreateSession within 2.5 s");
}

TEST_F(ConsoleEnd, AConfigurationWithoutAnswerIsATimeOut) {
  start({"--wait", "2.5"});
  EXPECT_EQ(exitStatus(), 4);
  EXPECT_EQ(lastError(), "lumenfeed-console: no answer to the configuration within 2.5 s");
  EXPECT_EQ(source_.calls().back(), "RemoveSession(s)");
}

TEST_F(ConsoleEnd, ADataSourceThatLeavesEndsTheRun) {
  ASSERT_TRUE(startAccepted());
  source_.disappear();
  EXPECT_EQ(exitStatus(), 5);
  EXPECT_EQ(lastError(), "lumenfeed-console: com.ovra.WSEventDataSource1 has left the bus");
}

TEST_F(ConsoleEnd, NoDataSourceInTimeEndsTheRun) {
  source_.disappear();
  start({"--wait", "2.5"});
  EXPECT_EQ(exitStatus(), 5);
  EXPECT_THAT(console_->standardError(),
              ElementsAre("lumenfeed-console: waiting for com.ovra.WSEventDataSource1",
                          "lumenfeed-console: com.ovra.WSEventDataSource1 did not appear within "
                          "2.5 s"));
}

TEST_F(ConsoleEnd, ADataSourceThatAppearsLaterIsUsed) {
  source_.disappear();
  start({"--count", "1"});
  ASSERT_TRUE(console_->waitForLine("waiting for"));
  source_.appear();
  ASSERT_TRUE(source_.waitForCalls(2));
  source_.respond("s");
  source_.notify("s", "{}");
  EXPECT_EQ(exitStatus(), 0);
}

TEST_F(ConsoleEnd, ABusThatGoesAwayEndsTheRun) {
  ASSERT_TRUE(startAccepted());
  bus_.kill();
  EXPECT_EQ(exitStatus(), 6);
  EXPECT_EQ(lastError(), "lumenfeed-console: the bus has closed the connection");
}

TEST_F(ConsoleEnd, ATakenNameEndsTheRunAtOnce) {
  ASSERT_TRUE(startAccepted());
  const std::string error = support::outputOf({LUMENFEED_CONSOLE}, bus_.environment(), &status_);
  EXPECT_EQ(status_.value, 7);
  EXPECT_EQ(error,
            "lumenfeed-console: com.ovra.WSDataStreaming1.Service is taken: a streaming service "
            "is on the bus already\n");
}

TEST(ConsoleStart, NoBusEndsTheRunAtOnce) {
  support::ExitStatus status;
  const std::string error = support::outputOf(
      {LUMENFEED_CONSOLE}, {{"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus"}}, &status);
  EXPECT_EQ(status.value, 6);
  EXPECT_THAT(error, StartsWith("lumenfeed-console: cannot reach the system bus: "));
}

TEST(ConsoleStart, ANameThatThePolicyForbidsEndsTheRunAtOnce) {
  const support::PrivateBus bus(
      "<policy context=\"mandatory\"><deny own=\"com.ovra.WSDataStreaming1.Service\"/></policy>");
  support::ExitStatus status;
  const std::string error = support::outputOf({LUMENFEED_CONSOLE}, bus.environment(), &status);
  EXPECT_EQ(status.value, 7);
  EXPECT_THAT(error, StartsWith("lumenfeed-console: cannot own com.ovra.WSDataStreaming1.Service: "
                                "Connection "));
}

TEST(ConsoleStart, AnOutputThatCannotBeWrittenEndsTheRunWithItsSessionRemoved) {
  const support::PrivateBus bus;
  FakeDataSource source(bus);
  support::Process console({"sh", "-c", "exec \"$0\" --session s >/dev/full", LUMENFEED_CONSOLE},
                           bus.environment());
  ASSERT_TRUE(source.waitForCalls(2));
  source.respond("s");
  EXPECT_EQ(console.wait().value, 1);
  EXPECT_EQ(console.standardError().back(), "lumenfeed-console: cannot write to standard output");
  EXPECT_EQ(source.calls().back(), "RemoveSession(s)");
}

class ConsoleUsage : public ::testing::TestWithParam<Usage> {};

TEST_P(ConsoleUsage, IsToldOnStandardErrorWithStatus2) {
  expectRefused(LUMENFEED_CONSOLE, GetParam());
}

INSTANTIATE_TEST_SUITE_P(
    Mistakes, ConsoleUsage,
    ::testing::Values(
        Usage{"UnknownOption", {"--what"}, "Unknown option --what"},
        Usage{"Argument", {"x"}, "unexpected argument 'x'"},
        Usage{"CountOfZero", {"--count=0"}, "--count '0' is no number above 0"},
        Usage{"CountOfWords", {"--count=two"}, "--count 'two' is no number above 0"},
        Usage{"NegativeSeconds",
              {"--seconds=-1"},
              "--seconds is not from 0 (without end) to 1000000"},
        Usage{"SecondsWithoutANumber",
              {"--seconds=nan"},
              "--seconds is not from 0 (without end) to 1000000"},
        Usage{"NoWait", {"--wait=0"}, "--wait is not above 0 and up to 1000000"},
        Usage{"ParamsAndTopic",
              {"--params={}", "--topic=a"},
              "--params is the whole configuration: it excludes --topic and --content"},
        Usage{"ParamsAndContent",
              {"--params={}", "--content=a"},
              "--params is the whole configuration: it excludes --topic and --content"}),
    [](const auto& mistake) { return mistake.param.name; });

TEST(ConsoleHelp, TellsOptionsExamplesAndEveryExitStatus) {
  support::ExitStatus status;
  const std::string help = support::outputOf({LUMENFEED_CONSOLE, "--help"}, {}, &status);
  EXPECT_EQ(status.value, 0);
  for (const char* text : {"--topic", "--content", "--params", "--count", "--seconds", "--session",
                           "Examples:", "Exit status:", "  0  ", "  1  ", "  2  ", "  3  ", "  4  ",
                           "  5  ", "  6  ", "  7  "}) {
    EXPECT_THAT(help, ::testing::HasSubstr(text));
  }
}

}  // namespace
}  // namespace devkit_test
