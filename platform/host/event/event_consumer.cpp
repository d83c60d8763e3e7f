// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/event/event_consumer.h"

EventConsumer::EventConsumer(const event::Configuration& configuration, const event::Timing& timing)
    : connection_(std::make_unique<event::BrokerConnection>(configuration, timing)),
      delivery_(
          std::make_shared<event::Delivery>(connection_->handOver(), connection_->stateCheck())),
      source_(std::make_unique<event::DeliverySource>(delivery_)) {
  connection_->start([source = source_.get()] { source->wake(); });
}

EventConsumer::~EventConsumer() {
  if (delivery_ != nullptr) {
    delivery_->close();
  }
  // Its thread wakes the source.
  connection_.reset();
}

unsigned int EventConsumer::subscribe(const SubscribeExpression& expression, EventCallback callback,
                                      void* userData) {
  if (delivery_ == nullptr) {
    return 0;
  }
  const unsigned int id = delivery_->subscribe(expression, callback, userData);
  source_->wake();
  return id;
}

bool EventConsumer::unsubscribe(unsigned int id) {
  return delivery_ != nullptr && delivery_->unsubscribe(id);
}
