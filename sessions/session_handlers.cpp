// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <string>

#include "common/log_level.h"
#include "events/event_consumer_handler.h"
#include "service/dbus_errors.h"
#include "service/dbus_names.h"
#include "service/event_data_source_dbus.h"

gboolean EventDataSourceDBus::onCreateSession(WSDataStreaming1DataSource* object,
                                              GDBusMethodInvocation* invocation,
                                              const char* sessionId,
                                              const char* const* /*clientUserGroups*/,
                                              void* userData) {
  const std::string key(sessionId);
  SessionTable& sessions = EventConsumerHandler::sessions;
  // The duplicate test comes first on purpose: an open id is a duplicate also in a full table.
  if (sessions.count(key) != 0) {
    g_log(nullptr, common::errorLevel(), "%sSession %s already exists", common::kLogPrefix,
          sessionId);
    dbus_errors::answer(invocation, dbus_names::kSessionAlreadyUsed,
                        "Session " + key + " already exists");
    return TRUE;
  }
  if (sessions.size() == kMaxSessions) {
    constexpr const char* kMessage = "The maximum number of sessions has been exceeded";
    g_log(nullptr, G_LOG_LEVEL_INFO, "%s%s", common::kLogPrefix, kMessage);
    dbus_errors::answer(invocation, dbus_names::kTooManySessions, kMessage);
    return TRUE;
  }
  sessions.emplace(key, SessionData{static_cast<EventConsumerHandler*>(userData), {}});
  wsdata_streaming1_data_source_complete_create_session(object, invocation);
  return TRUE;
}

gboolean EventDataSourceDBus::onRemoveSession(WSDataStreaming1DataSource* object,
                                              GDBusMethodInvocation* invocation,
                                              const char* sessionId, void* userData) {
  const std::string key(sessionId);
  SessionTable& sessions = EventConsumerHandler::sessions;
  const auto session = sessions.find(key);
  if (session == sessions.end()) {
    g_log(nullptr, G_LOG_LEVEL_WARNING, "%sSession %s does not exist", common::kLogPrefix,
          sessionId);
    dbus_errors::answer(invocation, dbus_names::kInvalidSession,
                        "Session " + key + " does not exist");
    return TRUE;
  }
  // While the entry still exists: the subscriptions refer to its key.
  BaseEventConsumerHandler* handler = static_cast<EventConsumerHandler*>(userData);
  handler->unsubscribe(session->second.subscriptionIds);
  sessions.erase(session);
  wsdata_streaming1_data_source_complete_remove_session(object, invocation);
  return TRUE;
}
