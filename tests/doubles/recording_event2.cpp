// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <event2.h>

#include <cstring>
#include <memory>

#include "tests/doubles/recording_platform.h"

using doubles::EventText;
using doubles::Failure;
using doubles::RecordingPlatform;

struct EventConsumer {
  std::string name;
};

struct Event {
  EventText text;
};

namespace {

RecordingPlatform& platform() {
  return RecordingPlatform::instance();
}

}  // namespace

bool RecordingPlatform::deliver(unsigned id, const EventText& event) {
  const auto all = subscriptions();
  const auto subscription = all.find(id);
  if (subscription == all.end()) {
    return false;
  }
  auto owned = std::make_unique<Event>(Event{event});
  add("event", owned.get());
  // The callback owns it from here on.
  subscription->second.callback(owned.release(), subscription->second.userData);
  return true;
}

EventConsumer* event_consumer_new(const char* name) {
  Failure failure;
  if (platform().failureDue("event_consumer_new", {name}, failure)) {
    platform().record({"event_consumer_new", {name}, "null"});
    return nullptr;
  }
  auto consumer = std::make_unique<EventConsumer>(EventConsumer{name});
  platform().record({"event_consumer_new", {name}, platform().add("consumer", consumer.get())});
  return consumer.release();
}

void event_consumer_free(EventConsumer* consumer) {
  platform().record({"event_consumer_free", {platform().name(consumer)}, ""});
  platform().dropSubscriptionsOf(consumer);
  platform().remove(consumer);
  delete consumer;
}

unsigned int event_consumer_subscribe(EventConsumer* consumer,
                                      const SubscribeExpression* expression, EventCallback callback,
                                      void* user_data) {
  const std::vector<std::string> arguments{platform().name(consumer), platform().name(expression)};
  Failure failure;
  unsigned id = 0;
  if (!platform().failureDue("event_consumer_subscribe", arguments, failure)) {
    id = platform().subscribe({consumer, callback, user_data, arguments[1]});
  }
  platform().record({"event_consumer_subscribe", arguments, std::to_string(id)});
  return id;
}

gboolean event_consumer_unsubscribe(EventConsumer* consumer, unsigned int id, GError** error) {
  const std::vector<std::string> arguments{platform().name(consumer), std::to_string(id),
                                           error == nullptr ? "null" : "error"};
  Failure failure;
  const bool done = !platform().failureDue("event_consumer_unsubscribe", arguments, failure) &&
                    platform().unsubscribe(id);
  platform().record({"event_consumer_unsubscribe", arguments, done ? "TRUE" : "FALSE"});
  if (!done) {
    doubles::storeError(failure, error);
  }
  return done ? TRUE : FALSE;
}

gboolean event_is_internal(const Event* event) {
  const bool internal = event->text.internal;
  platform().record({"event_is_internal", {platform().name(event)}, internal ? "TRUE" : "FALSE"});
  return internal ? TRUE : FALSE;
}

char* event_get_json(const Event* event, GError** error) {
  const std::vector<std::string> arguments{platform().name(event),
                                           error == nullptr ? "null" : "error"};
  Failure failure;
  if (platform().failureDue("event_get_json", arguments, failure) || event->text.unreadable) {
    platform().record({"event_get_json", arguments, "null"});
    doubles::storeError(failure, error);
    return nullptr;
  }
  platform().record({"event_get_json", arguments, event->text.json});
  char* const json = strdup(event->text.json.c_str());
  platform().jsonTextMade(json);
  return json;
}

void event_free(Event* event) {
  platform().record({"event_free", {platform().name(event)}, ""});
  platform().remove(event);
  delete event;
}
