// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "common/api.h"
#include "common/log_level.h"
#include "events/event_consumer_handler.h"
#include "input/input_handler.h"
#include "service/dbus_errors.h"
#include "service/dbus_names.h"
#include "service/event_data_source_dbus.h"
#include "sessions/queued_request.h"

namespace {

/// Answers faults of the call itself, and logs them; false if there is none.
bool answerFaultOfCall(GDBusMethodInvocation* invocation, const char* sourceId,
                       const char* sessionId) {
  if (!InputHandler::validateSourceId(sourceId)) {
    // Semicolon in the log, comma in the message: both texts are known to others as they are.
    g_log(nullptr, common::errorLevel(), "%sInvalid data source id. Expected: events; received: %s",
          common::kLogPrefix, sourceId);
    dbus_errors::answer(
        invocation, dbus_names::kInvalidSource,
        std::string("Invalid data source id. Expected: events, received: ") + sourceId);
    return true;
  }
  const std::string key(sessionId);
  if (EventConsumerHandler::sessions.count(key) == 0) {
    g_log(nullptr, G_LOG_LEVEL_WARNING, "%sSession %s does not exist", common::kLogPrefix,
          sessionId);
    dbus_errors::answer(invocation, dbus_names::kInvalidSession,
                        "Session " + key + " does not exist");
    return true;
  }
  return false;
}

/// What a client is told when the content of its request is at fault.
struct ContentFault {
  const char* method;
  std::int32_t code;
  std::string message;
};

/// The first fault decides; none is logged.
std::optional<ContentFault> faultOfContent(const char* version, const char* method,
                                           const char* paramsPayload) {
  if (!InputHandler::validateVersion(version)) {
    return ContentFault{"", api::kBadVersion,
                        std::string("Invalid apiVersion. Current version is: ") + api::kVersion};
  }
  if (!InputHandler::validateMethod(method)) {
    return ContentFault{"", api::kBadMethod,
                        std::string("Invalid handle request configuration method. Expected method: "
                                    "configure; received method: ") +
                            method};
  }
  std::string reason;
  if (!InputHandler::validatePayload(paramsPayload, reason)) {
    return ContentFault{api::kConfigure, api::kBadPayload,
                        "Invalid event datasource payload: " + reason};
  }
  return std::nullopt;
}

}  // namespace

gboolean EventDataSourceDBus::onHandleRequest(WSDataStreaming1DataSource* object,
                                              GDBusMethodInvocation* invocation,
                                              const char* sessionId, const char* version,
                                              const char* requestId, const char* sourceId,
                                              const char* method, const char* paramsPayload,
                                              void* userData) {
  auto* consumerHandler = static_cast<EventConsumerHandler*>(userData);
  IWSServiceDBus* wsService = consumerHandler->getWsServiceDbus();

  if (answerFaultOfCall(invocation, sourceId, sessionId)) {
    return TRUE;
  }
  if (const auto fault = faultOfContent(version, method, paramsPayload)) {
    wsService->sendErrorResponse(sessionId, api::kVersion, requestId, sourceId, fault->method,
                                 fault->code, fault->message.c_str());
    wsdata_streaming1_data_source_complete_handle_request(object, invocation);
    return TRUE;
  }

  // It is the version that is tested here, on purpose. A null version was refused above, so the
  // substitute never shows.
  auto request = std::make_unique<QueuedRequest>(
      QueuedRequest{consumerHandler, sessionId, version == nullptr ? "Dummy request ID" : requestId,
                    paramsPayload});
  g_idle_add(EventConsumerHandler::wrapperHandleRequest, request.release());
  wsdata_streaming1_data_source_complete_handle_request(object, invocation);
  return TRUE;
}
