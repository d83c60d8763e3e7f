// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <cstdint>
#include <string_view>

#include "platform/host/filter/concrete_set.h"
#include "platform/host/filter/syntax_error.h"
#include "tests/fuzz/fuzz_check.h"

/// Whatever a client sends as a topic expression: it is refused at a place within the text, or
/// each alternative matches the topic that it names.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  try {
    const auto patterns = filter::parseConcreteSet(text, {"tns1", "tnsovra"});
    FUZZ_CHECK(!patterns.empty() && patterns.size() <= filter::kMaxAlternatives);
    for (const model::TopicPattern& pattern : patterns) {
      FUZZ_CHECK(pattern.matches(pattern.topic));
    }
  } catch (const filter::SyntaxError& error) {
    FUZZ_CHECK(error.offset <= size && !filter::describe(text, error).empty());
  }
  return 0;
}
