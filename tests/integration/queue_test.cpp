// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <string>

#include "tests/integration/service_test.h"

namespace integration {

using support::BusClient;
using ::testing::ElementsAre;

/// Events that wait in the main loop while their session changes.
class Queue : public ServiceTest {
 protected:
  void SetUp() override {
    start();
    id = configured("s");
    streaming.clear();
  }
  /// Keeps the main thread, so that what is sent meanwhile waits.
  void hold() {
    platform.hold();
    ASSERT_TRUE(platform.waitUntilHeld());
  }
  std::string id;
};

TEST_F(Queue, EventOfASessionThatIsRemovedMeanwhileIsDroppedSilently) {
  hold();
  platform.deliver(id, "{}", 5);
  const auto removed = client.sendRemoveSession("s");
  client.sendCreateSession("t");
  client.sendHandleRequest("t", topicPayload(), "last");
  client.barrier();
  platform.release();
  EXPECT_TRUE(BusClient::await(removed).ok());
  ASSERT_TRUE(streaming.waitForCalls(1));
  EXPECT_THAT(streaming.calls(), ElementsAre(response("t", "last")));
  EXPECT_EQ(platform.count("event_get_json"), 5U);
}

TEST_F(Queue, EventOfASessionThatIsCreatedAgainMeanwhileIsSentForTheNewOne) {
  hold();
  platform.deliver(id, R"({"a":1})");
  client.sendRemoveSession("s");
  client.sendCreateSession("s");
  client.barrier();
  platform.release();
  ASSERT_TRUE(streaming.waitForCalls(1));
  EXPECT_EQ(streaming.calls()[0], streamData("s", R"({"a":1})"));
  EXPECT_TRUE(platform.subscriptions().empty());
}

TEST_F(Queue, EventBeforeARequestOfItsSessionIsSentBeforeTheResponse) {
  hold();
  platform.deliver(id, R"({"a":1})");
  platform.sync();
  client.sendHandleRequest("s", topicPayload("other"), "r2");
  client.barrier();
  platform.release();
  ASSERT_TRUE(streaming.waitForCalls(2));
  EXPECT_THAT(streaming.calls(), ElementsAre(streamData("s", R"({"a":1})"), response("s", "r2")));
}

TEST_F(Queue, EventDuringARequestOfItsSessionIsSentAfterTheResponse) {
  configure("s", R"({"eventFilterList":[{"topicFilter":"T"},{"topicFilter":"U"}]})");
  streaming.clear();
  platform.hold("event_consumer_unsubscribe");
  platform.sync();
  EXPECT_TRUE(client.handleRequest("s", topicPayload("other"), "r2").ok());
  ASSERT_TRUE(platform.waitUntilHeld("event_consumer_unsubscribe"));
  // The first of the two was just cancelled; the second still lives.
  platform.deliver("3", R"({"late":1})");
  platform.release();
  ASSERT_TRUE(streaming.waitForCalls(2));
  EXPECT_THAT(streaming.calls(),
              ElementsAre(response("s", "r2"), streamData("s", R"({"late":1})")));
}

TEST_F(Queue, EventsBetweenTwoRequestsKeepTheirPlace) {
  platform.deliver(id, R"({"n":@N@})", 3);
  configure("s", topicPayload("other"));
  platform.deliver("2", R"({"m":@N@})", 2);
  ASSERT_TRUE(streaming.waitForCalls(5, "SendStreamData"));
  std::string order;
  for (const support::ReceivedCall& call : streaming.calls("SendStreamData")) {
    order += call.arguments.back();
  }
  EXPECT_EQ(order, R"({"notification":{"n":1}}{"notification":{"n":2}}{"notification":{"n":3}})"
                   R"({"notification":{"m":1}}{"notification":{"m":2}})");
}

TEST_F(Queue, CallsOfTheBusGoBeforeWaitingEvents) {
  hold();
  platform.deliver(id, "{}", 20);
  platform.sync();
  const auto created = client.sendCreateSession("t");
  client.barrier();
  platform.release();
  ASSERT_TRUE(streaming.waitForCalls(20));
  EXPECT_LT(BusClient::await(created).serial, streaming.calls()[0].serial);
}

}  // namespace integration
