// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <gio/gio.h>

#include "dbus/generated_ws_service_dbus.h"
#include "service/iws_service_dbus.h"

/// The streaming service as seen over the system bus: asynchronous calls, any number in flight,
/// failures only logged. There is no reconnection; the proxy follows the well-known name.
class WSServiceDBus : public IWSServiceDBus {
 public:
  /// Connects and makes the proxy synchronously. Throws std::runtime_error if either fails.
  WSServiceDBus();
  /// Calls still in flight are not cancelled.
  ~WSServiceDBus() override;
  WSServiceDBus(const WSServiceDBus&) = delete;
  WSServiceDBus& operator=(const WSServiceDBus&) = delete;

  void sendResponse(const char* sessionId, const char* version, const char* requestId,
                    const char* sourceId, const char* method, const char* dataPayload) override;
  void sendErrorResponse(const char* sessionId, const char* version, const char* requestId,
                         const char* sourceId, const char* method, std::int32_t code,
                         const char* message) override;
  void sendStreamData(const char* sessionId, const char* version, const char* sourceId,
                      const char* method, const char* dataPayload) override;

  /// The GLib domain of the streaming service's errors.
  static GQuark errorQuark();

 private:
  static void registerDBusErrors();
  static void sendResponseCallback(GObject* source, GAsyncResult* result, void* userData);
  static void sendErrorResponseCallback(GObject* source, GAsyncResult* result, void* userData);
  static void sendStreamDataCallback(GObject* source, GAsyncResult* result, void* userData);

  WSDataStreaming1Service* proxy_ = nullptr;
};
