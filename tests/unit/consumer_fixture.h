// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

#include "events/event_consumer_handler.h"
#include "service/iws_service_dbus.h"
#include "tests/doubles/recording_platform.h"
#include "tests/unit/recorded_log.h"

namespace unit {

/// Writes what is sent into the platform's record, so that one order shows it all. Can be told to
/// throw std::runtime_error at the next message.
class RecordingWSServiceDBus : public IWSServiceDBus {
 public:
  void sendResponse(const char* sessionId, const char* version, const char* requestId,
                    const char* sourceId, const char* method, const char* dataPayload) override;
  void sendErrorResponse(const char* sessionId, const char* version, const char* requestId,
                         const char* sourceId, const char* method, std::int32_t code,
                         const char* message) override;
  void sendStreamData(const char* sessionId, const char* version, const char* sourceId,
                      const char* method, const char* dataPayload) override;

  bool throwNext = false;

 private:
  void record(const char* function, std::vector<std::string> arguments);
};

/// A consumer handler between recording doubles, and its sessions. At the end nothing may be
/// outstanding, and every line of the record must have been taken.
class ConsumerTest : public testing::Test {
 protected:
  ConsumerTest();
  ~ConsumerTest() override;

  static SessionTable& sessions() { return EventConsumerHandler::sessions; }
  /// Opens a session that this handler serves.
  SessionTable::value_type& open(const std::string& sessionId);
  /// Applies a request with the id "request" at once; nothing else may be queued.
  void configure(const std::string& sessionId, const std::string& payload);
  /// Queues a request as an accepted call does.
  void queue(const std::string& sessionId, const std::string& requestId,
             const std::string& payload);
  /// Opens a session with `count` subscriptions, and forgets how it was done.
  SessionTable::value_type& openSubscribed(const std::string& sessionId, unsigned count);

  /// The record without the calls that make expressions out of filters.
  static std::vector<std::string> takeRecordButFilters();

  /// A payload with `count` topic filters.
  static std::string filters(unsigned count);
  static std::string response(const std::string& sessionId,
                              const std::string& requestId = "request");
  static std::string errorResponse(const std::string& sessionId, const std::string& codeAndMessage);
  static std::string notification(const std::string& sessionId, const std::string& payload);

  doubles::RecordingPlatform& platform_ = doubles::RecordingPlatform::instance();
  RecordingWSServiceDBus wsService_;
  std::unique_ptr<EventConsumerHandler> handler_;

 private:
  RecordedLog log_;
};

}  // namespace unit
