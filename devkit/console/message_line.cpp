// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "devkit/console/message_line.h"

#include <jansson.h>

#include <algorithm>
#include <memory>

#include "common/ptr.h"

namespace console {
namespace {

struct JsonDeleter {
  void operator()(json_t* json) const { json_decref(json); }
};
using JsonPtr = std::unique_ptr<json_t, JsonDeleter>;

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
