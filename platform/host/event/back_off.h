// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <algorithm>
#include <chrono>

namespace event {

/// The waits between tries: each twice the one before, up to the longest.
class BackOff {
 public:
  using Milliseconds = std::chrono::milliseconds;

  BackOff(Milliseconds first, Milliseconds longest)
      : first_(first), longest_(longest), next_(first) {}

  Milliseconds next() {
    const Milliseconds wait = next_;
    next_ = std::min(next_ * 2, longest_);
    return wait;
  }
  void reset() { next_ = first_; }

 private:
  Milliseconds first_;
  Milliseconds longest_;
  Milliseconds next_;
};

}  // namespace event
