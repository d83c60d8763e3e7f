// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "bench/source/event_source.h"

#include <glib-unix.h>

#include <algorithm>

namespace {

/// Below the records that the service queues and the replies that it awaits.
constexpr int kPriority = G_PRIORITY_LOW;
/// Messages handed over in a turn of the loop, but at least one event.
constexpr std::uint64_t kBatch = 32;

}  // namespace

struct EventConsumer::TurnSource {
  GSource source;
  EventConsumer* consumer;
};

EventConsumer::EventConsumer()
    : load_(bench::Load::fromEnvironment()),
      message_(load_.size),
      startSource_(g_unix_signal_add(SIGUSR1, onStart, this)) {}

EventConsumer::~EventConsumer() {
  if (startSource_ != 0) {
    g_source_remove(startSource_);
  }
  if (turns_ != nullptr) {
    g_source_destroy(turns_);
    g_source_unref(turns_);
  }
}

unsigned int EventConsumer::add(EventCallback callback, void* userData) {
  subscriptions_.emplace(++lastId_, Subscription{callback, userData});
  return lastId_;
}

gboolean EventConsumer::onStart(void* userData) {
  auto* self = static_cast<EventConsumer*>(userData);
  self->startSource_ = 0;
  if (self->subscriptions_.empty()) {
    g_printerr("source: started without a subscription\n");
    return G_SOURCE_REMOVE;
  }
  if (self->load_.rate > 0) {
    self->timer_ = std::make_unique<bench::RateTimer>(
        self->load_.rate, kPriority, [self](std::uint64_t due) { self->deliver(due); });
    return G_SOURCE_REMOVE;
  }
  static GSourceFuncs functions{prepare, check, dispatch, nullptr, nullptr, nullptr};
  self->turns_ = g_source_new(&functions, sizeof(TurnSource));
  reinterpret_cast<TurnSource*>(self->turns_)->consumer = self;
  g_source_set_priority(self->turns_, kPriority);
  g_source_attach(self->turns_, nullptr);
  return G_SOURCE_REMOVE;
}

bool EventConsumer::batchIsDue() const {
  if (events_ == load_.events) {
    return false;
  }
  // Whole batches: each turn of the loop costs something for every call in flight, so that one
  // event a turn would cost more than the event.
  const std::uint64_t unanswered = messages_ - std::min(messages_, answered_.load());
  return load_.window == 0 || unanswered + batch() <= std::max(load_.window, batch());
}

std::uint64_t EventConsumer::batch() const {
  const std::uint64_t left = (load_.events - events_) * subscriptions_.size();
  return std::min(std::max<std::uint64_t>(kBatch, subscriptions_.size()), left);
}

gboolean EventConsumer::prepare(GSource* source, int* timeout) {
  // Every answer makes the loop turn, and with it this test.
  *timeout = -1;
  return reinterpret_cast<TurnSource*>(source)->consumer->batchIsDue();
}

gboolean EventConsumer::check(GSource* source) {
  return reinterpret_cast<TurnSource*>(source)->consumer->batchIsDue();
}

gboolean EventConsumer::dispatch(GSource* source, GSourceFunc /*callback*/, void* /*userData*/) {
  auto* self = reinterpret_cast<TurnSource*>(source)->consumer;
  self->deliver(std::max<std::uint64_t>(self->batch() / self->subscriptions_.size(), 1));
  return self->events_ < self->load_.events;
}

void EventConsumer::deliver(std::uint64_t count) {
  for (; count > 0 && events_ < load_.events; --count) {
    message_.stamp(++events_, bench::now());
    for (const auto& [id, subscription] : subscriptions_) {
      ++messages_;
      subscription.callback(new Event{&message_}, subscription.userData);
    }
  }
}
