// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <atomic>
#include <cstdint>

namespace bench {

/// How many messages the sink has taken since its last reset, readable by every process of a
/// run: one number in the file that BENCH_SHARED names. A sender that keeps a window of messages
/// on the way looks here; no real event system could.
class SharedCount {
 public:
  /// Ends the process with a clear line if the file cannot be mapped.
  SharedCount();
  ~SharedCount();
  SharedCount(const SharedCount&) = delete;
  SharedCount& operator=(const SharedCount&) = delete;

  std::uint64_t get() const { return value_->load(std::memory_order_acquire); }
  void add() { value_->fetch_add(1, std::memory_order_release); }
  void reset() { value_->store(0, std::memory_order_release); }

 private:
  std::atomic<std::uint64_t>* value_;
};

}  // namespace bench
