// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "bench/common/load.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "bench/common/message.h"

namespace bench {

namespace {

[[noreturn]] void fail(const char* name, const char* value, const char* reason) {
  std::fprintf(stderr, "bench: %s is \"%s\": %s\n", name, value, reason);
  std::exit(2);
}

std::uint64_t number(const char* name, std::uint64_t fallback) {
  const char* text = std::getenv(name);
  if (text == nullptr) {
    return fallback;
  }
  char* end = nullptr;
  const std::uint64_t value = std::strtoull(text, &end, 10);
  if (end == text || *end != '\0') {
    fail(name, text, "not a number");
  }
  return value;
}

}  // namespace

Load Load::fromEnvironment() {
  Load load;
  load.events = number("BENCH_EVENTS", load.events);
  load.size = number("BENCH_SIZE", load.size);
  load.rate = number("BENCH_RATE", load.rate);
  load.window = number("BENCH_WINDOW", load.window);
  if (load.size < Message::smallest()) {
    fail("BENCH_SIZE", std::getenv("BENCH_SIZE"), "too small for a message with its stamps");
  }
  return load;
}

const char* requiredVariable(const char* name) {
  const char* value = std::getenv(name);
  if (value == nullptr) {
    fail(name, "", "not set");
  }
  return value;
}

std::uint64_t now() {
  timespec time{};
  clock_gettime(CLOCK_MONOTONIC, &time);
  return static_cast<std::uint64_t>(time.tv_sec) * 1'000'000'000U +
         static_cast<std::uint64_t>(time.tv_nsec);
}

}  // namespace bench
