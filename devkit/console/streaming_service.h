// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <gio/gio.h>

#include <functional>

#include "common/ptr.h"
#include "dbus/generated_ws_service_dbus.h"
#include "devkit/console/message_line.h"

namespace console {

/// The streaming service's object and name on the bus, and nothing behind it.
class StreamingService {
 public:
  /// Takes each message that comes; false if its session is unknown, which its sender is told.
  using Handler = std::function<bool(const Message&)>;

  /// What came of the wish for the name.
  enum class Name { kOwned, kTaken, kFailed };

  explicit StreamingService(Handler handler);
  ~StreamingService();
  StreamingService(const StreamingService&) = delete;
  StreamingService& operator=(const StreamingService&) = delete;

  /// Exports the object and takes the name; the error is set for kFailed.
  Name appear(GDBusConnection* connection, GError** error);

 private:
  static gboolean onResponse(WSDataStreaming1Service* object, GDBusMethodInvocation* invocation,
                             const char* sessionId, const char* version, const char* requestId,
                             const char* sourceId, const char* method, const char* payload,
                             gpointer data);
  static gboolean onErrorResponse(WSDataStreaming1Service* object,
                                  GDBusMethodInvocation* invocation, const char* sessionId,
                                  const char* version, const char* requestId, const char* sourceId,
                                  const char* method, const char* payload, gpointer data);
  static gboolean onStreamData(WSDataStreaming1Service* object, GDBusMethodInvocation* invocation,
                               const char* sessionId, const char* version, const char* sourceId,
                               const char* method, const char* payload, gpointer data);
  void handle(GDBusMethodInvocation* invocation, const Message& message) const;

  const Handler handler_;
  const common::GObjectPtr<WSDataStreaming1Service> skeleton_;
};

}  // namespace console
