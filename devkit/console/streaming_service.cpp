// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "devkit/console/streaming_service.h"

#include <string>
#include <utility>

#include "service/dbus_names.h"

namespace console {
namespace {

// Of the bus's own interface.
constexpr guint32 kDoNotQueue = 4;
constexpr guint32 kNameExists = 3;

}  // namespace

StreamingService::StreamingService(Handler handler)
    : handler_(std::move(handler)), skeleton_(wsdata_streaming1_service_skeleton_new()) {
  g_signal_connect(skeleton_.get(), "handle-send-response", G_CALLBACK(onResponse), this);
  g_signal_connect(skeleton_.get(), "handle-send-error-response", G_CALLBACK(onErrorResponse),
                   this);
  g_signal_connect(skeleton_.get(), "handle-send-stream-data", G_CALLBACK(onStreamData), this);
}

StreamingService::~StreamingService() {
  auto* interface = G_DBUS_INTERFACE_SKELETON(skeleton_.get());
  if (g_dbus_interface_skeleton_get_connection(interface) != nullptr) {
    g_dbus_interface_skeleton_unexport(interface);
  }
}

StreamingService::Name StreamingService::appear(GDBusConnection* connection, GError** error) {
  // The object first: whoever waits for the name calls at once.
  if (!g_dbus_interface_skeleton_export(G_DBUS_INTERFACE_SKELETON(skeleton_.get()), connection,
                                        dbus_names::kServiceObjectPath, error)) {
    return Name::kFailed;
  }
  // Asked of the bus itself: GIO's name owning does not tell a name that is taken from one that
  // the bus's policy forbids.
  const common::Ptr<GVariant, g_variant_unref> reply(g_dbus_connection_call_sync(
      connection, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
      "RequestName", g_variant_new("(su)", dbus_names::kServiceBusName, kDoNotQueue),
      G_VARIANT_TYPE("(u)"), G_DBUS_CALL_FLAGS_NONE, -1, nullptr, error));
  if (reply == nullptr) {
    return Name::kFailed;
  }
  guint32 result = 0;
  g_variant_get(reply.get(), "(u)", &result);
  return result == kNameExists ? Name::kTaken : Name::kOwned;
}

gboolean StreamingService::onResponse(WSDataStreaming1Service* /*object*/,
                                      GDBusMethodInvocation* invocation, const char* sessionId,
                                      const char* version, const char* requestId,
                                      const char* sourceId, const char* method, const char* payload,
                                      gpointer data) {
  static_cast<StreamingService*>(data)->handle(
      invocation, {"response", sessionId, version, requestId, sourceId, method, payload});
  return TRUE;
}

gboolean StreamingService::onErrorResponse(WSDataStreaming1Service* /*object*/,
                                           GDBusMethodInvocation* invocation, const char* sessionId,
                                           const char* version, const char* requestId,
                                           const char* sourceId, const char* method,
                                           const char* payload, gpointer data) {
  static_cast<StreamingService*>(data)->handle(
      invocation, {"error", sessionId, version, requestId, sourceId, method, payload});
  return TRUE;
}

gboolean StreamingService::onStreamData(WSDataStreaming1Service* /*object*/,
                                        GDBusMethodInvocation* invocation, const char* sessionId,
                                        const char* version, const char* sourceId,
                                        const char* method, const char* payload, gpointer data) {
  static_cast<StreamingService*>(data)->handle(
      invocation, {"notification", sessionId, version, nullptr, sourceId, method, payload});
  return TRUE;
}

void StreamingService::handle(GDBusMethodInvocation* invocation, const Message& message) const {
  if (handler_(message)) {
    // No method has a result, so one reply serves all.
    g_dbus_method_invocation_return_value(invocation, nullptr);
    return;
  }
  const std::string text = std::string("Session ") + message.sessionId + " does not exist";
  g_dbus_method_invocation_return_dbus_error(
      invocation, dbus_names::kServiceErrors[dbus_names::kServiceErrorInvalidSession],
      text.c_str());
}

}  // namespace console
