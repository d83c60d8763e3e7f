// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>

namespace event {

/// Decides how many events may be delivered and when, so that what the callbacks set going (in the
/// service: one asynchronous call for each event) does not pile up.
///
/// The results cannot be seen, but they come to the same main context, and make it turn. Calls are
/// allowed up to a window; when that is used up, more are allowed once the context has turned for
/// results and then come to rest. If nothing at all comes
/// back, the other side stands still: then a few calls are tried at growing intervals. If some came
/// back and others are known to fly, a rest may be a pause of the other side, which has to last
/// longer each time. All times are of the monotonic clock, in microseconds.
class Pace {
 public:
  /// Below the 128 calls in flight that a bus allows unless it is configured otherwise.
  static constexpr unsigned int kWindow = 96;

  /// The main context turned.
  void turned(std::int64_t now);
  /// The last turn was for ourselves.
  void turnWasOurs();
  /// Something came back since the last calls were allowed.
  bool hasResults() const { return results() > 0; }
  /// To be called before allowed(): takes into account what happened until now, and whether calls
  /// are known to be in flight.
  void settle(std::int64_t now, bool flying = false);
  /// Nothing is thought to be in flight.
  bool isClear() const { return calls_ == 0; }
  /// True if all results have come, unless calls are known to be in flight.
  bool mayBeAtRest(std::int64_t now) const;
  /// True if nothing came back for so long that a few calls are allowed all the same.
  bool wouldTry() const { return try_; }
  /// All that was set going has come to its end.
  void clear();
  /// How many calls may be made within that window.
  unsigned int allowed(unsigned int window) const;
  /// That many callbacks have been called since settle(). They count if the context turns before
  /// the next settle().
  void called(unsigned int calls, std::int64_t now);
  /// After allowed() said none: how long to wait before asking again.
  std::int64_t wait(std::int64_t now) const;

 private:
  /// Calls that are tried when nothing comes back.
  static constexpr unsigned int kTry = 4;
  /// More turns for each call than this are not all for results.
  static constexpr unsigned int kTurnsPerCall = 2;
  static constexpr std::int64_t kFirstHold = 20'000;
  static constexpr std::int64_t kLongestHold = 1'000'000;
  static constexpr std::int64_t kShortestRest = 100;
  static constexpr std::int64_t kLongestRest = 1'000'000;

  bool hasPatience(std::int64_t now) const;
  bool turnsForOthers() const { return results() >= kTurnsPerCall * calls_; }
  /// Turns that were not for what the callbacks left to be done at once: one for each batch.
  unsigned int results() const { return rhythm_.turns > batches_ ? rhythm_.turns - batches_ : 0; }
  std::int64_t rest() const;

  unsigned int calls_ = 0;
  unsigned int batches_ = 0;
  unsigned int lastCalls_ = 0;
  unsigned int turnsAtLastCall_ = 0;
  std::int64_t lastCall_ = 0;
  /// When the context turned last, and how long it rests between results on average.
  struct Rhythm {
    unsigned int turns = 0;
    std::int64_t lastTurn = 0;
    std::int64_t gap = kShortestRest / 4;
  };
  Rhythm rhythm_;
  Rhythm before_;
  std::int64_t hold_ = kFirstHold;
  /// How long to wait for what is known to fly.
  std::int64_t patience_ = kFirstHold;
  bool flying_ = false;
  bool try_ = false;
};

}  // namespace event
