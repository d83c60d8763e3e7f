// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

// Takes longer than what CTest runs: a part of load_long.

#include <chrono>
#include <csignal>
#include <cstdio>
#include <string>

#include "tests/load/load_test.h"

namespace load {

/// The streaming service as a process that the system stops, under load, for longer than a call
/// waits for its answer.
class HaltedProcess : public LoadTest {
 protected:
  void SetUp() override {
    LoadTest::SetUp();
    ASSERT_NO_FATAL_FAILURE(open("s", {"A"}));
    streaming_.dropName();
    process_ = std::make_unique<support::Process>(
        std::vector<std::string>{LUMENFEED_STREAMING_SERVICE, bus_.address()});
    ASSERT_TRUE(process_->waitForLine("ready"));
  }

  void publishMore(std::size_t count) {
    for (const std::size_t end = next_ + count; next_ < end; ++next_) {
      publish("A", next_);
    }
  }
  /// What it got of session s; "ready" is its first line.
  std::vector<std::size_t> received() const {
    std::vector<std::size_t> numbers;
    for (const std::string& line : process_->standardOutput()) {
      if (line.rfind("s ", 0) == 0) {
        numbers.push_back(std::stoul(line.substr(2)));
      }
    }
    return numbers;
  }
  [[nodiscard]] bool waitUntilAllIsReceived() const {
    std::size_t seen = 0;
    while (seen <= next_) {
      const std::size_t before = seen;
      if (!support::waitFor([&] { return (seen = process_->standardOutput().size()) > before; })) {
        return false;
      }
    }
    return true;
  }

  std::unique_ptr<support::Process> process_;
  std::size_t next_ = 0;
};

TEST_F(HaltedProcess, CostsALogLineForEachCallThatTimedOutAndNoEvent) {
  constexpr std::chrono::seconds kHalt{40};
  constexpr const char* kTimedOut = "sendStreamData failed: Timeout was reached";
  allowLog(kTimedOut);
  publishMore(1000);
  ASSERT_TRUE(waitUntilAllIsReceived());
  const auto begin = std::chrono::steady_clock::now();
  process_->signal(SIGSTOP);
  std::size_t turns = 0;
  const auto isOver = [&] {
    // The service goes on with everyone else.
    publishMore(++turns % 10 == 0 ? 1 : 0);
    EXPECT_TRUE(turns % 1000 != 0 ||
                (client_.createSession("other").ok() && client_.removeSession("other").ok()));
    return std::chrono::steady_clock::now() - begin >= kHalt;
  };
  ASSERT_TRUE(support::waitFor(isOver, 2 * kHalt));
  // The calls that were made before it was seen to halt, and more by the end.
  EXPECT_GT(logLines(kTimedOut), 0U);
  process_->signal(SIGCONT);
  ASSERT_TRUE(waitUntilAllIsReceived());
  const std::size_t timedOut = logLines(kTimedOut);
  publishMore(1000);
  ASSERT_TRUE(waitUntilAllIsReceived());
  EXPECT_EQ(received(), numbersBelow(next_));
  // Nobody timed out any more.
  EXPECT_EQ(logLines(kTimedOut), timedOut);
  std::printf("%zu events, %zu of %zu calls timed out\n", next_, timedOut, received().size());
}

}  // namespace load
