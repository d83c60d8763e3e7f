// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

// The two passes over a request's params payload, against one bare decoding of the same text, and
// against the calls of jansson that they cannot do without.

#include <benchmark/benchmark.h>
#include <jansson.h>

#include <cstdlib>
#include <string>

#include "common/ptr.h"
#include "input/input_handler.h"

namespace {

std::string filterList(int count) {
  std::string text = R"({"eventFilterList":[)";
  for (int index = 0; index < count; ++index) {
    text += index == 0 ? "" : ",";
    text += R"json({"topicFilter":"tns1:RuleEngine/LineDetector//.","contentFilter":)json";
    text += R"json("boolean(//tt:SimpleItem[@Name=\"Rule\" and @Value=\"Fence)json";
    text += std::to_string(index) + R"json(\"])"})json";
  }
  return text + "]}";
}

/// One filter of a usual length, 200 bytes in all.
std::string smallPayload() {
  std::string text = filterList(1);
  constexpr std::size_t kSize = 200;
  // The topic expression is made longer by a child topic of the length that is missing.
  const std::string child = "/" + std::string(kSize - text.size() - 1, 'x');
  return text.insert(text.find("//."), child);
}

void decode(benchmark::State& state, const std::string& payload) {
  while (state.KeepRunning()) {
    const common::Ptr<json_t, json_decref> root(
        json_loads(payload.c_str(), JSON_DECODE_ANY, nullptr));
    benchmark::DoNotOptimize(root.get());
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(payload.size()));
}

void validateAndParse(benchmark::State& state, const std::string& payload) {
  while (state.KeepRunning()) {
    std::string error;
    InputHandler::Filters filters;
    if (!InputHandler::validatePayload(payload.c_str(), error)) {
      state.SkipWithError(error.c_str());
      break;
    }
    InputHandler::parsePayload(payload.c_str(), filters);
    benchmark::DoNotOptimize(filters.size());
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(payload.size()));
}

/// A decoding and an unpacking of each element for each pass: what the two passes cost if nothing
/// of ours did.
void decodeAndUnpackTwice(benchmark::State& state, const std::string& payload) {
  while (state.KeepRunning()) {
    for (const std::size_t flags : {std::size_t{JSON_VALIDATE_ONLY}, std::size_t{0}}) {
      const common::Ptr<json_t, json_decref> root(
          json_loads(payload.c_str(), JSON_DECODE_ANY, nullptr));
      std::size_t index = 0;
      json_t* element = nullptr;
      json_array_foreach(json_object_get(root.get(), "eventFilterList"), index, element) {
        const char* topic = nullptr;
        const char* content = nullptr;
        benchmark::DoNotOptimize(json_unpack_ex(element, nullptr, flags, "{s?:s,s:s}",
                                                "topicFilter", &topic, "contentFilter", &content));
      }
    }
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(payload.size()));
}

BENCHMARK_CAPTURE(decode, 200_bytes, smallPayload());
BENCHMARK_CAPTURE(decodeAndUnpackTwice, 200_bytes, smallPayload());
BENCHMARK_CAPTURE(validateAndParse, 200_bytes, smallPayload());
BENCHMARK_CAPTURE(decode, 10_filters, filterList(10));
BENCHMARK_CAPTURE(decodeAndUnpackTwice, 10_filters, filterList(10));
BENCHMARK_CAPTURE(validateAndParse, 10_filters, filterList(10));

}  // namespace
