// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <algorithm>
#include <string>
#include <vector>

#include "tests/integration/service_test.h"

namespace integration {

using support::LogLine;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

constexpr const char* kTwoFilters =
    R"({"eventFilterList":[{"topicFilter":"T"},{"topicFilter":"U"}]})";
constexpr const char* kThreeFilters =
    R"({"eventFilterList":[{"topicFilter":"T"},{"topicFilter":"U"},{"topicFilter":"V"}]})";
constexpr const char* kUnusableFilter =
    R"({"code":2104,"message":"Could not use supplied event filter"})";
constexpr const char* kInternalError = R"({"code":1100,"message":"Internal error"})";

}  // namespace

/// A session with two subscriptions, 1 and 2, and a request for it that goes wrong.
class Failures : public ServiceTest {
 protected:
  void SetUp() override {
    start();
    ASSERT_TRUE(client.createSession("s").ok());
    configure("s", kTwoFilters);
    streaming.clear();
    forgetCalls();
  }
  /// Sends the request and returns the one call that answers it.
  support::ReceivedCall answerTo(const std::string& payload) {
    platform.sync();
    EXPECT_TRUE(client.handleRequest("s", payload, "r2").ok());
    EXPECT_TRUE(streaming.waitForCalls(1));
    platform.sync();
    EXPECT_EQ(streaming.calls().size(), 1U);
    return streaming.calls().at(0);
  }
  std::vector<std::string> live() {
    std::vector<std::string> ids;
    for (const support::LiveSubscription& subscription : platform.subscriptions()) {
      ids.push_back(subscription.id);
    }
    return ids;
  }
  /// Calls and the service's log lines in one order, without what builds filters.
  std::vector<std::string> story() {
    std::vector<std::string> texts;
    for (const support::PlatformRecord& record : platform.records()) {
      if (record.function == "log" && record.arguments[1] == "-") {
        texts.push_back(record.arguments[0] + " " + record.arguments[2]);
      } else if (record.function.rfind("event_consumer_", 0) == 0 ||
                 record.function == "subscribe_expression_free") {
        texts.push_back(record.text());
      }
    }
    // What SetUp did: two lines, the consumer, two subscriptions, two expressions freed.
    texts.erase(texts.begin(), texts.begin() + 7);
    return texts;
  }
};

/// How a conversion fails, in words for the case's name and for the doubles.
struct Refusal {
  const char* name;
  const char* how;
};

void PrintTo(const Refusal& refusal, std::ostream* out) {
  *out << refusal.how;
}

class UnusableFilters : public Failures, public ::testing::WithParamInterface<Refusal> {};

TEST_P(UnusableFilters, AreAnsweredNotLoggedAndLeaveTheEarlierSubscriptions) {
  platform.send(std::string("fail wse_filter_to_subscription 2 ") + GetParam().how);
  EXPECT_EQ(answerTo(kThreeFilters), errorResponse("s", "r2", "configure", kUnusableFilter));
  const std::string topic = std::string("tns1, tnsovra, ") + kTopicDialect;
  EXPECT_THAT(platformCalls(),
              ElementsAre("wse_filter_new() = filter3",
                          "wse_filter_add_topic_expression(filter3, " + topic + ", T) = TRUE",
                          "wse_filter_to_subscription(filter3) = expression3",
                          "wse_filter_free(filter3)", "wse_filter_new() = filter4",
                          "wse_filter_add_topic_expression(filter4, " + topic + ", U) = TRUE",
                          "wse_filter_to_subscription(filter4) = FALSE",
                          "subscribe_expression_free(expression3)", "wse_filter_free(filter4)"));
  EXPECT_THAT(live(), ElementsAre("1", "2"));
  EXPECT_THAT(platform.outstanding(), ElementsAre("1", "2", "0", "0", "0"));
  platform.deliver("2", "{}");
  EXPECT_TRUE(streaming.waitForCalls(1, "SendStreamData"));
}

INSTANTIATE_TEST_SUITE_P(
    Every, UnusableFilters,
    ::testing::Values(Refusal{"WithAText", "error at character 3: \"unknown prefix\""},
                      Refusal{"WithAnEmptyText", "error"}, Refusal{"WithoutAText", "null-message"},
                      Refusal{"WithoutAnError", "no-error"}),
    [](const auto& refusal) { return refusal.param.name; });

TEST_F(Failures, ResultsOfTheAddCallsAreNotLookedAt) {
  platform.fail("wse_filter_add_topic_expression", 1, "error");
  platform.fail("wse_filter_add_message_content", 1, "error");
  EXPECT_EQ(answerTo(R"({"eventFilterList":[{"topicFilter":"T","contentFilter":"C"}]})"),
            response("s", "r2"));
  EXPECT_THAT(live(), ElementsAre("3"));
}

TEST_F(Failures, RefusedSubscriptionLeavesTheSessionWithNone) {
  platform.fail("event_consumer_subscribe", 2, "error");
  EXPECT_EQ(answerTo(kThreeFilters), errorResponse("s", "r2", "configure", kInternalError));
  service.expectLog(kError, "Subscription failed");
  EXPECT_THAT(story(),
              ElementsAre("event_consumer_unsubscribe(consumer1, 1, null) = TRUE",
                          "event_consumer_unsubscribe(consumer1, 2, null) = TRUE",
                          "event_consumer_subscribe(consumer1, expression3) = 3",
                          "event_consumer_subscribe(consumer1, expression4) = 0",
                          "256 Subscription failed", "subscribe_expression_free(expression3)",
                          "subscribe_expression_free(expression4)",
                          "subscribe_expression_free(expression5)",
                          "event_consumer_unsubscribe(consumer1, 3, null) = TRUE"));
  EXPECT_THAT(platform.outstanding(), ElementsAre("1", "0", "0", "0", "0"));
  // The ids are forgotten: nothing is cancelled twice.
  forgetCalls();
  EXPECT_TRUE(client.removeSession("s").ok());
  EXPECT_THAT(platformCalls(), IsEmpty());
}

TEST_F(Failures, RefusalOfTheVeryFirstSubscriptionCancelsOnlyTheEarlierOnes) {
  platform.fail("event_consumer_subscribe", 1, "error");
  EXPECT_EQ(answerTo(kTwoFilters), errorResponse("s", "r2", "configure", kInternalError));
  service.expectLog(kError, "Subscription failed");
  EXPECT_THAT(story(),
              ElementsAre("event_consumer_unsubscribe(consumer1, 1, null) = TRUE",
                          "event_consumer_unsubscribe(consumer1, 2, null) = TRUE",
                          "event_consumer_subscribe(consumer1, expression3) = 0",
                          "256 Subscription failed", "subscribe_expression_free(expression3)",
                          "subscribe_expression_free(expression4)"));
  EXPECT_THAT(live(), IsEmpty());
}

TEST_F(Failures, SessionCanBeConfiguredAgainAfterARefusedSubscription) {
  platform.fail("event_consumer_subscribe", 1, "error");
  EXPECT_EQ(answerTo(kTwoFilters), errorResponse("s", "r2", "configure", kInternalError));
  service.expectLog(kError, "Subscription failed");
  configure("s", kTwoFilters);
  EXPECT_THAT(live(), ElementsAre("3", "4"));
}

TEST_F(Failures, SubscriptionThatCannotBeCancelledIsLoggedAndForgotten) {
  platform.send("refuse 1");
  EXPECT_EQ(answerTo(topicPayload()), response("s", "r2"));
  service.expectLog(kError, "Failed to unsubscribe to subscription id: 1");
  EXPECT_THAT(story(), ElementsAre("event_consumer_unsubscribe(consumer1, 1, null) = FALSE",
                                   "256 Failed to unsubscribe to subscription id: 1",
                                   "event_consumer_unsubscribe(consumer1, 2, null) = TRUE",
                                   "event_consumer_subscribe(consumer1, expression3) = 3",
                                   "subscribe_expression_free(expression3)"));
  forgetCalls();
  EXPECT_TRUE(client.removeSession("s").ok());
  EXPECT_THAT(platformCalls(),
              ElementsAre("event_consumer_unsubscribe(consumer1, 3, null) = TRUE"));
}

TEST_F(Failures, RefusedCancellationWhileTakingBackARefusedConfiguration) {
  platform.send("refuse 3");
  platform.fail("event_consumer_subscribe", 3, "error");
  EXPECT_EQ(answerTo(kThreeFilters), errorResponse("s", "r2", "configure", kInternalError));
  service.expectLog(kError, "Subscription failed");
  service.expectLog(kError, "Failed to unsubscribe to subscription id: 3");
  const std::vector<std::string> told = story();
  ASSERT_GE(told.size(), 3U);
  EXPECT_THAT(std::vector(told.end() - 3, told.end()),
              ElementsAre("event_consumer_unsubscribe(consumer1, 3, null) = FALSE",
                          "256 Failed to unsubscribe to subscription id: 3",
                          "event_consumer_unsubscribe(consumer1, 4, null) = TRUE"));
}

}  // namespace integration
