// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "events/event_consumer_handler.h"

#include <memory>
#include <string>
#include <utility>

#include "common/api.h"
#include "common/log_level.h"
#include "events/event_filter.h"
#include "events/filter_exception.h"
#include "events/queued_event.h"
#include "input/json_exception.h"
#include "sessions/queued_request.h"

SessionTable EventConsumerHandler::sessions;

EventConsumerHandler::EventConsumerHandler(IWSServiceDBus* wsServiceDbus)
    : eventConsumer_(event_consumer_new("Event-Consumer-Handler")), wsServiceDbus_(wsServiceDbus) {}

EventConsumerHandler::~EventConsumerHandler() {
  event_consumer_free(eventConsumer_);
}

gboolean EventConsumerHandler::wrapperHandleRequest(void* data) {
  const std::unique_ptr<QueuedRequest> request(static_cast<QueuedRequest*>(data));
  if (request != nullptr && request->handler != nullptr) {
    request->handler->handleRequest(request.get());
  }
  return G_SOURCE_REMOVE;
}

gboolean EventConsumerHandler::sendEventDataWrapper(void* data) {
  const std::unique_ptr<QueuedEvent> event(static_cast<QueuedEvent*>(data));
  if (event != nullptr && event->handler != nullptr) {
    event->handler->sendEventData(event.get());
  }
  return G_SOURCE_REMOVE;
}

void EventConsumerHandler::handleRequest(QueuedRequest* request) {
  const auto session = sessions.find(request->sessionId);
  if (session == sessions.end()) {
    return;
  }
  InputHandler::Filters filters;
  try {
    InputHandler::parsePayload(request->paramsPayload.c_str(), filters);
  } catch (const JsonException& exception) {
    constexpr const char* kMessage = "Could not parse the params payload";
    g_log(nullptr, G_LOG_LEVEL_INFO, "%s%s: %s", common::kLogPrefix, kMessage, exception.what());
    sendError(*request, api::kBadPayload, kMessage);
    return;
  }
  Expressions expressions;
  if (!buildExpressions(*request, filters, expressions)) {
    return;
  }
  std::set<unsigned int>& subscriptionIds = session->second.subscriptionIds;
  if (!subscriptionIds.empty()) {
    unsubscribe(subscriptionIds);
    subscriptionIds.clear();
  }
  if (!subscribe(*session, expressions)) {
    g_log(nullptr, common::errorLevel(), "%sSubscription failed", common::kLogPrefix);
    sendError(*request, api::kInternalError, "Internal error");
    expressions.clear();
    // Half a configuration would be worse than none.
    unsubscribe(subscriptionIds);
    subscriptionIds.clear();
    return;
  }
  wsServiceDbus_->sendResponse(request->sessionId.c_str(), api::kVersion,
                               request->requestId.c_str(), api::kSourceId, api::kConfigure, "{}");
}

/// Stops at the first filter that cannot be used, and answers; the caller then has nothing to do.
bool EventConsumerHandler::buildExpressions(const QueuedRequest& request,
                                            const InputHandler::Filters& filters,
                                            Expressions& expressions) {
  for (const auto& [topicFilter, contentFilter] : filters) {
    EventFilter filter;
    filter.setTopicFilter(topicFilter.c_str());
    filter.setContentFilter(contentFilter.c_str());
    try {
      SubscribeExpression* expression = nullptr;
      filter.createSubscribeExpression(&expression);
      expressions.push_back(ExpressionPtr(expression));
    } catch (const FilterException&) {
      sendError(request, api::kBadPayload, "Could not use supplied event filter");
      expressions.clear();
      return false;
    }
  }
  return true;
}

/// Stops at the first subscription that is refused; those made before it are in the session's set.
bool EventConsumerHandler::subscribe(SessionTable::value_type& session,
                                     const Expressions& expressions) {
  // The key inside the table entry: it stays where it is until the entry is erased. The event
  // system takes the user data as mutable; eventCallback only reads it.
  void* const userData = const_cast<std::string*>(&session.first);
  for (const ExpressionPtr& expression : expressions) {
    const unsigned int id =
        event_consumer_subscribe(eventConsumer_, expression.get(), eventCallback, userData);
    if (id == 0) {
      return false;
    }
    session.second.subscriptionIds.insert(id);
  }
  return true;
}

void EventConsumerHandler::sendError(const QueuedRequest& request, std::int32_t code,
                                     const char* message) {
  wsServiceDbus_->sendErrorResponse(request.sessionId.c_str(), api::kVersion,
                                    request.requestId.c_str(), api::kSourceId, api::kConfigure,
                                    code, message);
}

void EventConsumerHandler::unsubscribe(std::set<unsigned int>& subscriptionIds) {
  for (const unsigned int id : subscriptionIds) {
    if (!event_consumer_unsubscribe(eventConsumer_, id, nullptr)) {
      g_log(nullptr, common::errorLevel(), "%sFailed to unsubscribe to subscription id: %u",
            common::kLogPrefix, id);
    }
  }
}

void EventConsumerHandler::eventCallback(Event* event, void* userData) {
  const common::Ptr<Event, event_free> owned(event);
  if (event_is_internal(event)) {
    return;
  }
  const auto& sessionId = *static_cast<const std::string*>(userData);
  const auto session = sessions.find(sessionId);
  if (session == sessions.end()) {
    return;
  }
  common::MallocCharPtr json(event_get_json(event, nullptr));
  if (json == nullptr) {
    g_log(nullptr, common::errorLevel(), "%sCould not read an event for session %s",
          common::kLogPrefix, sessionId.c_str());
    return;
  }
  auto record = std::make_unique<QueuedEvent>(
      QueuedEvent{session->second.consumerHandler, sessionId, std::move(json)});
  g_idle_add(sendEventDataWrapper, record.release());
}

void EventConsumerHandler::sendEventData(QueuedEvent* event) {
  if (sessions.count(event->sessionId) == 0) {
    return;
  }
  const std::string payload = std::string(R"({"notification":)") + event->eventJson.get() + "}";
  wsServiceDbus_->sendStreamData(event->sessionId.c_str(), api::kVersion, api::kSourceId,
                                 api::kNotify, payload.c_str());
}
