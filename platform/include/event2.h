/* SPDX-FileCopyrightText: 2026 the lumenfeed developers
 * SPDX-License-Identifier: MIT
 *
 * event2.h: the contract of the platform's event system client, libevent2.so.1.
 *
 * Who implements it: the maker of the device. platform/host/ holds an implementation for an
 * ordinary Linux machine, tests/doubles/ one for tests. (An unrelated public library has a
 * similar name; it has nothing to do with this one.)
 *
 * Who calls it: the service, from its main thread only. It creates one consumer for its whole
 * run, subscribes once per filter and session (32 sessions at most, any number of filters a
 * session), and sends every event that it is handed to the streaming service.
 *
 * Thread. An event callback runs in the main context that was the thread default when
 * event_consumer_new() was called (g_main_context_ref_thread_default()). The service has no
 * locks and relies on this: the callback reads the session table that the main thread writes.
 * An event system that delivers on a thread of its own hands the event to that context first.
 *
 * Order. One subscription sees events in the order in which they reached the event system.
 *
 * Pace. Deliver at G_PRIORITY_DEFAULT_IDLE or lower, and hand over a bounded number of events
 * a turn of the main loop. The service turns every delivered event into a queued record at
 * G_PRIORITY_DEFAULT_IDLE, and every record into an asynchronous D-Bus call at once, without a
 * limit of its own: the event system is the only place where a flood can be held back. What an
 * unpaced flood costs, measured on GLib 2.74 and dbus-daemon 1.14:
 *
 *   - each call in flight is a timer in the main context, and a turn of the loop takes about
 *     20 ns for each of them: 0.4 us with none, 22 us with 1,000, 4 ms with 100,000. A backlog
 *     that becomes calls all at once costs ten times the CPU of a paced one, and can run into
 *     call time-outs although the other side answers promptly;
 *   - each call in flight costs some 4 KB while the streaming service is stopped;
 *   - a system bus refuses a connection's 129th call in flight unless it is configured
 *     otherwise (max_replies_per_connection, raised by the bus configuration that comes with
 *     the service): a refused call is an event that its client never sees.
 *
 * So: deliver in small batches, let everything else that is ready run first (replies,
 * requests, records already queued), and space the batches.
 */
#ifndef EVENT2_H
#define EVENT2_H

#include <glib.h>

#ifdef __cplusplus
extern "C" {
#endif

/** EventConsumer: a connection to the event system. Opaque. */
typedef struct EventConsumer EventConsumer;

/** Event: one delivered event. Opaque; owned by the callback that receives it. */
typedef struct Event Event;

/**
 * SubscribeExpression: what a subscription matches. Opaque; made by
 * wse_filter_to_subscription() (wsevent.h), released with subscribe_expression_free().
 */
typedef struct SubscribeExpression SubscribeExpression;

/**
 * EventCallback:
 * @event: the event; the callback owns it and releases it with event_free()
 * @user_data: what was given to event_consumer_subscribe()
 *
 * Called once for each event that matches the subscription's expression. An event that matches
 * several subscriptions is delivered to each of them, each time as an Event of its own or with
 * a count of its own: every event_free() releases only what its callback was given.
 *
 * The callback may subscribe, unsubscribe (its own subscription too) and free other events.
 */
typedef void (*EventCallback)(Event *event, void *user_data);

/**
 * event_consumer_new:
 * @name: a name for diagnostics, copied
 *
 * Returns: a new consumer, released with event_consumer_free(). Never blocks on the event
 * system and does not fail because it is away: subscriptions wait for it. May return NULL only
 * if every other call here accepts NULL as a consumer that refuses subscriptions.
 */
EventConsumer *event_consumer_new(const char *name);

/**
 * event_consumer_free:
 * @consumer: the consumer, gone when this returns
 *
 * Ends all its subscriptions, releases everything it holds, and does not hang, whatever state
 * the event system is in. Once it has returned nothing is called any more, whatever was on its
 * way. Events that callbacks still own stay valid until they are freed.
 */
void event_consumer_free(EventConsumer *consumer);

/**
 * event_consumer_subscribe:
 * @consumer: the consumer
 * @expression: what to match; stays the caller's, who may free it as soon as this returns
 * @callback: called for each matching event, never from within this call
 * @user_data: passed to @callback, not owned; must stay valid until the subscription has ended
 *
 * Returns: the subscription's id, above 0 and never used again in this run of the process, or
 * 0 if the subscription could not be made. On 0, nothing will be called and @user_data is not
 * kept.
 */
unsigned int event_consumer_subscribe(EventConsumer *consumer, const SubscribeExpression *expression,
                                      EventCallback callback, void *user_data);

/**
 * event_consumer_unsubscribe:
 * @consumer: the consumer
 * @id: a subscription's id
 * @error: (nullable): where to store what went wrong; may be NULL
 *
 * Ends a subscription. Once it has returned, its callback is not called again, whatever is
 * still on its way: the user data may be freed at once.
 *
 * Returns: TRUE if the subscription was there and has ended; FALSE with @error set if there is
 * no subscription with this id, or if the event system refuses.
 */
gboolean event_consumer_unsubscribe(EventConsumer *consumer, unsigned int id, GError **error);

/**
 * event_is_internal:
 * @event: an event
 *
 * Returns: TRUE if the event is meant for the device's own programs only. The service never
 * passes such an event on.
 */
gboolean event_is_internal(const Event *event);

/**
 * event_get_json:
 * @event: an event
 * @error: (nullable): where to store what went wrong; may be NULL
 *
 * Returns: the event as one JSON value: valid UTF-8, NUL-terminated, released with free() of
 * the C library; clients see it byte for byte. NULL with @error set on failure.
 */
char *event_get_json(const Event *event, GError **error);

/**
 * event_free:
 * @event: an event that was given to a callback
 */
void event_free(Event *event);

/**
 * subscribe_expression_free:
 * @expression: an expression; subscriptions made with it keep what they need of it
 */
void subscribe_expression_free(SubscribeExpression *expression);

#ifdef __cplusplus
}
#endif

#endif /* EVENT2_H */
