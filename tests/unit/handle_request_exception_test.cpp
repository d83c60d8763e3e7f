// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <gmock/gmock.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "sessions/queued_request.h"
#include "tests/unit/consumer_fixture.h"
#include "tests/unit/heap_count.h"

using doubles::Failure;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using unit::takeRecord;

namespace {

/// Exceptions that are nobody's business in handleRequest: they leave it, and the idle callback,
/// but never anything behind.
class RequestExceptionTest : public unit::ConsumerTest {
 protected:
  /// Runs the idle callback of a request, which must throw `text` and free everything it made.
  void expectThrow(const std::string& payload, const std::string& text) {
    takeRecord();
    auto* const request = new QueuedRequest{handler_.get(), "s", "request", payload};
    try {
      EventConsumerHandler::wrapperHandleRequest(request);
      ADD_FAILURE() << "no exception";
    } catch (const std::runtime_error& error) {
      EXPECT_EQ(error.what(), text);
    }
    record_ = takeRecordButFilters();
    EXPECT_EQ(platform_.outstanding().expressions, 0U);
    EXPECT_EQ(platform_.outstanding().filters, 0U);
  }

  std::vector<std::string> record_;
};

TEST_F(RequestExceptionTest, FromTheFilterLibraryLeavesTheEarlierSubscriptions) {
  const auto& session = openSubscribed("s", 1);
  platform_.fail("wse_filter_to_subscription", 2, {Failure::How::kThrow, "broken"});
  expectThrow(filters(3), "broken");
  EXPECT_THAT(record_, ElementsAre("subscribe_expression_free(expression2)"));
  EXPECT_THAT(session.second.subscriptionIds, ElementsAre(1U));
}

TEST_F(RequestExceptionTest, FromASubscriptionFreesTheExpressionsAndAnswersNothing) {
  const auto& session = open("s");
  platform_.fail("event_consumer_subscribe", 2, {Failure::How::kThrow, "broken"});
  expectThrow(filters(2), "broken");
  EXPECT_THAT(record_, ElementsAre("event_consumer_subscribe(consumer1, expression1) = 1",
                                   "event_consumer_subscribe(consumer1, expression2) = exception",
                                   "subscribe_expression_free(expression1)",
                                   "subscribe_expression_free(expression2)"));
  EXPECT_THAT(session.second.subscriptionIds, ElementsAre(1U));
}

TEST_F(RequestExceptionTest, FromACancellationFreesTheExpressions) {
  openSubscribed("s", 2);
  platform_.fail("event_consumer_unsubscribe", 2, {Failure::How::kThrow, "broken"});
  expectThrow(filters(1), "broken");
  EXPECT_THAT(record_, ElementsAre("event_consumer_unsubscribe(consumer1, 1, null) = TRUE",
                                   "event_consumer_unsubscribe(consumer1, 2, null) = exception",
                                   "subscribe_expression_free(expression3)"));
}

TEST_F(RequestExceptionTest, FromSendingTheResponseFreesTheExpressions) {
  open("s");
  wsService_.throwNext = true;
  expectThrow(filters(1), "sending failed");
  EXPECT_THAT(record_, Contains("subscribe_expression_free(expression1)"));
}

TEST_F(RequestExceptionTest, FromSendingAnErrorResponseFreesTheExpressions) {
  open("s");
  wsService_.throwNext = true;
  platform_.fail("wse_filter_to_subscription", 2);
  expectThrow(filters(2), "sending failed");
  EXPECT_THAT(record_, Contains("subscribe_expression_free(expression1)"));

  wsService_.throwNext = true;
  platform_.fail("event_consumer_subscribe");
  expectThrow(filters(1), "sending failed");
  EXPECT_THAT(record_, Contains("subscribe_expression_free(expression2)"));
}

TEST_F(RequestExceptionTest, LeavesNoRecordAndNoListOnTheHeap) {
  open("s");
  for (const char* function : {"wse_filter_new", "wse_filter_add_topic_expression",
                               "wse_filter_to_subscription", "event_consumer_subscribe"}) {
    // In the first round the doubles come to hold a few things of their own.
    std::size_t held[2] = {};
    for (std::size_t& objects : held) {
      platform_.fail(function, 1, {Failure::How::kThrow, "broken"});
      expectThrow(filters(5), "broken");
      record_ = std::vector<std::string>();
      objects = unit::heapObjects();
    }
    EXPECT_EQ(held[1], held[0]) << function;
  }
}

}  // namespace
