// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "devkit/console/message_line.h"

#include <jansson.h>

#include <algorithm>

#include "common/ptr.h"

namespace console {
namespace {

using JsonPtr = common::Ptr<json_t, json_decref>;

std::string dump(const json_t* json) {
  const common::MallocCharPtr text(json_dumps(json, JSON_COMPACT | JSON_ENCODE_ANY));
  return text.get();
}

bool isJson(const char* text) {
  // Integers of any size are JSON; jansson takes those that do not fit only as reals.
  constexpr size_t kFlags = JSON_DECODE_ANY | JSON_ALLOW_NUL | JSON_DECODE_INT_AS_REAL;
  return JsonPtr(json_loads(text, kFlags, nullptr)) != nullptr;
}

std::string payloadText(const char* payload) {
  if (!isJson(payload)) {
    return dump(JsonPtr(json_string(payload)).get());
  }
  // Written again by jansson, numbers would change. In valid JSON a line break stands between
  // tokens only, and none of them needs it.
  std::string text(payload);
  text.erase(
      std::remove_if(text.begin(), text.end(), [](char c) { return c == '\n' || c == '\r'; }),
      text.end());
  return text;
}

}  // namespace

std::string messageLine(const Message& message) {
  const JsonPtr head(json_pack("{s:s, s:s, s:s, s:s*, s:s, s:s}", "type", message.type, "session",
                               message.sessionId, "version", message.version, "requestId",
                               message.requestId, "source", message.sourceId, "method",
                               message.method));
  std::string line = dump(head.get());
  line.pop_back();
  return line + R"(,"payload":)" + payloadText(message.payload) + "}";
}

}  // namespace console
