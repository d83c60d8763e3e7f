// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

// What the host platform does once for each message and once for each subscriber of it, against
// jansson reading and writing the same texts.

#include <benchmark/benchmark.h>
#include <event2.h>
#include <jansson.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "bench/common/message.h"
#include "common/ptr.h"
#include "platform/host/event/event.h"
#include "platform/host/event/publication_reader.h"

namespace {

using JsonPtr = common::Ptr<json_t, json_decref>;

const std::string kMqttTopic =
    std::string(bench::Message::kOrigin) + "/onvif-ej/" + bench::Message::kTopic;

void readMessage(benchmark::State& state) {
  const bench::Message message(static_cast<std::size_t>(state.range(0)));
  event::PublicationReader reader("+");
  std::string error;
  while (state.KeepRunning()) {
    benchmark::DoNotOptimize(reader.read(kMqttTopic.c_str(), message.published(), false, error));
  }
}

void readMessageJansson(benchmark::State& state) {
  const bench::Message message(static_cast<std::size_t>(state.range(0)));
  const std::string_view text = message.published();
  while (state.KeepRunning()) {
    const JsonPtr root(json_loadb(text.data(), text.size(), 0, nullptr));
    benchmark::DoNotOptimize(root.get());
  }
}

void composeEvent(benchmark::State& state) {
  const bench::Message message(static_cast<std::size_t>(state.range(0)));
  std::string error;
  const event::EventPtr made(new Event(
      event::PublicationReader("+").read(kMqttTopic.c_str(), message.published(), false, error),
      event::Operation::None));
  if (common::MallocCharPtr(event_get_json(made.get(), nullptr)).get() != message.event()) {
    state.SkipWithError("the event is not what the in-process source delivers");
  }
  while (state.KeepRunning()) {
    const common::MallocCharPtr json(event_get_json(made.get(), nullptr));
    benchmark::DoNotOptimize(json.get());
  }
}

void composeEventJansson(benchmark::State& state) {
  const bench::Message message(static_cast<std::size_t>(state.range(0)));
  const std::string_view text = message.event();
  const JsonPtr root(json_loadb(text.data(), text.size(), 0, nullptr));
  while (state.KeepRunning()) {
    const common::MallocCharPtr json(json_dumps(root.get(), JSON_COMPACT));
    benchmark::DoNotOptimize(json.get());
  }
}

BENCHMARK(readMessage)->Arg(200)->Arg(2000);
BENCHMARK(readMessageJansson)->Arg(200)->Arg(2000);
BENCHMARK(composeEvent)->Arg(200)->Arg(2000);
BENCHMARK(composeEventJansson)->Arg(200)->Arg(2000);

}  // namespace
