/* SPDX-FileCopyrightText: 2026 the lumenfeed developers
 * SPDX-License-Identifier: MIT
 *
 * One event of one callback: it may keep it for longer than the consumer lives. */
#include "event.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

struct Event {
  char* topic;
  char* json;
};

Event* event_new(const char* topic, const char* json) {
  Event* event = g_new0(Event, 1);
  event->topic = g_strdup(topic);
  event->json = g_strdup(json);
  return event;
}

void event_free(Event* event) {
  g_free(event->topic);
  g_free(event->json);
  g_free(event);
}

gboolean event_is_internal(const Event* event) {
  static const char internal[] = "tnsovra:Internal";
  const size_t size = strlen(internal);
  return strncmp(event->topic, internal, size) == 0 &&
         (event->topic[size] == '\0' || event->topic[size] == '/');
}

char* event_get_json(const Event* event, GError** error) {
  /* Who publishes here is trusted to write JSON; a text that is none would have to fail, too. */
  if (!g_utf8_validate(event->topic, -1, NULL) || !g_utf8_validate(event->json, -1, NULL)) {
    g_set_error_literal(error, g_quark_from_static_string("example"), 3, "the event is not UTF-8");
    return NULL;
  }
  /* From malloc(), as the caller releases it with free(); g_strdup_printf() need not be. */
  static const char format[] = "{\"topic\":\"%s\",\"message\":%s}";
  const size_t size = strlen(format) + strlen(event->topic) + strlen(event->json);
  char* text = malloc(size);
  if (text != NULL) snprintf(text, size, format, event->topic, event->json);
  return text;
}
