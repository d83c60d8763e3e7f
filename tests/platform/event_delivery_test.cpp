// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <event2.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "tests/platform/broker.h"
#include "tests/platform/event_support.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr const char* kTopic = "Camera1/onvif-ej/Device/Trigger";

class EventDelivery : public support::EventTest {
 protected:
  void SetUp() override {
    broker_.start();
    consumer_ = support::consumerOf(broker_.address());
    ASSERT_TRUE(waitForLog("Connected to the broker at " + broker_.address()));
    publisher_ = std::make_unique<support::Publisher>(broker_.socketPath());
  }
  /// Returns when everything published before has been delivered: to a subscription of its own.
  void settle() {
    const support::Subscriber mark(consumer_.get(), support::onTopic("Mark"));
    publisher_->publish("Mark/onvif-ej/Mark", "{}");
    ASSERT_TRUE(mark.waitForEvents(1));
  }

  support::Broker broker_;
  support::ConsumerPtr consumer_;
  std::unique_ptr<support::Publisher> publisher_;
};

TEST_F(EventDelivery, EventJsonHasTopicOriginAndTheMessageByteForByte) {
  const support::Subscriber all(consumer_.get());
  const std::string message =
      R"( {"UtcTime":"2008-10-10T12:24:57.321Z", "Source":{"VideoSource":"1"},"Data":{"N":1.50e3}} )";
  publisher_->publish("Camera1/onvif-ej/RuleEngine/LineDetector/Crossed/&1", message);
  ASSERT_TRUE(all.waitForEvents(1));
  EXPECT_EQ(all.events().front(),
            R"({"topic":"tns1:RuleEngine/LineDetector/Crossed","origin":"Camera1","message":)" +
                message + "}");
}

TEST_F(EventDelivery, TopicAndOriginAreEscapedAsJsonWants) {
  const support::Subscriber all(consumer_.get());
  publisher_->publish("Came\"ra\\1\xc3\xa9/onvif-ej/Device/acme:Odd\"Name/&x", "{}");
  ASSERT_TRUE(all.waitForEvents(1));
  EXPECT_EQ(all.events().front(), R"({"topic":"tns1:Device/acme:Odd\"Name","origin":"Came\"ra\\1)"
                                  "\xc3\xa9"
                                  R"(","message":{}})");
}

TEST_F(EventDelivery, OneSubscriptionSeesEventsInTheOrderInWhichTheyWerePublished) {
  constexpr int kCount = 3000;
  const support::Subscriber all(consumer_.get());
  std::vector<std::string> expected;
  for (int number = 0; number < kCount; ++number) {
    expected.push_back(R"({"Data":{"Number":)" + std::to_string(number) + "}}");
    publisher_->send(kTopic, expected.back());
  }
  publisher_->flush();
  ASSERT_TRUE(all.waitForEvents(kCount));
  const std::vector<std::string> got = all.summary();
  ASSERT_EQ(got.size(), expected.size());
  const auto difference = std::mismatch(got.begin(), got.end(), expected.begin());
  EXPECT_TRUE(difference.first == got.end())
      << *difference.first << " instead of " << *difference.second;
}

TEST_F(EventDelivery, EachSubscriptionGetsTheEventsThatMatchIt) {
  const support::Subscriber device(consumer_.get(), support::onTopic("Device", true));
  const support::Subscriber trigger(consumer_.get(), support::onTopic("Device/Trigger"));
  const support::Subscriber video(consumer_.get(), support::onTopic("VideoSource", true));
  publisher_->publish(kTopic, R"({"n":1})");
  publisher_->publish("Camera1/onvif-ej/Device/Trigger/DigitalInput", R"({"n":2})");
  settle();
  EXPECT_THAT(device.summary(), ElementsAre(R"({"n":1})", R"({"n":2})"));
  EXPECT_THAT(trigger.summary(), ElementsAre(R"({"n":1})"));
  EXPECT_THAT(video.events(), IsEmpty());
}

TEST_F(EventDelivery, OnlyTopicsOfTheMakersInternalRootAreInternal) {
  std::vector<bool> internal;
  const SubscribeExpression everything{std::make_shared<const model::EventMatcher>()};
  const unsigned int id = event_consumer_subscribe(
      consumer_.get(), &everything,
      [](Event* event, void* seen) {
        static_cast<std::vector<bool>*>(seen)->push_back(event_is_internal(event) != FALSE);
        event_free(event);
      },
      &internal);
  for (const char* local : {"tnsovra:Internal", "tnsovra:Internal/Heartbeat",
                            "tnsovra:InternalState", "Internal", "Device/tnsovra:Internal"}) {
    publisher_->publish(std::string("Camera1/onvif-ej/") + local, "{}");
  }
  ASSERT_TRUE(support::waitFor([&internal] { return internal.size() == 5; }));
  EXPECT_THAT(internal, ElementsAre(true, true, false, false, false));
  event_consumer_unsubscribe(consumer_.get(), id, nullptr);
}

TEST_F(EventDelivery, BadMessagesAreDroppedCountedAndLoggedAndTheStreamGoesOn) {
  const support::Subscriber all(consumer_.get());
  const std::vector<std::string> bad = {"",
                                        "nothing",
                                        "[]",
                                        "12",
                                        R"({"a":)",
                                        "{}{}",
                                        "{\"a\":\"\xff\"}",
                                        R"({"a":")" + std::string(1024 * 1024, 'x') + R"("})"};
  for (const std::string& payload : bad) {
    publisher_->publish(kTopic, payload);
  }
  publisher_->publish("Camera1/onvif-ej", "{}");
  publisher_->publish(kTopic, R"({"good":true})");
  settle();
  EXPECT_THAT(all.summary().front(), R"({"good":true})");
  ASSERT_TRUE(waitForLog("(" + std::to_string(bad.size() + 1) + " so far)"));
  EXPECT_THAT(log_.linesWith("Dropped").front(), HasSubstr("Camera1/onvif-ej/Device/Trigger: "));
}

TEST_F(EventDelivery, AMessageOfExactlyOneMebibyteIsTaken) {
  const support::Subscriber all(consumer_.get());
  const std::string around = R"({"a":""})";
  publisher_->publish(kTopic,
                      R"({"a":")" + std::string(1024 * 1024 - around.size(), 'x') + R"("})");
  EXPECT_TRUE(all.waitForEvents(1));
}

TEST_F(EventDelivery, SubscribingCallsNothingAndIdsAreNeverUsedAgain) {
  unsigned int last = 0;
  for (int round = 0; round < 100; ++round) {
    support::Subscriber one(consumer_.get());
    EXPECT_GT(one.id(), last);
    last = one.id();
  }
  const support::ConsumerPtr other = support::consumerOf(broker_.address());
  EXPECT_GT(support::Subscriber(other.get()).id(), last) << "nor by another consumer";
}

TEST_F(EventDelivery, EndingASubscriptionThatIsNotThereIsAnError) {
  support::Subscriber one(consumer_.get());
  const unsigned int id = one.id();
  one.unsubscribe();
  common::GErrorPtr error;
  EXPECT_FALSE(event_consumer_unsubscribe(consumer_.get(), id, common::GErrorOut(error)));
  ASSERT_NE(error, nullptr);
  EXPECT_THAT(error->message, HasSubstr(std::to_string(id)));
  EXPECT_FALSE(event_consumer_unsubscribe(consumer_.get(), 0, nullptr));
}

TEST_F(EventDelivery, ACallbackMayEndItsOwnSubscriptionAndOthers) {
  support::Subscriber first(consumer_.get());
  support::Subscriber second(consumer_.get());
  support::Subscriber third(consumer_.get());
  first.onEvent([&] {
    first.unsubscribe();
    second.unsubscribe();
  });
  publisher_->publish(kTopic, R"({"n":1})");
  publisher_->publish(kTopic, R"({"n":2})");
  ASSERT_TRUE(third.waitForEvents(2));
  EXPECT_THAT(first.events(), SizeIs(1));
  EXPECT_THAT(second.events(), IsEmpty()) << "though the event was on its way to it";
}

TEST_F(EventDelivery, ACallbackMaySubscribe) {
  support::Subscriber first(consumer_.get());
  std::unique_ptr<support::Subscriber> second;
  first.onEvent([&] {
    if (second == nullptr) {
      second = std::make_unique<support::Subscriber>(consumer_.get());
      EXPECT_THAT(second->events(), IsEmpty());
    }
  });
  publisher_->publish(kTopic, R"({"n":1})");
  ASSERT_TRUE(first.waitForEvents(1));
  publisher_->publish(kTopic, R"({"n":2})");
  ASSERT_TRUE(second->waitForEvents(1));
  EXPECT_THAT(second->summary(), ElementsAre(R"({"n":2})"));
}

TEST_F(EventDelivery, ACallbackMayFreeTheConsumerAndKeepItsEvent) {
  struct Seen {
    support::ConsumerPtr* consumer;
    Event* kept;
    int calls;
  };
  Seen seen{&consumer_, nullptr, 0};
  const SubscribeExpression everything{std::make_shared<const model::EventMatcher>()};
  for (int subscription = 0; subscription < 3; ++subscription) {
    event_consumer_subscribe(
        consumer_.get(), &everything,
        [](Event* event, void* data) {
          auto* const here = static_cast<Seen*>(data);
          ++here->calls;
          here->kept = event;
          here->consumer->reset();
        },
        &seen);
  }
  publisher_->send(kTopic, R"({"n":1})");
  publisher_->send(kTopic, R"({"n":2})");
  publisher_->flush();
  ASSERT_TRUE(support::waitFor([&seen] { return seen.calls > 0; }));
  TearDown();
  EXPECT_EQ(seen.calls, 1);
  const common::MallocCharPtr json(event_get_json(seen.kept, nullptr));
  EXPECT_THAT(json.get(), HasSubstr(R"({"n":1})"));
  event_free(seen.kept);
}

TEST_F(EventDelivery, EventsAreDeliveredInTheContextThatWasTheThreadsDefault) {
  GMainContext* const context = g_main_context_new();
  g_main_context_push_thread_default(context);
  support::ConsumerPtr consumer = support::consumerOf(broker_.address());
  g_main_context_pop_thread_default(context);
  {
    const support::Subscriber here(consumer_.get());
    const support::Subscriber there(consumer.get());
    ASSERT_TRUE(waitForLog("Connected", 2));
    publisher_->publish(kTopic, "{}");
    ASSERT_TRUE(here.waitForEvents(1));
    EXPECT_THAT(there.events(), IsEmpty());
    while (there.events().empty()) {
      g_main_context_iteration(context, TRUE);
    }
  }
  consumer.reset();
  g_main_context_unref(context);
}

}  // namespace
