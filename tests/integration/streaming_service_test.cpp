// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <string>

#include "tests/integration/service_test.h"

namespace integration {

using ::testing::ElementsAre;

namespace {

constexpr const char* kStreamData = "sendStreamData failed: GDBus.Error:";
constexpr const char* kInvalidSession = "com.ovra.WSDataStreaming1.Error.InvalidSession";
constexpr const char* kInvalidParameter = "com.ovra.WSDataStreaming1.Error.InvalidParameter";
constexpr const char* kFailed = "org.freedesktop.DBus.Error.Failed";

}  // namespace

/// What the streaming service may do while the service talks to it.
class StreamingService : public ServiceTest {
 protected:
  StreamingService() = default;
  explicit StreamingService(bool present) : ServiceTest("", present) {}

  /// The line of a failed call.
  static std::string line(const char* operation, const std::string& error) {
    return std::string(operation) + " failed: GDBus.Error:" + error;
  }
};

class AnsweredErrors : public StreamingService,
                       public ::testing::WithParamInterface<const char*> {};

TEST_P(AnsweredErrors, OfStreamDataAreInformationOnlyIfTheCodeIsZero) {
  start();
  const std::string id = configured("s");
  streaming.answerWithError(GetParam(), "what it says");
  platform.deliver(id, "{}", 2);
  const int level = std::string(GetParam()) == kInvalidParameter ? kWarning : kInfo;
  service.expectLog(level, std::string(kStreamData) + GetParam() + ": what it says");
  service.expectLog(level, std::string(kStreamData) + GetParam() + ": what it says");
  EXPECT_EQ(streaming.calls("SendStreamData").size(), 2U);
  EXPECT_EQ(platform.subscriptions().size(), 1U);
}

TEST_P(AnsweredErrors, OfResponsesAreWarningsWhateverTheirCode) {
  start();
  ASSERT_TRUE(client.createSession("s").ok());
  streaming.answerWithError(GetParam(), "what it says");
  EXPECT_TRUE(client.handleRequest("s", topicPayload()).ok());
  service.expectLog(kWarning, line("sendResponse", GetParam()) + ": what it says");
  EXPECT_TRUE(client.handleRequest("s", "{}").ok());
  service.expectLog(kWarning, line("sendErrorResponse", GetParam()) + ": what it says");
  EXPECT_EQ(streaming.calls().size(), 2U);
  EXPECT_EQ(platform.subscriptions().size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Every, AnsweredErrors,
                         ::testing::Values(kInvalidSession, kInvalidParameter, kFailed),
                         [](const auto& error) {
                           const std::string name(error.param);
                           return name.substr(name.rfind('.') + 1);
                         });

TEST_F(StreamingService, OtherErrorOfStreamDataIsAWarning) {
  start();
  const std::string id = configured("s");
  streaming.answerWithError("org.freedesktop.DBus.Error.NoMemory", "full");
  platform.deliver(id, "{}");
  service.expectLog(kWarning,
                    std::string(kStreamData) + "org.freedesktop.DBus.Error.NoMemory: full");
}

TEST_F(StreamingService, MuteOneHoldsNothingUp) {
  streaming.neverAnswer();
  start();
  const std::string a = configured("a");
  const std::string b = configured("b");
  platform.deliver("all", R"({"n":@N@})", 10);
  ASSERT_TRUE(streaming.waitForCalls(20, "SendStreamData"));
  EXPECT_TRUE(client.handleRequest("a", "{}").ok());
  EXPECT_TRUE(client.removeSession("b").ok());
  ASSERT_TRUE(streaming.waitForCalls(1, "SendErrorResponse"));
  EXPECT_EQ(streaming.waiting(), 23U);
  streaming.answerWaiting();
}

TEST_F(StreamingService, FarMoreThan128CallsMayBeInFlight) {
  streaming.neverAnswer();
  start();
  const std::string id = configured("s");
  platform.deliver(id, R"({"n":@N@})", 1000);
  ASSERT_TRUE(streaming.waitForCalls(1000, "SendStreamData"));
  EXPECT_EQ(streaming.waiting(), 1001U);
}

TEST_F(StreamingService, GoneOneMakesEveryCallAWarningAndNothingElse) {
  start();
  const std::string id = configured("s");
  streaming.disappear();
  // A caller's message comes after the news that the owner of the name has gone.
  EXPECT_TRUE(client.createSession("t").ok());
  const std::string why =
      "org.freedesktop.DBus.Error.ServiceUnknown: "
      "The name com.ovra.WSDataStreaming1.Service was not provided by any .service files";
  platform.deliver(id, "{}");
  service.expectLog(kWarning, line("sendStreamData", why));
  EXPECT_TRUE(client.handleRequest("t", topicPayload()).ok());
  service.expectLog(kWarning, line("sendResponse", why));
  EXPECT_TRUE(client.handleRequest("t", "{}").ok());
  service.expectLog(kWarning, line("sendErrorResponse", why));
  EXPECT_EQ(platform.subscriptions().size(), 2U);
}

TEST_F(StreamingService, RestartedOneGetsWhatFollows) {
  start();
  const std::string id = configured("s");
  const std::string before = streaming.uniqueName();
  streaming.disappear();
  streaming.appear();
  EXPECT_NE(streaming.uniqueName(), before);
  streaming.clear();
  EXPECT_TRUE(client.createSession("t").ok());
  platform.deliver(id, "{}");
  ASSERT_TRUE(streaming.waitForCalls(1));
  EXPECT_THAT(streaming.calls(), ElementsAre(streamData("s", "{}")));
}

TEST_F(StreamingService, OneThatDiesWithCallsInFlightMakesEachAWarning) {
  ASSERT_NO_FATAL_FAILURE(startWithCallsInFlight(2));
  streaming.disappear();
  const std::string why =
      "org.freedesktop.DBus.Error.NoReply: "
      "Message recipient disconnected from message bus without replying";
  service.expectLog(kWarning, line("sendStreamData", why));
  service.expectLog(kWarning, line("sendStreamData", why));
}

TEST_F(StreamingService, OneThatOnlyDropsItsNameIsNotCalledAnyMore) {
  start();
  const std::string id = configured("s");
  streaming.clear();
  streaming.dropName();
  EXPECT_TRUE(client.createSession("t").ok());
  platform.deliver(id, "{}");
  service.expectLog(
      kWarning, line("sendStreamData",
                     "org.freedesktop.DBus.Error.ServiceUnknown: The name "
                     "com.ovra.WSDataStreaming1.Service was not provided by any .service files"));
  EXPECT_TRUE(streaming.calls().empty());
}

class LateStreamingService : public StreamingService {
 protected:
  LateStreamingService() : StreamingService(false) {}
};

TEST_F(LateStreamingService, AppearsLaterAndGetsWhatFollows) {
  start();
  ASSERT_TRUE(client.createSession("s").ok());
  EXPECT_TRUE(client.handleRequest("s", topicPayload()).ok());
  service.expectLog(
      kWarning, line("sendResponse",
                     "org.freedesktop.DBus.Error.ServiceUnknown: The name "
                     "com.ovra.WSDataStreaming1.Service was not provided by any .service files"));
  streaming.appear();
  EXPECT_TRUE(client.createSession("t").ok());
  platform.deliver("1", "{}");
  ASSERT_TRUE(streaming.waitForCalls(1));
  EXPECT_THAT(streaming.calls(), ElementsAre(streamData("s", "{}")));
}

}  // namespace integration
