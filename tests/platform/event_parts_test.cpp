// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <gmock/gmock.h>

#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "platform/host/event/back_off.h"
#include "platform/host/event/bad_message_log.h"
#include "platform/host/event/delivery.h"
#include "platform/host/event/duplicate_guard.h"
#include "platform/host/event/hand_over.h"
#include "platform/host/event/property_store.h"
#include "platform/host/event/publication_reader.h"
#include "platform/host/event/state_check.h"
#include "platform/host/event/state_sync.h"
#include "tests/platform/event_support.h"

namespace {

using std::chrono::milliseconds;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::SizeIs;

event::PublicationPtr publication(const std::string& topic, const std::string& payload,
                                  bool retained = true, bool stored = false) {
  event::PublicationReader reader("+");
  std::string error;
  const auto made = reader.read(topic.c_str(), payload, retained, error);
  EXPECT_EQ(error, "");
  made->stored = stored;
  return made;
}

TEST(BackOff, DoublesUpToTheLongestAndStartsAgain) {
  event::BackOff backOff(milliseconds(1000), milliseconds(30000));
  for (const int wait : {1000, 2000, 4000, 8000, 16000, 30000, 30000}) {
    EXPECT_EQ(backOff.next(), milliseconds(wait));
  }
  backOff.reset();
  EXPECT_EQ(backOff.next(), milliseconds(1000));
}

TEST(DuplicateGuard, KnowsAgainWhatWasInFlightWhenTheSessionIsResumed) {
  event::DuplicateGuard guard;
  guard.connected(false);
  EXPECT_FALSE(guard.isDuplicate(1, "t", "a"));
  EXPECT_FALSE(guard.isDuplicate(1, "t", "a")) << "the id was free again";
  guard.connected(true);
  EXPECT_TRUE(guard.isDuplicate(1, "t", "a"));
  EXPECT_FALSE(guard.isDuplicate(2, "t", "a"));
  EXPECT_FALSE(guard.isDuplicate(1, "t", "b"));
  EXPECT_FALSE(guard.isDuplicate(1, "u", "a"));
}

TEST(DuplicateGuard, ANewSessionHasNoDuplicates) {
  event::DuplicateGuard guard;
  guard.connected(false);
  guard.isDuplicate(1, "t", "a");
  guard.connected(false);
  EXPECT_FALSE(guard.isDuplicate(1, "t", "a"));
  guard.connected(true);
  EXPECT_TRUE(guard.isDuplicate(1, "t", "a"));
}

TEST(DuplicateGuard, OnlyTheStartOfAResumedSessionMayRepeat) {
  event::DuplicateGuard guard;
  guard.connected(false);
  guard.isDuplicate(7, "t", "a");
  guard.connected(true);
  for (std::size_t count = 0; count < event::DuplicateGuard::kMaxInFlight; ++count) {
    guard.isDuplicate(static_cast<std::uint16_t>(1000 + count), "t", "new");
  }
  EXPECT_FALSE(guard.isDuplicate(7, "t", "a"));
}

TEST(StateSync, EndsWithARoundInWhichNoStoredStateCame) {
  event::StateSync sync;
  sync.begin(true);
  sync.probeSent();
  EXPECT_TRUE(sync.isStored("p1", true, sync.identifier()));
  EXPECT_FALSE(sync.probeAnswered());
  sync.probeSent();
  EXPECT_FALSE(sync.isStored("p1", true, sync.identifier())) << "published since";
  EXPECT_FALSE(sync.isStored("e", false, sync.identifier()));
  EXPECT_TRUE(sync.probeAnswered());
  EXPECT_FALSE(sync.running());
  EXPECT_FALSE(sync.isStored("p2", true, sync.identifier()));
}

TEST(StateSync, WaitsForWhatWasQueuedBeforeTheSubscription) {
  event::StateSync sync;
  sync.begin(true);
  const std::uint32_t earlier = sync.identifier();
  sync.begin(true);
  EXPECT_NE(sync.identifier(), earlier);
  sync.probeSent();
  EXPECT_FALSE(sync.isStored("p1", true, earlier)) << "published while we were away";
  EXPECT_FALSE(sync.probeAnswered());
}

TEST(StateSync, WithoutIdentifiersEveryRetainedMessageMayBeAStoredState) {
  event::StateSync sync;
  sync.begin(false);
  sync.probeSent();
  EXPECT_TRUE(sync.isStored("p1", true, 0));
  EXPECT_FALSE(sync.probeAnswered());
  sync.probeSent();
  EXPECT_TRUE(sync.probeAnswered());
}

class HandOver : public ::testing::Test {
 protected:
  void push(std::size_t count, const event::PublicationPtr& what = nullptr) {
    std::vector<event::Arrival> batch(count, {event::Arrival::Kind::Publication, what});
    handOver_.push(batch);
  }
  void finish(std::size_t count) {
    for (; count > 0; --count) {
      handOver_.done(taken_.front());
      taken_.pop_front();
    }
  }

  int consumerWoken_ = 0;
  int networkWoken_ = 0;
  event::HandOver handOver_{[this] { ++consumerWoken_; }, [this] { ++networkWoken_; }};
  std::deque<event::Arrival> taken_;
};

TEST_F(HandOver, WakesTheConsumerOnceUntilItFoundNothing) {
  push(1);
  push(1);
  EXPECT_EQ(consumerWoken_, 1);
  handOver_.take(taken_);
  EXPECT_THAT(taken_, SizeIs(2));
  push(1);
  EXPECT_EQ(consumerWoken_, 1) << "it looks again by itself";
  finish(2);
  handOver_.take(taken_);
  finish(1);
  handOver_.take(taken_);
  push(1);
  EXPECT_EQ(consumerWoken_, 2);
}

TEST_F(HandOver, IsFullUntilEnoughOfWhatWasTakenIsDone) {
  push(event::HandOver::kMaxMessages - 1);
  EXPECT_TRUE(handOver_.hasRoom());
  push(1);
  EXPECT_FALSE(handOver_.hasRoom());
  handOver_.take(taken_);
  EXPECT_FALSE(handOver_.hasRoom()) << "taken is not done";
  finish(event::HandOver::kMaxMessages / 10);
  EXPECT_EQ(networkWoken_, 0);
  finish(1);
  EXPECT_EQ(networkWoken_, 1);
  EXPECT_TRUE(handOver_.hasRoom());
  finish(100);
  EXPECT_EQ(networkWoken_, 1);
}

TEST_F(HandOver, IsFullWithFewLargeMessagesToo) {
  constexpr std::size_t kSize = 1024 * 1024;
  const auto large = publication("C/onvif-ej/D", R"({"a":")" + std::string(kSize - 8, 'x') + "\"}");
  push(event::HandOver::kMaxBytes / kSize - 1, large);
  EXPECT_TRUE(handOver_.hasRoom());
  push(1, large);
  EXPECT_FALSE(handOver_.hasRoom());
}

class PartsWithLog : public support::EventTest {};

TEST_F(PartsWithLog, BadMessagesAreLoggedAtOnceAndThenOnceAnIntervalWithTheirNumber) {
  event::BadMessageLog bad(milliseconds(1000));
  const event::BadMessageLog::Clock::time_point start{milliseconds(5000)};
  bad.dropped("topic/one", "reason", start);
  for (int count = 0; count < 500; ++count) {
    bad.dropped("topic/two", "reason", start + milliseconds(count));
  }
  ASSERT_THAT(log_.lines(), SizeIs(1));
  EXPECT_THAT(log_.lines().front(), HasSubstr("topic/one: reason"));
  bad.tick(start + milliseconds(1000));
  bad.tick(start + milliseconds(9000));
  ASSERT_THAT(log_.lines(), SizeIs(2));
  EXPECT_THAT(log_.lines().back(), HasSubstr("Dropped 500 messages"));
  EXPECT_THAT(log_.lines().back(), HasSubstr("501 so far"));
}

TEST_F(PartsWithLog, TheStoreOfStatesIsBoundedAndSaysSoOnce) {
  event::PropertyStore store;
  const std::string large = R"({"a":")" + std::string(1024 * 1024 - 8, 'x') + "\"}";
  for (int number = 0; number < 70; ++number) {
    const auto change = store.apply(publication("C/onvif-ej/D/&" + std::to_string(number), large));
    EXPECT_EQ(change.event->operation, event::Operation::Initialized);
  }
  EXPECT_LT(store.size(), 65U);
  ASSERT_THAT(log_.lines(), SizeIs(1));
  EXPECT_THAT(log_.lines().front(), HasSubstr("no more fit"));
  EXPECT_NE(store.apply(publication("C/onvif-ej/D/&0", "")).event, nullptr);
  EXPECT_EQ(store.apply(publication("C/onvif-ej/D/&69", "")).event, nullptr) << "not known";
  store.apply(publication("C/onvif-ej/D/&70", large));
  EXPECT_EQ(store.apply(publication("C/onvif-ej/D/&70", large)).event->operation,
            event::Operation::Changed)
      << "there is room again";
}

TEST(Delivery, FindingsAboutAnEarlierAskingForTheStatesAreNotUsed) {
  using Kind = event::Arrival::Kind;
  const event::Configuration configuration;
  const event::Timing timing;
  event::HandOver handOver([] {}, [] {});
  event::StateCheck check(configuration, timing, [] {});
  event::Delivery delivery(handOver, check);
  std::vector<event::Operation> got;
  const SubscribeExpression all{std::make_shared<const model::EventMatcher>()};
  delivery.subscribe(
      all,
      [](Event* event, void* seen) {
        static_cast<std::vector<event::Operation>*>(seen)->push_back(event->operation);
        event_free(event);
      },
      &got);
  const auto first = publication("C/onvif-ej/D/&1", "{}");
  const auto second = publication("C/onvif-ej/D/&2", "{}");
  const auto other = publication("C/onvif-ej/D/&2", R"({"a":1})", true, true);
  std::vector<event::Arrival> batch{{Kind::StatesAsked, nullptr}, {Kind::Publication, first},
                                    {Kind::Publication, second},  {Kind::StatesAsked, nullptr},
                                    {Kind::StateGone, first, 1},  {Kind::StateFound, other, 1},
                                    {Kind::StateFound, other, 2}, {Kind::StateGone, second, 2}};
  handOver.push(batch);
  while (delivery.hasWork()) {
    delivery.deliver(100, 100);
  }
  using event::Operation;
  EXPECT_THAT(got, ElementsAre(Operation::Initialized, Operation::Initialized, Operation::Changed));
}

TEST(PublicationReader, TheConfiguredPrefixTellsWhereTheOriginEnds) {
  event::PublicationReader reader("site/+/+");
  std::string error;
  const auto made =
      reader.read("site/a/onvif-ej/onvif-ej/Device/onvif-ej/&x/&y", "{}", false, error);
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(made->source->jsonHead,
            R"({"topic":"tns1:Device/onvif-ej","origin":"site/a/onvif-ej")");
  event::PublicationReader shared("$share/group/+");
  EXPECT_EQ(shared.read("C/onvif-ej/D", "{}", false, error)->source->jsonHead,
            R"({"topic":"tns1:D","origin":"C")");
}

}  // namespace
