// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

// Not one of CTest's cases: scripts/soak runs it, for $LUMENFEED_SOAK_MINUTES.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "tests/load/load_test.h"
#include "tests/load/process_figures.h"

namespace load {

using Clock = std::chrono::steady_clock;

/// A mixed load with random faults: sessions come, change and go, bursts are published, and now
/// and then the streaming service halts, the streaming service dies, or the broker does.
class Soak : public LoadTest {
 protected:
  void SetUp() override {
    allowLog("sendStreamData failed: GDBus.Error:org.freedesktop.DBus.Error.");
    allowLog("event2: Lost the broker");
    allowLog("event2: No connection to the broker");
    LoadTest::SetUp();
  }

  void openOne();
  void closeOne();
  void openOrCloseOne();
  void reconfigureOne();
  void burst();
  void haltStreamingService();
  void restartStreamingService();
  void renewBroker();
  void refuseOne();
  void step();

  /// Everything published before has arrived once this returns; also after a fault.
  void awaitMark();
  void expectBurst(std::size_t first);
  std::string anySession();
  void report() const;

  /// Half of what the service takes.
  static constexpr std::size_t kUsualSessions = 16;

  std::mt19937 random_ = support::randomNumbers();
  /// The topic of each open session.
  std::map<std::string, std::string> sessions_;
  std::size_t number_ = 0;
  std::size_t opened_ = 0;
  std::size_t calls_ = 0;
  std::map<std::string, std::size_t> steps_;
  std::vector<ProcessFigures> samples_;
};

std::string Soak::anySession() {
  auto session = sessions_.begin();
  std::advance(session, static_cast<std::ptrdiff_t>(support::below(random_, sessions_.size())));
  return session->first;
}

void Soak::openOne() {
  const std::string session = "soak" + std::to_string(++opened_);
  const std::string topic = support::below(random_, 2) == 0 ? "A" : "B";
  ASSERT_NO_FATAL_FAILURE(open(session, {topic, "Mark"}));
  sessions_[session] = topic;
}

void Soak::closeOne() {
  const std::string session = anySession();
  ASSERT_TRUE(client_.removeSession(session).ok());
  sessions_.erase(session);
}

/// Their number goes up and down about the usual one, or the memory of more sessions would look
/// like growth.
void Soak::openOrCloseOne() {
  if (support::below(random_, 2 * kUsualSessions - 1) + 1 < sessions_.size()) {
    closeOne();
  } else {
    openOne();
  }
}

void Soak::reconfigureOne() {
  const std::string session = anySession();
  sessions_[session] = sessions_[session] == "A" ? "B" : "A";
  ASSERT_NO_FATAL_FAILURE(configure(session, {sessions_[session], "Mark"}));
}

void Soak::refuseOne() {
  EXPECT_TRUE(client_.handleRequest(anySession(), R"({"eventFilterList":[{}]})").ok());
  EXPECT_TRUE(client_.handleRequest(anySession(), "rubbish").ok());
  // Counted among the calls of the next burst, they would end it too early.
  ASSERT_TRUE(waitForCalls(2));
}

void Soak::burst() {
  const std::size_t first = number_;
  for (std::size_t left = 1 + support::below(random_, 300); left > 0; --left) {
    publish("A", number_);
    publish("B", number_++);
  }
  ASSERT_NO_FATAL_FAILURE(expectBurst(first));
}

/// Each session has every number from `first` on, in order.
void Soak::expectBurst(std::size_t first) {
  const std::size_t each = number_ - first;
  ASSERT_TRUE(waitForCalls(each * sessions_.size()));
  calls_ += streaming_.calls().size();
  const Numbers received = takeNumbers();
  ASSERT_EQ(received.size(), sessions_.size());
  for (const auto& [session, numbers] : received) {
    ASSERT_EQ(numbers.size(), each) << session;
    EXPECT_EQ(numbers.front(), first) << session;
    EXPECT_EQ(numbers.back(), number_ - 1) << session;
    EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end())) << session;
  }
}

void Soak::haltStreamingService() {
  const std::size_t first = number_;
  streaming_.neverAnswer();
  for (int left = 100; left > 0; --left) {
    publish("A", number_);
    publish("B", number_++);
  }
  ASSERT_TRUE(support::waitFor([&] { return streaming_.waiting() > 0; }));
  streaming_.answer();
  streaming_.answerWaiting();
  ASSERT_NO_FATAL_FAILURE(expectBurst(first));
}

void Soak::restartStreamingService() {
  for (int left = 100; left > 0; --left) {
    publish("A", number_++);
  }
  streaming_.disappear();
  streaming_.appear();
  ASSERT_NO_FATAL_FAILURE(awaitMark());
}

void Soak::renewBroker() {
  killBroker();
  startBroker();
  ASSERT_NO_FATAL_FAILURE(awaitMark());
}

void Soak::awaitMark() {
  const std::size_t mark = number_;
  const auto arrived = [&] {
    // One after the other, as nobody tells when the service is back.
    publish("Mark", number_++);
    const auto& calls = streaming_.calls();
    return !calls.empty() && calls.back().method == "SendStreamData" &&
           calls.back().arguments.back().find("Load/Mark") != std::string::npos;
  };
  ASSERT_TRUE(support::waitFor(arrived)) << "from " << mark;
  // The last of the marks, in every session: nothing else is on its way then.
  publish("Mark", number_);
  const std::string last = "\"Number\":" + std::to_string(number_++) + ",";
  ASSERT_TRUE(support::waitFor([&] {
    const auto& calls = streaming_.calls();
    const auto from =
        calls.end() - static_cast<std::ptrdiff_t>(std::min(calls.size(), sessions_.size()));
    return static_cast<std::size_t>(std::count_if(from, calls.end(), [&](const auto& call) {
             return call.arguments.back().find(last) != std::string::npos;
           })) == sessions_.size();
  }));
  calls_ += streaming_.calls().size();
  for (const auto& [session, numbers] : takeNumbers()) {
    EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end())) << session;
  }
}

void Soak::step() {
  struct Kind {
    const char* name;
    std::size_t weight;
    void (Soak::*act)();
  };
  static const Kind kKinds[] = {{"session opened or closed", 15, &Soak::openOrCloseOne},
                                {"session configured anew", 15, &Soak::reconfigureOne},
                                {"request refused", 5, &Soak::refuseOne},
                                {"burst", 60, &Soak::burst},
                                {"streaming service halted", 3, &Soak::haltStreamingService},
                                {"streaming service restarted", 1, &Soak::restartStreamingService},
                                {"broker restarted", 1, &Soak::renewBroker}};
  std::size_t chance = support::below(random_, 100);
  const Kind* kind = kKinds;
  for (; chance >= kind->weight; ++kind) {
    chance -= kind->weight;
  }
  (this->*kind->act)();
  ++steps_[kind->name];
  // Answers and refusals are not events.
  client_.barrier();
}

void Soak::report() const {
  std::printf("calls: %zu\n", calls_);
  for (const auto& [name, times] : steps_) {
    std::printf("%s: %zu\n", name.c_str(), times);
  }
  const std::size_t warm = samples_.size() / 3;
  std::printf(
      "memory, KB: %zu after the first third, %zu at the end, slope %+.0f an hour\n",
      samples_[warm].residentBytes / 1024, samples_.back().residentBytes / 1024,
      bytesPerHour({samples_.begin() + static_cast<std::ptrdiff_t>(warm), samples_.end()}) / 1024);
  std::printf("descriptors: %zu after the first third, %zu at the end\n",
              samples_[warm].descriptors, samples_.back().descriptors);
}

TEST_F(Soak, MixedLoadWithRandomFaultsLeavesNothingBehind) {
  const char* const minutes = std::getenv("LUMENFEED_SOAK_MINUTES");
  ASSERT_NE(minutes, nullptr) << "scripts/soak runs this";
  const auto end = Clock::now() + std::chrono::seconds(static_cast<long>(60 * std::atof(minutes)));
  auto sample = Clock::now();
  while (sessions_.size() < kUsualSessions) {
    ASSERT_NO_FATAL_FAILURE(openOne());
  }
  streaming_.clear();
  while (Clock::now() < end && !HasFatalFailure()) {
    step();
    streaming_.clear();
    if (Clock::now() >= sample) {
      samples_.push_back(figuresOf(service_->pid()));
      sample += std::chrono::seconds(1);
    }
  }
  ASSERT_FALSE(HasFatalFailure());
  ASSERT_FALSE(samples_.empty());
  report();
  EXPECT_EQ(samples_.back().descriptors, samples_[samples_.size() / 3].descriptors);
}

}  // namespace load
