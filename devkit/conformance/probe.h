// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <event2.h>
#include <wsevent.h>

#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "common/ptr.h"

using FilterPtr = common::Ptr<WseFilter, wse_filter_free>;
using ExpressionPtr = common::Ptr<SubscribeExpression, subscribe_expression_free>;
using ConsumerPtr = common::Ptr<EventConsumer, event_consumer_free>;
using EventPtr = common::Ptr<Event, event_free>;

constexpr const char* kConcreteSet = "http://www.onvif.org/ver10/tev/topicExpression/ConcreteSet";
constexpr const char* kItemFilter =
    "http://www.onvif.org/ver10/tev/messageContentFilter/ItemFilter";

/// A subscription that keeps what it was handed, and sees what there is to see about each call.
class Probe {
 public:
  /// Subscribes at once; id() is 0 if that was refused.
  Probe(EventConsumer* consumer, const SubscribeExpression* expression);
  ~Probe();
  Probe(const Probe&) = delete;
  Probe& operator=(const Probe&) = delete;

  unsigned id() const { return id_; }
  /// Ends the subscription from within its next callback.
  void unsubscribeInCallback() { unsubscribeInCallback_ = true; }
  /// Ends it now; false if the library says that it is not there.
  bool unsubscribe();
  /// The consumer is gone, and with it the subscription.
  void abandon() { id_ = 0; }

  /// The event's texts so far, in the order of delivery.
  const std::vector<std::string>& texts() const { return texts_; }
  /// How many events were handed over so far.
  std::size_t count() const { return events_.size(); }
  std::vector<EventPtr>& events() { return events_; }

  bool calledWhileSubscribing = false;
  bool calledOnOtherThread = false;
  bool calledAboveIdlePriority = false;

 private:
  static void onEvent(Event* event, void* userData);
  void take(Event* event);

  EventConsumer* consumer_;
  unsigned id_ = 0;
  bool subscribing_ = true;
  bool unsubscribeInCallback_ = false;
  std::thread::id thread_ = std::this_thread::get_id();
  std::vector<EventPtr> events_;
  std::vector<std::string> texts_;
};

/// An expression for a topic; null with a message in `error` if the library refuses it.
ExpressionPtr topicExpression(const std::string& topic, common::GErrorPtr& error);
/// Turns the context until the condition holds; false if it does not by the deadline.
bool turnUntil(unsigned seconds, const std::function<bool()>& condition);
/// Turns the context as long as something is ready.
void turnWhileReady();
