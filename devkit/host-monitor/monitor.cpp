// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "devkit/host-monitor/monitor.h"

#include <glib-unix.h>

#include <csignal>

#include "devkit/host-monitor/event_text.h"
#include "devkit/host-monitor/link_status.h"
#include "devkit/host-monitor/operating_time.h"
#include "devkit/host-monitor/processor_usage.h"
#include "devkit/host-monitor/storage_failure.h"
#include "devkit/host-monitor/temperature.h"

namespace host_monitor {
namespace {

/// How long the end waits for the broker to confirm that the properties are gone.
constexpr double kRemoveSeconds = 2;

}  // namespace

Monitor::Monitor(const Options& options)
    : options_(options),
      tree_(options.root),
      publisher_(options.broker, [this] { publishAll(); }),
      signals_{g_unix_signal_add(SIGINT, onSignal, this),
               g_unix_signal_add(SIGTERM, onSignal, this)} {
  measurements_.push_back(std::make_unique<ProcessorUsage>(tree_, options.perCpu));
  measurements_.push_back(std::make_unique<LinkStatus>(tree_));
  measurements_.push_back(std::make_unique<LastReboot>(tree_));
  measurements_.push_back(std::make_unique<LastClockSynchronization>(tree_));
  measurements_.push_back(std::make_unique<Temperature>(tree_));
  measurements_.push_back(std::make_unique<StorageFailure>(tree_));
}

Monitor::~Monitor() {
  for (const guint source : signals_) {
    g_source_remove(source);
  }
}

bool Monitor::run() {
  measure();
  publisher_.start();
  if (options_.once) {
    return deliver(options_.wait, false);
  }
  const guint interval =
      g_timeout_add(static_cast<guint>(options_.interval * 1000), onInterval, this);
  while (!stopping_) {
    g_main_context_iteration(nullptr, TRUE);
  }
  g_source_remove(interval);
  removeAll();
  return deliver(kRemoveSeconds, true);
}

gboolean Monitor::onInterval(gpointer data) {
  static_cast<Monitor*>(data)->measure();
  return G_SOURCE_CONTINUE;
}

gboolean Monitor::onSignal(gpointer data) {
  static_cast<Monitor*>(data)->stopping_ = true;
  return G_SOURCE_CONTINUE;
}

void Monitor::measure() {
  std::map<std::string, State> states;
  for (const auto& measurement : measurements_) {
    for (const Property& property : measurement->read()) {
      update(property, states);
    }
  }
  // What cannot be measured any more has no state.
  for (const auto& [topic, state] : states_) {
    if (states.count(topic) == 0) {
      publisher_.publish(topic, "");
    }
  }
  states_ = std::move(states);
}

void Monitor::update(const Property& property, std::map<std::string, State>& states) {
  const std::string topic = mqttTopic(options_.prefix, property);
  State state;
  state.data = dataText(property);
  const auto known = states_.find(topic);
  if (known != states_.end() && known->second.data == state.data && !property.periodic) {
    states[topic] = known->second;
    return;
  }
  state.payload = eventText(property, state.data);
  publisher_.publish(topic, state.payload);
  states[topic] = state;
}

void Monitor::publishAll() {
  for (const auto& [topic, state] : states_) {
    publisher_.publish(topic, state.payload);
  }
}

void Monitor::removeAll() {
  for (const auto& [topic, state] : states_) {
    publisher_.publish(topic, "");
  }
}

bool Monitor::deliver(double seconds, bool evenBeforeConnected) {
  bool late = false;
  const auto onLate = [](gpointer data) -> gboolean {
    *static_cast<bool*>(data) = true;
    return G_SOURCE_CONTINUE;
  };
  const guint timer = g_timeout_add(static_cast<guint>(seconds * 1000), onLate, &late);
  const auto done = [&] {
    return publisher_.connected() ? publisher_.delivered() : evenBeforeConnected;
  };
  while (!done() && !late && !(options_.once && stopping_)) {
    g_main_context_iteration(nullptr, TRUE);
  }
  g_source_remove(timer);
  return done();
}

}  // namespace host_monitor
