// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "devkit/host-monitor/publisher.h"

#include <cerrno>
#include <stdexcept>
#include <utility>

namespace host_monitor {
namespace {

constexpr int kAtLeastOnce = 1;
constexpr int kKeepAliveSeconds = 30;
constexpr guint kFirstDelaySeconds = 1;
constexpr guint kLongestDelaySeconds = 30;
/// MQTT: reason codes from here on are failures.
constexpr int kFailure = 0x80;

}  // namespace

Publisher::Publisher(BrokerAddress broker, std::function<void()> onConnected)
    : broker_(std::move(broker)), connectedCallback_(std::move(onConnected)) {
  mosquitto_lib_init();
  client_.reset(mosquitto_new(nullptr, true, this));
  if (client_ == nullptr) {
    throw std::runtime_error("cannot create an MQTT client");
  }
  mosquitto_int_option(client_.get(), MOSQ_OPT_PROTOCOL_VERSION, MQTT_PROTOCOL_V5);
  mosquitto_reconnect_delay_set(client_.get(), kFirstDelaySeconds, kLongestDelaySeconds, false);
  mosquitto_connect_v5_callback_set(client_.get(), onConnect);
  mosquitto_disconnect_v5_callback_set(client_.get(), onDisconnect);
  mosquitto_publish_v5_callback_set(client_.get(), onPublish);
}

Publisher::~Publisher() {
  if (retry_ != 0) {
    g_source_remove(retry_);
  }
  if (running_) {
    mosquitto_disconnect(client_.get());
    mosquitto_loop_stop(client_.get(), false);
  }
  client_.reset();
  // What the network thread reported last is not waited for.
  while (g_source_remove_by_user_data(this)) {
  }
  mosquitto_lib_cleanup();
}

void Publisher::start() {
  if (!connect()) {
    retry_ = g_timeout_add_seconds(kFirstDelaySeconds, onRetry, this);
  }
}

gboolean Publisher::onRetry(gpointer data) {
  auto* self = static_cast<Publisher*>(data);
  if (!self->connect()) {
    return G_SOURCE_CONTINUE;
  }
  self->retry_ = 0;
  return G_SOURCE_REMOVE;
}

bool Publisher::connect() {
  // libmosquitto repeats a connection that was lost, but not a first one that failed at once.
  const int result =
      mosquitto_connect_async(client_.get(), broker_.host.c_str(), broker_.port, kKeepAliveSeconds);
  if (result != MOSQ_ERR_SUCCESS) {
    say("cannot reach the broker at " + broker_.text + ": " +
        (result == MOSQ_ERR_ERRNO ? g_strerror(errno) : mosquitto_strerror(result)) +
        "; trying again");
    return false;
  }
  running_ = mosquitto_loop_start(client_.get()) == MOSQ_ERR_SUCCESS;
  return running_;
}

void Publisher::publish(const std::string& topic, const std::string& payload) {
  if (!connected_) {
    return;
  }
  int messageId = 0;
  const int result =
      mosquitto_publish(client_.get(), &messageId, topic.c_str(), static_cast<int>(payload.size()),
                        payload.c_str(), kAtLeastOnce, true);
  if (result == MOSQ_ERR_SUCCESS) {
    waiting_.insert(messageId);
  } else {
    say("cannot publish " + topic + ": " + mosquitto_strerror(result));
  }
}

void Publisher::onConnect(mosquitto* /*client*/, void* data, int reason, int /*flags*/,
                          const mosquitto_property* /*properties*/) {
  static_cast<Publisher*>(data)->report({Report::Kind::kConnected, reason, 0});
}

void Publisher::onDisconnect(mosquitto* /*client*/, void* data, int reason,
                             const mosquitto_property* /*properties*/) {
  static_cast<Publisher*>(data)->report({Report::Kind::kDisconnected, reason, 0});
}

void Publisher::onPublish(mosquitto* /*client*/, void* data, int messageId, int reason,
                          const mosquitto_property* /*properties*/) {
  static_cast<Publisher*>(data)->report({Report::Kind::kPublished, reason, messageId});
}

void Publisher::report(const Report& report) {
  const std::lock_guard lock(mutex_);
  reports_.push_back(report);
  g_idle_add_full(G_PRIORITY_DEFAULT, onReports, this, nullptr);
}

gboolean Publisher::onReports(gpointer data) {
  auto* self = static_cast<Publisher*>(data);
  std::vector<Report> reports;
  {
    const std::lock_guard lock(self->mutex_);
    reports.swap(self->reports_);
  }
  for (const Report& report : reports) {
    switch (report.kind) {
      case Report::Kind::kConnected:
        self->onConnected(report.reason);
        break;
      case Report::Kind::kDisconnected:
        self->onDisconnected();
        break;
      case Report::Kind::kPublished:
        self->onPublished(report.messageId, report.reason);
        break;
    }
  }
  return G_SOURCE_REMOVE;
}

void Publisher::onConnected(int reason) {
  if (reason != 0) {
    say("the broker at " + broker_.text +
        " refuses the connection: " + mosquitto_reason_string(reason) + "; trying again");
    return;
  }
  connected_ = true;
  say("connected to the broker at " + broker_.text);
  connectedCallback_();
}

void Publisher::onDisconnected() {
  // Also reported for a connection that never stood.
  if (connected_) {
    connected_ = false;
    say("lost the connection to the broker at " + broker_.text + "; trying again");
  }
}

void Publisher::onPublished(int messageId, int reason) {
  waiting_.erase(messageId);
  if (reason >= kFailure) {
    say(std::string("the broker refuses a message: ") + mosquitto_reason_string(reason));
  }
}

void Publisher::say(const std::string& line) {
  if (line != lastLine_) {
    g_printerr("lumenfeed-host-monitor: %s\n", line.c_str());
    lastLine_ = line;
  }
}

}  // namespace host_monitor
