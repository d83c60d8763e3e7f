// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/event/pace.h"

#include <algorithm>

namespace event {

void Pace::turned(std::int64_t now) {
  if (calls_ == 0) {
    return;
  }
  ++turns_;
  if (results() > 1) {
    // The average over the last few results.
    gap_ += (std::min(now - lastTurn_, kLongestRest) - gap_) / 8;
  }
  lastTurn_ = now;
}

void Pace::settle(std::int64_t now) {
  if (atRest(now)) {
    clear();
  }
  try_ = calls_ > 0 && results() == 0 && now - lastCall_ >= hold_;
}

unsigned int Pace::allowed(unsigned int window) const {
  if (calls_ < window) {
    return window - calls_;
  }
  return try_ ? kTry : 0;
}

void Pace::called(unsigned int calls, std::int64_t now) {
  if (calls == 0) {
    return;
  }
  if (try_) {
    hold_ = std::min(hold_ * 2, kLongestHold);
  }
  calls_ += calls;
  ++batches_;
  lastCall_ = now;
}

std::int64_t Pace::wait(std::int64_t now) const {
  const std::int64_t until = results() == 0 ? lastCall_ + hold_ : lastTurn_ + rest();
  return std::max<std::int64_t>(until - now, 1);
}

bool Pace::atRest(std::int64_t now) const {
  return results() > kNoise * calls_ || (results() > 0 && now - lastTurn_ >= rest());
}

std::int64_t Pace::rest() const {
  return std::clamp(4 * gap_, kShortestRest, kLongestRest);
}

void Pace::clear() {
  calls_ = 0;
  batches_ = 0;
  turns_ = 0;
  hold_ = kFirstHold;
}

}  // namespace event
