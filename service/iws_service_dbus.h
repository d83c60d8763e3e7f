// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>

/// What the service can say to the streaming service. WSServiceDBus implements it on the system
/// bus; tests record. Called on the main thread only. Every text is NUL-terminated UTF-8, never
/// null, and borrowed for the duration of the call. Sending is fire and forget: whether a
/// message arrives is not reported to the sender.
class IWSServiceDBus {
 public:
  virtual ~IWSServiceDBus() = default;

  virtual void sendResponse(const char* sessionId, const char* version, const char* requestId,
                            const char* sourceId, const char* method, const char* dataPayload) = 0;

  /// `code` and `message` become the error payload {"code":CODE,"message":"MESSAGE"}, the message
  /// unescaped.
  virtual void sendErrorResponse(const char* sessionId, const char* version, const char* requestId,
                                 const char* sourceId, const char* method, std::int32_t code,
                                 const char* message) = 0;

  virtual void sendStreamData(const char* sessionId, const char* version, const char* sourceId,
                              const char* method, const char* dataPayload) = 0;
};
