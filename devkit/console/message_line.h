// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

namespace console {

/// What the streaming service was sent, in one call.
struct Message {
  /// "response", "error" or "notification".
  const char* type;
  const char* sessionId;
  const char* version;
  /// Null for stream data, which answers no request.
  const char* requestId;
  const char* sourceId;
  const char* method;
  const char* payload;
};

/// The message as one line of JSON, without its end. The payload stands in it as it came, but for
/// line breaks; one that jansson does not take becomes a string.
std::string messageLine(const Message& message);

}  // namespace console
