// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <string>

#include "tests/load/load_test.h"
#include "tests/platform/unix_socket.h"

namespace load {

using std::chrono::steady_clock;

/// The time of day jumps, forward and back, while the service works: nothing of what it does, waits
/// for or limits goes by it.
class JumpingClock : public LoadTest {
 protected:
  void SetUp() override {
    const std::string file = clock_.write("shift", std::string(sizeof(std::int64_t), '\0'));
    file_ = support::Descriptor(::open(file.c_str(), O_WRONLY | O_CLOEXEC));
    ASSERT_TRUE(file_.valid());
    environment_["LD_PRELOAD"] = LUMENFEED_SHIFTED_CLOCK_LIBRARY;
    environment_["LUMENFEED_SHIFTED_CLOCK"] = file;
    // The sanitizer wants to be the first library, and does not need to be.
    environment_["ASAN_OPTIONS"] = support::asanOptions("verify_asan_link_order=0");
    LoadTest::SetUp();
  }

  /// To another time than the one before: hours, days or years away, on either side of the true
  /// one.
  void jump() {
    constexpr std::int64_t kHour = 3600;
    constexpr std::int64_t kDay = 24 * kHour;
    constexpr std::int64_t kShifts[] = {kHour, -kHour, kDay,        -kDay,
                                        40,    -40,    3650 * kDay, -3650 * kDay};
    shift_ = kShifts[jumps_++ % std::size(kShifts)];
    ASSERT_EQ(pwrite(file_.get(), &shift_, sizeof shift_, 0), static_cast<ssize_t>(sizeof shift_));
  }
  void jumpTimes(std::size_t times) {
    for (; times > 0; --times) {
      jump();
    }
  }
  /// What a program that is started with the same environment takes for the time of day.
  std::time_t seenTime() const {
    return std::stol(support::outputOf({"date", "+%s"}, environment_));
  }

  std::int64_t shift_ = 0;
  std::size_t jumps_ = 0;

 private:
  support::TempDir clock_;
  support::Descriptor file_;
};

TEST_F(JumpingClock, LosesNoEventTimesNoCallOutAndKeepsTheConnectionAndTheLimitsOfTheLog) {
  constexpr std::size_t kEvents = 50;
  allowLog("event2: Dropped");
  const auto begin = steady_clock::now();
  ASSERT_NO_FATAL_FAILURE(open("s", {"A"}));
  streaming_.clear();
  std::size_t next = 0;
  const auto publishMore = [&] {
    for (const std::size_t end = next + kEvents; next < end; ++next) {
      publish("A", next);
    }
  };
  while (jumps_ < 24) {
    // With calls in flight, too: some of the other side's answers come after the jump.
    const bool late = jumps_ % 4 == 0;
    if (late) {
      streaming_.neverAnswer();
    }
    publishMore();
    ASSERT_TRUE(support::waitFor([&] { return streaming_.calls().size() + kEvents > next; }));
    ASSERT_NO_FATAL_FAILURE(jump());
    EXPECT_LE(std::abs(seenTime() - shift_ - std::time(nullptr)), 600);
    publishRubbish();
    publishMore();
    if (late) {
      EXPECT_TRUE(client_.createSession("other").ok());
      EXPECT_TRUE(client_.removeSession("other").ok());
      streaming_.answer();
      streaming_.answerWaiting();
    }
    ASSERT_TRUE(waitForCalls(next));
  }
  EXPECT_EQ(takeNumbers(), (Numbers{{"s", numbersBelow(next)}}));
  EXPECT_EQ(logLines("Connected to the broker"), 1U);
  // One at once, then at most one in ten seconds.
  const std::chrono::duration<double> took = steady_clock::now() - begin;
  EXPECT_GE(logLines("event2: Dropped"), 1U);
  EXPECT_LE(static_cast<double>(logLines("event2: Dropped")), 1 + took.count() / 10);
}

TEST_F(JumpingClock, DoesNotHurryTheSearchForALostBrokerNorHoldItUp) {
  allowLog("event2: Lost the broker");
  allowLog("event2: No connection to the broker");
  ASSERT_NO_FATAL_FAILURE(open("s", {"A"}));
  const auto begin = steady_clock::now();
  killBroker();
  // In its place, one that ends every connection.
  unlink(broker_.socketPath().c_str());
  {
    const support::Descriptor listener = support::listenOn(broker_.socketPath());
    ASSERT_EQ(fcntl(listener.get(), F_SETFL, O_NONBLOCK), 0);
    const auto isTried = [&] {
      return support::Descriptor(accept(listener.get(), nullptr, nullptr)).valid();
    };
    ASSERT_TRUE(waitForLog("Lost the broker"));
    // Ends far back in time, where whoever waits for a time of day waits for long,
    jumpTimes(24);
    ASSERT_TRUE(support::waitFor(isTried));
    // and far ahead.
    jumpTimes(23);
    ASSERT_TRUE(support::waitFor(isTried));
  }
  // It waits one second before the first try, and two before the next.
  EXPECT_TRUE(steady_clock::now() - begin >= std::chrono::seconds(3));
  startBroker();
  ASSERT_TRUE(waitForLog("Connected to the broker", 2));
  EXPECT_EQ(logLines("Lost the broker"), 1U);
  streaming_.clear();
  for (std::size_t number = 0; number < 100; ++number) {
    ASSERT_NO_FATAL_FAILURE(jump());
    publish("A", number);
  }
  ASSERT_TRUE(waitForCalls(100));
  EXPECT_EQ(takeNumbers(), (Numbers{{"s", numbersBelow(100)}}));
}

}  // namespace load
