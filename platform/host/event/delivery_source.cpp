// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/event/delivery_source.h"

#include <glib-unix.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

namespace event {

namespace {

struct WatchSource {
  GSource parent;
  DeliverySource* self;
};

}  // namespace

DeliverySource::DeliverySource(std::shared_ptr<Delivery> delivery)
    : delivery_(std::move(delivery)),
      timer_(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)) {
  if (timer_ < 0) {
    throw std::system_error(errno, std::generic_category(), "timerfd_create");
  }
  // GLib takes the functions as mutable; it does not change them.
  static GSourceFuncs sourceFuncs{nullptr, nullptr, onDispatch, nullptr, nullptr, nullptr};
  static GSourceFuncs watchFuncs{onWatchPrepare, onWatchCheck, onDispatch,
                                 nullptr,        nullptr,      nullptr};
  GMainContext* const context = g_main_context_ref_thread_default();
  source_ = g_source_new(&sourceFuncs, sizeof(GSource));
  g_source_set_name(source_, "event2 delivery");
  g_source_set_priority(source_, kPriority);
  g_source_set_callback(source_, onReady, this, nullptr);
  g_source_add_unix_fd(source_, timer_, G_IO_IN);
  g_source_attach(source_, context);
  watch_ = g_source_new(&watchFuncs, sizeof(WatchSource));
  reinterpret_cast<WatchSource*>(watch_)->self = this;
  g_source_set_name(watch_, "event2 watch");
  g_source_set_priority(watch_, G_PRIORITY_HIGH);
  g_source_attach(watch_, context);
  g_main_context_unref(context);
}

DeliverySource::~DeliverySource() {
  for (GSource* const source : {source_, watch_}) {
    g_source_destroy(source);
    g_source_unref(source);
  }
  close(timer_);
}

void DeliverySource::wake() {
  g_source_set_ready_time(source_, 0);
}

gboolean DeliverySource::onWatchPrepare(GSource* /*source*/, int* timeout) {
  *timeout = -1;
  return FALSE;
}

gboolean DeliverySource::onWatchCheck(GSource* source) {
  reinterpret_cast<WatchSource*>(source)->self->turned(g_source_get_time(source));
  return FALSE;
}

gboolean DeliverySource::onDispatch(GSource* /*source*/, GSourceFunc callback, void* self) {
  return callback(self);
}

gboolean DeliverySource::onReady(void* self) {
  static_cast<DeliverySource*>(self)->deliver();
  return G_SOURCE_CONTINUE;
}

void DeliverySource::turned(std::int64_t now) {
  if (turn_ != 0) {
    pace_.turned(turn_);
  }
  turn_ = now;
}

void DeliverySource::deliver() {
  turn_ = 0;
  g_source_set_ready_time(source_, -1);
  const std::int64_t now = g_source_get_time(source_);
  pace_.settle(now);
  const unsigned int allowed = std::min(pace_.allowed(Pace::kWindow), kBatch);
  const unsigned int slowAllowed = std::min(pace_.allowed(kSlowWindow), kBatch);
  // A callback may free the consumer, and us.
  const std::shared_ptr<Delivery> delivery = delivery_;
  const unsigned int calls = delivery->deliver(allowed, slowAllowed);
  if (delivery->closed()) {
    return;
  }
  // Callbacks that leave something to be done leave it in this context; others need no pace.
  if (calls > 0 && g_main_context_pending(g_source_get_context(source_)) != FALSE) {
    pace_.called(calls, now);
  }
  turn_ = 0;
  if (!delivery->hasWork()) {
    stopTimer();
  } else if (calls > 0) {
    stopTimer();
    g_source_set_ready_time(source_, 0);
  } else {
    startTimer(pace_.wait(now));
  }
}

void DeliverySource::startTimer(std::int64_t microseconds) {
  constexpr std::int64_t kMicroseconds = 1'000'000;
  itimerspec when{};
  when.it_value.tv_sec = microseconds / kMicroseconds;
  when.it_value.tv_nsec = microseconds % kMicroseconds * 1000;
  timerfd_settime(timer_, 0, &when, nullptr);
}

void DeliverySource::stopTimer() {
  // Setting it makes it unreadable as well.
  startTimer(0);
}

}  // namespace event
