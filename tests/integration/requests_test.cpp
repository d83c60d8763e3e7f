// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <string>
#include <vector>

#include "tests/integration/service_test.h"

namespace integration {

using support::BusClient;
using support::Reply;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

constexpr const char* kBadVersion =
    R"({"code":2100,"message":"Invalid apiVersion. Current version is: 1.0"})";

std::string badMethod(const std::string& method) {
  return R"({"code":2102,"message":"Invalid handle request configuration method. )"
         "Expected method: configure; received method: " +
         method + R"("})";
}

}  // namespace

class Requests : public ServiceTest {
 protected:
  void SetUp() override {
    start();
    ASSERT_TRUE(client.createSession("s").ok());
  }
  /// Everything that was sent before is with the streaming service now, which shows that nothing
  /// else was sent.
  void settle() {
    const std::size_t before = streaming.calls().size();
    EXPECT_TRUE(client.handleRequest("s", topicPayload(), "last").ok());
    EXPECT_TRUE(streaming.waitForCalls(before + 1));
    ASSERT_TRUE(
        support::waitFor([&] { return streaming.calls().back() == response("s", "last"); }));
  }
};

TEST_F(Requests, WrongSourceComesBeforeAnUnknownSession) {
  const Reply reply = client.handleRequest("nobody", "{", "r", "9", "Events", "x");
  EXPECT_EQ(reply.errorName, std::string(kErrorPrefix) + "InvalidSource");
  EXPECT_EQ(reply.errorMessage, "Invalid data source id. Expected: events, received: Events");
  service.expectLog(kError, "Invalid data source id. Expected: events; received: Events");
  settle();
  EXPECT_THAT(streaming.calls(), ElementsAre(response("s", "last")));
}

TEST_F(Requests, SourceIsComparedAsAWhole) {
  for (const std::string source : {"", "event", "events ", " events", "EVENTS", "eventsx"}) {
    const Reply reply = client.handleRequest("s", topicPayload(), "r", "1.0", source);
    EXPECT_EQ(reply.errorName, std::string(kErrorPrefix) + "InvalidSource");
    EXPECT_EQ(reply.errorMessage, "Invalid data source id. Expected: events, received: " + source);
    service.expectLog(kError, "Invalid data source id. Expected: events; received: " + source);
  }
}

TEST_F(Requests, UnknownSessionComesBeforeABadVersion) {
  const Reply reply = client.handleRequest("nobody", "{", "r", "9", "events", "x");
  EXPECT_EQ(reply.errorName, std::string(kErrorPrefix) + "InvalidSession");
  EXPECT_EQ(reply.errorMessage, "Session nobody does not exist");
  service.expectLog(kWarning, "Session nobody does not exist");
  settle();
  EXPECT_THAT(streaming.calls(), ElementsAre(response("s", "last")));
}

TEST_F(Requests, BadVersionComesBeforeABadMethodAndIsAnsweredOnce) {
  EXPECT_TRUE(client.handleRequest("s", "{", "r", "2.0", "events", "x").ok());
  settle();
  EXPECT_THAT(streaming.calls(),
              ElementsAre(errorResponse("s", "r", "", kBadVersion), response("s", "last")));
}

TEST_F(Requests, VersionsAreRefusedUnlessTheyBeginWithOne) {
  for (const std::string version : {"", "0.9", "2.0", " 1.0", "v1", "x1"}) {
    streaming.clear();
    EXPECT_TRUE(client.handleRequest("s", topicPayload(), "r", version).ok());
    ASSERT_TRUE(streaming.waitForCalls(1));
    EXPECT_EQ(streaming.calls()[0], errorResponse("s", "r", "", kBadVersion)) << version;
  }
  for (const std::string version : {"1", "1.0", "1.5", "1.x", "1.0.3", "10.0", "12", "1abc"}) {
    streaming.clear();
    EXPECT_TRUE(client.handleRequest("s", topicPayload(), "r", version).ok());
    ASSERT_TRUE(streaming.waitForCalls(1));
    EXPECT_EQ(streaming.calls()[0], response("s", "r")) << version;
  }
}

TEST_F(Requests, BadMethodComesBeforeABadPayload) {
  EXPECT_TRUE(client.handleRequest("s", "{", "r", "1.0", "events", "x").ok());
  settle();
  EXPECT_THAT(streaming.calls(),
              ElementsAre(errorResponse("s", "r", "", badMethod("x")), response("s", "last")));
}

TEST_F(Requests, MethodIsComparedAsAWholeAndQuotedUnescaped) {
  for (const std::string method : {"", "Configure", "configure ", "configure2", "a\"b\\c%s"}) {
    streaming.clear();
    EXPECT_TRUE(client.handleRequest("s", topicPayload(), "r", "1.0", "events", method).ok());
    ASSERT_TRUE(streaming.waitForCalls(1));
    EXPECT_EQ(streaming.calls()[0], errorResponse("s", "r", "", badMethod(method)));
  }
}

TEST_F(Requests, RequestIdIsGivenBackAsItCame) {
  for (const std::string requestId : {"", " ", "r 1", "\xe2\x82\xac", "\"%s\""}) {
    streaming.clear();
    EXPECT_TRUE(client.handleRequest("s", topicPayload(), requestId).ok());
    EXPECT_TRUE(client.handleRequest("s", topicPayload(), requestId, "2").ok());
    ASSERT_TRUE(streaming.waitForCalls(2));
    EXPECT_THAT(streaming.calls(),
                ::testing::UnorderedElementsAre(response("s", requestId),
                                                errorResponse("s", requestId, "", kBadVersion)));
  }
}

TEST_F(Requests, RefusedOneLeavesTheEarlierConfigurationInForce) {
  configure("s", topicPayload());
  forgetCalls();
  EXPECT_TRUE(client.handleRequest("s", topicPayload(), "r", "2.0").ok());
  EXPECT_TRUE(client.handleRequest("s", topicPayload(), "r", "1.0", "events", "x").ok());
  EXPECT_TRUE(client.handleRequest("s", "{}", "r").ok());
  ASSERT_TRUE(streaming.waitForCalls(3, "SendErrorResponse"));
  EXPECT_THAT(platformCalls(), IsEmpty());
  platform.deliver("1", "{}");
  EXPECT_TRUE(streaming.waitForCalls(1, "SendStreamData"));
}

TEST_F(Requests, EmptyReplyOfAnAcceptedOneIsSentBeforeAnythingElseForIt) {
  for (int i = 0; i < 20; ++i) {
    streaming.clear();
    const Reply reply = client.handleRequest("s", topicPayload());
    ASSERT_TRUE(streaming.waitForCalls(1));
    EXPECT_LT(reply.serial, streaming.calls()[0].serial);
  }
  platform.fail("wse_filter_to_subscription", 1, "error", "no");
  platform.sync();
  streaming.clear();
  const Reply reply = client.handleRequest("s", topicPayload());
  ASSERT_TRUE(streaming.waitForCalls(1, "SendErrorResponse"));
  EXPECT_LT(reply.serial, streaming.calls()[0].serial);
}

TEST_F(Requests, ErrorResponseOfARefusedOneIsSentBeforeTheEmptyReply) {
  for (const auto& [version, method, payload] :
       {std::tuple{"2", "configure", "{}"}, {"1", "x", "{}"}, {"1", "configure", "{}"}}) {
    streaming.clear();
    const Reply reply = client.handleRequest("s", payload, "r", version, "events", method);
    ASSERT_TRUE(streaming.waitForCalls(1, "SendErrorResponse"));
    EXPECT_LT(streaming.calls()[0].serial, reply.serial);
  }
}

TEST_F(Requests, TwoAcceptedOnesAreAppliedInTheOrderReceived) {
  platform.hold();
  ASSERT_TRUE(platform.waitUntilHeld());
  const auto first = client.sendHandleRequest("s", topicPayload("first"), "r1");
  const auto second = client.sendHandleRequest("s", topicPayload("second"), "r2");
  client.barrier();
  forgetCalls();
  platform.release();
  ASSERT_TRUE(streaming.waitForCalls(2));
  EXPECT_TRUE(BusClient::await(first).ok());
  EXPECT_LT(BusClient::await(second).serial, streaming.calls()[0].serial);
  EXPECT_THAT(streaming.calls(), ElementsAre(response("s", "r1"), response("s", "r2")));
  EXPECT_EQ(platform.count("event_consumer_subscribe"), 2U);
  EXPECT_THAT(platformCalls(),
              ::testing::Contains("event_consumer_unsubscribe(consumer1, 1, null) = TRUE"));
  ASSERT_EQ(platform.subscriptions().size(), 1U);
  EXPECT_EQ(platform.subscriptions()[0].id, "2");
}

TEST_F(Requests, OneWhoseSessionIsRemovedBeforeItsTurnIsNotAnswered) {
  platform.hold();
  ASSERT_TRUE(platform.waitUntilHeld());
  const auto accepted = client.sendHandleRequest("s", topicPayload());
  const auto removed = client.sendRemoveSession("s");
  const auto other = client.sendCreateSession("t");
  const auto last = client.sendHandleRequest("t", topicPayload(), "last");
  client.barrier();
  platform.release();
  ASSERT_TRUE(streaming.waitForCalls(1));
  EXPECT_THAT(streaming.calls(), ElementsAre(response("t", "last")));
  EXPECT_TRUE(BusClient::await(accepted).ok());
  EXPECT_TRUE(BusClient::await(removed).ok());
  EXPECT_EQ(platform.count("wse_filter_new"), 1U);
}

TEST_F(Requests, OneWhoseSessionIsRemovedAndCreatedAgainIsAppliedToTheNewOne) {
  platform.hold();
  ASSERT_TRUE(platform.waitUntilHeld());
  client.sendHandleRequest("s", topicPayload());
  client.sendRemoveSession("s");
  client.sendCreateSession("s");
  client.barrier();
  platform.release();
  ASSERT_TRUE(streaming.waitForCalls(1));
  EXPECT_EQ(streaming.calls()[0], response("s"));
  ASSERT_EQ(platform.subscriptions().size(), 1U);
  EXPECT_EQ(platform.subscriptions()[0].sessionId, "s");
}

}  // namespace integration
