// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <glib.h>

#include <cstdint>
#include <memory>

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

  static gboolean onWatchPrepare(GSource* source, int* timeout);
  static gboolean onWatchCheck(GSource* source);
  static gboolean onDispatch(GSource* source, GSourceFunc callback, void* self);
  static gboolean onReady(void* self);

  void turned(std::int64_t now);
  void deliver();
  void startTimer(std::int64_t microseconds);
  void stopTimer();

  std::shared_ptr<Delivery> delivery_;
  Pace pace_;
  /// Ready when there is something to deliver and it may be delivered.
  GSource* source_;
  /// Never ready, but asked in every turn of the context.
  GSource* watch_;
  /// GLib's own timers count milliseconds.
  int timer_;
  /// The last turn, until it is known whether it was for us.
  std::int64_t turn_ = 0;
};

}  // namespace event
