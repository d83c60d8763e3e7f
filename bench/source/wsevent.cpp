// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <wsevent.h>

// Every expression is accepted, and matches every event.
struct WseFilter {};
struct SubscribeExpression {};

WseFilter* wse_filter_new(void) {
  return new WseFilter;
}

void wse_filter_free(WseFilter* filter) {
  delete filter;
}

gboolean wse_filter_add_topic_expression(WseFilter* /*filter*/, const char* /*onvif_prefix*/,
                                         const char* /*vendor_prefix*/, const char* /*dialect*/,
                                         const char* /*expression*/) {
  return TRUE;
}

gboolean wse_filter_add_message_content(WseFilter* /*filter*/, const char* /*dialect*/,
                                        const char* /*expression*/) {
  return TRUE;
}

gboolean wse_filter_to_subscription(WseFilter* /*filter*/, SubscribeExpression** expression,
                                    GError** /*error*/) {
  *expression = new SubscribeExpression;
  return TRUE;
}

void subscribe_expression_free(SubscribeExpression* expression) {
  delete expression;
}
