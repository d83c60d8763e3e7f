// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <glib.h>

#include <atomic>
#include <cstdint>
#include <memory>

#include "common/ptr.h"
#include "platform/host/event/call_timers.h"
#include "platform/host/event/delivery.h"
#include "platform/host/event/pace.h"

namespace event {

/// Runs a delivery in a main context, below everything else there and at the pace of what it sets
/// going.
class DeliverySource {
 public:
  /// The context that is the thread's default now.
  explicit DeliverySource(std::shared_ptr<Delivery> delivery);
  ~DeliverySource();
  DeliverySource(const DeliverySource&) = delete;
  DeliverySource& operator=(const DeliverySource&) = delete;

  /// There is something to deliver. Any thread.
  void wake();

 private:
  /// Below the idle sources into which callbacks put their work.
  static constexpr int kPriority = G_PRIORITY_LOW;
  /// Calls in one turn of the main loop.
  static constexpr unsigned int kBatch = 16;
  /// The part of the window that states for new subscriptions may use: the rest is for events.
  static constexpr unsigned int kSlowWindow = Pace::kWindow / 2;

  struct Source;
  static gboolean onPrepare(GSource* source, int* timeout);
  static gboolean onCheck(GSource* source);
  static gboolean onDispatch(GSource* source, GSourceFunc callback, void* userData);
  static gboolean onWatchPrepare(GSource* source, int* timeout);
  static gboolean onWatchCheck(GSource* source);

  GSource* attach(GSourceFuncs* functions, int priority, const char* name);
  bool due();
  void turned(std::int64_t now);
  bool nothingFlies() const;
  void settle(std::int64_t now);
  void deliver();
  void startTimer(std::int64_t microseconds) const;
  void stopTimer();

  std::shared_ptr<Delivery> delivery_;
  Pace pace_;
  common::Ptr<GMainContext, g_main_context_unref> context_;
  /// Of what the callbacks set going since nothing was in flight.
  CallTimers timers_;
  /// GLib's own timers count milliseconds.
  int timer_;
  /// When there is something to deliver that may be delivered now.
  std::atomic<bool> ready_{false};
  /// No result has come back, and the timer is set as if none would.
  bool holding_ = false;
  bool delivering_ = false;
  /// Ready when we are.
  GSource* source_;
  /// Never ready, but asked in every turn of the context.
  GSource* watch_;
};

}  // namespace event
