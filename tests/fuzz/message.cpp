// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <jansson.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "common/ptr.h"
#include "platform/host/model/message_reader.h"
#include "tests/fuzz/fuzz_check.h"

namespace {

/// Whether jansson may refuse a message of ours: it has numbers of limited size, no NUL in names
/// and no halves of surrogate pairs.
bool mayDiffer(const json_error_t& error, std::string_view payload) {
  return json_error_code(&error) == json_error_numeric_overflow ||
         payload.find("\\u") != std::string_view::npos;
}

/// Whether jansson may take what we refuse: it skips a zero byte behind a number, and knows no such
/// limit of depth.
bool mayTakeMore(std::string_view payload, const std::string& error) {
  return payload.find('\0') != std::string_view::npos ||
         error.find("within each other") != std::string::npos;
}

}  // namespace

/// Whatever a publisher sends: taken or refused as jansson does, and the parts are in reach.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static model::MessageReader reader;
  const std::string_view payload(reinterpret_cast<const char*>(data), size);
  std::string error;
  const auto message = reader.read(payload, error);
  json_error_t why;
  const common::Ptr<json_t, json_decref> json(
      json_loadb(payload.data(), payload.size(), JSON_ALLOW_NUL, &why));
  if (!message) {
    FUZZ_CHECK(!error.empty());
    FUZZ_CHECK(!json_is_object(json.get()) || mayTakeMore(payload, error));
    return 0;
  }
  FUZZ_CHECK(json_is_object(json.get()) || mayDiffer(why, payload));
  FUZZ_CHECK(message->payload() == payload);
  std::string all(message->source());
  for (const model::Item& item : message->items()) {
    all.append(item.name).append(item.value);
  }
  FUZZ_CHECK(all.size() <= 2 * payload.size());
  return 0;
}
