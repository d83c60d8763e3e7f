// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "tests/platform/event_support.h"
#include "tests/platform/fake_broker.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::UnorderedElementsAre;

namespace mqtt = support::mqtt;
using Connection = support::FakeBroker::Connection;

constexpr const char* kFirst = "C/onvif-ej/D/&1";
constexpr const char* kOther = "C/onvif-ej/tns1:D/&1";
constexpr const char* kSecond = "C/onvif-ej/a:D/&2";

constexpr char kGranted = 0;
constexpr char kRefused = '\x87';

std::string state(int number, int value) {
  return R"({"Source":{"n":)" + std::to_string(number) + R"(},"v":)" + std::to_string(value) + "}";
}
std::string ended(int number) {
  return R"(Deleted {"Source":{"n":)" + std::to_string(number) + "}}";
}

bool isUnsubscribe(const std::string& packet) {
  return !packet.empty() && packet.front() == '\xa2';
}

/// A reason for each topic that `subscribe` asks for.
std::string granted(const std::string& subscribe, const std::string& refused = {}) {
  std::string reasons;
  for (std::size_t at = 4; at + 1 < subscribe.size();) {
    const auto length = static_cast<std::size_t>(subscribe[at + 1]);  // all of them are short
    reasons += subscribe.substr(at + 2, length) == refused ? kRefused : kGranted;
    at += length + 3;
  }
  return reasons;
}

/// A broker that shows two states and loses the connection. It has none of them to send in the next
/// one; what it answers when asked for each is up to the test.
class EventStateCheckFault : public support::EventTest {
 protected:
  void start() {
    fake_ = std::make_unique<support::FakeBroker>(
        [this](Connection& connection, int /*number*/) { serve(connection); });
    consumer_ = support::consumerOf(fake_->address(), timing_);
    all_ = std::make_unique<support::Subscriber>(consumer_.get());
    ASSERT_TRUE(all_->waitForEvents(2));
    ASSERT_TRUE(support::waitFor([this] { return events_ != nullptr; }));
    all_->clear();
    events_.load()->end();
  }
  /// Behind the answer about the second state comes an event of the first.
  void changeTheFirstAfterwards() {
    onBarrier_ = [](Connection& connection, const std::string& probe) {
      connection.send(mqtt::unsuback(probe));
      connection.send(mqtt::retained(kFirst, state(1, 1)));
    };
  }
  void expectTheFirstChangedAndTheSecondEnded() {
    start();
    ASSERT_TRUE(all_->waitForEvents(2));
    EXPECT_THAT(all_->summary(), UnorderedElementsAre("Changed " + state(1, 1), ended(2)));
  }
  static void answerProbes(Connection& connection) {
    for (std::string packet = connection.read(); isUnsubscribe(packet);
         packet = connection.read()) {
      connection.send(mqtt::unsuback(packet));
    }
  }

  /// The one of the events is asked something before anything is asked for.
  std::function<void(Connection& connection, const std::string& probe)> onSync_ =
      [](Connection& connection, const std::string& probe) {
        connection.send(mqtt::unsuback(probe));
      };
  /// The connection on which is asked for each state.
  std::function<void(Connection& connection, const std::string& subscribe)> onAsked_ =
      [](Connection& /*connection*/, const std::string& /*subscribe*/) {};
  /// The one of the events is asked something, after onAsked_ has been called.
  std::function<void(Connection& connection, const std::string& probe)> onBarrier_ =
      [](Connection& connection, const std::string& probe) {
        connection.send(mqtt::unsuback(probe));
      };
  /// A later connection of the events has begun.
  std::function<void(Connection& connection)> onAgain_ = [](Connection& /*connection*/) {};
  event::Timing timing_ = support::quickTiming();
  // What scripts use outlives the fake broker, whose threads may still run them at the test's end.
  std::atomic<Connection*> events_{nullptr};
  std::atomic<int> connections_{0};
  std::atomic<int> asked_{0};
  std::atomic<int> syncs_{0};
  std::atomic<int> barriers_{0};
  std::unique_ptr<support::FakeBroker> fake_;
  support::ConsumerPtr consumer_;
  std::unique_ptr<support::Subscriber> all_;

 private:
  void serve(Connection& connection) {
    connection.read();
    connection.send(mqtt::connackWithoutIdentifiers());
    const std::string subscribe = connection.read();
    if (subscribe.empty()) {
      return;
    }
    if (subscribe.find('#') == std::string::npos) {
      ++asked_;
      onAsked_(connection, subscribe);
      return;
    }
    connection.send(mqtt::suback(subscribe, 1));
    switch (connections_++) {
      case 0:
        connection.send(mqtt::retained(kFirst, state(1, 0)));
        connection.send(mqtt::retained(kSecond, state(2, 0)));
        connection.read();
        // The test ends it, when it has seen the states and nothing else.
        events_ = &connection;
        connection.waitForEnd();
        return;
      case 1:
        break;
      default:
        onAgain_(connection);
    }
    events_ = &connection;
    serveEvents(connection);
    events_ = nullptr;
  }
  void serveEvents(Connection& connection) {
    for (std::string packet = connection.read(); isUnsubscribe(packet);
         packet = connection.read()) {
      (asked_ > 0 ? onBarrier_ : onSync_)(connection, packet);
    }
  }
};

TEST_F(EventStateCheckFault, AStateThatTheBrokerRefusesToTellIsKept) {
  onAsked_ = [](Connection& connection, const std::string& subscribe) {
    connection.send(mqtt::suback(subscribe, granted(subscribe, kOther)));
    answerProbes(connection);
  };
  changeTheFirstAfterwards();
  expectTheFirstChangedAndTheSecondEnded();
}

TEST_F(EventStateCheckFault, AStateUnderTheOtherSpellingIsTheSamePropertys) {
  onAsked_ = [](Connection& connection, const std::string& subscribe) {
    connection.send(mqtt::retained(kOther, state(1, 0)));
    connection.send(mqtt::suback(subscribe, granted(subscribe)));
    answerProbes(connection);
  };
  changeTheFirstAfterwards();
  expectTheFirstChangedAndTheSecondEnded();
}

TEST_F(EventStateCheckFault, WhatIsNoStateThereLeavesThePropertyAsItIs) {
  onAsked_ = [](Connection& connection, const std::string& subscribe) {
    connection.send(mqtt::retained(kFirst, "[]"));
    connection.send(mqtt::suback(subscribe, granted(subscribe)));
    answerProbes(connection);
  };
  changeTheFirstAfterwards();
  expectTheFirstChangedAndTheSecondEnded();
}

TEST_F(EventStateCheckFault, AStateThatComesLateIsWaitedFor) {
  // Far more than it takes from asking to the first probe: the second one comes after this time.
  timing_.stateSettling = std::chrono::seconds(2);
  onAsked_ = [](Connection& connection, const std::string& subscribe) {
    connection.send(mqtt::suback(subscribe, granted(subscribe)));
    connection.send(mqtt::unsuback(connection.read()));
    const std::string probe = connection.read();
    connection.send(mqtt::retained(kFirst, state(1, 1)));
    connection.send(mqtt::unsuback(probe));
    answerProbes(connection);
  };
  expectTheFirstChangedAndTheSecondEnded();
}

TEST_F(EventStateCheckFault, TheStatesOfANewConnectionMayComeInSeveralRounds) {
  onSync_ = [this](Connection& connection, const std::string& probe) {
    const int round = ++syncs_;
    if (round == 1) {
      connection.send(mqtt::retained(kFirst, state(1, 0)));
      connection.send(mqtt::unsuback(probe));
      connection.send(mqtt::retained(kSecond, state(2, 0)));
    } else {
      connection.send(mqtt::unsuback(probe));
    }
    if (round == 2) {
      connection.send(mqtt::retained(kSecond, state(2, 1)));
    }
  };
  start();
  ASSERT_TRUE(all_->waitForEvents(1));
  EXPECT_THAT(all_->summary(), ElementsAre("Changed " + state(2, 1)));
  EXPECT_EQ(asked_, 0);
}

TEST_F(EventStateCheckFault, AnAnswerThatOvertakesTheEventOfTheSameChangeDoesNotDoubleIt) {
  onAsked_ = [](Connection& connection, const std::string& subscribe) {
    connection.send(mqtt::retained(kFirst, state(1, 1)));
    connection.send(mqtt::retained(kSecond, state(2, 0)));
    connection.send(mqtt::suback(subscribe, granted(subscribe)));
    answerProbes(connection);
  };
  onBarrier_ = [this](Connection& connection, const std::string& probe) {
    if (barriers_++ == 0) {
      // What one answer's time is enough for, and what is still queued behind it.
      connection.send(mqtt::retained(kSecond, state(2, 5)));
      connection.send(mqtt::unsuback(probe) + mqtt::retained(kFirst, state(1, 1)));
    } else {
      connection.send(mqtt::unsuback(probe));
      connection.send(mqtt::retained(kSecond, state(2, 1)));
    }
  };
  start();
  ASSERT_TRUE(all_->waitForEvents(3));
  EXPECT_THAT(all_->summary(), ElementsAre("Changed " + state(2, 5), "Changed " + state(1, 1),
                                           "Changed " + state(2, 1)));
}

TEST_F(EventStateCheckFault, AConnectionThatBreaksWhileAskingIsMadeAgain) {
  onAsked_ = [this](Connection& connection, const std::string& subscribe) {
    if (asked_ > 2) {
      connection.send(mqtt::suback(subscribe, granted(subscribe)));
      answerProbes(connection);
    }
  };
  start();
  ASSERT_TRUE(all_->waitForEvents(2));
  EXPECT_THAT(all_->summary(), UnorderedElementsAre(ended(1), ended(2)));
  EXPECT_THAT(log_.linesWith("Cannot ask the broker at " + fake_->address()), SizeIs(1))
      << "of the second failure, not of the first";
  EXPECT_THAT(log_.linesWith("Lost"), SizeIs(1)) << "the connection of the events goes on";
}

TEST_F(EventStateCheckFault, AnswersAboutAnEarlierConnectionAreNotUsed) {
  onAsked_ = [this](Connection& connection, const std::string& subscribe) {
    events_.load()->end();
    connection.send(mqtt::suback(subscribe, granted(subscribe)));
    answerProbes(connection);
  };
  onAgain_ = [](Connection& connection) {
    connection.send(mqtt::retained(kFirst, state(1, 0)));
    connection.send(mqtt::retained(kSecond, state(2, 0)));
  };
  onBarrier_ = [this](Connection& connection, const std::string& probe) {
    connection.send(mqtt::unsuback(probe));
    if (barriers_++ == 0) {
      connection.send(mqtt::retained(kSecond, state(2, 1)));
    }
  };
  start();
  ASSERT_TRUE(all_->waitForEvents(1));
  EXPECT_THAT(all_->summary(), ElementsAre("Changed " + state(2, 1)));
}

TEST_F(EventStateCheckFault, AConsumerIsFreedWhileTheBrokerDoesNotAnswer) {
  onAsked_ = [](Connection& connection, const std::string& /*subscribe*/) {
    connection.waitForEnd();
  };
  start();
  ASSERT_TRUE(support::waitFor([this] { return asked_ > 0; }));
  all_->forget();
  consumer_.reset();
  EXPECT_THAT(log_.linesWith("Cannot ask"), IsEmpty());
}

}  // namespace
