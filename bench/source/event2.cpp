// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <event2.h>

#include <cstdlib>
#include <cstring>

#include "bench/source/event_source.h"

EventConsumer* event_consumer_new(const char* /*name*/) {
  return new EventConsumer;
}

void event_consumer_free(EventConsumer* consumer) {
  delete consumer;
}

unsigned int event_consumer_subscribe(EventConsumer* consumer,
                                      const SubscribeExpression* /*expression*/,
                                      EventCallback callback, void* user_data) {
  return consumer->add(callback, user_data);
}

gboolean event_consumer_unsubscribe(EventConsumer* consumer, unsigned int id, GError** error) {
  if (consumer->remove(id)) {
    return TRUE;
  }
  g_set_error(error, g_quark_from_static_string("bench"), 0, "no subscription %u", id);
  return FALSE;
}

gboolean event_is_internal(const Event* /*event*/) {
  return FALSE;
}

char* event_get_json(const Event* event, GError** /*error*/) {
  const std::string_view text = event->message->event();
  auto* json = static_cast<char*>(std::malloc(text.size() + 1));
  std::memcpy(json, text.data(), text.size());
  json[text.size()] = '\0';
  return json;
}

void event_free(Event* event) {
  delete event;
}
