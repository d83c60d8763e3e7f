// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <gmock/gmock.h>

#include "tests/devkit/console_test.h"

namespace devkit_test {
namespace {

using ::testing::ElementsAre;

constexpr const char* kResponse =
    R"({"type":"response","session":"s","version":"1.0","requestId":"1","source":"events",)"
    R"("method":"configure","payload":{}})";

std::string notification(const std::string& payload) {
  return R"({"type":"notification","session":"s","version":"1.0","source":"events",)"
         R"("method":"notify","payload":)" +
         payload + "}";
}

class ConsoleOutput : public ConsoleTest {};

TEST_F(ConsoleOutput, AskingForNothingAsksForEveryEvent) {
  start();
  ASSERT_TRUE(source_.waitForCalls(2));
  EXPECT_THAT(source_.calls(),
              ElementsAre("CreateSession(s)", R"(HandleRequest(s, 1.0, 1, events, configure, )"
                                              R"({"eventFilterList":[{"topicFilter":""}]}))"));
}

TEST_F(ConsoleOutput, TopicAndContentMakeOneFilter) {
  start({"--topic", "tns1:A//.", "--content", R"(boolean(//SimpleItem[@Name="x"]))"});
  ASSERT_TRUE(source_.waitForCalls(2));
  EXPECT_EQ(source_.calls()[1],
            R"j(HandleRequest(s, 1.0, 1, events, configure, {"eventFilterList":[{"topicFilter":)j"
            R"j("tns1:A//.","contentFilter":"boolean(//SimpleItem[@Name=\"x\"])"}]}))j");
}

TEST_F(ConsoleOutput, ContentAloneSendsNoTopicFilter) {
  start({"--content", "c"});
  ASSERT_TRUE(source_.waitForCalls(2));
  EXPECT_EQ(source_.calls()[1], R"(HandleRequest(s, 1.0, 1, events, configure, )"
                                R"({"eventFilterList":[{"contentFilter":"c"}]}))");
}

TEST_F(ConsoleOutput, RawParamsAndAllArgumentsAreSentAsTheyStand) {
  start({"--params", "not [json", "--request-id", "r 7", "--api-version", "9", "--source", "video",
         "--method", "stop"});
  ASSERT_TRUE(source_.waitForCalls(2));
  EXPECT_EQ(source_.calls()[1], "HandleRequest(s, 9, r 7, video, stop, not [json)");
}

TEST_F(ConsoleOutput, TheSessionIsNamedAfterTheProcessUnlessToldOtherwise) {
  console_ = std::make_unique<support::Process>(std::vector<std::string>{LUMENFEED_CONSOLE},
                                                bus_.environment());
  ASSERT_TRUE(source_.waitForCalls(1));
  EXPECT_EQ(source_.calls()[0], "CreateSession(console-" + std::to_string(console_->pid()) + ")");
}

TEST_F(ConsoleOutput, EachMessageIsOneLineInTheOrderOfArrival) {
  ASSERT_TRUE(startAccepted({"--count", "2"}));
  source_.notify("s", R"({"notification":{"a":1}})");
  source_.notify("s", R"({"notification":{"a":2}})");
  EXPECT_EQ(exitStatus(), 0);
  EXPECT_THAT(lines(), ElementsAre(kResponse, notification(R"({"notification":{"a":1}})"),
                                   notification(R"({"notification":{"a":2}})")));
  EXPECT_THAT(console_->standardError(), ElementsAre());
}

TEST_F(ConsoleOutput, ALineIsOutBeforeTheNextMessageComes) {
  ASSERT_TRUE(startAccepted());
  source_.notify("s", R"("first")");
  EXPECT_TRUE(console_->waitForLine("first"));
}

TEST_F(ConsoleOutput, AnErrorResponseIsALineAndRefusesTheRun) {
  start();
  ASSERT_TRUE(source_.waitForCalls(2));
  source_.respondError("s", R"({"code":2104,"message":"no"})");
  EXPECT_EQ(exitStatus(), 3);
  EXPECT_THAT(lines(),
              ElementsAre(R"({"type":"error","session":"s","version":"1.0","requestId":"1",)"
                          R"("source":"events","method":"configure",)"
                          R"("payload":{"code":2104,"message":"no"}})"));
  EXPECT_EQ(lastError(), "lumenfeed-console: the configuration was refused");
  EXPECT_EQ(source_.calls().back(), "RemoveSession(s)");
}

TEST_F(ConsoleOutput, NumbersAndSpacesOfAPayloadStayAsTheyCame) {
  ASSERT_TRUE(startAccepted({"--count", "1"}));
  const std::string payload = R"({ "a":28.65, "b":15.0, "c":123456789012345678901234567890 })";
  source_.notify("s", payload);
  EXPECT_EQ(exitStatus(), 0);
  EXPECT_EQ(lines().back(), notification(payload));
}

TEST_F(ConsoleOutput, APayloadOfSeveralLinesBecomesOne) {
  ASSERT_TRUE(startAccepted({"--count", "1"}));
  source_.notify("s", "{\n\"a\":\r\n\"x\\ny\"\n}");
  EXPECT_EQ(exitStatus(), 0);
  EXPECT_EQ(lines().back(), notification(R"({"a":"x\ny"})"));
}

TEST_F(ConsoleOutput, APayloadThatIsNoJsonBecomesAString) {
  ASSERT_TRUE(startAccepted({"--count", "2"}));
  source_.notify("s", "{\"broken\":\nmessage}");
  source_.notify("s", "");
  EXPECT_EQ(exitStatus(), 0);
  EXPECT_EQ(lines()[1], notification(R"("{\"broken\":\nmessage}")"));
  EXPECT_EQ(lines()[2], notification(R"("")"));
}

TEST_F(ConsoleOutput, MessagesOfAnotherSessionAreRefusedAndNotPrinted) {
  ASSERT_TRUE(startAccepted({"--count", "1"}));
  const support::Reply refused = support::BusClient::await(source_.notify("other", "{}"));
  EXPECT_EQ(refused.errorName, "com.ovra.WSDataStreaming1.Error.InvalidSession");
  EXPECT_EQ(refused.errorMessage, "Session other does not exist");
  EXPECT_TRUE(support::BusClient::await(source_.notify("s", "{}")).ok());
  EXPECT_EQ(exitStatus(), 0);
  EXPECT_EQ(lines().size(), 2U);
}

}  // namespace
}  // namespace devkit_test
