// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "service/ws_service_dbus.h"

#include <iterator>
#include <stdexcept>
#include <string>

#include "common/log_level.h"
#include "common/ptr.h"
#include "service/dbus_errors.h"
#include "service/dbus_names.h"

namespace {

std::string errorPayload(std::int32_t code, const char* message) {
  // The message is deliberately not escaped: clients know this payload byte for byte.
  return R"({"code":)" + std::to_string(code) + R"(,"message":")" + message + R"("})";
}

/// Completes a call of any of the three methods: none has a result, so the generated finish
/// function of one of them serves all. Null if the call succeeded.
common::GErrorPtr finish(void* proxy, GAsyncResult* result) {
  common::GErrorPtr error;
  wsdata_streaming1_service_call_send_stream_data_finish(
      static_cast<WSDataStreaming1Service*>(proxy), result, common::GErrorOut(error));
  return error;
}

[[noreturn]] void failConstruction(const char* reason) {
  g_log(nullptr, common::errorLevel(), "%s%s", common::kLogPrefix, reason);
  throw std::runtime_error(reason);
}

}  // namespace

WSServiceDBus::WSServiceDBus() {
  common::GErrorPtr error;
  // This reference is never given back: the connection is the process's, and lives as long.
  GDBusConnection* connection =
      g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, common::GErrorOut(error));
  if (error != nullptr || connection == nullptr) {
    failConstruction("Could not establish DBus connection");
  }
  proxy_ = wsdata_streaming1_service_proxy_new_sync(
      connection, G_DBUS_PROXY_FLAGS_NONE, dbus_names::kServiceBusName,
      dbus_names::kServiceObjectPath, nullptr, common::GErrorOut(error));
  if (error != nullptr) {
    failConstruction("Could not create proxy for data streaming service");
  }
  registerDBusErrors();
}

WSServiceDBus::~WSServiceDBus() {
  g_object_unref(proxy_);
}

GQuark WSServiceDBus::errorQuark() {
  static GQuark quark = 0;
  if (quark == 0) {
    quark = g_quark_from_static_string(dbus_names::kServiceErrorDomain);
  }
  return quark;
}

void WSServiceDBus::registerDBusErrors() {
  dbus_errors::registerNames(errorQuark(), dbus_names::kServiceErrors,
                             std::size(dbus_names::kServiceErrors));
}

void WSServiceDBus::sendResponse(const char* sessionId, const char* version, const char* requestId,
                                 const char* sourceId, const char* method,
                                 const char* dataPayload) {
  wsdata_streaming1_service_call_send_response(proxy_, sessionId, version, requestId, sourceId,
                                               method, dataPayload, nullptr, sendResponseCallback,
                                               proxy_);
}

void WSServiceDBus::sendErrorResponse(const char* sessionId, const char* version,
                                      const char* requestId, const char* sourceId,
                                      const char* method, std::int32_t code, const char* message) {
  const std::string payload = errorPayload(code, message);
  wsdata_streaming1_service_call_send_error_response(proxy_, sessionId, version, requestId,
                                                     sourceId, method, payload.c_str(), nullptr,
                                                     sendErrorResponseCallback, proxy_);
}

void WSServiceDBus::sendStreamData(const char* sessionId, const char* version, const char* sourceId,
                                   const char* method, const char* dataPayload) {
  wsdata_streaming1_service_call_send_stream_data(proxy_, sessionId, version, sourceId, method,
                                                  dataPayload, nullptr, sendStreamDataCallback,
                                                  proxy_);
}

void WSServiceDBus::sendResponseCallback(GObject* /*source*/, GAsyncResult* result,
                                         void* userData) {
  const common::GErrorPtr error = finish(userData, result);
  if (error != nullptr) {
    g_log(nullptr, G_LOG_LEVEL_WARNING, "%ssendResponse failed: %s", common::kLogPrefix,
          error->message);
  }
}

void WSServiceDBus::sendErrorResponseCallback(GObject* /*source*/, GAsyncResult* result,
                                              void* userData) {
  const common::GErrorPtr error = finish(userData, result);
  if (error != nullptr) {
    g_log(nullptr, G_LOG_LEVEL_WARNING, "%ssendErrorResponse failed: %s", common::kLogPrefix,
          error->message);
  }
}

void WSServiceDBus::sendStreamDataCallback(GObject* /*source*/, GAsyncResult* result,
                                           void* userData) {
  const common::GErrorPtr error = finish(userData, result);
  if (error != nullptr) {
    // A session that the streaming service has closed is no surprise: its removal is on the way.
    // The code alone is tested, deliberately not the domain.
    const GLogLevelFlags level = error->code == dbus_names::kServiceErrorInvalidSession
                                     ? G_LOG_LEVEL_INFO
                                     : G_LOG_LEVEL_WARNING;
    g_log(nullptr, level, "%ssendStreamData failed: %s", common::kLogPrefix, error->message);
  }
}
