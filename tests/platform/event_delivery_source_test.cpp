// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/host/event/delivery_source.h"
#include "platform/host/event/publication_reader.h"
#include "tests/platform/event_support.h"

namespace {

event::Arrival publicationOn(const std::string& topic) {
  event::PublicationReader reader("+");
  std::string error;
  return {event::Arrival::Kind::Publication, reader.read(topic.c_str(), "{}", false, error)};
}

class DeliverySource : public support::EventTest {
 protected:
  DeliverySource() {
    const SubscribeExpression expression{
        std::make_shared<const model::EventMatcher>(support::onTopic("Wanted"))};
    delivery_->subscribe(expression, onEvent, this);
  }
  ~DeliverySource() override { removeTimers(); }

  void removeTimers() {
    while (g_source_remove_by_user_data(this)) {
    }
  }
  void push(const std::string& topic, std::size_t count) {
    std::vector<event::Arrival> batch(count, publicationOn(topic));
    handOver_.push(batch);
  }
  /// Turns of the context that wait for nothing.
  static void turn(int turns) {
    for (; turns > 0; --turns) {
      g_main_context_iteration(nullptr, FALSE);
    }
  }

  const event::Configuration configuration_;
  const event::Timing timing_;
  event::HandOver handOver_{[this] { source_.wake(); }, [] {}};
  event::StateCheck check_{configuration_, timing_, [] {}};
  std::shared_ptr<event::Delivery> delivery_ = std::make_shared<event::Delivery>(handOver_, check_);
  event::DeliverySource source_{delivery_};
  int events_ = 0;

 private:
  /// Sets going what the service does: something to be done at once, and a call with a time-out.
  static void onEvent(Event* event, void* self) {
    event_free(event);
    ++static_cast<DeliverySource*>(self)->events_;
    constexpr guint kTimeOutSeconds = 3600;
    g_idle_add([](gpointer /*self*/) -> gboolean { return G_SOURCE_REMOVE; }, self);
    g_timeout_add_seconds(
        kTimeOutSeconds, [](gpointer /*self*/) -> gboolean { return G_SOURCE_REMOVE; }, self);
  }
};

TEST_F(DeliverySource, WhatNobodyWantsIsPassedOverWithoutARestThoughACallIsInFlight) {
  push("C/onvif-ej/Wanted", 1);
  push("C/onvif-ej/Other", 5000);
  push("C/onvif-ej/Wanted", 1);
  turn(100);
  EXPECT_EQ(events_, 2);
}

}  // namespace
