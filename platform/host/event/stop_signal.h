// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <atomic>
#include <chrono>

namespace event {

/// Wakes a thread that polls, and tells it when to end.
class StopSignal {
 public:
  StopSignal();
  ~StopSignal();
  StopSignal(const StopSignal&) = delete;
  StopSignal& operator=(const StopSignal&) = delete;

  /// Any thread.
  void wake() const;
  void stop();
  bool stopped() const { return stopped_; }

  /// The waiting thread: readable after wake() or stop(), until cleared.
  int fd() const { return fd_; }
  void clear() const;
  /// Returns when the time is over or after stop(); wake() does not shorten it.
  void wait(std::chrono::milliseconds time);
  /// Returns after wake() or stop(), or when the time is over.
  void waitForWake(std::chrono::milliseconds time);
  void waitForWake() { waitForWake(std::chrono::milliseconds(-1)); }

 private:
  int fd_;
  std::atomic<bool> stopped_{false};
};

}  // namespace event
