// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <jansson.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "common/ptr.h"
#include "platform/host/event/event.h"
#include "platform/host/event/publication_reader.h"
#include "tests/fuzz/fuzz_check.h"

namespace {

constexpr std::string_view kMessage = ",\"message\":";

/// The start of the topic that names the publisher: so many levels.
std::string origin(const std::string& topic, unsigned levels) {
  std::size_t end = topic.find('/');
  while (--levels > 0 && end != std::string::npos) {
    end = topic.find('/', end + 1);
  }
  return topic.substr(0, end);
}

/// The JSON that clients see ends with the publisher's bytes, and what stands before them is a JSON
/// object of the topic's parts alone.
void check(const event::PublicationPtr& publication, event::Operation operation,
           const std::string& from, std::string_view payload) {
  const event::EventPtr event(new Event(publication, operation));
  const common::MallocCharPtr json(event_get_json(event.get(), nullptr));
  FUZZ_CHECK(json != nullptr);
  const std::string text = json.get();
  const std::string tail = std::string(kMessage) + std::string(payload) + "}";
  FUZZ_CHECK(text.size() > tail.size());
  const std::size_t head = text.size() - tail.size();
  FUZZ_CHECK(text.compare(head, tail.size(), tail) == 0);
  const common::Ptr<json_t, json_decref> parts(
      json_loads((text.substr(0, head) + "}").c_str(), JSON_REJECT_DUPLICATES, nullptr));
  FUZZ_CHECK(json_object_size(parts.get()) == (operation == event::Operation::None ? 2 : 3));
  FUZZ_CHECK(json_string_length(json_object_get(parts.get(), "topic")) > 0);
  FUZZ_CHECK(from == json_string_value(json_object_get(parts.get(), "origin")));
}

}  // namespace

/// Whatever comes from a broker: the first byte says how, then a topic, a line end and the payload.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view all(reinterpret_cast<const char*>(data), size);
  const std::size_t line = all.find('\n');
  if (size == 0 || line == all.npos || line == 0 || all.substr(1, line).find('\0') != all.npos) {
    return 0;
  }
  const std::string topic(all.substr(1, line - 1));
  if (!g_utf8_validate(topic.c_str(), -1, nullptr)) {
    return 0;
  }
  const std::string_view payload = all.substr(line + 1);
  static event::PublicationReader one("+");
  static event::PublicationReader two("site/+");
  const unsigned levels = (data[0] & 1U) == 0 ? 1 : 2;
  const bool retained = (data[0] & 2U) != 0;
  const std::string from = origin(topic, levels);
  std::string error;
  const auto publication = (levels == 1 ? one : two).read(topic.c_str(), payload, retained, error);
  FUZZ_CHECK((publication == nullptr) != error.empty());
  if (publication == nullptr) {
    return 0;
  }
  FUZZ_CHECK(topic.compare(from.size(), 10, "/onvif-ej/") == 0);
  FUZZ_CHECK(publication->retained == retained);
  FUZZ_CHECK((publication->message == nullptr) == (payload.empty() && retained));
  for (const auto operation :
       {event::Operation::None, event::Operation::Initialized, event::Operation::Deleted}) {
    if (publication->message != nullptr) {
      check(publication, operation, from, payload);
    }
  }
  return 0;
}
