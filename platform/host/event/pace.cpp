// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/event/pace.h"

#include <algorithm>

namespace event {

void Pace::turned(std::int64_t now) {
  if (calls_ == 0) {
    return;
  }
  before_ = rhythm_;
  ++rhythm_.turns;
  if (results() > 1) {
    // One odd pause does not count for much.
    const std::int64_t gap = std::min(now - rhythm_.lastTurn, 8 * rhythm_.gap + 1000);
    rhythm_.gap += (gap - rhythm_.gap) / 8;
  }
  rhythm_.lastTurn = now;
}

void Pace::turnWasOurs() {
  if (calls_ > 0) {
    rhythm_ = before_;
  }
}

void Pace::settle(std::int64_t now, bool flying) {
  flying_ = flying && calls_ > 0;
  if (lastCalls_ > 0 && rhythm_.turns == turnsAtLastCall_) {
    // The context did not turn before it was our turn again: nothing had been left to be done.
    calls_ -= lastCalls_;
    --batches_;
  }
  lastCalls_ = 0;
  if (mayBeAtRest(now) && !hasPatience(now)) {
    patience_ = flying_ ? std::min(2 * patience_, kLongestHold) : kFirstHold;
    if (turnsForOthers()) {
      // Most of these turns were for something else, and their rhythm is not that of results.
      rhythm_.gap = Rhythm().gap;
    }
    clear();
  }
  try_ = calls_ > 0 && results() == 0 && now - lastCall_ >= hold_;
}

bool Pace::mayBeAtRest(std::int64_t now) const {
  return turnsForOthers() || (results() > 0 && now - rhythm_.lastTurn >= rest());
}

/// For what is known to fly. It may be stuck, while the rest is answered.
bool Pace::hasPatience(std::int64_t now) const {
  const std::int64_t since = turnsForOthers() ? lastCall_ : rhythm_.lastTurn;
  return flying_ && now - since < patience_;
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
  lastCalls_ = calls;
  turnsAtLastCall_ = rhythm_.turns;
  lastCall_ = now;
}

std::int64_t Pace::wait(std::int64_t now) const {
  if (results() == 0) {
    return std::max<std::int64_t>(lastCall_ + hold_ - now, 1);
  }
  const std::int64_t sinceTurn = now - rhythm_.lastTurn;
  // What flies may come back any time: looked at often at first, then less.
  const std::int64_t shortest = flying_ ? std::max(rest(), sinceTurn / 4) : 1;
  return std::max(rest() - sinceTurn, shortest);
}

std::int64_t Pace::rest() const {
  return std::clamp(4 * rhythm_.gap, kShortestRest, kLongestRest);
}

void Pace::clear() {
  calls_ = 0;
  batches_ = 0;
  rhythm_.turns = 0;
  hold_ = kFirstHold;
  try_ = false;
  flying_ = false;
}

}  // namespace event
