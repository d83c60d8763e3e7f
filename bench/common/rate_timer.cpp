// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "bench/common/rate_timer.h"

#include <glib-unix.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <utility>

namespace bench {

RateTimer::RateTimer(std::uint64_t perSecond, int priority, Callback callback)
    : callback_(std::move(callback)),
      descriptor_(timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC)) {
  const auto nanoseconds = static_cast<long>(1'000'000'000U / perSecond);
  const timespec interval{nanoseconds / 1'000'000'000, nanoseconds % 1'000'000'000};
  const itimerspec timer{interval, interval};
  timerfd_settime(descriptor_, 0, &timer, nullptr);
  source_ = g_unix_fd_add_full(priority, descriptor_, G_IO_IN, onReadable, this, nullptr);
}

RateTimer::~RateTimer() {
  g_source_remove(source_);
  close(descriptor_);
}

gboolean RateTimer::onReadable(int descriptor, GIOCondition /*condition*/, void* userData) {
  auto* self = static_cast<RateTimer*>(userData);
  std::uint64_t due = 0;
  if (read(descriptor, &due, sizeof due) == sizeof due) {
    self->callback_(due);
  }
  return G_SOURCE_CONTINUE;
}

}  // namespace bench
