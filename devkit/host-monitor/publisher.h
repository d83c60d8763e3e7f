// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <mosquitto.h>

#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "common/ptr.h"
#include "devkit/host-monitor/broker_address.h"

namespace host_monitor {

/// The connection to the broker: kept up, with one line on standard error per change of state.
/// libmosquitto's thread does the network; everything here runs on the main context's thread.
class Publisher {
 public:
  /// `onConnected` is called each time that a connection stands.
  Publisher(BrokerAddress broker, std::function<void()> onConnected);
  /// Disconnects; what was not delivered is lost.
  ~Publisher();
  Publisher(const Publisher&) = delete;
  Publisher& operator=(const Publisher&) = delete;

  void start();
  bool connected() const { return connected_; }
  /// Publishes a retained message, or with an empty payload removes it; at least once. Nothing
  /// happens while there is no connection.
  void publish(const std::string& topic, const std::string& payload);
  /// Whether the broker has confirmed everything that was published.
  bool delivered() const { return waiting_.empty(); }

 private:
  /// What the network thread saw, on its way to the main context.
  struct Report {
    enum class Kind { kConnected, kDisconnected, kPublished };
    Kind kind;
    int reason;
    int messageId;
  };

  static gboolean onRetry(gpointer data);
  static gboolean onReports(gpointer data);
  static void onConnect(mosquitto* client, void* data, int reason, int flags,
                        const mosquitto_property* properties);
  static void onDisconnect(mosquitto* client, void* data, int reason,
                           const mosquitto_property* properties);
  static void onPublish(mosquitto* client, void* data, int messageId, int reason,
                        const mosquitto_property* properties);

  /// Called by the network thread.
  void report(const Report& report);
  bool connect();
  void onConnected(int reason);
  void onDisconnected();
  void onPublished(int messageId, int reason);
  void say(const std::string& line);

  const BrokerAddress broker_;
  const std::function<void()> connectedCallback_;
  common::Ptr<mosquitto, mosquitto_destroy> client_;
  std::mutex mutex_;
  /// Guarded by the mutex.
  std::vector<Report> reports_;
  bool running_ = false;
  bool connected_ = false;
  guint retry_ = 0;
  std::set<int> waiting_;
  std::string lastLine_;
};

}  // namespace host_monitor
