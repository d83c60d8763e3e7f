// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <event2.h>
#include <gio/gio.h>

#include <exception>
#include <string>

#include "common/log_level.h"
#include "platform/host/event/configuration.h"
#include "platform/host/event/event_consumer.h"
#include "platform/host/model/subscribe_expression.h"

EventConsumer* event_consumer_new(const char* name) {
  const char* const who = name != nullptr ? name : "consumer";
  std::string error;
  try {
    event::Configuration configuration;
    if (configuration.load(error)) {
      return new EventConsumer(configuration);
    }
  } catch (const std::exception& exception) {
    error = exception.what();
  }
  // A C function has no exceptions, and none may fail here: the consumer refuses subscriptions.
  g_log(G_LOG_DOMAIN, common::errorLevel(), "%s: no events, because %s", who, error.c_str());
  return new EventConsumer();
}

void event_consumer_free(EventConsumer* consumer) {
  delete consumer;
}

unsigned int event_consumer_subscribe(EventConsumer* consumer,
                                      const SubscribeExpression* expression, EventCallback callback,
                                      void* user_data) {
  if (consumer == nullptr || expression == nullptr || callback == nullptr) {
    return 0;
  }
  return consumer->subscribe(*expression, callback, user_data);
}

gboolean event_consumer_unsubscribe(EventConsumer* consumer, unsigned int id, GError** error) {
  if (consumer != nullptr && consumer->unsubscribe(id)) {
    return TRUE;
  }
  g_set_error(error, G_IO_ERROR, G_IO_ERROR_NOT_FOUND, "There is no subscription %u", id);
  return FALSE;
}

void subscribe_expression_free(SubscribeExpression* expression) {
  delete expression;
}
