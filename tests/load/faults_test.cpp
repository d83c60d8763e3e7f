// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <sys/resource.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/load/load_test.h"

namespace load {

/// What happens around the service while it has much to do.
class Faults : public LoadTest {
 protected:
  static constexpr std::size_t kEvents = 1000;

  /// Publishes the numbers from next_ on.
  void publishMore(std::size_t count) {
    for (const std::size_t end = next_ + count; next_ < end; ++next_) {
      publish("A", next_);
    }
  }
  /// Publishes one event at a time until the streaming service has one of them: from then on
  /// everything arrives.
  [[nodiscard]] bool waitUntilEventsArrive() {
    return support::waitFor([&] {
      publishMore(1);
      return !takeNumbers().empty();
    });
  }
  void limitDescriptors(rlim_t limit) const {
    rlimit now{};
    ASSERT_EQ(prlimit(service_->pid(), RLIMIT_NOFILE, nullptr, &now), 0);
    now.rlim_cur = limit;
    ASSERT_EQ(prlimit(service_->pid(), RLIMIT_NOFILE, &now, nullptr), 0);
  }

  std::size_t next_ = 0;
};

TEST_F(Faults, StreamingServiceThatStopsAndGoesOnGetsEverythingInOrder) {
  ASSERT_NO_FATAL_FAILURE(open("s", {"A"}));
  streaming_.clear();
  for (std::size_t round = 0; round < support::scaled(5); ++round) {
    streaming_.neverAnswer();
    publishMore(kEvents);
    ASSERT_TRUE(support::waitFor([&] { return streaming_.waiting() > 0; }));
    EXPECT_TRUE(client_.createSession("other").ok());
    EXPECT_TRUE(client_.removeSession("other").ok());
    streaming_.answer();
    streaming_.answerWaiting();
    ASSERT_TRUE(waitForCalls(next_));
  }
  EXPECT_EQ(takeNumbers(), (Numbers{{"s", numbersBelow(next_)}}));
}

TEST_F(Faults, StreamingServiceThatDiesAndComesBackUnderANewNameGetsEventsAgain) {
  constexpr const char* kFailed = "sendStreamData failed: GDBus.Error:org.freedesktop.DBus.Error.";
  allowLog(kFailed);
  ASSERT_NO_FATAL_FAILURE(open("s", {"A"}));
  for (std::size_t round = 0; round < support::scaled(10); ++round) {
    streaming_.clear();
    publishMore(kEvents);
    ASSERT_TRUE(waitForCalls(kEvents / 10));
    const std::size_t failed = logLines(kFailed);
    streaming_.disappear();
    // Those before it may have been answered, every one.
    publishMore(1);
    ASSERT_TRUE(waitForLog(kFailed, failed + 1));
    // The service serves its callers meanwhile.
    EXPECT_TRUE(client_.createSession("other").ok());
    EXPECT_TRUE(client_.removeSession("other").ok());
    const Numbers before = takeNumbers();
    EXPECT_TRUE(std::is_sorted(before.at("s").begin(), before.at("s").end()));
    streaming_.appear();
    ASSERT_TRUE(waitUntilEventsArrive());
    const std::size_t first = next_;
    publishMore(kEvents);
    const auto last = [&] {
      const auto& calls = streaming_.calls();
      return !calls.empty() &&
             calls.back().arguments.back().find("\"Number\":" + std::to_string(next_ - 1) + ",") !=
                 std::string::npos;
    };
    ASSERT_TRUE(support::waitFor(last));
    std::vector<std::size_t> got = takeNumbers()["s"];
    got.erase(got.begin(), std::find(got.begin(), got.end(), first));
    ASSERT_EQ(got.size(), kEvents);
    EXPECT_TRUE(std::is_sorted(got.begin(), got.end()));
  }
}

TEST_F(Faults, ServiceThatIsToldToEndUnderLoadEndsInOrder) {
  std::mt19937 random = support::randomNumbers();
  for (std::size_t round = 0; round < support::scaled(20); ++round) {
    for (int session = 0; session < 4; ++session) {
      ASSERT_NO_FATAL_FAILURE(open("s" + std::to_string(session), {"A", "B"}));
    }
    streaming_.clear();
    publishMore(kEvents);
    ASSERT_TRUE(waitForCalls(support::below(random, 4 * kEvents)));
    // A request and a session in the middle of it, too.
    client_.sendHandleRequest("s0", R"({"eventFilterList":[{"topicFilter":"tns1:Load/A"}]})");
    client_.sendRemoveSession("s1");
    ASSERT_NO_FATAL_FAILURE(stopService());
    for (const auto& [session, numbers] : takeNumbers()) {
      EXPECT_TRUE(std::adjacent_find(numbers.begin(), numbers.end(), std::greater_equal<>()) ==
                  numbers.end())
          << session;
    }
    ASSERT_NO_FATAL_FAILURE(startService());
  }
}

TEST_F(Faults, ServiceWithoutFreeDescriptorsServesAndFindsTheBrokerAgainOnceThereAreSome) {
  if (support::kSanitized) {
    GTEST_SKIP() << "the sanitizer looks at memory through pipes, which it could not open";
  }
  allowLog("event2: Lost the broker");
  allowLog("event2: No connection to the broker");
  ASSERT_NO_FATAL_FAILURE(open("s", {"A"}));
  streaming_.clear();
  ASSERT_NO_FATAL_FAILURE(limitDescriptors(3));
  publishMore(kEvents);
  ASSERT_TRUE(waitForCalls(kEvents));
  EXPECT_EQ(takeNumbers(), (Numbers{{"s", numbersBelow(kEvents)}}));
  ASSERT_NO_FATAL_FAILURE(open("other", {"A", "B"}));
  EXPECT_TRUE(client_.removeSession("other").ok());
  streaming_.clear();
  killBroker();
  startBroker();
  ASSERT_TRUE(waitForLog("Lost the broker"));
  EXPECT_TRUE(client_.createSession("other").ok());
  EXPECT_TRUE(client_.removeSession("other").ok());
  ASSERT_NO_FATAL_FAILURE(limitDescriptors(1024));
  ASSERT_TRUE(waitForLog("Connected to the broker", 2));
  ASSERT_TRUE(waitUntilEventsArrive());
}

}  // namespace load
