// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/event/delivery_source.h"

#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <ctime>
#include <system_error>
#include <utility>

namespace event {

struct DeliverySource::Source {
  GSource parent;
  DeliverySource* self;

  static DeliverySource& of(GSource* source) { return *reinterpret_cast<Source*>(source)->self; }
};

DeliverySource::DeliverySource(std::shared_ptr<Delivery> delivery)
    : delivery_(std::move(delivery)),
      context_(g_main_context_ref_thread_default()),
      timers_(context_.get()),
      timer_(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)) {
  if (timer_ < 0) {
    throw std::system_error(errno, std::generic_category(), "timerfd_create");
  }
  // GLib takes the functions as mutable; it does not change them.
  static GSourceFuncs functions{onPrepare, onCheck, onDispatch, nullptr, nullptr, nullptr};
  static GSourceFuncs watching{onWatchPrepare, onWatchCheck, onDispatch, nullptr, nullptr, nullptr};
  source_ = attach(&functions, kPriority, "event2 delivery");
  g_source_add_unix_fd(source_, timer_, G_IO_IN);
  watch_ = attach(&watching, G_PRIORITY_HIGH, "event2 watch");
}

DeliverySource::~DeliverySource() {
  for (GSource* const source : {source_, watch_}) {
    g_source_destroy(source);
    g_source_unref(source);
  }
  close(timer_);
}

GSource* DeliverySource::attach(GSourceFuncs* functions, int priority, const char* name) {
  GSource* const source = g_source_new(functions, sizeof(Source));
  reinterpret_cast<Source*>(source)->self = this;
  g_source_set_name(source, name);
  g_source_set_priority(source, priority);
  // Otherwise GLib takes the descriptor out of its set while it dispatches and puts it back, and
  // each time makes the context turn once more, which would look like a result.
  g_source_set_can_recurse(source, TRUE);
  g_source_attach(source, context_.get());
  return source;
}

void DeliverySource::wake() {
  ready_ = true;
  g_main_context_wakeup(context_.get());
}

gboolean DeliverySource::onPrepare(GSource* source, int* timeout) {
  *timeout = -1;
  DeliverySource& self = Source::of(source);
  return self.ready_ && !self.delivering_ ? TRUE : FALSE;
}

gboolean DeliverySource::onCheck(GSource* source) {
  return Source::of(source).due() ? TRUE : FALSE;
}

gboolean DeliverySource::onDispatch(GSource* source, GSourceFunc /*callback*/, void* /*userData*/) {
  Source::of(source).deliver();
  return G_SOURCE_CONTINUE;
}

gboolean DeliverySource::onWatchPrepare(GSource* /*source*/, int* timeout) {
  *timeout = -1;
  return FALSE;
}

gboolean DeliverySource::onWatchCheck(GSource* source) {
  Source::of(source).turned(g_source_get_time(source));
  return FALSE;
}

/// False within a callback that turns the context.
bool DeliverySource::due() {
  if (delivering_) {
    return false;
  }
  std::uint64_t expirations = 0;
  if (!ready_ && read(timer_, &expirations, sizeof expirations) > 0) {
    ready_ = true;
  }
  return ready_;
}

void DeliverySource::turned(std::int64_t now) {
  if (delivering_) {
    return;
  }
  pace_.turned(now);
  if (holding_ && !due() && pace_.hasResults()) {
    holding_ = false;
    startTimer(pace_.wait(now));
  }
}

/// True if nothing in the context waits for a time: a call in flight has a time-out there.
bool DeliverySource::nothingFlies() const {
  int priority = 0;
  int timeout = 0;
  g_main_context_prepare(context_.get(), &priority);
  g_main_context_query(context_.get(), G_MAXINT, &timeout, nullptr, 0);
  return timeout < 0;
}

void DeliverySource::settle(std::int64_t now) {
  pace_.settle(now, pace_.mayBeAtRest(now) && timers_.anyRuns());
  if (pace_.wouldTry() && nothingFlies()) {
    pace_.clear();
  }
  if (pace_.isClear()) {
    timers_.start();
  }
}

void DeliverySource::deliver() {
  ready_ = false;
  delivering_ = true;
  pace_.turnWasOurs();
  const std::int64_t now = g_source_get_time(source_);
  settle(now);
  const unsigned int allowed = std::min(pace_.allowed(Pace::kWindow), kBatch);
  const unsigned int slowAllowed = std::min(pace_.allowed(kSlowWindow), kBatch);
  // A callback may free the consumer, and us.
  const std::shared_ptr<Delivery> delivery = delivery_;
  const unsigned int calls = delivery->deliver(allowed, slowAllowed);
  if (delivery->closed()) {
    return;
  }
  pace_.called(calls, now);
  delivering_ = false;
  stopTimer();
  holding_ = false;
  if (calls > 0 || (slowAllowed > 0 && delivery->hasWork())) {
    // After calls also without more work: the pace looks whether the context turns before it is our
    // turn again. Without a call, what was looked at was wanted by nobody.
    ready_ = true;
  } else if (delivery->hasWork()) {
    holding_ = !pace_.hasResults();
    startTimer(pace_.wait(now));
  }
}

void DeliverySource::startTimer(std::int64_t microseconds) const {
  constexpr std::int64_t kMicroseconds = 1'000'000;
  itimerspec when{};
  when.it_value.tv_sec = static_cast<std::time_t>(microseconds / kMicroseconds);
  when.it_value.tv_nsec = static_cast<long>(microseconds % kMicroseconds * 1000);
  timerfd_settime(timer_, 0, &when, nullptr);
}

void DeliverySource::stopTimer() {
  // Setting it makes it unreadable as well.
  startTimer(0);
}

}  // namespace event
