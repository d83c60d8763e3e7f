// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <gmock/gmock.h>

#include <set>
#include <string>
#include <vector>

#include "sessions/queued_request.h"
#include "tests/unit/consumer_fixture.h"

using doubles::Failure;
using testing::ElementsAre;
using testing::IsEmpty;
using unit::takeRecord;

namespace {

constexpr const char* kUnparsable = R"({"eventFilterList":[{"topicFilter":"a"},"x"]})";

class RequestFailureTest : public unit::ConsumerTest {};

TEST_F(RequestFailureTest, PayloadThatCannotBeParsedIsLoggedThenAnswered) {
  const auto& session = openSubscribed("s", 2);
  configure("s", kUnparsable);
  EXPECT_THAT(takeRecord(),
              ElementsAre("log(64, no domain, Could not parse the params payload: "
                          "Could not parse event filter)",
                          errorResponse("s", "2104, Could not parse the params payload")));
  EXPECT_THAT(session.second.subscriptionIds, ElementsAre(1U, 2U));
  EXPECT_EQ(platform_.outstanding().subscriptions, 2U);
}

TEST_F(RequestFailureTest, FirstFilterThatCannotBeUsedLeavesTheEarlierSubscriptions) {
  const auto& session = openSubscribed("s", 1);
  platform_.fail("wse_filter_to_subscription", 1, {Failure::How::kError, "the library's text"});
  configure("s", filters(2));
  EXPECT_THAT(takeRecord(),
              ElementsAre("wse_filter_new() = filter2", testing::HasSubstr("(filter2, tns1"),
                          "wse_filter_to_subscription(filter2) = FALSE",
                          errorResponse("s", "2104, Could not use supplied event filter"),
                          "wse_filter_free(filter2)"));
  EXPECT_THAT(session.second.subscriptionIds, ElementsAre(1U));
  EXPECT_EQ(platform_.outstanding().subscriptions, 1U);
}

TEST_F(RequestFailureTest, ThirdFilterThatCannotBeUsedFreesTheExpressionsBeforeIt) {
  const auto& session = openSubscribed("s", 1);
  platform_.fail("wse_filter_to_subscription", 3);
  configure("s", filters(4));
  const std::vector<std::string> record = takeRecord();
  ASSERT_EQ(record.size(), 15U);
  EXPECT_THAT(std::vector<std::string>(record.begin() + 8, record.end()),
              ElementsAre("wse_filter_new() = filter4", testing::HasSubstr("(filter4, tns1"),
                          "wse_filter_to_subscription(filter4) = FALSE",
                          errorResponse("s", "2104, Could not use supplied event filter"),
                          "subscribe_expression_free(expression2)",
                          "subscribe_expression_free(expression3)", "wse_filter_free(filter4)"));
  EXPECT_THAT(session.second.subscriptionIds, ElementsAre(1U));
}

TEST_F(RequestFailureTest, ConversionWithoutAReasonIsAnsweredInTheSameWay) {
  open("s");
  for (const Failure& failure :
       {Failure{Failure::How::kNoError, ""}, Failure{Failure::How::kError, ""},
        Failure{Failure::How::kNullMessage, ""}}) {
    platform_.fail("wse_filter_to_subscription", 1, failure);
    configure("s", filters(1));
    EXPECT_THAT(takeRecordButFilters(),
                ElementsAre(errorResponse("s", "2104, Could not use supplied event filter")));
    EXPECT_EQ(platform_.outstanding().filters, 0U);
  }
}

TEST_F(RequestFailureTest, FirstSubscriptionRefusedLeavesNone) {
  const auto& session = openSubscribed("s", 2);
  platform_.fail("event_consumer_subscribe");
  configure("s", filters(2));
  EXPECT_THAT(takeRecordButFilters(),
              ElementsAre("event_consumer_unsubscribe(consumer1, 1, null) = TRUE",
                          "event_consumer_unsubscribe(consumer1, 2, null) = TRUE",
                          "event_consumer_subscribe(consumer1, expression3) = 0",
                          "log(256, no domain, Subscription failed)",
                          errorResponse("s", "1100, Internal error"),
                          "subscribe_expression_free(expression3)",
                          "subscribe_expression_free(expression4)"));
  EXPECT_THAT(session.second.subscriptionIds, IsEmpty());
  EXPECT_EQ(platform_.outstanding().subscriptions, 0U);
}

TEST_F(RequestFailureTest, ThirdSubscriptionRefusedCancelsTheTwoBeforeItAndTriesNoMore) {
  const auto& session = openSubscribed("s", 1);
  platform_.fail("event_consumer_subscribe", 3);
  configure("s", filters(4));
  EXPECT_THAT(
      takeRecordButFilters(),
      ElementsAre(
          "event_consumer_unsubscribe(consumer1, 1, null) = TRUE",
          "event_consumer_subscribe(consumer1, expression2) = 2",
          "event_consumer_subscribe(consumer1, expression3) = 3",
          "event_consumer_subscribe(consumer1, expression4) = 0",
          "log(256, no domain, Subscription failed)", errorResponse("s", "1100, Internal error"),
          "subscribe_expression_free(expression2)", "subscribe_expression_free(expression3)",
          "subscribe_expression_free(expression4)", "subscribe_expression_free(expression5)",
          "event_consumer_unsubscribe(consumer1, 2, null) = TRUE",
          "event_consumer_unsubscribe(consumer1, 3, null) = TRUE"));
  EXPECT_THAT(session.second.subscriptionIds, IsEmpty());
  EXPECT_EQ(platform_.outstanding().subscriptions, 0U);
}

TEST_F(RequestFailureTest, SessionCanBeConfiguredAgainAfterEachFailure) {
  const auto& session = open("s");
  for (const char* function : {"wse_filter_to_subscription", "event_consumer_subscribe"}) {
    platform_.fail(function, 2);
    configure("s", filters(2));
    EXPECT_THAT(session.second.subscriptionIds, IsEmpty());
    configure("s", filters(2));
    EXPECT_EQ(session.second.subscriptionIds.size(), 2U);
    configure("s", R"({"eventFilterList":[]})");
    takeRecord();
  }
}

TEST_F(RequestFailureTest, CancellationRefusedWhileReplacingIsLoggedAndForgotten) {
  const auto& session = openSubscribed("s", 3);
  platform_.refuseUnsubscribe(2);
  configure("s", filters(1));
  EXPECT_THAT(takeRecordButFilters(),
              ElementsAre("event_consumer_unsubscribe(consumer1, 1, null) = TRUE",
                          "event_consumer_unsubscribe(consumer1, 2, null) = FALSE",
                          "log(256, no domain, Failed to unsubscribe to subscription id: 2)",
                          "event_consumer_unsubscribe(consumer1, 3, null) = TRUE",
                          "event_consumer_subscribe(consumer1, expression4) = 4", response("s"),
                          "subscribe_expression_free(expression4)"));
  EXPECT_THAT(session.second.subscriptionIds, ElementsAre(4U));
}

TEST_F(RequestFailureTest, CancellationRefusedAfterARefusedSubscriptionIsLoggedAndForgotten) {
  const auto& session = open("s");
  platform_.fail("event_consumer_subscribe", 2);
  platform_.refuseUnsubscribe(1);
  configure("s", filters(2));
  EXPECT_THAT(takeRecordButFilters(),
              ElementsAre("event_consumer_subscribe(consumer1, expression1) = 1",
                          "event_consumer_subscribe(consumer1, expression2) = 0",
                          "log(256, no domain, Subscription failed)",
                          errorResponse("s", "1100, Internal error"),
                          "subscribe_expression_free(expression1)",
                          "subscribe_expression_free(expression2)",
                          "event_consumer_unsubscribe(consumer1, 1, null) = FALSE",
                          "log(256, no domain, Failed to unsubscribe to subscription id: 1)"));
  EXPECT_THAT(session.second.subscriptionIds, IsEmpty());
}

TEST_F(RequestFailureTest, UnsubscribeGoesThroughTheIdsInAscendingOrderAndKeepsTheSet) {
  std::set<unsigned int> ids{4294967295U, 7U, 1U, 3U};
  BaseEventConsumerHandler* const handler = handler_.get();
  handler->unsubscribe(ids);
  EXPECT_THAT(
      takeRecord(),
      ElementsAre("event_consumer_unsubscribe(consumer1, 1, null) = FALSE",
                  "log(256, no domain, Failed to unsubscribe to subscription id: 1)",
                  "event_consumer_unsubscribe(consumer1, 3, null) = FALSE",
                  "log(256, no domain, Failed to unsubscribe to subscription id: 3)",
                  "event_consumer_unsubscribe(consumer1, 7, null) = FALSE",
                  "log(256, no domain, Failed to unsubscribe to subscription id: 7)",
                  "event_consumer_unsubscribe(consumer1, 4294967295, null) = FALSE",
                  "log(256, no domain, Failed to unsubscribe to subscription id: 4294967295)"));
  EXPECT_THAT(ids, ElementsAre(1U, 3U, 7U, 4294967295U));
}

TEST_F(RequestFailureTest, UnsubscribeOfAnEmptySetDoesNothing) {
  std::set<unsigned int> ids;
  handler_->unsubscribe(ids);
  EXPECT_THAT(takeRecord(), IsEmpty());
}

/// Sees which sets are to be cancelled, and cancels nothing.
class WatchedHandler : public EventConsumerHandler {
 public:
  using EventConsumerHandler::EventConsumerHandler;
  void unsubscribe(std::set<unsigned int>& subscriptionIds) override {
    cancelled.push_back(subscriptionIds);
  }
  std::vector<std::set<unsigned int>> cancelled;
};

TEST_F(RequestFailureTest, CancelsThroughTheVirtualOperation) {
  {
    WatchedHandler handler(&wsService_);
    auto& session = open("s");
    session.second.subscriptionIds = {11, 12};
    platform_.fail("event_consumer_subscribe", 2);
    QueuedRequest request{&handler, "s", "request", filters(2)};
    handler.handleRequest(&request);
    EXPECT_THAT(handler.cancelled,
                ElementsAre(std::set<unsigned int>{11, 12}, std::set<unsigned int>{1}));
    EXPECT_THAT(session.second.subscriptionIds, IsEmpty());
  }
  takeRecord();
}

TEST_F(RequestFailureTest, DoesNotCancelAnEmptySetBeforeItSubscribes) {
  {
    WatchedHandler handler(&wsService_);
    open("s");
    QueuedRequest request{&handler, "s", "request", filters(1)};
    handler.handleRequest(&request);
    EXPECT_THAT(handler.cancelled, IsEmpty());
  }
  takeRecord();
}

}  // namespace
