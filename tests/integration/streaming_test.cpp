// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <string>
#include <vector>

#include "tests/integration/service_test.h"

namespace integration {

using support::LiveSubscription;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;

/// The road of a configuration request and of an event.
class Streaming : public ServiceTest {};

TEST_F(Streaming, ConfigurationBecomesOneSubscriptionPerFilter) {
  start();
  ASSERT_TRUE(client.createSession("s").ok());
  forgetCalls();
  configure("s", R"({"eventFilterList":[{"topicFilter":"T","contentFilter":"C"},
                     {"topicFilter":"U"},{"contentFilter":"D"}]})");
  const std::string topic = std::string("tns1, tnsovra, ") + kTopicDialect;
  EXPECT_THAT(
      platformCalls(),
      ElementsAre(
          "wse_filter_new() = filter1",
          "wse_filter_add_topic_expression(filter1, " + topic + ", T) = TRUE",
          std::string("wse_filter_add_message_content(filter1, ") + kContentDialect + ", C) = TRUE",
          "wse_filter_to_subscription(filter1) = expression1", "wse_filter_free(filter1)",
          "wse_filter_new() = filter2",
          "wse_filter_add_topic_expression(filter2, " + topic + ", U) = TRUE",
          "wse_filter_to_subscription(filter2) = expression2", "wse_filter_free(filter2)",
          "wse_filter_new() = filter3",
          std::string("wse_filter_add_message_content(filter3, ") + kContentDialect + ", D) = TRUE",
          "wse_filter_to_subscription(filter3) = expression3", "wse_filter_free(filter3)",
          "event_consumer_subscribe(consumer1, expression1) = 1",
          "event_consumer_subscribe(consumer1, expression2) = 2",
          "event_consumer_subscribe(consumer1, expression3) = 3",
          "subscribe_expression_free(expression1)", "subscribe_expression_free(expression2)",
          "subscribe_expression_free(expression3)"));
  EXPECT_THAT(streaming.calls(), ElementsAre(response("s")));
}

TEST_F(Streaming, EventIsSentVerbatimAsANotificationOfItsSession) {
  start();
  const std::string id = configured("s");
  streaming.clear();
  forgetCalls();
  const std::vector<std::string> events = {R"({"a":1})", "{}", " not JSON \"\n",
                                           "{\"t\":\"\xe2\x82\xac\"}"};
  for (const std::string& json : events) {
    platform.deliver(id, json);
  }
  ASSERT_TRUE(streaming.waitForCalls(events.size()));
  for (std::size_t i = 0; i < events.size(); ++i) {
    EXPECT_EQ(streaming.calls()[i], streamData("s", events[i]));
  }
  const std::vector<std::string> calls = platformCalls();
  ASSERT_GE(calls.size(), 3U);
  EXPECT_EQ(calls[0], "event_is_internal(event1) = FALSE");
  EXPECT_EQ(calls[1], R"(event_get_json(event1, null) = {"a":1})");
  EXPECT_EQ(calls[2], "event_free(event1)");
  EXPECT_THAT(platform.outstanding(), ElementsAre("1", "1", "0", "0", "0"));
}

TEST_F(Streaming, InternalEventsAreFreedAndNeverSent) {
  start();
  const std::string id = configured("s");
  streaming.clear();
  forgetCalls();
  platform.deliver(id, R"({"secret":1})", 1, "internal");
  platform.deliver(id, R"({"public":1})");
  ASSERT_TRUE(streaming.waitForCalls(1));
  EXPECT_THAT(streaming.calls(), ElementsAre(streamData("s", R"({"public":1})")));
  const std::vector<std::string> calls = platformCalls();
  EXPECT_EQ(calls[0], "event_is_internal(event1) = TRUE");
  EXPECT_EQ(calls[1], "event_free(event1)");
}

TEST_F(Streaming, EventWithoutTextIsFreedAndLoggedOnce) {
  start();
  const std::string id = configured("s");
  streaming.clear();
  platform.deliver(id, "", 1, "unreadable");
  platform.deliver(id, "{}");
  ASSERT_TRUE(streaming.waitForCalls(1));
  EXPECT_THAT(streaming.calls(), ElementsAre(streamData("s", "{}")));
  service.expectLog(kError, "Could not read an event for session s");
  EXPECT_THAT(platform.outstanding(), ElementsAre("1", "1", "0", "0", "0"));
}

TEST_F(Streaming, EachMatchingSubscriptionSendsTheEventForItsOwnSession) {
  start();
  configured("a");
  configured("b");
  ASSERT_TRUE(client.createSession("c").ok());
  configure("c", R"({"eventFilterList":[{"topicFilter":"T"},{"topicFilter":"U"}]})");
  streaming.clear();
  platform.deliver("all", "{}");
  ASSERT_TRUE(streaming.waitForCalls(4));
  EXPECT_THAT(streaming.calls(), ElementsAre(streamData("a", "{}"), streamData("b", "{}"),
                                             streamData("c", "{}"), streamData("c", "{}")));
}

TEST_F(Streaming, BurstArrivesWholeAndInOrder) {
  start();
  const std::string id = configured("s");
  streaming.clear();
  platform.deliver(id, R"({"n":@N@})", 1000);
  ASSERT_TRUE(streaming.waitForCalls(1000));
  for (std::size_t i = 0; i < 1000; ++i) {
    ASSERT_EQ(streaming.calls()[i], streamData("s", R"({"n":)" + std::to_string(i + 1) + "}"));
  }
}

TEST_F(Streaming, LargeEventArrivesWhole) {
  start();
  const std::string id = configured("s");
  const std::string json = R"({"t":")" + std::string(50000, 'x') + R"("})";
  platform.deliver(id, json);
  ASSERT_TRUE(streaming.waitForCalls(1, "SendStreamData"));
  EXPECT_EQ(streaming.calls().back(), streamData("s", json));
}

TEST_F(Streaming, UserDataIsTheSessionsOwnIdAndStaysWhileOthersComeAndGo) {
  start();
  configured("mine");
  const std::vector<LiveSubscription> before = platform.subscriptions();
  ASSERT_EQ(before.size(), 1U);
  for (int round = 0; round < 2; ++round) {
    for (int i = 0; i < 31; ++i) {
      ASSERT_TRUE(client.createSession((i % 2 == 0 ? "a" : "z") + std::to_string(i)).ok());
    }
    for (int i = 0; i < 31; ++i) {
      ASSERT_TRUE(client.removeSession((i % 2 == 0 ? "a" : "z") + std::to_string(i)).ok());
    }
  }
  configure("mine", R"({"eventFilterList":[{"topicFilter":"T"},{"topicFilter":"U"}]})");
  const std::vector<LiveSubscription> after = platform.subscriptions();
  ASSERT_EQ(after.size(), 2U);
  for (const LiveSubscription& subscription : after) {
    EXPECT_EQ(subscription.address, before[0].address);
    EXPECT_EQ(subscription.sessionId, "mine");
  }
  platform.deliver("all", "{}");
  EXPECT_TRUE(streaming.waitForCalls(2, "SendStreamData"));
}

TEST_F(Streaming, LaterConfigurationReplacesAllSubscriptionsEvenIfTheFiltersAreTheSame) {
  start();
  ASSERT_TRUE(client.createSession("s").ok());
  const std::string payload = R"({"eventFilterList":[{"topicFilter":"T"},{"topicFilter":"U"}]})";
  configure("s", payload);
  forgetCalls();
  configure("s", payload);
  std::vector<std::string> calls;
  for (const std::string& call : platformCalls()) {
    if (call.rfind("event_consumer_", 0) == 0 || call.rfind("wse_filter_new", 0) == 0) {
      calls.push_back(call);
    }
  }
  EXPECT_THAT(calls, ElementsAre("wse_filter_new() = filter3", "wse_filter_new() = filter4",
                                 "event_consumer_unsubscribe(consumer1, 1, null) = TRUE",
                                 "event_consumer_unsubscribe(consumer1, 2, null) = TRUE",
                                 "event_consumer_subscribe(consumer1, expression3) = 3",
                                 "event_consumer_subscribe(consumer1, expression4) = 4"));
}

TEST_F(Streaming, SessionsDoNotTouchEachOthersSubscriptions) {
  start();
  configured("a");
  configured("b");
  configure("a", topicPayload("other"));
  const std::vector<LiveSubscription> live = platform.subscriptions();
  ASSERT_EQ(live.size(), 2U);
  EXPECT_EQ(live[0].id + live[0].sessionId, "2b");
  EXPECT_EQ(live[1].id + live[1].sessionId, "3a");
  EXPECT_TRUE(client.removeSession("a").ok());
  ASSERT_EQ(platform.subscriptions().size(), 1U);
}

}  // namespace integration
