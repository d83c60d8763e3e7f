// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <event2.h>

#include <list>

#include "common/ptr.h"
#include "events/base_event_consumer_handler.h"
#include "input/input_handler.h"
#include "service/iws_service_dbus.h"
#include "sessions/session_data.h"

/// The service's one link to the platform's event system: applies configuration requests,
/// cancels subscriptions, and carries matching events to the streaming service.
class EventConsumerHandler : public BaseEventConsumerHandler {
 public:
  /// The open sessions. No lock: everything that touches it runs on the main thread.
  static SessionTable sessions;

  /// The streaming-service client is not owned and must outlive this object.
  explicit EventConsumerHandler(IWSServiceDBus* wsServiceDbus);
  /// Frees the consumer, and with it whatever is still subscribed.
  ~EventConsumerHandler() override;
  EventConsumerHandler(const EventConsumerHandler&) = delete;
  EventConsumerHandler& operator=(const EventConsumerHandler&) = delete;

  IWSServiceDBus* getWsServiceDbus() const { return wsServiceDbus_; }
  EventConsumer* getEventConsumer() const { return eventConsumer_; }

  /// Idle callback: applies the QueuedRequest that `data` points to, and deletes it.
  static gboolean wrapperHandleRequest(void* data);
  /// Idle callback: sends the QueuedEvent that `data` points to, and deletes it.
  static gboolean sendEventDataWrapper(void* data);

  /// Replaces the session's subscriptions. A request that cannot be parsed or whose filters
  /// cannot be used leaves the earlier ones; a refused subscription leaves none.
  void handleRequest(QueuedRequest* request) override;
  void unsubscribe(std::set<unsigned int>& subscriptionIds) override;
  void sendEventData(QueuedEvent* event) override;

 private:
  using ExpressionPtr = common::Ptr<SubscribeExpression, subscribe_expression_free>;
  using Expressions = std::list<ExpressionPtr>;

  static void eventCallback(Event* event, void* userData);

  bool buildExpressions(const QueuedRequest& request, const InputHandler::Filters& filters,
                        Expressions& expressions);
  bool subscribe(SessionTable::value_type& session, const Expressions& expressions);
  void sendError(const QueuedRequest& request, std::int32_t code, const char* message);

  EventConsumer* eventConsumer_ = nullptr;
  IWSServiceDBus* wsServiceDbus_;
};
