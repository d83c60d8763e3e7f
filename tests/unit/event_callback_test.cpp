// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <gmock/gmock.h>

#include <cstring>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "events/queued_event.h"
#include "tests/unit/consumer_fixture.h"
#include "tests/unit/heap_count.h"

using testing::ElementsAre;
using testing::IsEmpty;
using unit::takeRecord;
using unit::turnMainContext;

namespace {

class EventTest : public unit::ConsumerTest {
 protected:
  EventTest() : session_(openSubscribed("s", 2)) {}

  /// What is sent for an event with this JSON text.
  std::string payloadOf(const std::string& json) {
    std::string payload;
    EXPECT_TRUE(platform_.deliver(1, {json}));
    turnMainContext();
    for (const doubles::Call& call : platform_.calls()) {
      payload = call.function == "sendStreamData" ? call.arguments.back() : payload;
    }
    takeRecord();
    return payload;
  }

  SessionTable::value_type& session_;
};

TEST_F(EventTest, IsFreedAtOnceAndSentWhenTheMainContextTurns) {
  platform_.deliver(1, {R"({"a":1})"});
  EXPECT_THAT(takeRecord(),
              ElementsAre("event_is_internal(event1) = FALSE",
                          R"(event_get_json(event1, null) = {"a":1})", "event_free(event1)"));
  turnMainContext();
  EXPECT_THAT(takeRecord(), ElementsAre(notification("s", R"({"notification":{"a":1}})")));
  EXPECT_EQ(platform_.outstanding().jsonTexts, 0U);
}

TEST_F(EventTest, TextGoesOutByteForByte) {
  for (const char* json : {"{}", R"({"a":1})", "", " { } ", R"({"a":"\"\u0000"})",
                           "no JSON \" \\ \n", "\xc3\xa5\xf0\x9f\x98\x80", "%s%n"}) {
    EXPECT_EQ(payloadOf(json), std::string(R"({"notification":)") + json + "}");
  }
}

TEST_F(EventTest, TextMayBeLarge) {
  const std::string json(1024U * 1024, 'x');
  EXPECT_TRUE(payloadOf(json) == R"({"notification":)" + json + "}");
}

TEST_F(EventTest, InternalOneIsFreedAndNothingElse) {
  platform_.deliver(1, {"{}", true});
  turnMainContext();
  EXPECT_THAT(takeRecord(), ElementsAre("event_is_internal(event1) = TRUE", "event_free(event1)"));
}

TEST_F(EventTest, WithoutTextIsFreedAndDroppedWithOneLine) {
  platform_.deliver(1, {"", false, true});
  turnMainContext();
  EXPECT_THAT(
      takeRecord(),
      ElementsAre("event_is_internal(event1) = FALSE", "event_get_json(event1, null) = null",
                  "log(256, no domain, Could not read an event for session s)",
                  "event_free(event1)"));
}

TEST_F(EventTest, OfASessionThatIsNotInTheTableIsFreedAndDropped) {
  const doubles::Subscription subscription = platform_.subscriptions().at(1);
  // A platform that delivers to a subscription of a session that is gone: the key outlives it.
  std::string gone = "gone";
  platform_.subscribe({subscription.consumer, subscription.callback, &gone, ""});
  platform_.deliver(3, {"{}"});
  turnMainContext();
  EXPECT_THAT(takeRecord(), ElementsAre("event_is_internal(event1) = FALSE", "event_free(event1)"));
  platform_.unsubscribe(3);
}

TEST_F(EventTest, OrderIsThatOfDelivery) {
  openSubscribed("t", 1);
  platform_.deliver(1, {"1"});
  platform_.deliver(3, {"2"});
  platform_.deliver(2, {"3"});
  platform_.deliver(1, {"4"});
  takeRecord();
  turnMainContext();
  EXPECT_THAT(takeRecord(), ElementsAre(notification("s", R"({"notification":1})"),
                                        notification("t", R"({"notification":2})"),
                                        notification("s", R"({"notification":3})"),
                                        notification("s", R"({"notification":4})")));
}

TEST_F(EventTest, WaitsInOneQueueWithRequests) {
  queue("s", "first", "{}");
  platform_.deliver(1, {"{}"});
  queue("s", "second", filters(1));
  takeRecord();
  turnMainContext();
  EXPECT_THAT(takeRecordButFilters(),
              ElementsAre("event_consumer_unsubscribe(consumer1, 1, null) = TRUE",
                          "event_consumer_unsubscribe(consumer1, 2, null) = TRUE",
                          response("s", "first"), notification("s", R"({"notification":{}})"),
                          "event_consumer_subscribe(consumer1, expression3) = 3",
                          response("s", "second"), "subscribe_expression_free(expression3)"));
}

TEST_F(EventTest, WhoseSessionIsGoneWhenItsTurnComesIsDroppedAndFreed) {
  platform_.deliver(1, {"{}"});
  takeRecord();
  EXPECT_EQ(platform_.outstanding().jsonTexts, 1U);
  handler_->unsubscribe(session_.second.subscriptionIds);
  sessions().erase("s");
  takeRecord();
  turnMainContext();
  EXPECT_THAT(takeRecord(), IsEmpty());
  EXPECT_EQ(platform_.outstanding().jsonTexts, 0U);
}

TEST_F(EventTest, WhoseSessionCameAgainUnderTheSameIdGoesToThatOne) {
  platform_.deliver(1, {"{}"});
  handler_->unsubscribe(session_.second.subscriptionIds);
  sessions().erase("s");
  open("s");
  takeRecord();
  turnMainContext();
  EXPECT_THAT(takeRecord(), ElementsAre(notification("s", R"({"notification":{}})")));
}

/// Keeps what it is asked to send.
class OtherHandler : public BaseEventConsumerHandler {
 public:
  void handleRequest(QueuedRequest* /*request*/) override {}
  void unsubscribe(std::set<unsigned int>& /*subscriptionIds*/) override {}
  void sendEventData(QueuedEvent* event) override {
    events.emplace_back(event->sessionId, event->eventJson.get());
  }
  std::vector<std::pair<std::string, std::string>> events;
};

TEST_F(EventTest, GoesThroughTheHandlerThatServedItsSessionWhenItArrived) {
  OtherHandler other;
  session_.second.consumerHandler = &other;
  platform_.deliver(1, {"{}"});
  session_.second.consumerHandler = handler_.get();
  takeRecord();
  turnMainContext();
  EXPECT_THAT(takeRecord(), IsEmpty());
  EXPECT_THAT(other.events, ElementsAre(std::make_pair(std::string("s"), std::string("{}"))));
}

TEST_F(EventTest, OfASessionWithoutAHandlerIsFreedAndNotSent) {
  session_.second.consumerHandler = nullptr;
  platform_.deliver(1, {"{}"});
  takeRecord();
  turnMainContext();
  EXPECT_THAT(takeRecord(), IsEmpty());
  EXPECT_EQ(platform_.outstanding().jsonTexts, 0U);
}

TEST_F(EventTest, IdleCallbackTakesNullAndFreesWhatItIsGiven) {
  EXPECT_EQ(EventConsumerHandler::sendEventDataWrapper(nullptr), G_SOURCE_REMOVE);
  const std::size_t before = unit::heapObjects();
  auto* event = new QueuedEvent{nullptr, "s", common::MallocCharPtr(strdup("{}"))};
  platform_.jsonTextMade(event->eventJson.get());
  EXPECT_EQ(EventConsumerHandler::sendEventDataWrapper(event), G_SOURCE_REMOVE);
  EXPECT_EQ(unit::heapObjects(), before);
  EXPECT_EQ(platform_.outstanding().jsonTexts, 0U);
  EXPECT_THAT(takeRecord(), IsEmpty());
}

TEST_F(EventTest, ThatThrowsWhenItIsSentIsFreedAllTheSame) {
  auto* event = new QueuedEvent{handler_.get(), "s", common::MallocCharPtr(strdup("{}"))};
  platform_.jsonTextMade(event->eventJson.get());
  wsService_.throwNext = true;
  EXPECT_THROW(EventConsumerHandler::sendEventDataWrapper(event), std::runtime_error);
  EXPECT_EQ(platform_.outstanding().jsonTexts, 0U);
  takeRecord();
}

TEST_F(EventTest, LeavesNothingOnTheHeapOnceItIsSent) {
  payloadOf("{}");
  const std::size_t before = unit::heapObjects();
  for (int i = 0; i < 10; ++i) {
    payloadOf("{}");
  }
  EXPECT_EQ(unit::heapObjects(), before);
}

}  // namespace
