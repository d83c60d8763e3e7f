// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <glib.h>

#include <cstdint>
#include <functional>

namespace bench {

/// Calls back in the default main context with the number of events that have fallen due since
/// the last call, at a fixed rate from now on. A timerfd: GLib's own timers know milliseconds.
class RateTimer {
 public:
  using Callback = std::function<void(std::uint64_t due)>;

  RateTimer(std::uint64_t perSecond, int priority, Callback callback);
  ~RateTimer();
  RateTimer(const RateTimer&) = delete;
  RateTimer& operator=(const RateTimer&) = delete;

 private:
  static gboolean onReadable(int descriptor, GIOCondition condition, void* userData);

  Callback callback_;
  int descriptor_;
  guint source_;
};

}  // namespace bench
