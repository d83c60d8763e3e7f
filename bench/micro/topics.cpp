// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

// Topics: one pattern against libmosquitto's matching of one subscription, and one event against
// many subscriptions.

#include <benchmark/benchmark.h>
#include <mosquitto.h>

#include <string>
#include <vector>

#include "platform/host/model/topic.h"
#include "platform/host/model/topic_index.h"

namespace {

constexpr const char* kLocal = "RuleEngine/LineDetector/Crossed";

void topicMatch(benchmark::State& state) {
  const model::TopicPattern pattern{model::topicFromLocal("RuleEngine/LineDetector"), true};
  const model::Topic topic = model::topicFromLocal(kLocal);
  while (state.KeepRunning()) {
    benchmark::DoNotOptimize(pattern.matches(topic));
  }
}

void topicMatchMosquitto(benchmark::State& state) {
  const std::string topic = std::string("b/onvif-ej/") + kLocal;
  while (state.KeepRunning()) {
    bool matches = false;
    mosquitto_topic_matches_sub("b/onvif-ej/RuleEngine/LineDetector/#", topic.c_str(), &matches);
    benchmark::DoNotOptimize(matches);
  }
}

/// Subscriptions to a topic each, of which the event matches one.
void topicIndex(benchmark::State& state) {
  const auto count = static_cast<unsigned int>(state.range(0));
  model::TopicIndex index;
  for (unsigned int id = 1; id <= count; ++id) {
    const std::string local = "RuleEngine/Rule" + std::to_string(id) + "/Crossed";
    index.add(id, {model::TopicPattern{model::topicFromLocal(local), false}});
  }
  const model::Topic topic =
      model::topicFromLocal("RuleEngine/Rule" + std::to_string(count / 2) + "/Crossed");
  while (state.KeepRunning()) {
    benchmark::DoNotOptimize(index.match(topic).size());
  }
}

BENCHMARK(topicMatch);
BENCHMARK(topicMatchMosquitto);
BENCHMARK(topicIndex)->Arg(10)->Arg(1000)->Arg(10000);

}  // namespace
