/* SPDX-FileCopyrightText: 2026 the lumenfeed developers
 * SPDX-License-Identifier: MIT
 *
 * An event system of the example's: whoever writes a line "TOPIC JSON" into the FIFO that
 * $EXAMPLE_EVENTS names publishes an event. A thread reads it, as most event systems have one. */
#include <event2.h>
#include <fcntl.h>
#include <glib-unix.h>
#include <poll.h>
#include <string.h>
#include <unistd.h>

#include "expression.h"
#include "subscriptions.h"

#define MAX_WAITING 1000 /* then the thread waits, and so does who writes */
#define MAX_A_TURN 16

struct EventConsumer {
  GMainContext* context;
  GSource* source; /* ready while something waits */
  Subscriptions* subscriptions;
  GThread* thread;
  int stop[2]; /* a pipe, so that the thread wakes from poll() */
  GMutex lock; /* of what follows */
  GCond room;
  GQueue waiting; /* lines */
  gboolean ending;
};

typedef struct {
  GSource parent;
  EventConsumer* consumer;
} WaitingSource;

/* On the thread: waits while the queue is full. */
static void put(EventConsumer* consumer, char* line) {
  g_mutex_lock(&consumer->lock);
  while (g_queue_get_length(&consumer->waiting) >= MAX_WAITING && !consumer->ending)
    g_cond_wait(&consumer->room, &consumer->lock);
  g_queue_push_tail(&consumer->waiting, line);
  g_mutex_unlock(&consumer->lock);
  g_main_context_wakeup(consumer->context);
}

/* In the context: the oldest line, or NULL. */
static char* take(EventConsumer* consumer) {
  g_mutex_lock(&consumer->lock);
  char* line = g_queue_pop_head(&consumer->waiting);
  g_cond_signal(&consumer->room);
  g_mutex_unlock(&consumer->lock);
  return line;
}

static void put_whole_lines(EventConsumer* consumer, GString* text) {
  for (char* end; (end = memchr(text->str, '\n', text->len)) != NULL;) {
    put(consumer, g_strndup(text->str, (gsize)(end - text->str)));
    g_string_erase(text, 0, end - text->str + 1);
  }
}

static gpointer read_events(gpointer data) {
  EventConsumer* consumer = data;
  const char* path = g_getenv("EXAMPLE_EVENTS");
  /* For writing as well: it opens, and stays open, with no writer there. */
  const int fifo = open(path != NULL ? path : "/run/example-events", O_RDWR | O_CLOEXEC);
  if (fifo < 0) {
    g_warning("no events: cannot open %s", path != NULL ? path : "/run/example-events");
    return NULL;
  }
  struct pollfd ready[] = {{fifo, POLLIN, 0}, {consumer->stop[0], POLLIN, 0}};
  GString* text = g_string_new(NULL);
  char chunk[4096];
  while (poll(ready, 2, -1) >= 0 && ready[1].revents == 0) {
    const ssize_t size = read(fifo, chunk, sizeof chunk);
    if (size > 0) g_string_append_len(text, chunk, size);
    put_whole_lines(consumer, text);
  }
  g_string_free(text, TRUE);
  close(fifo);
  return NULL;
}

static gboolean something_waits(GSource* source) {
  EventConsumer* consumer = ((WaitingSource*)source)->consumer;
  g_mutex_lock(&consumer->lock);
  const gboolean waits = !g_queue_is_empty(&consumer->waiting);
  g_mutex_unlock(&consumer->lock);
  return waits;
}

static gboolean prepare(GSource* source, int* timeout) {
  *timeout = -1;
  return something_waits(source);
}

static gboolean deliver(GSource* source, GSourceFunc unused, gpointer nothing) {
  (void)unused, (void)nothing;
  EventConsumer* consumer = ((WaitingSource*)source)->consumer;
  for (int i = 0; i < MAX_A_TURN; i++) {
    char* line = take(consumer);
    if (line == NULL) break;
    subscriptions_deliver(consumer->subscriptions, line);
    g_free(line);
  }
  return G_SOURCE_CONTINUE;
}

EventConsumer* event_consumer_new(const char* name) {
  static GSourceFuncs functions = {prepare, something_waits, deliver, NULL, NULL, NULL};
  EventConsumer* consumer = g_new0(EventConsumer, 1);
  if (!g_unix_open_pipe(consumer->stop, FD_CLOEXEC, NULL)) g_error("no descriptors left");
  consumer->context = g_main_context_ref_thread_default();
  consumer->subscriptions = subscriptions_new();
  g_mutex_init(&consumer->lock);
  g_cond_init(&consumer->room);
  g_queue_init(&consumer->waiting);
  consumer->source = g_source_new(&functions, sizeof(WaitingSource));
  ((WaitingSource*)consumer->source)->consumer = consumer;
  g_source_set_priority(consumer->source, G_PRIORITY_DEFAULT_IDLE);
  g_source_attach(consumer->source, consumer->context);
  consumer->thread = g_thread_new(name, read_events, consumer);
  return consumer;
}

void event_consumer_free(EventConsumer* consumer) {
  g_mutex_lock(&consumer->lock);
  consumer->ending = TRUE;
  g_cond_signal(&consumer->room);
  g_mutex_unlock(&consumer->lock);
  close(consumer->stop[1]); /* wakes the thread, wherever it is */
  g_thread_join(consumer->thread);
  close(consumer->stop[0]);
  g_source_destroy(consumer->source);
  g_source_unref(consumer->source);
  subscriptions_free(consumer->subscriptions);
  g_queue_clear_full(&consumer->waiting, g_free);
  g_main_context_unref(consumer->context);
  g_cond_clear(&consumer->room);
  g_mutex_clear(&consumer->lock);
  g_free(consumer);
}

unsigned int event_consumer_subscribe(EventConsumer* consumer,
                                      const SubscribeExpression* expression, EventCallback callback,
                                      void* user_data) {
  return subscriptions_add(consumer->subscriptions, expression, callback, user_data);
}

gboolean event_consumer_unsubscribe(EventConsumer* consumer, unsigned int id, GError** error) {
  if (subscriptions_remove(consumer->subscriptions, id)) return TRUE;
  g_set_error(error, g_quark_from_static_string("example"), 2, "there is no subscription %u", id);
  return FALSE;
}
