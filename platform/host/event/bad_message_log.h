// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace event {

/// Counts the messages that are dropped because they cannot be events, and says so in the log: at
/// once, then once an interval with their number.
class BadMessageLog {
 public:
  using Clock = std::chrono::steady_clock;

  explicit BadMessageLog(std::chrono::milliseconds interval) : interval_(interval) {}

  void dropped(const char* topic, const std::string& reason, Clock::time_point now);
  /// Reports what has not been reported, if it is time.
  void tick(Clock::time_point now);

 private:
  /// A topic may have 65,535 bytes of which a log line wants the start.
  static constexpr int kMaxTopic = 256;

  void report(Clock::time_point now);

  std::chrono::milliseconds interval_;
  Clock::time_point next_{};
  std::uint64_t unreported_ = 0;
  std::uint64_t total_ = 0;
  std::string last_;
};

}  // namespace event
