/* SPDX-FileCopyrightText: 2026 the lumenfeed developers
 * SPDX-License-Identifier: MIT
 *
 * Filters of the example: topics with what is below them, alternatives, and conditions on one item.
 * All else of the grammars is refused, nothing ignored. */
#include <string.h>
#include <wsevent.h>

#include "expression.h"

#define TOPIC_DIALECT "http://www.onvif.org/ver10/tev/topicExpression/ConcreteSet"
#define CONTENT_DIALECT "http://www.onvif.org/ver10/tev/messageContentFilter/ItemFilter"
#define NAME "[A-Za-z_][A-Za-z0-9_.-]*"
#define CONDITION \
  "^boolean\\(//tt:SimpleItem\\[@Name=\"([^\"\\\\]*)\" and @Value=\"([^\"\\\\]*)\"\\]\\)$"

struct WseFilter {
  GPtrArray* topics;
  GPtrArray* items;
  GError* fault; /* the first one: the conversion tells it */
};

WseFilter* wse_filter_new(void) {
  WseFilter* filter = g_new0(WseFilter, 1);
  filter->topics = g_ptr_array_new_with_free_func(g_free);
  filter->items = g_ptr_array_new_with_free_func(g_free);
  return filter;
}

void wse_filter_free(WseFilter* filter) {
  g_ptr_array_unref(filter->topics);
  g_ptr_array_unref(filter->items);
  g_clear_error(&filter->fault);
  g_free(filter);
}

static gboolean refuse(WseFilter* filter, const char* what, const char* text) {
  if (filter->fault == NULL)
    g_set_error(&filter->fault, g_quark_from_static_string("example"), 1, "%s: \"%s\"", what, text);
  return FALSE;
}

gboolean wse_filter_add_topic_expression(WseFilter* filter, const char* onvif_prefix,
                                         const char* vendor_prefix, const char* dialect,
                                         const char* expression) {
  if (strcmp(dialect, TOPIC_DIALECT) != 0) return refuse(filter, "unknown topic dialect", dialect);
  char* pattern =
      g_strdup_printf("^(%s|%s):" NAME "(/" NAME ")*(//\\.)?$", onvif_prefix, vendor_prefix);
  char** topics = g_strsplit(expression, "|", -1);
  gboolean usable = topics[0] != NULL;
  for (char** topic = topics; *topic != NULL; topic++) {
    usable = usable && g_regex_match_simple(pattern, *topic, G_REGEX_DOLLAR_ENDONLY, 0);
    g_ptr_array_add(filter->topics, g_strdup(*topic));
  }
  g_strfreev(topics);
  g_free(pattern);
  return usable || refuse(filter, "not understood as topics", expression);
}

gboolean wse_filter_add_message_content(WseFilter* filter, const char* dialect,
                                        const char* expression) {
  if (strcmp(dialect, CONTENT_DIALECT) != 0)
    return refuse(filter, "unknown content dialect", dialect);
  /* The empty text before the match, the two groups, the empty text behind it. */
  char** parts = g_regex_split_simple(CONDITION, expression, G_REGEX_DOLLAR_ENDONLY, 0);
  const gboolean usable = g_strv_length(parts) == 4;
  if (usable) g_ptr_array_add(filter->items, g_strdup_printf("\"%s\":\"%s\"", parts[1], parts[2]));
  g_strfreev(parts);
  return usable || refuse(filter, "not understood as a condition on one item", expression);
}

static char** copy(const GPtrArray* texts) {
  char** list = g_new0(char*, texts->len + 1);
  for (guint i = 0; i < texts->len; i++) list[i] = g_strdup(texts->pdata[i]);
  return list;
}

gboolean wse_filter_to_subscription(WseFilter* filter, SubscribeExpression** expression,
                                    GError** error) {
  if (filter->fault != NULL) {
    g_propagate_error(error, g_error_copy(filter->fault));
    return FALSE;
  }
  *expression = g_new0(SubscribeExpression, 1);
  (*expression)->topics = copy(filter->topics);
  (*expression)->items = copy(filter->items);
  return TRUE;
}
