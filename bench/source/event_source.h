// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <event2.h>

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "bench/common/load.h"
#include "bench/common/message.h"
#include "bench/common/rate_timer.h"
#include "bench/common/shared_counts.h"

/// One event as one subscription gets it: its number and the time of its making; the text is
/// made when it is asked for.
struct Event {
  const bench::Message* message;
};

/// The event system of the benchmark, in the service's own process: every event matches every
/// subscription. Starts at SIGUSR1 and delivers what bench::Load says: at a rate, with a window
/// of messages on the way, or without any limit but a bounded number a turn.
struct EventConsumer {
 public:
  EventConsumer();
  ~EventConsumer();
  EventConsumer(const EventConsumer&) = delete;
  EventConsumer& operator=(const EventConsumer&) = delete;

  unsigned int add(EventCallback callback, void* userData);
  bool remove(unsigned int id) { return subscriptions_.erase(id) != 0; }

 private:
  struct Subscription {
    EventCallback callback;
    void* userData;
  };
  struct TurnSource;

  static gboolean onStart(void* userData);
  static gboolean prepare(GSource* source, int* timeout);
  static gboolean check(GSource* source);
  static gboolean dispatch(GSource* source, GSourceFunc callback, void* userData);

  bool batchIsDue() const;
  /// Messages in the next batch.
  std::uint64_t batch() const;
  void deliver(std::uint64_t count);

  const bench::Load load_;
  bench::Message message_;
  std::atomic<std::uint64_t>& answered_ = bench::sharedCounts().answered;
  std::map<unsigned int, Subscription> subscriptions_;
  unsigned int lastId_ = 0;
  std::uint64_t events_ = 0;
  std::uint64_t messages_ = 0;
  guint startSource_;
  GSource* turns_ = nullptr;
  std::unique_ptr<bench::RateTimer> timer_;
};
