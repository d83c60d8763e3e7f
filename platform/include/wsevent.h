/* SPDX-FileCopyrightText: 2026 the lumenfeed developers
 * SPDX-License-Identifier: MIT
 *
 * wsevent.h: the contract of the platform's event filter library, libwsevent.so.1.
 *
 * Who implements it: the maker of the device. platform/host/ holds an implementation for an
 * ordinary Linux machine, tests/doubles/ one for tests.
 *
 * Who calls it: the service, from its main thread only, for each filter that a client
 * configures: new, at most one topic expression, at most one message content expression,
 * conversion, free.
 *
 * The service does not look at the results of the two add calls. An expression that cannot be
 * used must therefore make the conversion fail, whatever its add call returned: nothing of a
 * filter is ever ignored.
 */
#ifndef WSEVENT_H
#define WSEVENT_H

#include <glib.h>

#include "event2.h"

#ifdef __cplusplus
extern "C" {
#endif

/** WseFilter: an event filter being put together. Opaque. */
typedef struct WseFilter WseFilter;

/**
 * wse_filter_new:
 *
 * Returns: a new filter with nothing added, released with wse_filter_free(). If this returns
 * NULL, every other call here must accept NULL, and the conversion must fail with an error.
 */
WseFilter *wse_filter_new(void);

/**
 * wse_filter_free:
 * @filter: the filter; expressions made from it stay valid
 */
void wse_filter_free(WseFilter *filter);

/**
 * wse_filter_add_topic_expression:
 * @filter: the filter
 * @onvif_prefix: the prefix that stands for the ONVIF topic namespace in @expression
 *   (the service passes "tns1")
 * @vendor_prefix: the prefix that stands for the device maker's topic namespace
 *   (the service passes "tnsovra")
 * @dialect: the dialect's URI; the service passes that of the ConcreteSet dialect,
 *   http://www.onvif.org/ver10/tev/topicExpression/ConcreteSet
 * @expression: the expression, as the client wrote it
 *
 * Adds an alternative: an event must match one of the topic expressions that were added. All
 * texts are copied, and none is NULL.
 *
 * Returns: TRUE if the expression can be used.
 */
gboolean wse_filter_add_topic_expression(WseFilter *filter, const char *onvif_prefix,
                                         const char *vendor_prefix, const char *dialect,
                                         const char *expression);

/**
 * wse_filter_add_message_content:
 * @filter: the filter
 * @dialect: the dialect's URI; the service passes that of the ItemFilter dialect,
 *   http://www.onvif.org/ver10/tev/messageContentFilter/ItemFilter
 * @expression: the expression, as the client wrote it
 *
 * Adds a condition: an event must match every message content expression that was added. All
 * texts are copied, and none is NULL.
 *
 * Returns: TRUE if the expression can be used.
 */
gboolean wse_filter_add_message_content(WseFilter *filter, const char *dialect, const char *expression);

/**
 * wse_filter_to_subscription:
 * @filter: the filter; unchanged
 * @expression: (out): the expression, owned by the caller, released with
 *   subscribe_expression_free(); it outlives the filter
 * @error: where to store what went wrong
 *
 * A filter to which nothing was added matches every event.
 *
 * Returns: TRUE with @expression set; or FALSE with @error set to a message that says what is
 * wrong with the first unusable expression that was added, and @expression left alone.
 */
gboolean wse_filter_to_subscription(WseFilter *filter, SubscribeExpression **expression, GError **error);

#ifdef __cplusplus
}
#endif

#endif /* WSEVENT_H */
