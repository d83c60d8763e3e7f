// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <gmock/gmock.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "tests/platform/broker.h"
#include "tests/platform/event_support.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

constexpr const char* kTopic = "Camera1/onvif-ej/Device/Trigger/DigitalInput/&1";

std::string state(const std::string& value, const std::string& token = "1") {
  return R"({"Source":{"InputToken":")" + token + R"("},"Data":{"LogicalState":)" + value + "}}";
}
std::string ended(const std::string& token = "1") {
  return R"(Deleted {"Source":{"InputToken":")" + token + R"("}})";
}

class EventProperty : public support::EventTest {
 protected:
  EventProperty() : broker_("") {}
  void SetUp() override {
    broker_.setSettings(broker_.storeSettings());
    broker_.start();
    consumer_ = support::consumerOf(broker_.address());
    ASSERT_TRUE(waitForLog("Connected"));
    publish_ = std::make_unique<support::Publisher>(broker_.socketPath());
  }
  /// Returns when everything published before has been delivered: to a subscription of its own.
  void settle() {
    const support::Subscriber mark(consumer_.get(), support::onTopic("Mark"));
    publish_->publish("Mark/onvif-ej/Mark", "{}");
    ASSERT_TRUE(mark.waitForEvents(1));
  }
  void reconnect(bool withStore) {
    publish_.reset();
    withStore ? broker_.stop() : broker_.kill();
    ASSERT_TRUE(waitForLog("Lost", ++losses_));
    broker_.start();
    ASSERT_TRUE(waitForLog("Connected", losses_ + 1));
    publish_ = std::make_unique<support::Publisher>(broker_.socketPath());
  }

  support::Broker broker_;
  support::ConsumerPtr consumer_;
  std::unique_ptr<support::Publisher> publish_;
  std::size_t losses_ = 0;
};

TEST_F(EventProperty, AStateIsInitializedThenChangedThenDeletedWithItsSource) {
  const support::Subscriber all(consumer_.get(), support::onTopic("Device", true));
  publish_->retain(kTopic, state("true"));
  publish_->retain(kTopic, state("false"));
  publish_->retain(kTopic, "");
  publish_->retain(kTopic, state("true"));
  ASSERT_TRUE(all.waitForEvents(4));
  EXPECT_THAT(all.summary(),
              ElementsAre("Initialized " + state("true"), "Changed " + state("false"), ended(),
                          "Initialized " + state("true")));
  EXPECT_EQ(all.events().front(),
            R"({"topic":"tns1:Device/Trigger/DigitalInput","origin":"Camera1",)"
            R"("property":"Initialized","message":)" +
                state("true") + "}");
}

TEST_F(EventProperty, AnEventThatIsNotRetainedIsNoProperty) {
  const support::Subscriber all(consumer_.get(), support::onTopic("Device", true));
  publish_->publish(kTopic, state("true"));
  settle();
  const support::Subscriber later(consumer_.get(), support::onTopic("Device", true));
  settle();
  EXPECT_THAT(all.summary(), ElementsAre(state("true")));
  EXPECT_THAT(later.events(), IsEmpty());
}

TEST_F(EventProperty, TheEndOfAnUnknownPropertyIsNoEvent) {
  const support::Subscriber all(consumer_.get(), support::onTopic("Device", true));
  publish_->retain(kTopic, "");
  settle();
  EXPECT_THAT(all.events(), IsEmpty());
}

TEST_F(EventProperty, AStatePublishedLiveIsAChangeEvenIfItSaysTheSame) {
  const support::Subscriber all(consumer_.get(), support::onTopic("Device", true));
  settle();
  publish_->retain(kTopic, state("true"));
  publish_->retain(kTopic, state("true"));
  ASSERT_TRUE(all.waitForEvents(2));
  EXPECT_THAT(all.summary(),
              ElementsAre("Initialized " + state("true"), "Changed " + state("true")));
}

TEST_F(EventProperty, ANewSubscriptionGetsTheStatesThatMatchAfterSubscribing) {
  publish_->retain(kTopic, state("true"));
  publish_->retain("Camera2/onvif-ej/Device/Trigger/DigitalInput/&1", state("false"));
  publish_->retain("Camera1/onvif-ej/VideoSource/MotionAlarm/&1", state("true"));
  settle();
  const support::Subscriber late(consumer_.get(), support::onTopic("Device", true));
  EXPECT_THAT(late.events(), IsEmpty());
  ASSERT_TRUE(late.waitForEvents(2));
  settle();
  EXPECT_THAT(late.summary(), UnorderedElementsAre("Initialized " + state("true"),
                                                   "Initialized " + state("false")));
}

TEST_F(EventProperty, BothWaysToWriteTheNamespaceAreOneProperty) {
  const support::Subscriber all(consumer_.get(), support::onTopic("Device", true));
  publish_->retain("Camera1/onvif-ej/Device/Trigger/DigitalInput/&1", state("true"));
  publish_->retain("Camera1/onvif-ej/tns1:Device/Trigger/DigitalInput/&1", state("false"));
  ASSERT_TRUE(all.waitForEvents(2));
  EXPECT_THAT(all.summary(),
              ElementsAre("Initialized " + state("true"), "Changed " + state("false")));
}

TEST_F(EventProperty, TheSourceInTheTopicTellsPropertiesApart) {
  const support::Subscriber all(consumer_.get(), support::onTopic("Device", true));
  publish_->retain("Camera1/onvif-ej/Device/Trigger/DigitalInput/&1", state("true", "1"));
  publish_->retain("Camera1/onvif-ej/Device/Trigger/DigitalInput/&2", state("true", "2"));
  publish_->retain("Camera2/onvif-ej/Device/Trigger/DigitalInput/&1", state("true", "1"));
  ASSERT_TRUE(all.waitForEvents(3));
  EXPECT_THAT(all.summary(),
              ElementsAre("Initialized " + state("true", "1"), "Initialized " + state("true", "2"),
                          "Initialized " + state("true", "1")));
}

TEST_F(EventProperty, StatesSeenAgainUnchangedAfterAReconnectAreNoEvents) {
  const support::Subscriber all(consumer_.get(), support::onTopic("Device", true));
  publish_->retain(kTopic, state("true"));
  ASSERT_TRUE(all.waitForEvents(1));
  reconnect(true);
  publish_->retain(kTopic, state("false"));
  ASSERT_TRUE(all.waitForEvents(2));
  EXPECT_THAT(all.summary(),
              ElementsAre("Initialized " + state("true"), "Changed " + state("false")));
}

TEST_F(EventProperty, APropertyThatVanishedWhileTheBrokerWasAwayIsDeleted) {
  const support::Subscriber all(consumer_.get(), support::onTopic("Device", true));
  publish_->retain("Camera1/onvif-ej/Device/Trigger/DigitalInput/&1", state("true", "1"));
  publish_->retain("Camera1/onvif-ej/Device/Trigger/DigitalInput/&2", state("true", "2"));
  ASSERT_TRUE(all.waitForEvents(2));
  // Its store was never written: the new broker knows nothing.
  reconnect(false);
  publish_->retain("Camera1/onvif-ej/Device/Trigger/DigitalInput/&2", state("false", "2"));
  ASSERT_TRUE(all.waitForEvents(4));
  settle();
  EXPECT_THAT(all.summary(), UnorderedElementsAre("Initialized " + state("true", "1"),
                                                  "Initialized " + state("true", "2"),
                                                  "Changed " + state("false", "2"), ended("1")));
}

TEST_F(EventProperty, SomeThousandStatesSurviveAReconnectWithoutAnEvent) {
  constexpr std::size_t kCount = 3000;
  const support::Subscriber all(consumer_.get(), support::onTopic("Device", true));
  for (std::size_t number = 0; number < kCount; ++number) {
    const std::string token = std::to_string(number);
    publish_->send("C/onvif-ej/Device/Trigger/DigitalInput/&" + token, state("true", token), true);
  }
  publish_->flush();
  ASSERT_TRUE(all.waitForEvents(kCount));
  reconnect(true);
  publish_->retain("C/onvif-ej/Device/Trigger/DigitalInput/&7", "");
  ASSERT_TRUE(all.waitForEvents(kCount + 1));
  EXPECT_EQ(all.summary().back(), ended("7"));
}

TEST_F(EventProperty, AChangeWhileStatesAreShownComesAfterThatPropertysState) {
  constexpr std::size_t kCount = 2000;
  for (std::size_t number = 0; number < kCount; ++number) {
    const std::string token = std::to_string(number);
    publish_->send("C/onvif-ej/Device/Trigger/DigitalInput/&" + token, state("true", token), true);
  }
  publish_->flush();
  settle();
  support::Subscriber late(consumer_.get(), support::onTopic("Device", true));
  const std::string last = std::to_string(kCount - 1);
  bool published = false;
  late.onEvent([&] {
    if (!published) {
      published = true;
      publish_->send("C/onvif-ej/Device/Trigger/DigitalInput/&" + last, state("false", last), true);
    }
  });
  ASSERT_TRUE(late.waitForEvents(kCount + 1));
  const std::vector<std::string> got = late.summary();
  const auto before = std::find(got.begin(), got.end(), "Initialized " + state("true", last));
  const auto change = std::find(got.begin(), got.end(), "Changed " + state("false", last));
  ASSERT_NE(before, got.end());
  ASSERT_NE(change, got.end());
  EXPECT_LT(before, change);
  EXPECT_EQ(std::count(got.begin(), got.end(), *before), 1);
}

}  // namespace
