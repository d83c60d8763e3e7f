// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <glib.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "devkit/host-monitor/options.h"
#include "devkit/host-monitor/property.h"
#include "devkit/host-monitor/publisher.h"
#include "devkit/host-monitor/tree.h"

namespace host_monitor {

/// Measures at each interval and publishes what is new. The broker gets every state as soon as it
/// is connected, also again: it may have lost what it kept.
class Monitor {
 public:
  explicit Monitor(const Options& options);
  ~Monitor();
  Monitor(const Monitor&) = delete;
  Monitor& operator=(const Monitor&) = delete;

  /// Runs until SIGINT or SIGTERM, or until all was published once; true if the broker has
  /// confirmed what it was given.
  bool run();

 private:
  struct State {
    std::string data;
    std::string payload;
  };

  static gboolean onInterval(gpointer data);
  static gboolean onSignal(gpointer data);

  void measure();
  void update(const Property& property, std::map<std::string, State>& states);
  void publishAll();
  void removeAll();
  /// Turns the main context until everything is delivered; false after the time-out.
  bool deliver(double seconds, bool evenBeforeConnected);

  const Options options_;
  const Tree tree_;
  std::vector<std::unique_ptr<Measurement>> measurements_;
  /// By MQTT topic.
  std::map<std::string, State> states_;
  Publisher publisher_;
  guint signals_[2];
  bool stopping_ = false;
};

}  // namespace host_monitor
