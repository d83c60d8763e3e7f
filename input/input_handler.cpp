// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "input/input_handler.h"

#include <glib.h>
#include <jansson.h>

#include <algorithm>
#include <iterator>

#include "common/api.h"
#include "common/log_level.h"
#include "common/ptr.h"
#include "input/json_exception.h"

namespace {

/// Only what stands before the first "." of a pattern counts.
constexpr const char* supported_versions[] = {"1.x", nullptr};

constexpr const char* kListKey = "eventFilterList";
constexpr const char* kTopicKey = "topicFilter";
constexpr const char* kContentKey = "contentFilter";

using JsonPtr = common::Ptr<json_t, json_decref>;

bool isEventFilter(json_t* element) {
  // Either key, or both; never neither. The third pattern accepts nothing that the first
  // refused, and states the whole rule all the same.
  constexpr const char* kPatterns[] = {"{s?:s,s:s}", "{s:s,s?:s}", "{s:s,s:s}"};
  return std::any_of(std::begin(kPatterns), std::end(kPatterns), [element](const char* pattern) {
    return json_unpack_ex(element, nullptr, JSON_VALIDATE_ONLY, pattern, kTopicKey, kContentKey) ==
           0;
  });
}

}  // namespace

bool InputHandler::validateVersion(const char* version) {
  if (version == nullptr) {
    return false;
  }
  for (const char* const* pattern = supported_versions; *pattern != nullptr; ++pattern) {
    const common::GStrvPtr pieces(g_strsplit(*pattern, ".", 2));
    if (g_str_has_prefix(version, pieces.get()[0])) {
      return true;
    }
  }
  return false;
}

bool InputHandler::validateSourceId(const char* sourceId) {
  return std::string(sourceId) == api::kSourceId;
}

bool InputHandler::validateMethod(const char* method) {
  return std::string(method) == api::kConfigure;
}

bool InputHandler::validatePayload(const char* payload, std::string& error) {
  if (payload == nullptr) {
    error = "payload is NULL";
    return false;
  }
  json_error_t decodeError;
  const JsonPtr root(json_loads(payload, JSON_DECODE_ANY, &decodeError));
  if (root == nullptr) {
    // The library quotes the text up to the fault, and may cut a character in two.
    const common::GCharPtr reason(g_utf8_make_valid(decodeError.text, -1));
    error = std::string("Failed to decode JSON string: ") + reason.get();
    return false;
  }
  const json_t* list = json_object_get(root.get(), kListKey);
  if (list == nullptr) {
    error = "eventFilterList key is not found in the JSON object";
    return false;
  }
  if (!json_is_array(list)) {
    error = "eventFilterList is not an array";
    return false;
  }
  if (json_array_size(list) == 0) {
    error = "eventFilterList is empty";
    return false;
  }
  for (std::size_t index = 0; index < json_array_size(list); ++index) {
    if (!isEventFilter(json_array_get(list, index))) {
      error = "Invalid event filter";
      return false;
    }
  }
  return true;
}

void InputHandler::parsePayload(const char* payload, Filters& filters) {
  if (payload == nullptr) {
    g_log(nullptr, common::errorLevel(), "%spayload is NULL", common::kLogPrefix);
    return;
  }
  const JsonPtr root(json_loads(payload, JSON_DECODE_ANY, nullptr));
  // All three accept a root or list that is absent or of another type, as an empty list.
  const json_t* list = json_object_get(root.get(), kListKey);
  for (std::size_t index = 0; index < json_array_size(list); ++index) {
    const char* topicFilter = nullptr;
    const char* contentFilter = nullptr;
    if (json_unpack(json_array_get(list, index), "{s?:s, s?:s}", kTopicKey, &topicFilter,
                    kContentKey, &contentFilter) != 0) {
      throw JsonException("Could not parse event filter");
    }
    filters.emplace_back(topicFilter != nullptr ? topicFilter : "",
                         contentFilter != nullptr ? contentFilter : "");
  }
}
