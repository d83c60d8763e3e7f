// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <memory>
#include <string>

#include "common/log_level.h"
#include "events/event_consumer_handler.h"
#include "input/input_handler.h"
#include "service/api.h"
#include "service/dbus_errors.h"
#include "service/dbus_names.h"
#include "service/event_data_source_dbus.h"
#include "sessions/queued_request.h"

gboolean EventDataSourceDBus::onHandleRequest(WSDataStreaming1DataSource* object,
                                              GDBusMethodInvocation* invocation,
                                              const char* sessionId, const char* version,
                                              const char* requestId, const char* sourceId,
                                              const char* method, const char* paramsPayload,
                                              void* userData) {
  auto* consumerHandler = static_cast<EventConsumerHandler*>(userData);
  IWSServiceDBus* wsService = consumerHandler->getWsServiceDbus();

  // Faults of the call itself: logged, and answered with a D-Bus error.
  if (!InputHandler::validateSourceId(sourceId)) {
    // Semicolon in the log, comma in the message: both texts are known to others as they are.
    g_log(nullptr, common::errorLevel(), "%sInvalid data source id. Expected: events; received: %s",
          common::kLogPrefix, sourceId);
    dbus_errors::answer(
        invocation, dbus_names::kInvalidSource,
        std::string("Invalid data source id. Expected: events, received: ") + sourceId);
    return TRUE;
  }
  const std::string key(sessionId);
  if (EventConsumerHandler::sessions.count(key) == 0) {
    g_log(nullptr, G_LOG_LEVEL_WARNING, "%sSession %s does not exist", common::kLogPrefix,
          sessionId);
    dbus_errors::answer(invocation, dbus_names::kInvalidSession,
                        "Session " + key + " does not exist");
    return TRUE;
  }

  // Faults of the content: told to the client through the streaming service, and not logged.
  const auto refuse = [&](const char* answeredMethod, std::int32_t code,
                          const std::string& message) {
    wsService->sendErrorResponse(sessionId, api::kVersion, requestId, sourceId, answeredMethod,
                                 code, message.c_str());
    wsdata_streaming1_data_source_complete_handle_request(object, invocation);
    return TRUE;
  };
  if (!InputHandler::validateVersion(version)) {
    return refuse("", api::kBadVersion,
                  std::string("Invalid apiVersion. Current version is: ") + api::kVersion);
  }
  if (!InputHandler::validateMethod(method)) {
    return refuse("", api::kBadMethod,
                  std::string("Invalid handle request configuration method. Expected method: "
                              "configure; received method: ") +
                      method);
  }
  std::string reason;
  if (!InputHandler::validatePayload(paramsPayload, reason)) {
    return refuse(api::kConfigure, api::kBadPayload, "Invalid event datasource payload: " + reason);
  }

  // It is the version that is tested here, on purpose. A null version was refused above, so the
  // substitute never shows.
  auto request = std::make_unique<QueuedRequest>(QueuedRequest{
      consumerHandler, key, version == nullptr ? "Dummy request ID" : requestId, paramsPayload});
  g_idle_add(EventConsumerHandler::wrapperHandleRequest, request.release());
  wsdata_streaming1_data_source_complete_handle_request(object, invocation);
  return TRUE;
}
