// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <event2.h>

#include <memory>
#include <string>

#include "platform/host/event/broker_connection.h"
#include "platform/host/event/configuration.h"
#include "platform/host/event/delivery.h"
#include "platform/host/event/delivery_source.h"
#include "platform/host/event/timing.h"

/// The opaque type of event2.h: one connection to the broker and its subscriptions.
struct EventConsumer {
 public:
  /// Refuses all subscriptions; for when there is no usable configuration.
  EventConsumer() = default;
  explicit EventConsumer(const event::Configuration& configuration,
                         const event::Timing& timing = event::Timing());
  ~EventConsumer();
  EventConsumer(const EventConsumer&) = delete;
  EventConsumer& operator=(const EventConsumer&) = delete;

  /// 0 if it cannot be made.
  unsigned int subscribe(const SubscribeExpression& expression, EventCallback callback,
                         void* userData);
  bool unsubscribe(unsigned int id);

 private:
  std::unique_ptr<event::BrokerConnection> connection_;
  std::shared_ptr<event::Delivery> delivery_;
  std::unique_ptr<event::DeliverySource> source_;
};
