// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "platform/host/event/publication_reader.h"
#include "platform/host/event/state_check_session.h"
#include "tests/platform/broker.h"
#include "tests/platform/event_support.h"
#include "tests/platform/proxy.h"

namespace {

using ::testing::ElementsAre;
using ::testing::UnorderedElementsAreArray;

/// Several times what a broker with mosquitto's default queue sends of retained states.
constexpr std::size_t kCount = 4000;

std::string topicOf(std::size_t number) {
  return "C/onvif-ej/Device/Trigger/DigitalInput/&" + std::to_string(number);
}
std::string sourceOf(std::size_t number) {
  return R"("Source":{"InputToken":")" + std::to_string(number) + "\"}";
}
std::string state(std::size_t number, std::size_t value) {
  return "{" + sourceOf(number) + R"(,"Data":{"Value":)" + std::to_string(value) + "}}";
}
std::string changed(std::size_t number, std::size_t value) {
  return "Changed " + state(number, value);
}
std::string ended(std::size_t number) {
  return "Deleted {" + sourceOf(number) + "}";
}

/// A broker with mosquitto's default queue, and a consumer that knows more states than it sends.
class EventStateCheck : public support::EventTest {
 protected:
  void SetUp() override {
    broker_.setSettings("max_queued_messages 1000\n" + broker_.storeSettings());
  }
  /// Its session ends with the connection: what changes meanwhile is not queued for it.
  void consume(const std::string& address) {
    event::Timing timing = support::quickTiming();
    timing.sessionExpiry = std::chrono::seconds(0);
    timing.stateSettling = std::chrono::milliseconds(200);
    consumer_ = support::consumerOf(address, timing);
    ASSERT_TRUE(waitForLog("Connected"));
    all_ = std::make_unique<support::Subscriber>(consumer_.get(), support::onTopic("Device", true));
    support::Publisher publisher(broker_.socketPath());
    for (std::size_t number = 0; number < kCount; ++number) {
      publisher.send(topicOf(number), state(number, 0), true);
      if (number % 200 == 199) {
        publisher.flush();
        ASSERT_TRUE(all_->waitForEvents(number + 1));
      }
    }
    all_->clear();
  }
  /// The connection does not come again before the proxy is told so.
  void consumeAndLose(support::Proxy& proxy) {
    ASSERT_NO_FATAL_FAILURE(consume(proxy.address()));
    proxy.stall(true);
    proxy.cut();
    ASSERT_TRUE(waitForLog("Lost"));
  }
  /// Some properties end and some change; returns the events that tell so.
  static std::vector<std::string> changeSome(const support::Broker& broker) {
    std::vector<std::string> expected;
    support::Publisher publisher(broker.socketPath());
    for (std::size_t number = 50; number < kCount; number += 100) {
      publisher.retain(topicOf(number), "");
      expected.push_back(ended(number));
      publisher.retain(topicOf(number + 1), state(number + 1, 1));
      expected.push_back(changed(number + 1, 1));
    }
    return expected;
  }
  /// True once an event published now arrives: the broker may drop the first ones.
  bool delivers(const support::Subscriber& mark) {
    const std::size_t before = mark.events().size();
    support::Publisher publisher(broker_.socketPath());
    return support::waitFor([&] {
      publisher.publish("C/onvif-ej/Mark", "{}");
      return mark.events().size() > before;
    });
  }

  support::Broker broker_;
  support::ConsumerPtr consumer_;
  std::unique_ptr<support::Subscriber> all_;
};

TEST_F(EventStateCheck, OnlyWhatEndedWhileTheBrokerRestartedIsDeleted) {
  broker_.start();
  ASSERT_NO_FATAL_FAILURE(consume(broker_.address()));
  broker_.stop();
  ASSERT_TRUE(waitForLog("Lost"));
  // The same store elsewhere, where our consumer does not look.
  support::Broker elsewhere("max_queued_messages 1000\n" + broker_.storeSettings());
  elsewhere.start();
  const std::vector<std::string> expected = changeSome(elsewhere);
  elsewhere.stop();
  broker_.start();
  ASSERT_TRUE(all_->waitForEvents(expected.size()));
  support::Publisher(broker_.socketPath()).retain(topicOf(0), state(0, 9));
  ASSERT_TRUE(all_->waitForEvents(expected.size() + 1));
  std::vector<std::string> got = all_->summary();
  EXPECT_EQ(got.back(), changed(0, 9));
  got.pop_back();
  EXPECT_THAT(got, UnorderedElementsAreArray(expected));
}

TEST_F(EventStateCheck, OnlyWhatEndedWhileTheConnectionWasCutIsDeleted) {
  support::Proxy proxy(broker_.socketPath());
  broker_.start();
  ASSERT_NO_FATAL_FAILURE(consumeAndLose(proxy));
  const std::vector<std::string> expected = changeSome(broker_);
  proxy.stall(false);
  ASSERT_TRUE(all_->waitForEvents(expected.size()));
  EXPECT_THAT(all_->summary(), UnorderedElementsAreArray(expected));
}

TEST_F(EventStateCheck, LiveEventsMeanwhileAreNeitherDoubledNorLost) {
  support::Proxy proxy(broker_.socketPath());
  broker_.start();
  ASSERT_NO_FATAL_FAILURE(consumeAndLose(proxy));
  const std::vector<std::string> changes = changeSome(broker_);
  std::size_t ends = 0;
  all_->onEvent([&] {
    if (all_->events().back().find("Deleted") != std::string::npos) {
      ++ends;
    }
  });
  const support::Subscriber mark(consumer_.get(), support::onTopic("Mark"));
  proxy.stall(false);
  // From here on the broker has sent what it sends of the states, and its queue is short again.
  ASSERT_TRUE(delivers(mark));
  std::vector<std::string> live;
  support::Publisher publisher(broker_.socketPath());
  const auto publishSome = [&] {
    for (int count = 0; count < 10; ++count) {
      const std::size_t number = live.size() * 100 % kCount;
      publisher.send(topicOf(number), state(number, live.size() + 10), true);
      live.push_back(changed(number, live.size() + 10));
    }
    publisher.flush();
  };
  ASSERT_TRUE(support::waitFor([&] {
    // What does not fit into its queue, the broker drops.
    if (live.size() < all_->events().size() + 500) {
      publishSome();
    }
    return ends == changes.size() / 2;
  }));
  publishSome();
  ASSERT_TRUE(all_->waitForEvents(changes.size() + live.size()));
  ASSERT_TRUE(delivers(mark));
  std::vector<std::string> got = all_->summary();
  const std::set<std::string> others(changes.begin(), changes.end());
  const auto rest = std::stable_partition(
      got.begin(), got.end(), [&](const std::string& event) { return others.count(event) == 0; });
  EXPECT_EQ(std::vector<std::string>(got.begin(), rest), live);
  EXPECT_THAT(std::vector<std::string>(rest, got.end()), UnorderedElementsAreArray(changes));
}

TEST_F(EventStateCheck, ABrokerThatTakesAllConnectionsOfALoginForOneKeepsTheOneOfTheEvents) {
  broker_.listenOnPort("use_username_as_clientid true");
  broker_.start();
  event::Configuration configuration;
  std::string error;
  const support::TempDir directory;
  ASSERT_TRUE(configuration.loadFile(
      directory.write("c", "[broker]\naddress=127.0.0.1:" + std::to_string(broker_.port()) +
                               "\nusername=gateway\n"),
      error));
  consumer_ = support::consumerOf(configuration);
  ASSERT_TRUE(waitForLog("Connected"));
  all_ = std::make_unique<support::Subscriber>(consumer_.get(), support::onTopic("Device", true));
  support::Publisher(broker_.socketPath()).retain(topicOf(0), state(0, 0));
  ASSERT_TRUE(all_->waitForEvents(1));
  // Its store was never written: the new broker knows nothing.
  broker_.kill();
  ASSERT_TRUE(waitForLog("Lost"));
  broker_.start();
  ASSERT_TRUE(waitForLog("takes all connections of this login for one; what was known"));
  ASSERT_TRUE(waitForLog("Connected", 3));
  support::Publisher(broker_.socketPath()).retain(topicOf(0), state(0, 1));
  ASSERT_TRUE(all_->waitForEvents(2));
  EXPECT_EQ(all_->summary().back(), changed(0, 1));
}

TEST(StateCheckTopics, AreBothWaysToWriteTheOnvifNamespace) {
  event::PublicationReader reader("+/+");
  const auto spellings = [&reader](const char* topic) {
    std::string error;
    return event::spellings(*reader.read(topic, "{}", true, error)->source);
  };
  EXPECT_THAT(spellings("a/b/onvif-ej/Device/Trigger/&1/tns1:x"),
              ElementsAre("a/b/onvif-ej/Device/Trigger/&1/tns1:x",
                          "a/b/onvif-ej/tns1:Device/Trigger/&1/tns1:x"));
  EXPECT_THAT(spellings("a/b/onvif-ej/tns1:Device/Trigger/&1"),
              ElementsAre("a/b/onvif-ej/tns1:Device/Trigger/&1", "a/b/onvif-ej/Device/Trigger/&1"));
  EXPECT_THAT(spellings("a/b/onvif-ej/acme:Device/Trigger"),
              ElementsAre("a/b/onvif-ej/acme:Device/Trigger"));
}

}  // namespace
