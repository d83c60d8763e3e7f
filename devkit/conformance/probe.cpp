// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "probe.h"

Probe::Probe(EventConsumer* consumer, const SubscribeExpression* expression)
    : consumer_(consumer), id_(event_consumer_subscribe(consumer, expression, onEvent, this)) {
  subscribing_ = false;
}

Probe::~Probe() {
  if (id_ != 0) {
    unsubscribe();
  }
}

bool Probe::unsubscribe() {
  common::GErrorPtr error;
  const bool done = event_consumer_unsubscribe(consumer_, id_, common::GErrorOut(error)) != FALSE;
  id_ = 0;
  return done;
}

void Probe::onEvent(Event* event, void* userData) {
  static_cast<Probe*>(userData)->take(event);
}

void Probe::take(Event* event) {
  calledWhileSubscribing = calledWhileSubscribing || subscribing_;
  calledOnOtherThread = calledOnOtherThread || std::this_thread::get_id() != thread_;
  const GSource* source = g_main_current_source();
  if (source != nullptr &&
      g_source_get_priority(const_cast<GSource*>(source)) < G_PRIORITY_DEFAULT_IDLE) {
    calledAboveIdlePriority = true;
  }
  events_.emplace_back(event);
  common::GErrorPtr error;
  const common::MallocCharPtr text(event_get_json(event, common::GErrorOut(error)));
  texts_.emplace_back(text != nullptr ? text.get() : "");
  if (unsubscribeInCallback_) {
    unsubscribeInCallback_ = false;
    unsubscribe();
  }
}

ExpressionPtr topicExpression(const std::string& topic, common::GErrorPtr& error) {
  const FilterPtr filter(wse_filter_new());
  SubscribeExpression* expression = nullptr;
  wse_filter_add_topic_expression(filter.get(), "tns1", "tnsovra", kConcreteSet, topic.c_str());
  wse_filter_to_subscription(filter.get(), &expression, common::GErrorOut(error));
  return ExpressionPtr(expression);
}

bool turnUntil(unsigned seconds, const std::function<bool()>& condition) {
  bool late = false;
  // Of the context that the library uses, which need not be the default one.
  GSource* timer = g_timeout_source_new_seconds(seconds);
  g_source_set_callback(
      timer,
      [](void* flag) -> gboolean {
        *static_cast<bool*>(flag) = true;
        return G_SOURCE_CONTINUE;
      },
      &late, nullptr);
  GMainContext* context = g_main_context_get_thread_default();
  g_source_attach(timer, context);
  while (!condition() && !late) {
    g_main_context_iteration(context, TRUE);
  }
  g_source_destroy(timer);
  g_source_unref(timer);
  return condition();
}

void turnWhileReady() {
  GMainContext* context = g_main_context_get_thread_default();
  while (g_main_context_iteration(context, FALSE)) {
  }
}
