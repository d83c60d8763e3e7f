/* SPDX-FileCopyrightText: 2026 the lumenfeed developers
 * SPDX-License-Identifier: MIT
 *
 * The subscriptions of a consumer. Used in its main context only, so without a lock. */
#ifndef EXAMPLE_SUBSCRIPTIONS_H
#define EXAMPLE_SUBSCRIPTIONS_H

#include <event2.h>

typedef struct Subscriptions Subscriptions;

Subscriptions* subscriptions_new(void);
void subscriptions_free(Subscriptions* subscriptions);
unsigned int subscriptions_add(Subscriptions* subscriptions, const SubscribeExpression* expression,
                               EventCallback callback, void* user_data);
gboolean subscriptions_remove(Subscriptions* subscriptions, unsigned int id);
/* Hands an event, "TOPIC JSON", to whom it matches. */
void subscriptions_deliver(Subscriptions* subscriptions, const char* line);

#endif
