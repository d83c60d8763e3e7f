// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <simdjson.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>

#include "input/input_handler.h"
#include "input/json_exception.h"
#include "tests/fuzz/fuzz_check.h"

namespace {

using simdjson::dom::element;
using simdjson::dom::object;

constexpr std::size_t kDepth = 2048;

/// The last of the members with this name: what counts if a name stands twice.
std::optional<element> lastMember(const object& object, std::string_view name) {
  std::optional<element> last;
  for (const auto member : object) {
    last = member.key == name ? member.value : last;
  }
  return last;
}

/// A text that need not be there.
bool readText(const object& members, std::string_view name, std::string& text) {
  const auto member = lastMember(members, name);
  std::string_view value;
  if (member && member->get(value) != simdjson::SUCCESS) {
    return false;
  }
  text = value;
  return true;
}

/// One pair of the list, by another JSON reader.
bool readFilter(element entry, InputHandler::Filters& filters) {
  auto& [topic, content] = filters.emplace_back();
  object members;
  return entry.get(members) == simdjson::SUCCESS && readText(members, "topicFilter", topic) &&
         readText(members, "contentFilter", content) &&
         (lastMember(members, "topicFilter") || lastMember(members, "contentFilter"));
}

bool readFilters(const std::string& text, InputHandler::Filters& filters) {
  static simdjson::dom::parser parser;
  FUZZ_CHECK(parser.allocate(std::max<std::size_t>(text.size(), 64), kDepth) == simdjson::SUCCESS);
  object root;
  simdjson::dom::array list;
  if (parser.parse(text).get(root) != simdjson::SUCCESS) {
    return false;
  }
  const auto member = lastMember(root, "eventFilterList");
  if (!member || member->get(list) != simdjson::SUCCESS || list.size() == 0) {
    return false;
  }
  bool good = true;
  for (const element entry : list) {
    good = good && readFilter(entry, filters);
  }
  return good;
}

/// JSON that the service's reader refuses on purpose: each is a limit that it states.
bool isLimit(const std::string& error) {
  return error.find("too big") != error.npos || error.find("overflow") != error.npos ||
         error.find("depth") != error.npos || error.find("u0000") != error.npos ||
         error.find("NUL") != error.npos;
}

}  // namespace

/// Whatever a client sends as parameters: accepted if another JSON reader finds a list of filters
/// in it, and then read as that reader reads it; the lenient reading throws nothing but what it
/// says.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text = std::string(reinterpret_cast<const char*>(data), size).c_str();
  InputHandler::Filters expected;
  InputHandler::Filters read;
  const bool valid = readFilters(text, expected);
  std::string error;
  if (InputHandler::validatePayload(text.c_str(), error)) {
    FUZZ_CHECK(error.empty());
    InputHandler::parsePayload(text.c_str(), read);
    FUZZ_CHECK(valid && read == expected);
    return 0;
  }
  FUZZ_CHECK(!error.empty() && (!valid || isLimit(error)));
  try {
    InputHandler::parsePayload(text.c_str(), read);
  } catch (const JsonException&) {
  }
  return 0;
}
