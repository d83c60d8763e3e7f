// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <gio/gio.h>

#include <map>
#include <string>
#include <vector>

#include "common/ptr.h"
#include "dbus/generated_ws_event_dbus.h"
#include "tests/support/bus_client.h"
#include "tests/support/private_bus.h"

namespace devkit_test {

/// Plays the events data source on a connection of its own: records every call, answers as told,
/// and sends to the streaming service what a test wants.
class FakeDataSource {
 public:
  /// Appears at once, unless `present` is false.
  explicit FakeDataSource(const support::PrivateBus& bus, bool present = true);
  ~FakeDataSource();
  FakeDataSource(const FakeDataSource&) = delete;
  FakeDataSource& operator=(const FakeDataSource&) = delete;

  void appear();
  /// Closes the connection, with all that it owes.
  void disappear();

  /// Answers this method with an error from now on.
  void refuse(const std::string& method, const std::string& error, const std::string& text);
  /// Lets calls of this method wait from now on.
  void holdBack(const std::string& method) { heldBack_ = method; }
  /// Answers what waits, and holds back no more.
  void release();

  /// As "HandleRequest(a, 1.0, 1, events, configure, {})".
  const std::vector<std::string>& calls() const { return calls_; }
  [[nodiscard]] bool waitForCalls(std::size_t count) const;

  // Each sends one message to the streaming service; the reply arrives while the context turns.
  support::BusClient::Pending respond(const std::string& session, const std::string& payload = "{}",
                                      const std::string& requestId = "1");
  support::BusClient::Pending respondError(const std::string& session, const std::string& payload);
  support::BusClient::Pending notify(const std::string& session, const std::string& payload);

 private:
  static gboolean onCreate(WSDataStreaming1DataSource* object, GDBusMethodInvocation* invocation,
                           const char* session, const char* const* groups, gpointer data);
  static gboolean onRemove(WSDataStreaming1DataSource* object, GDBusMethodInvocation* invocation,
                           const char* session, gpointer data);
  static gboolean onRequest(WSDataStreaming1DataSource* object, GDBusMethodInvocation* invocation,
                            const char* session, const char* version, const char* requestId,
                            const char* source, const char* method, const char* params,
                            gpointer data);

  void answer(GDBusMethodInvocation* invocation, const std::string& arguments);
  support::BusClient::Pending send(const char* method, GVariant* arguments);

  struct Refusal {
    std::string error;
    std::string text;
  };

  const support::PrivateBus& bus_;
  std::unique_ptr<support::BusClient> client_;
  common::GObjectPtr<WSDataStreaming1DataSource> skeleton_;
  std::map<std::string, Refusal> refusals_;
  std::string heldBack_;
  std::vector<GDBusMethodInvocation*> waiting_;
  std::vector<std::string> calls_;
};

}  // namespace devkit_test
