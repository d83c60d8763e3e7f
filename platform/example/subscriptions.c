/* SPDX-FileCopyrightText: 2026 the lumenfeed developers
 * SPDX-License-Identifier: MIT
 */
#include "subscriptions.h"

#include <string.h>

#include "event.h"
#include "expression.h"

struct Subscriptions {
  GHashTable* by_id;
  unsigned int last_id; /* ids are not used again */
};

typedef struct {
  SubscribeExpression expression; /* of its own: the caller's may go */
  EventCallback callback;
  void* user_data;
} Subscription;

static void subscription_free(gpointer data) {
  Subscription* subscription = data;
  g_strfreev(subscription->expression.topics);
  g_strfreev(subscription->expression.items);
  g_free(subscription);
}

void subscribe_expression_free(SubscribeExpression* expression) {
  g_strfreev(expression->topics);
  g_strfreev(expression->items);
  g_free(expression);
}

Subscriptions* subscriptions_new(void) {
  Subscriptions* subscriptions = g_new0(Subscriptions, 1);
  subscriptions->by_id = g_hash_table_new_full(NULL, NULL, NULL, subscription_free);
  return subscriptions;
}

void subscriptions_free(Subscriptions* subscriptions) {
  g_hash_table_unref(subscriptions->by_id);
  g_free(subscriptions);
}

unsigned int subscriptions_add(Subscriptions* subscriptions, const SubscribeExpression* expression,
                               EventCallback callback, void* user_data) {
  if (subscriptions->last_id == G_MAXUINT) return 0;
  Subscription* subscription = g_new0(Subscription, 1);
  subscription->expression.topics = g_strdupv(expression->topics);
  subscription->expression.items = g_strdupv(expression->items);
  subscription->callback = callback;
  subscription->user_data = user_data;
  subscriptions->last_id++;
  g_hash_table_insert(subscriptions->by_id, GUINT_TO_POINTER(subscriptions->last_id), subscription);
  return subscriptions->last_id;
}

gboolean subscriptions_remove(Subscriptions* subscriptions, unsigned int id) {
  return g_hash_table_remove(subscriptions->by_id, GUINT_TO_POINTER(id));
}

static gboolean topic_matches(const char* wanted, const char* topic) {
  if (!g_str_has_suffix(wanted, "//.")) return strcmp(wanted, topic) == 0;
  const size_t size = strlen(wanted) - strlen("//.");
  return strncmp(wanted, topic, size) == 0 && (topic[size] == '\0' || topic[size] == '/');
}

static gboolean matches(const SubscribeExpression* expression, const char* topic,
                        const char* json) {
  gboolean named = *expression->topics == NULL;
  for (char** wanted = expression->topics; *wanted != NULL; wanted++)
    named = named || topic_matches(*wanted, topic);
  for (char** item = expression->items; *item != NULL; item++)
    named = named && strstr(json, *item) != NULL;
  return named;
}

void subscriptions_deliver(Subscriptions* subscriptions, const char* line) {
  char** parts = g_strsplit(line, " ", 2);
  if (g_strv_length(parts) == 2) {
    unsigned int count = 0;
    gpointer* ids = g_hash_table_get_keys_as_array(subscriptions->by_id, &count);
    for (unsigned int i = 0; i < count; i++) {
      /* Looked up for each call: a callback may have ended any of them, its own too. */
      const Subscription* subscription = g_hash_table_lookup(subscriptions->by_id, ids[i]);
      if (subscription != NULL && matches(&subscription->expression, parts[0], parts[1]))
        subscription->callback(event_new(parts[0], parts[1]), subscription->user_data);
    }
    g_free(ids);
  }
  g_strfreev(parts);
}
