// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <gio/gio.h>

#include "dbus/generated_ws_event_dbus.h"

class EventConsumerHandler;

/// The data source on the system bus: the exported object, its name, and the handlers of its
/// three methods, which all run on the main loop.
class EventDataSourceDBus {
 public:
  /// Starts owning the name; export and acquisition follow on the main loop. The consumer
  /// handler is not owned and must outlive this object.
  explicit EventDataSourceDBus(EventConsumerHandler* consumerHandler);
  /// Gives up the name and unexports the object; no method call is dispatched afterwards.
  ~EventDataSourceDBus();
  EventDataSourceDBus(const EventDataSourceDBus&) = delete;
  EventDataSourceDBus& operator=(const EventDataSourceDBus&) = delete;

  /// The GLib domain of the errors that callers get.
  static GQuark errorQuark();

 private:
  static void registerDBusErrors();
  /// One turn of the main context, on the way down; throws nothing of std::exception.
  static void turnContext();

  static void onBusAcquired(GDBusConnection* connection, const char* name, void* userData);
  static void onNameAcquired(GDBusConnection* connection, const char* name, void* userData);
  static void onNameLost(GDBusConnection* connection, const char* name, void* userData);
  static void onBusUnowned(void* userData);

  // Method handlers, in sessions/. `userData` is the EventConsumerHandler; each answers the
  // invocation itself and returns TRUE.
  static gboolean onCreateSession(WSDataStreaming1DataSource* object,
                                  GDBusMethodInvocation* invocation, const char* sessionId,
                                  const char* const* clientUserGroups, void* userData);
  static gboolean onRemoveSession(WSDataStreaming1DataSource* object,
                                  GDBusMethodInvocation* invocation, const char* sessionId,
                                  void* userData);
  static gboolean onHandleRequest(WSDataStreaming1DataSource* object,
                                  GDBusMethodInvocation* invocation, const char* sessionId,
                                  const char* version, const char* requestId, const char* sourceId,
                                  const char* method, const char* paramsPayload, void* userData);

  WSDataStreaming1DataSource* skeleton_ = nullptr;
  guint ownerId_ = 0;
};
