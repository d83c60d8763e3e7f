// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <gmock/gmock.h>

#include <set>
#include <string>

#include "sessions/queued_request.h"
#include "tests/unit/consumer_fixture.h"
#include "tests/unit/heap_count.h"

using testing::ElementsAre;
using testing::IsEmpty;
using unit::takeRecord;
using unit::turnMainContext;

namespace {

class RequestTest : public unit::ConsumerTest {};

TEST_F(RequestTest, SubscribesEachFilterAndAnswersBeforeItFreesTheExpressions) {
  const auto& session = open("s");
  configure(
      "s",
      R"({"eventFilterList":[{"topicFilter":"T","contentFilter":"C"},{"contentFilter":"D"}]})");
  const std::string topicDialect = "http://www.onvif.org/ver10/tev/topicExpression/ConcreteSet";
  const std::string contentDialect =
      "http://www.onvif.org/ver10/tev/messageContentFilter/ItemFilter";
  EXPECT_THAT(
      takeRecord(),
      ElementsAre(
          "wse_filter_new() = filter1",
          "wse_filter_add_topic_expression(filter1, tns1, tnsovra, " + topicDialect + ", T) = TRUE",
          "wse_filter_add_message_content(filter1, " + contentDialect + ", C) = TRUE",
          "wse_filter_to_subscription(filter1) = expression1", "wse_filter_free(filter1)",
          "wse_filter_new() = filter2",
          "wse_filter_add_message_content(filter2, " + contentDialect + ", D) = TRUE",
          "wse_filter_to_subscription(filter2) = expression2", "wse_filter_free(filter2)",
          "event_consumer_subscribe(consumer1, expression1) = 1",
          "event_consumer_subscribe(consumer1, expression2) = 2", response("s"),
          "subscribe_expression_free(expression1)", "subscribe_expression_free(expression2)"));
  EXPECT_THAT(session.second.subscriptionIds, ElementsAre(1U, 2U));
}

TEST_F(RequestTest, CancelsEveryEarlierSubscriptionBeforeItMakesTheNewOnes) {
  const auto& session = openSubscribed("s", 2);
  configure("s", filters(2));
  EXPECT_THAT(takeRecordButFilters(),
              ElementsAre("event_consumer_unsubscribe(consumer1, 1, null) = TRUE",
                          "event_consumer_unsubscribe(consumer1, 2, null) = TRUE",
                          "event_consumer_subscribe(consumer1, expression3) = 3",
                          "event_consumer_subscribe(consumer1, expression4) = 4", response("s"),
                          "subscribe_expression_free(expression3)",
                          "subscribe_expression_free(expression4)"));
  EXPECT_THAT(session.second.subscriptionIds, ElementsAre(3U, 4U));
  EXPECT_EQ(platform_.outstanding().subscriptions, 2U);
}

TEST_F(RequestTest, BuildsEveryExpressionBeforeItCancelsAnything) {
  openSubscribed("s", 1);
  configure("s", filters(1));
  EXPECT_THAT(
      takeRecord(),
      ElementsAre("wse_filter_new() = filter2", testing::HasSubstr("(filter2, tns1"),
                  "wse_filter_to_subscription(filter2) = expression2", "wse_filter_free(filter2)",
                  "event_consumer_unsubscribe(consumer1, 1, null) = TRUE",
                  "event_consumer_subscribe(consumer1, expression2) = 2", response("s"),
                  "subscribe_expression_free(expression2)"));
}

TEST_F(RequestTest, HandsAFilterWithoutTextsToTheLibraryAllTheSame) {
  open("s");
  configure("s", R"({"eventFilterList":[{"topicFilter":""}]})");
  EXPECT_THAT(takeRecord(), ElementsAre("wse_filter_new() = filter1",
                                        "wse_filter_to_subscription(filter1) = expression1",
                                        "wse_filter_free(filter1)",
                                        "event_consumer_subscribe(consumer1, expression1) = 1",
                                        response("s"), "subscribe_expression_free(expression1)"));
}

TEST_F(RequestTest, CancelsAllAndAnswersWhenTheFilterListIsEmpty) {
  const auto& session = openSubscribed("s", 2);
  configure("s", R"({"eventFilterList":[]})");
  EXPECT_THAT(takeRecord(),
              ElementsAre("event_consumer_unsubscribe(consumer1, 1, null) = TRUE",
                          "event_consumer_unsubscribe(consumer1, 2, null) = TRUE", response("s")));
  EXPECT_THAT(session.second.subscriptionIds, IsEmpty());
}

TEST_F(RequestTest, DoesNothingForASessionThatIsNotThere) {
  openSubscribed("other", 1);
  configure("s", filters(1));
  configure("Other", filters(1));
  configure("s", "no JSON");
  EXPECT_THAT(takeRecord(), IsEmpty());
}

TEST_F(RequestTest, LeavesOtherSessionsAlone) {
  const auto& other = openSubscribed("other", 2);
  openSubscribed("s", 1);
  configure("s", filters(1));
  EXPECT_THAT(takeRecordButFilters(),
              ElementsAre("event_consumer_unsubscribe(consumer1, 3, null) = TRUE",
                          "event_consumer_subscribe(consumer1, expression4) = 4", response("s"),
                          "subscribe_expression_free(expression4)"));
  EXPECT_THAT(other.second.subscriptionIds, ElementsAre(1U, 2U));
}

TEST_F(RequestTest, ServesTheSessionWithTheEmptyId) {
  const auto& session = open("");
  configure("", filters(1));
  EXPECT_THAT(takeRecordButFilters(),
              ElementsAre("event_consumer_subscribe(consumer1, expression1) = 1", response(""),
                          "subscribe_expression_free(expression1)"));
  EXPECT_THAT(session.second.subscriptionIds, ElementsAre(1U));
}

TEST_F(RequestTest, GivesTheAddressOfTheTablesKeyAsUserDataWhileOthersComeAndGo) {
  const auto& session = open("m");
  configure("m", filters(2));
  for (int round = 0; round < 2; ++round) {
    for (int i = 0; i < 31; ++i) {
      open((i % 2 == 0 ? "a" : "z") + std::to_string(i));
    }
    for (int i = 0; i < 31; ++i) {
      sessions().erase((i % 2 == 0 ? "a" : "z") + std::to_string(i));
    }
  }
  for (const auto& [id, subscription] : platform_.subscriptions()) {
    EXPECT_EQ(subscription.userData, &session.first) << id;
    EXPECT_EQ(subscription.userData, &sessions().find("m")->first) << id;
    EXPECT_EQ(*static_cast<const std::string*>(subscription.userData), "m");
  }
  EXPECT_EQ(platform_.subscriptions().size(), 2U);
  takeRecord();
}

TEST_F(RequestTest, AppliesQueuedRequestsInTheOrderInWhichTheyWereAccepted) {
  const auto& session = open("s");
  queue("s", "first", filters(2));
  queue("s", "second", filters(1));
  EXPECT_THAT(takeRecord(), IsEmpty());
  turnMainContext();
  EXPECT_THAT(takeRecordButFilters(),
              ElementsAre("event_consumer_subscribe(consumer1, expression1) = 1",
                          "event_consumer_subscribe(consumer1, expression2) = 2",
                          response("s", "first"), "subscribe_expression_free(expression1)",
                          "subscribe_expression_free(expression2)",
                          "event_consumer_unsubscribe(consumer1, 1, null) = TRUE",
                          "event_consumer_unsubscribe(consumer1, 2, null) = TRUE",
                          "event_consumer_subscribe(consumer1, expression3) = 3",
                          response("s", "second"), "subscribe_expression_free(expression3)"));
  EXPECT_THAT(session.second.subscriptionIds, ElementsAre(3U));
}

TEST_F(RequestTest, DropsAQueuedRequestWhoseSessionIsGoneAndItsRecord) {
  open("s");
  const std::size_t before = unit::heapObjects();
  queue("s", "request", filters(1));
  EXPECT_GT(unit::heapObjects(), before);
  sessions().erase("s");
  turnMainContext();
  EXPECT_THAT(takeRecord(), IsEmpty());
  // The session's own node is gone as well.
  EXPECT_EQ(unit::heapObjects(), before - 1);
}

TEST_F(RequestTest, AppliesAQueuedRequestToASessionThatCameAgainUnderTheSameId) {
  open("s");
  queue("s", "request", filters(1));
  sessions().erase("s");
  const auto& again = open("s");
  turnMainContext();
  EXPECT_THAT(takeRecordButFilters(),
              ElementsAre("event_consumer_subscribe(consumer1, expression1) = 1", response("s"),
                          "subscribe_expression_free(expression1)"));
  EXPECT_THAT(again.second.subscriptionIds, ElementsAre(1U));
  EXPECT_EQ(platform_.subscriptions().at(1).userData, &again.first);
}

TEST_F(RequestTest, RunsAQueuedRequestOnceAndFreesItsRecord) {
  open("s");
  // In the first round the doubles come to hold a few things of their own.
  std::size_t held[2] = {};
  for (std::size_t& objects : held) {
    auto* const request = new QueuedRequest{handler_.get(), "s", "request", "{}"};
    EXPECT_EQ(EventConsumerHandler::wrapperHandleRequest(request), G_SOURCE_REMOVE);
    EXPECT_THAT(takeRecord(), ElementsAre(response("s")));
    objects = unit::heapObjects();
  }
  EXPECT_EQ(held[1], held[0]);
}

TEST_F(RequestTest, IdleCallbackTakesNullAndARecordWithoutAHandler) {
  open("s");
  EXPECT_EQ(EventConsumerHandler::wrapperHandleRequest(nullptr), G_SOURCE_REMOVE);
  const std::size_t before = unit::heapObjects();
  auto* const request = new QueuedRequest{nullptr, "s", "request", filters(1)};
  EXPECT_EQ(EventConsumerHandler::wrapperHandleRequest(request), G_SOURCE_REMOVE);
  EXPECT_EQ(unit::heapObjects(), before);
  EXPECT_THAT(takeRecord(), IsEmpty());
}

TEST_F(RequestTest, FreesItsConsumerAtTheEndAndTouchesNoSession) {
  openSubscribed("s", 2);
  EXPECT_EQ(handler_->getEventConsumer(), platform_.subscriptions().at(1).consumer);
  EXPECT_EQ(handler_->getWsServiceDbus(), &wsService_);
  handler_.reset();
  EXPECT_THAT(takeRecord(), ElementsAre("event_consumer_free(consumer1)"));
  EXPECT_THAT(sessions().at("s").subscriptionIds, ElementsAre(1U, 2U));
}

TEST_F(RequestTest, UsesTheConsumerWithoutACheck) {
  platform_.fail("event_consumer_new");
  {
    EventConsumerHandler handler(&wsService_);
    EXPECT_EQ(handler.getEventConsumer(), nullptr);
  }
  EXPECT_THAT(takeRecord(), ElementsAre("event_consumer_new(Event-Consumer-Handler) = null",
                                        "event_consumer_free(null)"));
}

}  // namespace
