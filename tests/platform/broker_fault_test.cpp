// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <gmock/gmock.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "tests/platform/broker.h"
#include "tests/platform/event_support.h"
#include "tests/platform/fake_broker.h"
#include "tests/platform/proxy.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::SizeIs;

constexpr const char* kTopic = "Camera1/onvif-ej/Device/Trigger";

class BrokerFault : public support::EventTest {
 protected:
  /// True once an event published now arrives.
  bool delivers(EventConsumer* consumer, const support::Broker& broker) {
    const support::Subscriber all(consumer);
    support::Publisher(broker.socketPath()).publish(kTopic, "{}");
    return all.waitForEvents(1);
  }

  support::Broker broker_;
};

TEST_F(BrokerFault, ABrokerThatIsAbsentAtStartIsFoundWhenItComes) {
  const support::ConsumerPtr consumer = support::consumerOf(broker_.address());
  ASSERT_TRUE(waitForLog("No connection to the broker at " + broker_.address() +
                         ": No such file or directory"));
  broker_.start();
  ASSERT_TRUE(waitForLog("Connected to the broker at " + broker_.address()));
  EXPECT_TRUE(delivers(consumer.get(), broker_));
  EXPECT_THAT(log_.linesWith("No such file"), SizeIs(1)) << "one line, however many tries";
  EXPECT_THAT(log_.linesWith("Connected"), SizeIs(1));
}

TEST_F(BrokerFault, ABrokerThatIsKilledAndRestartedIsFoundAgain) {
  broker_.start();
  const support::ConsumerPtr consumer = support::consumerOf(broker_.address());
  for (std::size_t round = 1; round <= 3; ++round) {
    ASSERT_TRUE(waitForLog("Connected", round));
    EXPECT_TRUE(delivers(consumer.get(), broker_));
    broker_.kill();
    ASSERT_TRUE(waitForLog("Lost the broker at " + broker_.address(), round));
    broker_.start();
  }
  ASSERT_TRUE(waitForLog("Connected", 4));
}

TEST_F(BrokerFault, ABrokerThatTakesTheConnectionAndSaysNothingIsGivenUpAndTriedAgain) {
  event::Timing impatient = support::quickTiming();
  impatient.connectTimeout = std::chrono::milliseconds(500);
  broker_.start();
  broker_.freeze();
  const support::ConsumerPtr consumer = support::consumerOf(broker_.address(), impatient);
  ASSERT_TRUE(waitForLog("No connection to the broker at " + broker_.address() + ": no answer"));
  broker_.thaw();
  ASSERT_TRUE(waitForLog("Connected"));
  EXPECT_TRUE(delivers(consumer.get(), broker_));
}

TEST_F(BrokerFault, AConnectionThatGoesDeadWithoutAnEndIsNoticedAndReplaced) {
  broker_.start();
  support::Proxy proxy(broker_.socketPath());
  const support::ConsumerPtr consumer = support::consumerOf(proxy.address());
  ASSERT_TRUE(waitForLog("Connected"));
  proxy.stall(true);
  ASSERT_TRUE(waitForLog("Lost the broker at " + proxy.address()));
  proxy.stall(false);
  ASSERT_TRUE(waitForLog("Connected", 2));
  EXPECT_TRUE(delivers(consumer.get(), broker_));
}

TEST_F(BrokerFault, NothingIsLostOrDoubledOverLossesOfTheConnection) {
  constexpr int kRounds = 12;
  constexpr int kEvents = 100;
  broker_.start();
  support::Proxy proxy(broker_.socketPath());
  const support::ConsumerPtr consumer = support::consumerOf(proxy.address());
  ASSERT_TRUE(waitForLog("Connected"));
  const support::Subscriber all(consumer.get());
  support::Publisher publisher(broker_.socketPath());
  std::vector<std::string> expected;
  for (int round = 0; round < kRounds; ++round) {
    for (int number = 0; number < kEvents; ++number) {
      expected.push_back(R"({"Data":{"Number":)" + std::to_string(expected.size()) + "}}");
      publisher.send(kTopic, expected.back());
      if (number == kEvents / 2) {
        round % 2 == 0 ? proxy.cut() : proxy.loseAnswers();
      }
    }
    publisher.flush();
    ASSERT_TRUE(waitForLog("Connected", static_cast<std::size_t>(round) + 2));
  }
  ASSERT_TRUE(all.waitForEvents(expected.size()));
  EXPECT_TRUE(all.summary() == expected);
}

TEST_F(BrokerFault, AMessageSentAgainBecauseItsAcknowledgementWasLostIsDroppedOnce) {
  support::FakeBroker fake([](support::FakeBroker::Connection& connection, int number) {
    connection.read();
    connection.send(support::mqtt::connack(0, number > 0));
    const std::string subscribe = connection.read();
    if (number > 0) {
      connection.send(support::mqtt::publish(kTopic, R"({"n":1})", 1, true));
    }
    connection.send(support::mqtt::suback(subscribe, 1));
    if (number == 0) {
      connection.send(support::mqtt::publish(kTopic, R"({"n":1})", 1));
      connection.read();
      return;
    }
    connection.send(support::mqtt::publish(kTopic, R"({"n":2})", 2));
    connection.waitForEnd();
  });
  const support::ConsumerPtr consumer = support::consumerOf(fake.address());
  const support::Subscriber all(consumer.get());
  ASSERT_TRUE(all.waitForEvents(2));
  EXPECT_THAT(all.summary(), ElementsAre(R"({"n":1})", R"({"n":2})"));
}

TEST_F(BrokerFault, ARefusedSubscriptionIsTriedAgain) {
  support::FakeBroker fake([](support::FakeBroker::Connection& connection, int number) {
    connection.read();
    connection.send(support::mqtt::connack(0));
    constexpr char kNotAuthorized = '\x87';
    connection.send(support::mqtt::suback(connection.read(), number < 3 ? kNotAuthorized : '\1'));
    connection.waitForEnd();
  });
  const support::ConsumerPtr consumer = support::consumerOf(fake.address());
  ASSERT_TRUE(waitForLog("Connected"));
  EXPECT_THAT(log_.linesWith("No connection to the broker"), SizeIs(1));
  EXPECT_THAT(log_.lines().front(),
              HasSubstr("subscription to +/onvif-ej/# refused by the broker: Not authorized"));
}

TEST_F(BrokerFault, ABrokerThatEndsTheConnectionSaysWhyInTheLog) {
  support::FakeBroker fake([](support::FakeBroker::Connection& connection, int number) {
    connection.read();
    connection.send(support::mqtt::connack(0));
    connection.send(support::mqtt::suback(connection.read(), 1));
    if (number == 0) {
      constexpr char kShuttingDown = '\x8b';
      connection.send(support::mqtt::disconnect(kShuttingDown));
    }
    connection.waitForEnd();
  });
  const support::ConsumerPtr consumer = support::consumerOf(fake.address());
  ASSERT_TRUE(waitForLog("Connected", 2));
  EXPECT_THAT(log_.linesWith("Lost"),
              ElementsAre(HasSubstr("ended by the broker: Server shutting down")));
}

TEST_F(BrokerFault, AnswersThatAreNoMqttAreSurvived) {
  support::FakeBroker fake([](support::FakeBroker::Connection& connection, int number) {
    connection.read();
    if (number < 2) {
      connection.send("HTTP/1.1 400 Bad Request\r\n\r\n");
      return;
    }
    connection.send(support::mqtt::connack(0));
    connection.send(support::mqtt::suback(connection.read(), 1));
    connection.waitForEnd();
  });
  const support::ConsumerPtr consumer = support::consumerOf(fake.address());
  ASSERT_TRUE(waitForLog("Connected"));
}

TEST_F(BrokerFault, AHostNameThatDoesNotResolveIsALogLine) {
  const support::ConsumerPtr consumer = support::consumerOf("nobody.invalid:1883");
  ASSERT_TRUE(waitForLog("No connection to the broker at nobody.invalid:1883: "));
  EXPECT_GT(support::Subscriber(consumer.get()).id(), 0U);
}

}  // namespace
