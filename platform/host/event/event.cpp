// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/event/event.h"

#include <gio/gio.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace {

std::string_view propertyMember(event::Operation operation) {
  switch (operation) {
    case event::Operation::Initialized:
      return R"(,"property":"Initialized")";
    case event::Operation::Changed:
      return R"(,"property":"Changed")";
    case event::Operation::Deleted:
      return R"(,"property":"Deleted")";
    case event::Operation::None:
      break;
  }
  return "";
}

}  // namespace

Event::Event(event::PublicationPtr what, event::Operation how)
    : publication(std::move(what)), operation(how) {}

Event* Event::ref() {
  references.fetch_add(1, std::memory_order_relaxed);
  return this;
}

void Event::unref() {
  if (references.fetch_sub(1, std::memory_order_acq_rel) == 1) {
    delete this;
  }
}

gboolean event_is_internal(const Event* event) {
  return event->publication->source->internal ? TRUE : FALSE;
}

char* event_get_json(const Event* event, GError** error) {
  // Put together for every caller: copying a text that was kept would cost the same, and memory.
  const std::string_view parts[] = {event->publication->source->jsonHead,
                                    propertyMember(event->operation), R"(,"message":)",
                                    event->publication->message->payload(), "}"};
  std::size_t length = 1;
  for (const std::string_view part : parts) {
    length += part.size();
  }
  auto* const json = static_cast<char*>(std::malloc(length));
  if (json == nullptr) {
    g_set_error_literal(error, G_IO_ERROR, G_IO_ERROR_NO_SPACE, "No memory for the event's text");
    return nullptr;
  }
  char* end = json;
  for (const std::string_view part : parts) {
    end = std::copy(part.begin(), part.end(), end);
  }
  *end = '\0';
  return json;
}

void event_free(Event* event) {
  if (event != nullptr) {
    event->unref();
  }
}
