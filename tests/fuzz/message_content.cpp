// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <cstdint>
#include <memory>
#include <string>

#include "platform/host/filter/item_filter.h"
#include "platform/host/filter/syntax_error.h"
#include "platform/host/model/message_reader.h"
#include "tests/fuzz/fuzz_check.h"
#include "tests/platform/filter_oracles.h"

namespace {

constexpr const char* kPayload = R"({"Source":{"a":"1","b":"a"},"Data":{"Name":15.0,"c":{}}})";

std::shared_ptr<const model::Message> message() {
  std::string error;
  return model::MessageReader().read(kPayload, error);
}

}  // namespace

/// Whatever a client sends as message content: it is refused at a place within the text, or it is
/// XPath 1.0 and decides as XPath does.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto event = message();
  static const test::XmlEvent xml({{"a", "1"}, {"b", "a"}, {"Name", "15.0"}, {"c", std::nullopt}});
  const std::string text(reinterpret_cast<const char*>(data), size);
  try {
    const model::ContentExpression expression = filter::parseItemFilter(text);
    const test::XPathOracle oracle(text);
    FUZZ_CHECK(oracle.valid());
    FUZZ_CHECK(oracle.matches(xml) == expression.matches(*event));
  } catch (const filter::SyntaxError& error) {
    FUZZ_CHECK(error.offset <= size && !filter::describe(text, error).empty());
  }
  return 0;
}
