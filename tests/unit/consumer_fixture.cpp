// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "tests/unit/consumer_fixture.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "sessions/queued_request.h"

namespace unit {

void RecordingWSServiceDBus::sendResponse(const char* sessionId, const char* version,
                                          const char* requestId, const char* sourceId,
                                          const char* method, const char* dataPayload) {
  record("sendResponse", {sessionId, version, requestId, sourceId, method, dataPayload});
}

void RecordingWSServiceDBus::sendErrorResponse(const char* sessionId, const char* version,
                                               const char* requestId, const char* sourceId,
                                               const char* method, std::int32_t code,
                                               const char* message) {
  record("sendErrorResponse",
         {sessionId, version, requestId, sourceId, method, std::to_string(code), message});
}

void RecordingWSServiceDBus::sendStreamData(const char* sessionId, const char* version,
                                            const char* sourceId, const char* method,
                                            const char* dataPayload) {
  record("sendStreamData", {sessionId, version, sourceId, method, dataPayload});
}

void RecordingWSServiceDBus::record(const char* function, std::vector<std::string> arguments) {
  const bool throws = std::exchange(throwNext, false);
  doubles::RecordingPlatform::instance().record(
      {function, std::move(arguments), throws ? "exception" : ""});
  if (throws) {
    throw std::runtime_error("sending failed");
  }
}

ConsumerTest::ConsumerTest() {
  platform_.reset();
  sessions().clear();
  handler_ = std::make_unique<EventConsumerHandler>(&wsService_);
  EXPECT_THAT(takeRecord(),
              testing::ElementsAre("event_consumer_new(Event-Consumer-Handler) = consumer1"));
}

ConsumerTest::~ConsumerTest() {
  turnMainContext();
  EXPECT_THAT(takeRecord(), testing::IsEmpty());
  handler_.reset();
  takeRecord();
  EXPECT_EQ(platform_.outstanding(), doubles::Outstanding{});
  sessions().clear();
}

SessionTable::value_type& ConsumerTest::open(const std::string& sessionId) {
  return *sessions().emplace(sessionId, SessionData{handler_.get(), {}}).first;
}

void ConsumerTest::configure(const std::string& sessionId, const std::string& payload) {
  QueuedRequest request{handler_.get(), sessionId, "request", payload};
  BaseEventConsumerHandler* const handler = handler_.get();
  handler->handleRequest(&request);
}

void ConsumerTest::queue(const std::string& sessionId, const std::string& requestId,
                         const std::string& payload) {
  auto request =
      std::make_unique<QueuedRequest>(QueuedRequest{handler_.get(), sessionId, requestId, payload});
  g_idle_add(EventConsumerHandler::wrapperHandleRequest, request.release());
}

SessionTable::value_type& ConsumerTest::openSubscribed(const std::string& sessionId,
                                                       unsigned count) {
  SessionTable::value_type& session = open(sessionId);
  configure(sessionId, filters(count));
  EXPECT_EQ(session.second.subscriptionIds.size(), count);
  takeRecord();
  return session;
}

std::vector<std::string> ConsumerTest::takeRecordButFilters() {
  std::vector<std::string> record = takeRecord();
  record.erase(
      std::remove_if(record.begin(), record.end(),
                     [](const std::string& text) { return text.compare(0, 4, "wse_") == 0; }),
      record.end());
  return record;
}

std::string ConsumerTest::filters(unsigned count) {
  std::string elements;
  for (unsigned i = 0; i < count; ++i) {
    elements +=
        (i == 0 ? R"({"topicFilter":"T)" : R"(,{"topicFilter":"T)") + std::to_string(i + 1) + "\"}";
  }
  return R"({"eventFilterList":[)" + elements + "]}";
}

std::string ConsumerTest::response(const std::string& sessionId, const std::string& requestId) {
  return "sendResponse(" + sessionId + ", 1.0, " + requestId + ", events, configure, {})";
}

std::string ConsumerTest::errorResponse(const std::string& sessionId,
                                        const std::string& codeAndMessage) {
  return "sendErrorResponse(" + sessionId + ", 1.0, request, events, configure, " + codeAndMessage +
         ")";
}

std::string ConsumerTest::notification(const std::string& sessionId, const std::string& payload) {
  return "sendStreamData(" + sessionId + ", 1.0, events, notify, " + payload + ")";
}

}  // namespace unit
